#include "Audio/CAudioExtParam.h"
#include "Audio/CAudioExtParamList.h"
#include "Audio/StateFixture.h"
#include "Core/CWorkerThreadPool.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <thread>

namespace lum::test {
namespace {

constexpr const char* kGains = "modSorrelGEQ.gains";
constexpr double kRate = 44100.0;
constexpr int kBlock = 256; // frames

/// How long the threads run; the variable makes it longer.
double secondsToRun() {
    const char* text = std::getenv("LUM_STRESS_SECONDS");
    return text ? std::atof(text) : 2.0;
}

/// Host automation, an editor, presets and audio, each on a thread of its own.
class StateThreads : public StateFixture {
protected:
    void SetUp() override {
        StateFixture::SetUp();
        wrapper->setSampleRate(kRate);
        wrapper->setInputFormat({2, true, false}, {});
        wrapper->setOutputFormat({2, true, false});
        wrapper->start();
    }

    /// A steady tone of level 1 in. The bands stay within 12 dB, so that a larger step than a
    /// crossfade between two such settings makes is a glitch.
    void runAudio() {
        std::vector<double> in(kBlock), left(kBlock), right(kBlock);
        const void* ins[] = {in.data(), in.data()};
        void* outs[] = {left.data(), right.data()};
        auto next = std::chrono::steady_clock::now();
        int64_t frame = 0;
        double last = 0.0;
        while (!isDone) {
            for (double& sample : in) sample = std::sin(0.01 * static_cast<double>(frame++));
            wrapper->process(ins, outs, kBlock);
            for (const double sample : left) {
                if (!std::isfinite(sample)) wrongSamples++;
                largestStep = std::max(largestStep, std::abs(sample - last));
                last = sample;
            }
            next += std::chrono::microseconds(static_cast<int64_t>(1e6 * kBlock / kRate));
            std::this_thread::sleep_until(next);
        }
    }

    void runHost() {
        for (int i = 0; !isDone; i++) {
            CAudioExtParam& param = *wrapper->getExtParams().getParam(1 + 17 + i % 17);
            param.setHostValue(0.4 + 0.2 * (i % 11) / 10.0);
            (void)param.getDisplayText();
            wrapper->drainControlWrites();
            std::this_thread::sleep_for(std::chrono::microseconds(300));
        }
    }

    void runEditor() {
        TestClient client(*wrapper);
        ParamEar ear;
        RegistryEar registryEar;
        const int32_t id = client.listen(kGains, ear);
        const int32_t registryId = client.listen("plugin.param-registry", registryEar);
        for (int i = 0; !isDone; i++) {
            client.edit(id, formatOf(kGains), 0, i % 16, 0.8 + 0.04 * (i % 10), "Edit", true,
                        i / 8);
            if (i % 13 == 0) {
                EXPECT_FALSE(client->setUndoHistoryPos(i % 5));
            }
            if (i % 29 == 0) {
                EXPECT_FALSE(client->exchangeShadowPreset(registryId));
            }
            if (i % 37 == 0) {
                EXPECT_FALSE(client->renamePreset(registryId, i % 7, "Name"));
            }
            if (i % 41 == 0) {
                EXPECT_FALSE(client->importChannelLabels());
            }
            if (i % 43 == 0) {
                EXPECT_FALSE(client->requestBank(registryId, i, false));
            }
            std::this_thread::sleep_for(std::chrono::microseconds(500));
        }
        // What the editor shows in the end is what the engine has.
        client.drain();
        shown = ear.storage;
        areEditsDone = true;
    }

    void runPresets() {
        for (int program = 0; program < 3; program++) chunks.push_back(chunk(program == 0));
        for (int i = 0; !isDone; i++) {
            if (i % 4 == 0) registry().setCurrentProgram(i / 4 % 7, nullptr);
            if (i % 4 == 1) registry().activateFactoryPreset(i / 4 % 7);
            const CByteBuffer& state = chunks[i % 3];
            if (i % 4 == 2) {
                EXPECT_FALSE(wrapper->setState(state.data(), state.size(), i % 3 == 0, true));
            }
            if (i % 4 == 3) (void)chunk(false);
            std::this_thread::sleep_for(std::chrono::milliseconds(7));
        }
    }

    std::atomic<bool> isDone{false};
    std::atomic<bool> areEditsDone{false};
    std::atomic<int> wrongSamples{0};
    double largestStep = 0.0;
    CAudioParamStorage shown;
    CVector<CByteBuffer, 4> chunks;
};

TEST_F(StateThreads, fourThreadsAtOnceLoseNothing) {
    std::thread audio([this] { runAudio(); });
    std::thread host([this] { runHost(); });
    std::thread presets([this] { runPresets(); });
    std::thread editor([this] {
        runEditor();
        CPersistentThread::releaseIdle();
    });
    std::this_thread::sleep_for(std::chrono::duration<double>(secondsToRun()));
    isDone = true;
    for (std::thread* thread : {&presets, &host, &editor, &audio}) thread->join();
    ASSERT_TRUE(areEditsDone);
    EXPECT_EQ(wrongSamples, 0);
    // The tone moves 0.01 a sample at level 1 and 0.04 at 12 dB; a crossfade of some milliseconds
    // from there to silence adds less than that again.
    EXPECT_LT(largestStep, 0.12);

    // The audio side ends with the values of the control side, and so do the host's.
    wrapper->drainControlWrites();
    wrapper->getCollector().takePendingChanges();
    wrapper->getCollector().forEachParam([&](CAudioParam& param) {
        const CAudioParamStorage& control = param.getValues();
        const CAudioParamStorage& audioSide = param.getAudioValues();
        if (!control.isInitialised() || !control.getFormat().isFloat()) return;
        for (int group = 0; group < control.getGroupCount(); group++)
            for (int i = 0; i < 16; i++)
                ASSERT_EQ(control.read(group, i), audioSide.read(group, i))
                    << param.getName().toUtf8() << " " << group << " " << i;
    });
    for (int i = 1; i < 35; i++) {
        CAudioExtParam& param = *wrapper->getExtParams().getParam(i);
        const CAudioParamInfo& info = *param.getParam().getInfo();
        const double value = param.getParam().readValue(param.getGroup(), param.getElement());
        EXPECT_NEAR(20.0 * std::log10(value), 24.0 * param.getHostValue() - 12.0, 1e-4)
            << info.fullName.toUtf8() << i;
    }
    TestClient late(*wrapper);
    ParamEar ear;
    late.listen(kGains, ear);
    for (int group = 0; group < 8; group++)
        for (int i = 0; i < 16; i++)
            EXPECT_EQ(ear.value(group, i), wrapper->value(kGains, i, group));
}

} // namespace
} // namespace lum::test
