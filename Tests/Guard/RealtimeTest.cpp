// The promise of the audio thread, proven on the plug-in's own binary: whatever a host does with an
// instance between the blocks or beside them, a process call makes no call to the allocator, takes
// no blocking lock and makes no system call. LUM_GUARD_BLOCKS sets another number of blocks.

#include "Guard/RealtimeGuard.h"
#include "Guard/SystemCallTrap.h"
#include "Host/HostedPlugin.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>
#include <zlib.h>

namespace {

using namespace lum::vst;

constexpr int kBlockSize = 128; // frames; the largest of the tests

int blocksToRun(int usual) {
    const char* text = std::getenv("LUM_GUARD_BLOCKS");
    return text != nullptr ? std::atoi(text) : usual;
}

/// One instance, and what a host and a user do with it.
class ScriptedInstance {
public:
    ScriptedInstance(double sampleRate, int channels)
        : plugin_(open(sampleRate, channels)),
          samples_(noise<float>(channels, kBlockSize)),
          results_(samples_) {
        for (auto& channel : samples_) inputs_.push_back(channel.data());
        for (auto& channel : results_) outputs_.push_back(channel.data());
        makeRoutedStates();
    }

    /// What the host's main thread does before a block: automation of every parameter in waves of
    /// differing pace, so that blocks with none, one and many changes occur; programs; states of
    /// other routings; suspend and resume.
    void control(int block) {
        const auto wave = [block](double pace) {
            return static_cast<float>(0.5 + 0.45 * std::sin(block * pace));
        };
        const int parameters = plugin_->effect->numParams;
        if (block % 7 == 0) plugin_->set(4, wave(0.02));
        if (block % 50 < 25) plugin_->set(1 + block / 50 % (parameters - 1), wave(0.05));
        if (block % 211 == 0)
            for (int i = 1; i < parameters; ++i) plugin_->set(i, wave(0.1 * i));
        if (block % 3 == 0) plugin_->set(17, wave(0.03));
        if (block % 401 == 0) plugin_->set(0, block % 802 == 0 ? 1.0F : 0.0F);
        if (block % 97 == 13) plugin_->send(kEffectSetProgram, 0, block / 97 % 7);
        if (block % 131 == 57) giveState(static_cast<std::size_t>(block / 131));
        if (block % 4001 == 4000) {
            plugin_->suspend();
            plugin_->resume();
        }
    }
    /// One change of any kind.
    void changeOne(int step) {
        const auto value = static_cast<float>(step * 37 % 101) / 100.0F;
        const int kind = step % 16;
        if (kind == 5)
            plugin_->send(kEffectSetProgram, 0, step / 16 % 7);
        else if (kind == 11)
            giveState(static_cast<std::size_t>(step / 16));
        else
            plugin_->set(step * 5 % plugin_->effect->numParams, value);
    }
    /// A state that a user can make in the routing window and a host cannot.
    void giveState(std::size_t number) {
        auto& chunk = routed_[number % routed_.size()];
        const auto size = static_cast<std::intptr_t>(chunk.size());
        ASSERT_EQ(plugin_->send(kEffectSetChunk, 1, size, chunk.data()), 1);
    }

    void process(int block) {
        const int frames = block % 5 == 4 ? 1 + block % kBlockSize : kBlockSize;
        AEffect* effect = plugin_->effect;
        effect->processReplacing(effect, inputs_.data(), outputs_.data(), frames);
    }

    bool isOutputFinite() const {
        return std::ranges::all_of(results_, [](const auto& channel) {
            return std::ranges::all_of(channel, [](float sample) { return std::isfinite(sample); });
        });
    }

private:
    static constexpr std::size_t kChunkHead = 28; // 16 reserved bytes, then the block's own head
    static constexpr int kRoutedStates = 24;

    static std::unique_ptr<Instance> open(double sampleRate, int channels) {
        // A host that never has more than two channels, and one that has as many as we like.
        HostModel::current().product = channels == 2 ? "SONY ACID PRO" : "Test Host";
        auto plugin = std::make_unique<Instance>();
        if (plugin->effect == nullptr) throw std::runtime_error("the plug-in refused to start");
        if (plugin->effect->numInputs != channels) throw std::runtime_error("wrong channel count");
        plugin->open(sampleRate, kBlockSize);
        return plugin;
    }

    /// The present state is unpacked, written over in place, and packed again: channels on all
    /// groups, several on one, mid/side pairs, solo.
    void makeRoutedStates() {
        void* data = nullptr;
        const auto size = static_cast<std::size_t>(plugin_->send(kEffectGetChunk, 1, 0, &data));
        const auto* chunk = static_cast<const unsigned char*>(data);
        const std::vector<unsigned char> head(chunk, chunk + kChunkHead);
        std::uint32_t length = 0;
        std::memcpy(&length, chunk + 20, sizeof length);
        std::vector<unsigned char> payload(length);
        uLongf unpacked = length;
        ASSERT_EQ(uncompress(payload.data(), &unpacked, chunk + kChunkHead, size - kChunkHead),
                  Z_OK);
        std::mt19937 random(11);
        const auto draw = [&](unsigned below) { return static_cast<double>(random() % below); };
        for (int step = 0; step < kRoutedStates; ++step) {
            auto state = payload;
            const bool isStraight = step % 3 == 0; // else channels are joined and left out as well
            for (int i = 0; i < 8; ++i) {
                write(state, "io-params.in-routing", i, isStraight ? i + 1 : draw(9));
                write(state, "io-params.out-routing", i, isStraight ? i + 1 : draw(9));
                write(state, "io-params.grouping", i, draw(step % 4 == 0 ? 2 : 8));
                write(state, "io-params.ms-pairs", i, step % 2 == 0 ? 0 : draw(5));
            }
            write(state, "io-params.channel-group-solo", 0, step % 5 < 2 ? 1 : 0);
            std::vector<unsigned char> packed(compressBound(length));
            uLongf used = packed.size();
            ASSERT_EQ(compress(packed.data(), &used, state.data(), length), Z_OK);
            routed_.push_back(head);
            routed_.back().insert(routed_.back().end(), packed.begin(),
                                  packed.begin() + static_cast<long>(used));
        }
    }
    static void write(std::vector<unsigned char>& state, const std::string& key, int element,
                      double value) {
        const std::string name = "audio.modMain." + key;
        const auto found = std::search(state.begin(), state.end(), name.begin(), name.end());
        ASSERT_NE(found, state.end()) << name;
        // Behind the name: four numbers of the storage's head and the first group's count.
        const auto place =
            (found - state.begin()) + static_cast<long>(name.size()) + 20 + 8 * element;
        ASSERT_LE(place + 8, static_cast<long>(state.size()));
        std::memcpy(state.data() + place, &value, sizeof value);
    }

    std::unique_ptr<Instance> plugin_;
    Planar<float> samples_, results_;
    std::vector<float*> inputs_, outputs_;
    std::vector<std::vector<unsigned char>> routed_; // preset chunks
};

struct Layout {
    int rate; // Hz
    int channels;
};
std::string nameOf(const ::testing::TestParamInfo<Layout>& layout) {
    return std::to_string(layout.param.rate) + "Hz" + std::to_string(layout.param.channels);
}

class Realtime : public ::testing::TestWithParam<Layout> {
protected:
    /// Runs one block under the guard and judges it.
    static void runGuarded(ScriptedInstance& plugin, int block) {
        {
            const lum::test::RealtimeGuard guard;
            plugin.process(block);
        }
        ASSERT_TRUE(plugin.isOutputFinite()) << "block " << block;
        ASSERT_EQ(lum::test::RealtimeGuard::violations(), 0) << "block " << block << "\n"
                                                             << lum::test::RealtimeGuard::report();
    }
};

TEST_P(Realtime, noBlockTouchesAllocatorLockOrFile) {
    ScriptedInstance plugin(GetParam().rate, GetParam().channels);
    lum::test::RealtimeGuard::forget();
    for (int block = 0, end = blocksToRun(10000); block < end; ++block) {
        plugin.control(block);
        ASSERT_NO_FATAL_FAILURE(runGuarded(plugin, block));
    }
}

/// On a thread that has never called the plug-in before, while another one changes everything: what
/// the two need at the same time must not be short for the one that cannot wait.
TEST_P(Realtime, noBlockTouchesThemWhileAnotherThreadChangesEverything) {
    ScriptedInstance plugin(GetParam().rate, GetParam().channels);
    lum::test::RealtimeGuard::forget();
    std::atomic<bool> isDone{false};
    std::thread control([&] {
        for (int step = 0, end = blocksToRun(300); step < end; ++step) plugin.changeOne(step);
        isDone = true;
    });
    std::thread audio([&] {
        for (int block = 0; !isDone; ++block) {
            // A lock that the other thread holds for a few stores may be out of reach for long
            // enough to give the processor away when there are not enough of them.
            const lum::test::RealtimeGuard guard(lum::test::RealtimeGuard::Yield::Allowed);
            plugin.process(block);
        }
    });
    audio.join();
    control.join();
    EXPECT_EQ(lum::test::RealtimeGuard::violations(), 0) << lum::test::RealtimeGuard::report();
}

INSTANTIATE_TEST_SUITE_P(Layouts, Realtime,
                         ::testing::Values(Layout{44100, 2}, Layout{44100, 8}, Layout{96000, 2},
                                           Layout{96000, 8}, Layout{192000, 2}, Layout{192000, 8}),
                         nameOf);

class RealtimeRates : public Realtime {};

TEST_P(RealtimeRates, oneChangeInEachBlockTouchesNothing) {
    ScriptedInstance plugin(GetParam().rate, GetParam().channels);
    lum::test::RealtimeGuard::forget();
    for (int block = 0, end = blocksToRun(2000); block < end; ++block) {
        plugin.changeOne(block);
        ASSERT_NO_FATAL_FAILURE(runGuarded(plugin, block));
    }
}

TEST_P(RealtimeRates, steadyBlocksTouchNothing) {
    ScriptedInstance plugin(GetParam().rate, GetParam().channels);
    lum::test::RealtimeGuard::forget();
    for (int block = 0, end = blocksToRun(2000); block < end; ++block)
        ASSERT_NO_FATAL_FAILURE(runGuarded(plugin, block));
}

INSTANTIATE_TEST_SUITE_P(Rates, RealtimeRates,
                         ::testing::Values(Layout{32000, 2}, Layout{48000, 8}, Layout{88200, 2},
                                           Layout{192000, 2}),
                         nameOf);

/// The audio thread and the host's main thread, in turns. Control work is free to call the system;
/// the turn is handed over by an atomic alone, as the audio side could not wait otherwise.
class Turns {
public:
    explicit Turns(Layout layout) : plugin_(layout.rate, layout.channels) {
        std::thread([this] { controlLoop(); }).detach(); // ends with the child process
    }
    void audioLoop() {
        for (int block = 0; block < blocks_; ++block) {
            turn_.store(2 * block + 1, std::memory_order_release);
            while (turn_.load(std::memory_order_acquire) != 2 * block + 2) __builtin_ia32_pause();
            plugin_.process(block);
        }
    }

private:
    void controlLoop() {
        for (int block = 0; block < blocks_; ++block) {
            while (turn_.load(std::memory_order_acquire) != 2 * block + 1)
                std::this_thread::yield();
            plugin_.control(block);
            turn_.store(2 * block + 2, std::memory_order_release);
        }
    }

    ScriptedInstance plugin_;
    const int blocks_ = blocksToRun(10000);
    std::atomic<int> turn_{0}; // odd: the control side's, even: the audio side's
};

class SystemCalls : public ::testing::TestWithParam<Layout> {};

TEST_P(SystemCalls, noBlockMakesOne) {
    Turns* turns = nullptr;
    const auto result = lum::test::trapSystemCalls([&] { turns = new Turns(GetParam()); },
                                                   [&] { turns->audioLoop(); });
    EXPECT_TRUE(result.isClean) << result.report;
}

INSTANTIATE_TEST_SUITE_P(Layouts, SystemCalls,
                         ::testing::Values(Layout{44100, 8}, Layout{192000, 2}), nameOf);

TEST(RealtimeGuard, catchesWhatItIsThereFor) {
    lum::test::RealtimeGuard::forget();
    std::vector<int> outside(100);
    EXPECT_EQ(lum::test::RealtimeGuard::violations(), 0);
    {
        const lum::test::RealtimeGuard guard;
        const std::vector<int> inside(100);
        EXPECT_NE(inside.data(), outside.data());
    }
    EXPECT_EQ(lum::test::RealtimeGuard::violations(), 2); // one allocation, one release
    lum::test::RealtimeGuard::forget();
    const auto trapped = lum::test::trapSystemCalls([] {}, [] { std::this_thread::yield(); });
    EXPECT_FALSE(trapped.isClean);
    EXPECT_NE(trapped.report.find("system call number 24"), std::string::npos) << trapped.report;
}

} // namespace
