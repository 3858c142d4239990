#include "Audio/CAudioParamRegistry.h"
#include "Audio/WrapperFixture.h"

namespace lum::test {
namespace {

using Values = std::vector<double>;

class DefaultRouting : public WrapperFixture {
protected:
    void SetUp() override { initInstance(); }
    void offer(int count) {
        wrapper->inputLabels.clear();
        for (int i = 0; i < count; i++) wrapper->inputLabels.push_back("C" + CString::fromInt(i));
        wrapper->updateDefaultRouting(true, nullptr, nullptr);
    }
    Values read(const char* name) {
        Values out;
        for (int i = 0; i < 8; i++) out.push_back(wrapper->value(name, i));
        return out;
    }
    void write(const char* name, int element, double value) {
        CAudioParam& param = wrapper->param(name);
        param.applyChange(CAudioParamChange::ofValues(param.getInfo()->format, 0, element, &value,
                                                      1, false, nullptr),
                          CChangeContext());
    }
};

TEST_F(DefaultRouting, theRoutingFollowsTheNumberOfChannels) {
    struct Row {
        int channels;
        const char* group;
        Values routing;
        Values grouping;
    };
    const Row rows[] = {
        {1, "MONO", {1, 0, 0, 0, 0, 0, 0, 0}, {0, 0, 1, 1, 2, 2, 3, 3}},
        {2, "STEREO", {1, 2, 0, 0, 0, 0, 0, 0}, {0, 0, 1, 1, 2, 2, 3, 3}},
        {5, "MULTI", {1, 2, 3, 4, 5, 0, 0, 0}, {0, 0, 0, 0, 0, 2, 3, 3}},
        {8, "MULTI", {1, 2, 3, 4, 5, 6, 7, 8}, {0, 0, 0, 0, 0, 0, 0, 0}},
        {2, "STEREO", {1, 2, 0, 0, 0, 0, 0, 0}, {0, 0, 1, 1, 2, 2, 3, 3}},
    };
    for (const Row& row : rows) { // each state is again one that may be adapted
        offer(row.channels);
        EXPECT_EQ(read("io-params.in-routing"), row.routing) << row.channels;
        EXPECT_EQ(read("io-params.out-routing"), row.routing);
        EXPECT_EQ(read("io-params.grouping"), row.grouping);
        EXPECT_EQ(wrapper->text("io-params.group-names", 0), row.group);
        EXPECT_EQ(wrapper->text("io-params.group-names", 7), "G-8");
        EXPECT_EQ(wrapper->text("io-params.in-channel-names", 0), "C0");
    }
    EXPECT_EQ(wrapper->text("io-params.in-channel-names", 9), "IN10") << "behind the labels";
}

TEST_F(DefaultRouting, whatTheUserHasTouchedIsLeftAlone) {
    struct Row {
        const char* name;
        int element;
        double value;
        double standard;
    };
    const Row rows[] = {
        {"io-params.ms-pairs", 1, 1, 0},   {"io-params.in-routing", 0, 2, 1},
        {"io-params.in-routing", 5, 6, 0}, {"io-params.out-routing", 1, 1, 2},
        {"io-params.grouping", 1, 1, 0},   {"io-params.grouping", 7, 0, 3},
    };
    for (const Row& row : rows) {
        write(row.name, row.element, row.value);
        const Values before = read("io-params.in-routing");
        offer(8);
        EXPECT_EQ(read("io-params.in-routing"), before) << row.name << row.element;
        write(row.name, row.element, row.standard);
    }
    wrapper->param("io-params.group-names").setString(0, 3, "Drums", nullptr);
    offer(8);
    EXPECT_EQ(wrapper->value("io-params.in-routing", 2), 0.0);
    wrapper->param("io-params.group-names").setString(0, 3, "G4", nullptr);
    offer(8);
    EXPECT_EQ(wrapper->value("io-params.in-routing", 7), 8.0);
}

TEST_F(DefaultRouting, aPresetAdaptsOnlyOnceTheHostHasAsked) {
    wrapper->inputLabels = {"A", "B", "C"};
    wrapper->applyRouting(nullptr, nullptr);
    EXPECT_EQ(wrapper->value("io-params.in-routing", 2), 0.0);
    offer(3);
    EXPECT_EQ(wrapper->value("io-params.in-routing", 2), 3.0);
}

TEST_F(DefaultRouting, whateverBringsAPresetAdaptsIt) {
    offer(3);
    CAudioParamRegistry& registry = wrapper->getRegistry();
    const std::function<void()> calls[] = {[&] { registry.setCurrentProgram(1, nullptr); },
                                           [&] { registry.activateFactoryPreset(2); },
                                           [&] { registry.masterReset(); }};
    for (const auto& call : calls) {
        write("io-params.in-routing", 0, 7.0); // no default any more
        call();
        EXPECT_EQ(read("io-params.in-routing"), (Values{1, 2, 3, 0, 0, 0, 0, 0}));
    }
    registry.setCurrentProgram(3, nullptr);
    EXPECT_EQ(wrapper->value("io-params.in-routing", 2), 0.0) << "a program with its own routing";
}

} // namespace
} // namespace lum::test
