#include "Host/HostedPlugin.h"

#include <atomic>
#include <thread>

using namespace lum::vst;

namespace {

constexpr int kChannels = 8;

bool isSilent(const Planar<float>& planar) {
    for (const auto& channel : planar)
        for (float sample : channel)
            if (sample != 0.0F) return false;
    return true;
}

} // namespace

TEST(HostOrder, aBlockOutsideOfProcessingIsSilent) {
    Instance instance;
    const auto input = noise<float>(kChannels, 2000);
    EXPECT_TRUE(isSilent(render(instance, input))) << "before the first resume";
    instance.open(44100, 64); // and then larger blocks than announced
    EXPECT_FALSE(isSilent(render(instance, input, {2000})));
    instance.suspend();
    EXPECT_TRUE(isSilent(render(instance, input))) << "after suspend";
}

TEST(HostOrder, rateAndMainsMayComeInAnyOrder) {
    Instance instance;
    const auto rate = [&](float hz) { instance.send(kEffectSetSampleRate, 0, 0, nullptr, hz); };
    const auto input = noise<float>(kChannels, 1000);
    rate(48000); // before open
    instance.send(kEffectSetBlockSize, 0, 512);
    instance.send(kEffectOpen);
    rate(44100);
    instance.resume();
    instance.resume();
    EXPECT_EQ(instance.effect->initialDelay, 392);
    render(instance, input);
    rate(96000); // while it runs: from the next resume on
    render(instance, input);
    EXPECT_EQ(instance.effect->initialDelay, 392);
    instance.resume();
    EXPECT_EQ(instance.effect->initialDelay, 703);
    render(instance, input);
    std::thread([&] { // a jump of the transport, on the audio thread
        instance.suspend();
        instance.resume();
        EXPECT_FALSE(isSilent(render(instance, input)));
    })
        .join();
    instance.suspend();
    instance.suspend();
    EXPECT_EQ(HostModel::current().ioChanges, 0) << "the latency never moved inside a block";
}

TEST(HostOrder, theHostsNameAndVersionDecideOnTheChannels) {
    struct Row {
        int32_t version;
        const char* product;
        int channels;
    };
    constexpr Row kRows[] = {{2400, "Any", 8},
                             {2300, "Any", 8},
                             {2299, "Any", 2},
                             {2, "Any", 2},
                             {2400, "Sony Acid Pro", 2},
                             {2400, "Sony Acid Pro 7", 8},
                             {2400, "Some Premiere 5", 2}};
    const HostModel saved = HostModel::current();
    for (const Row& row : kRows) {
        HostModel::current().version = row.version;
        HostModel::current().product = row.product;
        Instance instance;
        EXPECT_EQ(instance.effect->numInputs, row.channels) << row.product << row.version;
        EXPECT_EQ(instance.effect->numOutputs, row.channels);
    }
    HostModel::current().version = 0; // a host that does not answer
    PluginFile file;
    EXPECT_EQ(file.entry()(&HostModel::callback), nullptr);
    EXPECT_EQ(file.entry()(nullptr), nullptr);
    HostModel::current() = saved;
}

/// A host that restarts while it processes gets a silent block, or with the lock one that waits.
TEST(HostOrder, aBlockOfAHostWithTheSyncLockNeverMeetsARestart) {
    const HostModel saved = HostModel::current();
    HostModel::current().product = "WaveLab 5";
    {
        Instance instance;
        instance.open(44100);
        std::atomic<bool> isDone{false};
        std::atomic<int> blocks{0};
        int silent = 0;
        std::thread audio([&] {
            const auto input = noise<float>(kChannels, 2000); // longer than the latency
            for (; !isDone; blocks++) silent += isSilent(render(instance, input, {2000}));
        });
        for (int i = 0; i < 8; i++) {
            for (const int before = blocks; blocks == before;) std::this_thread::yield();
            instance.send(kEffectSetSampleRate, 0, 0, nullptr, i % 2 ? 44100.0F : 48000.0F);
            instance.resume();
        }
        isDone = true;
        audio.join();
        EXPECT_EQ(silent, 0);
    }
    HostModel::current() = saved;
}

TEST(HostOrder, arrangementsAreSymmetricAndAtMostOurChannels) {
    Instance instance;
    const auto offer = [&](int ins, int outs) {
        SpeakerArrangement in = {};
        SpeakerArrangement out = {};
        in.numChannels = ins;
        out.numChannels = outs;
        return instance.send(kEffectSetSpeakerArrangement, 0, reinterpret_cast<intptr_t>(&in),
                             &out);
    };
    SpeakerArrangement* in = nullptr;
    SpeakerArrangement* out = nullptr;
    const auto stored = [&] {
        return instance.send(kEffectGetSpeakerArrangement, 0, reinterpret_cast<intptr_t>(&in),
                             &out);
    };
    EXPECT_EQ(stored(), 0);
    EXPECT_EQ(in, nullptr);
    EXPECT_EQ(offer(2, 1), 0);
    EXPECT_EQ(offer(0, 0), 0);
    EXPECT_EQ(offer(9, 9), 0);
    EXPECT_EQ(offer(8, -1), 0);
    EXPECT_EQ(offer(2, 2), 1);
    ASSERT_EQ(stored(), 1);
    EXPECT_EQ(in->numChannels, 2);
    EXPECT_EQ(out->numChannels, 2);
    EXPECT_EQ(instance.send(kEffectSetSpeakerArrangement), 0);
    instance.open(44100);
    const auto input = noise<double>(2, 1000); // two pointers are all that the host hands over
    const auto output = render(instance, input);
    EXPECT_NEAR(output[1][999], input[1][999 - 392], 1e-12);

    // A host gives back what it was shown, as it is and crosswise.
    for (int i = 0; i < 4; i++) {
        ASSERT_EQ(stored(), 1);
        SpeakerArrangement* const offered[] = {i % 2 ? out : in, i % 2 ? in : out};
        EXPECT_EQ(instance.send(kEffectSetSpeakerArrangement, 0,
                                reinterpret_cast<intptr_t>(offered[0]), offered[1]),
                  1);
        ASSERT_EQ(stored(), 1);
        EXPECT_EQ(in->numChannels, 2);
        EXPECT_EQ(out->numChannels, 2);
    }
    // More channels are offered, and the arrays stay as they are until the host resumes.
    EXPECT_EQ(offer(4, 4), 1);
    std::vector<double> untouched(1000, -1.0);
    std::vector<double> heard[2] = {untouched, untouched};
    double* ins[4] = {heard[0].data(), heard[1].data(), untouched.data(), untouched.data()};
    double* outs[4] = {heard[0].data(), heard[1].data(), untouched.data(), untouched.data()};
    instance.effect->processDoubleReplacing(instance.effect, ins, outs, 1000);
    EXPECT_EQ(untouched, std::vector<double>(1000, -1.0));
    instance.suspend();
    instance.resume();
    instance.effect->processDoubleReplacing(instance.effect, ins, outs, 1000);
    EXPECT_EQ(untouched[0], 0.0);
}

/// Main thread and audio thread at once, as hosts do against the contract.
TEST(HostOrder, callsFromSeveralThreadsAtOnceAreSurvived) {
    Instance instance;
    instance.open(44100);
    std::atomic<bool> isDone{false};
    std::thread audio([&] {
        const auto input = noise<float>(kChannels, 300);
        const auto wide = noise<double>(kChannels, 300);
        while (!isDone) {
            render(instance, input, {37});
            render(instance, wide, {300});
        }
    });
    for (int i = 0; i < 60; i++) {
        instance.set(1 + i % 34, static_cast<float>(i % 10) / 10.0F);
        instance.send(kEffectSetProcessPrecision, 0, i & 1);
        instance.text(kEffectGetParameterDisplay, i % 35);
        if (i % 7 == 0) instance.suspend();
        if (i % 7 == 2) instance.open(i % 2 ? 44100 : 48000);
        MidiEvent midi = {};
        midi.head.type = static_cast<int32_t>(EventType::Midi);
        Events events = {1, 0, {&midi.head}};
        instance.send(kEffectProcessEvents, 0, 0, &events);
    }
    isDone = true;
    audio.join();
}
