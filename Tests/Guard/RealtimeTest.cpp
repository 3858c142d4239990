// The promise of the audio thread, proven on the plug-in's own binary: through ten thousand blocks
// with automation, program changes, states of every routing, bypass and a suspend and resume, a
// process call makes no call to the allocator, takes no blocking lock and makes no system call.

#include "Guard/RealtimeGuard.h"
#include "Guard/SystemCallTrap.h"
#include "Host/HostedPlugin.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>
#include <zlib.h>

namespace {

using namespace lum::vst;

constexpr int kBlockSize = 128; // frames; the largest of the test
constexpr int kBlocks = 10000;
constexpr int kRestartBlock = 6000; // suspend and resume happen before this one

/// One instance, and a script of what a host does with it block by block.
class ScriptedInstance {
public:
    explicit ScriptedInstance(double sampleRate)
        : samples_(noise<float>(started(plugin_).numInputs, kBlockSize)), results_(samples_) {
        plugin_.open(sampleRate, kBlockSize);
        for (auto& channel : samples_) inputs_.push_back(channel.data());
        for (auto& channel : results_) outputs_.push_back(channel.data());
        for (int i = 0; i < plugin_.effect->numParams; ++i) {
            indices_[plugin_.text(kEffectGetParameterName, i)] = i;
        }
        makeRoutedStates();
    }

    /// What the host's main thread does before a block: automation in waves of differing pace, so
    /// that blocks with none, one and many changes occur.
    void control(int block) {
        const auto wave = [block](double pace) {
            return static_cast<float>(0.5 + 0.45 * std::sin(block * pace));
        };
        if (block % 7 == 0) set("1EQ3", wave(0.02));
        if (block % 50 < 25) set("1EQ8", wave(0.05));
        if (block % 211 == 0) {
            for (int band = 0; band < 16; ++band) {
                set("1EQ" + std::to_string(band), wave(0.1 * (band + 1)));
            }
        }
        if (block % 3 == 0) set("1OGain", wave(0.03));
        if (block % 97 == 13) plugin_.send(kEffectSetProgram, 0, block / 97 % 7);
        if (block % 131 == 57) give(routed_[block / 131 % routed_.size()]);
        if (block % 401 == 0) set("Bypass", block % 802 == 0 ? 1.0f : 0.0f);
        if (block == kRestartBlock) {
            plugin_.suspend();
            plugin_.resume();
        }
    }

    void process(int block) {
        const int frames = block % 5 == 4 ? 1 + block % kBlockSize : kBlockSize;
        plugin_.effect->processReplacing(plugin_.effect, inputs_.data(), outputs_.data(), frames);
    }

    bool isOutputFinite() const {
        return std::ranges::all_of(results_, [](const auto& channel) {
            return std::ranges::all_of(channel, [](float sample) { return std::isfinite(sample); });
        });
    }

private:
    static AEffect& started(const Instance& plugin) {
        if (plugin.effect == nullptr) throw std::runtime_error("the plug-in refused to start");
        return *plugin.effect;
    }
    void set(const std::string& name, float value) { plugin_.set(indices_.at(name), value); }
    void give(std::vector<unsigned char>& chunk) {
        const auto size = static_cast<std::intptr_t>(chunk.size());
        EXPECT_EQ(plugin_.send(kEffectSetChunk, 1, size, chunk.data()), 1);
    }

    /// States that a user can make in the routing window and a host cannot: all groups, mid/side
    /// pairs, solo. The present one is unpacked, written over in place, and packed again.
    void makeRoutedStates() {
        void* data = nullptr;
        const auto size = static_cast<std::size_t>(plugin_.send(kEffectGetChunk, 1, 0, &data));
        const auto* chunk = static_cast<const unsigned char*>(data);
        std::vector<unsigned char> head(chunk, chunk + kChunkHead);
        std::uint32_t length = 0;
        std::memcpy(&length, chunk + 20, sizeof length);
        std::vector<unsigned char> payload(length);
        uLongf unpacked = length;
        ASSERT_EQ(uncompress(payload.data(), &unpacked, chunk + kChunkHead, size - kChunkHead),
                  Z_OK);
        for (int step = 0; step < 6; ++step) {
            auto state = payload;
            for (int i = 0; i < 8; ++i) {
                write(state, "io-params.in-routing", i, i + 1);
                write(state, "io-params.out-routing", i, i + 1);
                write(state, "io-params.grouping", i, (step % 2 ? i / 2 + step : i + step) % 8);
                write(state, "io-params.ms-pairs", i, step % 3 == 1 ? 1 + i / 2 : 0);
            }
            write(state, "io-params.channel-group-solo", 0, step % 3 == 2 ? 1 : 0);
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
    static constexpr std::size_t kChunkHead = 28; // 16 reserved bytes, then the block's own head

    Instance plugin_;
    Planar<float> samples_, results_;
    std::vector<float*> inputs_, outputs_;
    std::map<std::string, int> indices_;
    std::vector<std::vector<unsigned char>> routed_; // preset chunks
};

class Realtime : public ::testing::TestWithParam<double> {};

TEST_P(Realtime, noBlockTouchesAllocatorLockOrFile) {
    ScriptedInstance plugin(GetParam());
    lum::test::RealtimeGuard::forget();
    for (int block = 0; block < kBlocks; ++block) {
        plugin.control(block);
        {
            const lum::test::RealtimeGuard guard;
            plugin.process(block);
        }
        ASSERT_TRUE(plugin.isOutputFinite()) << "block " << block;
        ASSERT_EQ(lum::test::RealtimeGuard::violations(), 0) << "block " << block << "\n"
                                                             << lum::test::RealtimeGuard::report();
    }
}

/// The audio thread and the host's main thread, in turns. Control work is free to call the system;
/// the turn is handed over by an atomic alone, as the audio side could not wait otherwise.
class Turns {
public:
    explicit Turns(double sampleRate) : plugin_(sampleRate) {
        std::thread([this] { controlLoop(); }).detach(); // ends with the child process
    }
    void audioLoop() {
        for (int block = 0; block < kBlocks; ++block) {
            turn_.store(2 * block + 1, std::memory_order_release);
            while (turn_.load(std::memory_order_acquire) != 2 * block + 2) __builtin_ia32_pause();
            plugin_.process(block);
        }
    }

private:
    void controlLoop() {
        for (int block = 0; block < kBlocks; ++block) {
            while (turn_.load(std::memory_order_acquire) != 2 * block + 1)
                std::this_thread::yield();
            plugin_.control(block);
            turn_.store(2 * block + 2, std::memory_order_release);
        }
    }

    ScriptedInstance plugin_;
    std::atomic<int> turn_{0}; // odd: the control side's, even: the audio side's
};

TEST_P(Realtime, noBlockMakesASystemCall) {
    Turns* turns = nullptr;
    const auto result = lum::test::trapSystemCalls([&] { turns = new Turns(GetParam()); },
                                                   [&] { turns->audioLoop(); });
    EXPECT_TRUE(result.isClean) << result.report;
}

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

INSTANTIATE_TEST_SUITE_P(Rates, Realtime, ::testing::Values(44100.0, 192000.0),
                         [](const auto& rate) {
                             return std::to_string(static_cast<int>(rate.param)) + "Hz";
                         });

} // namespace
