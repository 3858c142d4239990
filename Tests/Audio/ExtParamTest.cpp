#include "Audio/WrapperFixture.h"

#include "Audio/CAudioExtParam.h"
#include "Audio/CAudioExtParamList.h"

#include <algorithm>

namespace lum::test {
namespace {

using Changes = std::vector<std::pair<int32_t, double>>;

class ExtParam : public WrapperFixture {
protected:
    void SetUp() override { initInstance(); }
    CAudioExtParam& exposed(int index) { return *wrapper->getExtParams().getParam(index); }
    /// An edit from the interface: linear gains from an element on.
    void edit(int first, std::vector<double> gains, bool isTruncating = false, int group = 0) {
        CAudioParam& param = wrapper->param("modSorrelGEQ.gains");
        param.applyChange(CAudioParamChange::ofValues(param.getInfo()->format, group, first,
                                                      gains.data(), static_cast<int>(gains.size()),
                                                      isTruncating, nullptr),
                          CChangeContext());
    }
};

TEST_F(ExtParam, theHostHearsOfEditsButNotOfItself) {
    exposed(5).setHostValue(0.75);
    EXPECT_EQ(wrapper->changes, Changes());
    EXPECT_NEAR(wrapper->value("modSorrelGEQ.gains", 4), 1.9952623149688795, 1e-12); // 6 dB
    EXPECT_EQ(wrapper->value("modSorrelGEQ.gains", 3), 1.0) << "filled with what it read before";

    edit(4, {1.0});
    EXPECT_EQ(wrapper->changes, (Changes{{5, 0.5}}));
    EXPECT_EQ(exposed(5).getHostValue(), 0.5);
    wrapper->changes.clear();
    edit(2, {1.0}, false, 2); // a group that no host sees
    EXPECT_EQ(wrapper->changes, Changes());
}

TEST_F(ExtParam, onlyTouchedElementsAreRefreshed) {
    struct Row {
        int first;
        int count;
        bool isTruncating;
        std::vector<int32_t> told;
    };
    const Row rows[] = {
        {0, 4, false, {1, 2, 3, 4}},
        {14, 2, false, {15, 16}},
        {13, 1, true, {14, 15, 16}}, // those behind fall back to the default
    };
    for (const Row& row : rows) {
        edit(0, std::vector<double>(16, 2.0));
        wrapper->changes.clear();
        edit(row.first, std::vector<double>(static_cast<size_t>(row.count), 0.5), row.isTruncating);
        std::vector<int32_t> told;
        for (const auto& [index, value] : wrapper->changes) told.push_back(index);
        std::sort(told.begin(), told.end());
        EXPECT_EQ(told, row.told);
    }
    EXPECT_EQ(exposed(16).getHostValue(), 0.5);
}

TEST_F(ExtParam, aResetReachesTheHost) {
    exposed(17).setHostValue(0.0);
    exposed(34).setHostValue(1.0);
    wrapper->param("modOutGain.gain").reset(-1, -1, CChangeContext());
    EXPECT_EQ(exposed(17).getHostValue(), 0.5);
    EXPECT_EQ(exposed(34).getHostValue(), 0.5);
}

TEST_F(ExtParam, wrongNamesFail) {
    for (const char* name : {"", "12345678"}) {
        CAttrMap attributes;
        attributes["param-collector"] = CAttrEntry::ofString("plugin.param-collector");
        attributes["ext-name"] = CAttrEntry::ofString(name);
        attributes["param-name"] = CAttrEntry::ofString("plugin.modMain.bypass-enable");
        CAudioExtParam* made = nullptr;
        const CErrorResult failure = wrapper->getInstanceRoot()->createChild(
            made, "audio:ext-param", "extra", false, &attributes);
        EXPECT_EQ(failure.line(0),
                  CString("Externalized parameter name '") + name + "' is too long");
    }
}

TEST_F(ExtParam, aChildThatGoesClosesTheGap) {
    CAudioExtParamList& list = wrapper->getExtParams();
    CObject::destroyObject(list.getParam(1));
    EXPECT_EQ(list.getCount(), 34);
    EXPECT_EQ(list.getParam(1)->getExtName(), "1EQ1");
    edit(0, {2.0}); // nobody listens for it any more
}

} // namespace
} // namespace lum::test
