#include "Audio/WrapperFixture.h"

#include "Audio/CAudioProcessDef.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace lum::test {
namespace {

class ProductTree : public WrapperFixture {
protected:
    void SetUp() override { initInstance(); }
};

TEST_F(ProductTree, theChainStandsInItsOrder) {
    auto* main =
        dynamic_cast<CAudioProcessDef*>(CObject::sharedRoot()->findObject("audio.modMain"));
    ASSERT_NE(main, nullptr);
    EXPECT_TRUE(main->isAutoLinks);
    const char* chain[] = {"modInRouter",  "modInputNode", "modMSEncoder", "modPreUpsampler",
                           "modMainPre",   "modSorrelGEQ", "modOutGain",   "modPostDownsampler",
                           "modGroupSolo", "modMSDecoder", "modBypass",    "modOutRouter"};
    ASSERT_EQ(main->processes.size(), std::size(chain));
    for (size_t i = 0; i < std::size(chain); i++) {
        EXPECT_EQ(main->processes[i]->getName(), chain[i]);
        const CString name = chain[i];
        const int wanted = name.startsWith("modMS") ? 31 : name == "modGroupSolo" ? 35 : -1;
        EXPECT_EQ(main->processes[i]->bypassStateId, wanted) << chain[i];
    }
}

/// A typing mistake in a name of the product data makes a parameter that nothing declares.
TEST_F(ProductTree, everyNameMeetsADeclaration) {
    wrapper->setInputFormat({8, true, false}, {});
    wrapper->start();
    std::vector<std::string> unbound;
    wrapper->getCollector().forEachParam([&](CAudioParam& param) {
        if (!param.isBound()) unbound.push_back(param.getName().toUtf8());
    });
    // These two slots of the filter are reserved: allocated, without a parameter.
    const auto isReserved = [](const std::string& name) {
        return name.ends_with("modFilterFIRSpline.count") ||
               name.ends_with("modFilterFIRSpline.index");
    };
    std::erase_if(unbound, isReserved);
    EXPECT_EQ(unbound, std::vector<std::string>());
}

TEST_F(ProductTree, derivedValuesStandAtTheStart) {
    EXPECT_EQ(wrapper->value("mid-side-bypass"), 1.0);
    EXPECT_EQ(wrapper->value("group-solo-bypass"), 1.0);
    for (int i = 0; i < 16; i++)
        EXPECT_NEAR(wrapper->value("modSorrelGEQ.freqs", i), 20.0 * std::pow(1000.0, i / 15.0),
                    1e-6);
    EXPECT_EQ(wrapper->text("io-params.in-channel-names", 15), "IN16");
    EXPECT_EQ(wrapper->text("preset-name", 0), "Default");
    EXPECT_NEAR(wrapper->value("meter-releasetime"), 0.75, 1e-12); // seconds
}

} // namespace
} // namespace lum::test
