#include "Audio/WrapperFixture.h"

#include "Audio/CAudioEnv.h"
#include "Audio/CAudioExtParam.h"
#include "Audio/CAudioExtParamList.h"

#include <cmath>
#include <limits>
#include <string>

namespace lum::test {
namespace {

class Wrapper : public WrapperFixture {
protected:
    void startStereo(double rate = 44100.0) {
        initInstance();
        wrapper->setSampleRate(rate);
        wrapper->setInputFormat({2, true, false}, {});
        wrapper->setOutputFormat({2, true, false});
        wrapper->start();
    }

    void set(const char* name, double value, int element = 0, int group = 0) {
        CAudioParam& param = wrapper->param(name);
        param.applyChange(CAudioParamChange::ofValues(param.getInfo()->format, group, element,
                                                      &value, 1, false, nullptr),
                          {});
    }
    std::vector<double> run(int frames, double value = 0.5) {
        std::vector<double> left(static_cast<size_t>(frames), value);
        const void* in[] = {left.data(), left.data()};
        std::vector<double> out(static_cast<size_t>(frames), -9.0);
        void* outs[] = {out.data(), nullptr};
        wrapper->process(in, outs, frames);
        return out;
    }
};

TEST_F(Wrapper, wrongProjectSettingsFailTheInstance) {
    struct Row {
        const char* attribute;
        const char* value;
        const char* message;
    };
    constexpr Row kRows[] = {
        {"app-name", "", "Plug-in name is empty."},
        {"app-vendor", "", "Vendor name is empty."},
        {"plugin-intchannel-count", "0", "Invalid 'plugin-intchannel-count' attribute value."},
        {"plugin-intchannel-count", "17", "Invalid 'plugin-intchannel-count' attribute value."},
        {"plugin-group-count", "9", "Invalid 'plugin-group-count' attribute value."},
        {"plugin-code", "abc", "Invalid plug-in code in string 'abc'."},
        {"app-version", "1", "Invalid version specification in string '1'."},
        {"app-version", "1.-2", "Invalid version specification in string '1.-2'."},
        {"app-version", "1.2.3.4", "Invalid version specification in string '1.2.3.4'."},
    };
    CObject* project = CObject::sharedRoot()->findObject("project");
    ASSERT_NE(project, nullptr);
    for (const Row& row : kRows) {
        const CString saved = project->getAttrString(row.attribute);
        ASSERT_FALSE(project->setAttr(row.attribute, row.value, true));
        TestWrapper instance;
        EXPECT_EQ(instance.init().line(0), row.message);
        ASSERT_FALSE(project->setAttr(row.attribute, saved, true));
    }
}

TEST_F(Wrapper, theOfflineOversamplingFollowsTheRate) {
    struct Row {
        double rate;
        double mode;
    };
    initInstance();
    EXPECT_EQ(wrapper->value("host-oversampling-mode"), 0.0);
    for (const Row& row : {Row{44100, 2}, Row{71999, 2}, Row{72000, 1}, Row{96000, 1},
                           Row{144000, 0}, Row{192000, 0}}) {
        wrapper->setSampleRate(row.rate);
        wrapper->setOffline(true);
        wrapper->drainControlWrites();
        EXPECT_EQ(wrapper->value("host-oversampling-mode"), row.mode) << row.rate;
        EXPECT_EQ(wrapper->value("host-offline"), 1.0);
        wrapper->setOffline(false);
        wrapper->drainControlWrites();
        EXPECT_EQ(wrapper->value("host-oversampling-mode"), 0.0);
    }
}

/// A block with an event in it is the same as two blocks with the change between them.
TEST_F(Wrapper, aParameterEventTakesEffectAtItsSample) {
    const auto renderWith = [&](bool isEvent) {
        startStereo();
        std::vector<double> out = run(1000);
        if (isEvent) {
            CAudioEvent late = {};
            late.sampleOffset = 4000; // behind the block: dropped
            late.kind = AudioEventKind::Param;
            late.param = {0.0, 33};
            CAudioEvent event = late;
            event.sampleOffset = 100;
            event.param = {0.9, 17};
            wrapper->addEvent(late);
            wrapper->addEvent(event);
            const auto rest = run(3000);
            out.insert(out.end(), rest.begin(), rest.end());
        } else {
            const auto before = run(100);
            wrapper->getExtParams().getParam(17)->setHostValue(0.9);
            const auto rest = run(2900);
            out.insert(out.end(), before.begin(), before.end());
            out.insert(out.end(), rest.begin(), rest.end());
        }
        EXPECT_EQ(wrapper->getExtParams().getParam(33)->getHostValue(), 0.5);
        wrapper.reset();
        return out;
    };
    const auto withEvent = renderWith(true);
    EXPECT_EQ(withEvent, renderWith(false));
    EXPECT_GT(withEvent.back(), 0.6);
}

TEST_F(Wrapper, interleavedAndPlanarGiveTheSame) {
    std::vector<float> samples;
    for (int i = 0; i < 3000; i++) samples.push_back(static_cast<float>(std::sin(i * 0.37)));
    startStereo();
    std::vector<float> left;
    std::vector<float> right;
    for (size_t i = 0; i < samples.size(); i += 2) {
        left.push_back(samples[i]);
        right.push_back(samples[i + 1]);
    }
    std::vector<float> outLeft(1500);
    std::vector<float> outRight(1500);
    wrapper->setInputFormat({2, false, false}, {});
    wrapper->setOutputFormat({2, false, false});
    const void* in[] = {left.data(), right.data()};
    void* out[] = {outLeft.data(), outRight.data()};
    wrapper->process(in, out, 1500);

    startStereo();
    wrapper->setInputFormat({2, false, true}, {});
    wrapper->setOutputFormat({2, false, true});
    std::vector<float> mixed(3000);
    const void* inMixed[] = {samples.data()};
    void* outMixed[] = {mixed.data()};
    wrapper->process(inMixed, outMixed, 1500);
    for (size_t i = 0; i < 1500; i++) {
        ASSERT_EQ(mixed[2 * i], outLeft[i]);
        ASSERT_EQ(mixed[2 * i + 1], outRight[i]);
    }
    EXPECT_EQ(outLeft[1499], left[1499 - 392]);
}

TEST_F(Wrapper, startAndStopAreIdempotentAndApplyWhatChanged) {
    startStereo(96000.0);
    EXPECT_TRUE(wrapper->isActive());
    EXPECT_EQ(wrapper->getLatency(), 703);
    wrapper->setSampleRate(44100.0);
    wrapper->start(); // already active: nothing happens
    EXPECT_TRUE(wrapper->isConfigurationDirty());
    EXPECT_EQ(wrapper->getLatency(), 703);
    wrapper->stop();
    wrapper->stop();
    EXPECT_FALSE(wrapper->isConfigurationDirty());
    EXPECT_EQ(wrapper->getLatency(), 392);
    EXPECT_EQ(run(10), std::vector<double>(10, 0.0));
    EXPECT_FALSE(wrapper->isLatencyChanged) << "no block saw the change";
}

/// The first block of the convolution is part of the latency, and clients can set it.
TEST_F(Wrapper, theLatencyIsThatOfTheGraphThatIsHeard) {
    constexpr const char* kExponent = "modSorrelGEQ.modFilterFIRSpline.latency";
    startStereo();
    run(100);
    EXPECT_FALSE(wrapper->isLatencyChanged);
    set(kExponent, 9.0);
    run(100);
    EXPECT_EQ(wrapper->getLatency(), 264 + 512);
    EXPECT_TRUE(wrapper->isLatencyChanged);
    run(4000); // the crossfade ends
    // A change, or another graph, that no block has met by the time of a stop.
    set(kExponent, 8.0);
    wrapper->stop();
    EXPECT_EQ(wrapper->getLatency(), 264 + 256);
    wrapper->start();
    set(kExponent, 10.0, 0, 1); // of a group that no channel is in yet
    run(2000);
    EXPECT_EQ(wrapper->getLatency(), 264 + 256);
    set("io-params.grouping", 1.0, 1);
    wrapper->stop();
    EXPECT_EQ(wrapper->getLatency(), 264 + 1024);
    wrapper->start();
    EXPECT_EQ(wrapper->getLatency(), 264 + 1024);
}

/// What the tables and the memory of a filter follow from makes another graph, off the block. The
/// parameters of a stack's inside are heard as soon as there is an inside.
TEST_F(Wrapper, theSettingsOfAFilterMakeAnotherGraph) {
    const std::pair<const char*, double> kRows[] = {
        {"length", 0.02}, {"precision", 40.0}, {"min-freq", 60.0}};
    const auto prepare = [&] {
        startStereo(96000.0);
        set("modSorrelGEQ.gains", 3.0, 1);
    };
    for (const auto& [setting, value] : kRows) {
        const std::string name = std::string("modSorrelGEQ.modFilterFIRSpline.") + setting;
        prepare();
        set(name.c_str(), value);
        wrapper->stop();
        wrapper->start();
        const double wanted = run(6000).back();

        prepare();
        const double before = run(6000).back();
        EXPECT_GT(std::abs(wanted - before), 1e-4) << setting;
        set(name.c_str(), value);
        const std::vector<double> heard = run(8000);
        // Both graphs run until the new one's filters know their past; a new module would have
        // begun to cross over by then.
        const auto crossing = static_cast<size_t>(2 * wrapper->getLatency());
        EXPECT_NEAR(heard[crossing - 1], before, 1e-12) << setting;
        EXPECT_NEAR(heard.back(), wanted, 1e-12) << setting;
    }
}

/// Another graph begins with the first sample that it gets. When that one is no number, or too
/// large to be transformed, the output is back when the graph's filters have forgotten it.
TEST_F(Wrapper, aBadSampleAtAChangeOfRoutingIsForgotten) {
    constexpr double kBad[] = {std::numeric_limits<double>::quiet_NaN(),
                               -std::numeric_limits<double>::infinity(),
                               std::numeric_limits<double>::max()};
    struct Row {
        const char* name;
        int element;
        double value;
    };
    constexpr Row kRows[] = {{"io-params.grouping", 0, 2.0},
                             {"io-params.channel-group-solo", 0, 1.0},
                             {"io-params.in-routing", 1, 1.0},
                             {"modSorrelGEQ.gains", 5, 2.0}};
    constexpr int kForgotten = 8192; // frames, well behind the crossfade and the longest partition
    const auto render = [&](const Row& row, double first) {
        startStereo();
        run(300);
        set(row.name, row.value, row.element);
        run(1, first);
        run(kForgotten);
        return run(2000);
    };
    for (const Row& row : kRows) {
        const std::vector<double> wanted = render(row, 0.5);
        EXPECT_GT(std::abs(wanted[0]), 0.1);
        for (const double bad : kBad)
            EXPECT_EQ(render(row, bad), wanted) << row.name << ", " << bad;
    }
}

TEST_F(Wrapper, whatTheClientsAskForIsAnswered) {
    startStereo(48000.0);
    EXPECT_EQ(wrapper->getIntChannelCount(), 8);
    EXPECT_EQ(wrapper->getGroupCount(), 8);
    EXPECT_EQ(wrapper->getInChannelCount(), 2);
    EXPECT_EQ(wrapper->getOutChannelCount(), 2);
    EXPECT_EQ(wrapper->getSideChainChannelCount(), 0);
    EXPECT_EQ(wrapper->getSampleRate(), 48000.0);
    EXPECT_EQ(wrapper->windowWidth, 642);
    EXPECT_EQ(wrapper->windowHeight, 400);
    EXPECT_EQ(wrapper->pluginCode, 0x31363861);
    EXPECT_TRUE(wrapper->hasTail());
    EXPECT_EQ(wrapper->getTail(), 0.4);
    CAudioParam& gains = wrapper->param("modSorrelGEQ.gains");
    wrapper->paramBeginEdit(gains, 3, 1);
    wrapper->paramEndEdit(gains, 3, 1);
    wrapper->paramBeginEdit(gains, 3, 2); // not exposed
    EXPECT_EQ(wrapper->edits, (std::vector<int32_t>{21, -21}));
}

/// A host that writes automation takes no point behind the end of the gesture.
TEST_F(Wrapper, theLastValueOfAGestureComesBeforeItsEnd) {
    startStereo(48000.0);
    CAudioParam& gains = wrapper->param("modSorrelGEQ.gains");
    std::vector<int32_t> editsThen;
    wrapper->onHostCall = [&] { editsThen = wrapper->edits; };
    {
        const CDeferredCallHold held(wrapper->getCollector()); // a chunk is being collected, say
        wrapper->paramBeginEdit(gains, 0, 0);
        gains.setValue(2.0, 0, this);
        wrapper->paramEndEdit(gains, 0, 0);
        EXPECT_TRUE(wrapper->edits.empty());
    }
    EXPECT_EQ(wrapper->changes.size(), 1u);
    EXPECT_EQ(editsThen, (std::vector<int32_t>{1}));
    EXPECT_EQ(wrapper->edits, (std::vector<int32_t>{1, -1}));
}

} // namespace
} // namespace lum::test
