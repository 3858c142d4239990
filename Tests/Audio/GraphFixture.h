#pragma once

#include "Audio/CAudioParamCreators.h"
#include "Audio/CAudioProcess.h"
#include "Audio/CAudioProcessCreators.h"
#include "Audio/CAudioProcessStack.h"
#include "Audio/CAudioProcessTerminal.h"
#include "Audio/Filters/CFilterCreators.h"
#include "Audio/Processes/CModOutput.h"
#include "Core/CResourceReader.h"
#include "Core/TreeFixture.h"

#include <cmath>
#include <map>
#include <numbers>

/// A delay of a fixed number of samples with a gain, which starts each time with a cold history.
class CTestDelayModule : public lum::CAudioModule {
public:
    void registerParams() override { regModuleParam(0, &gain); }
    void update() override {
        delay = getDefinition().getAttrInt("delay");
        factor = gain.read(0, 1.0);
        history.assign(channels.size(), std::vector<double>(static_cast<size_t>(delay), 0.0));
        places.assign(channels.size(), 0);
        for (lum::CModuleChannel& channel : channels) channel.latency = getBaseLatency() + delay;
        builds++;
    }
    void process(int frames) {
        for (size_t c = 0; c < channels.size(); c++) {
            channels[c].output = getPool().take(frames);
            const double* in = channels[c].input->block.samples();
            for (int i = 0; i < frames; i++) {
                double out = in[i];
                if (delay > 0) {
                    std::swap(out, history[c][places[c]]);
                    places[c] = (places[c] + 1) % static_cast<size_t>(delay);
                }
                channels[c].output.samples()[i] = out * factor;
            }
        }
    }
    static inline int builds = 0;

private:
    lum::CParamHandle gain;
    int delay = 0;
    double factor = 1.0;
    std::vector<std::vector<double>> history;
    std::vector<size_t> places;
};

class CTestDelay : public lum::CAudioProcessTerminal<CTestDelayModule> {};

class CTestDelayDef : public lum::CAudioProcessDefBase {
public:
    lum::CAudioProcessBase* createProcess() const override { return new CTestDelay; }
};

using Samples = std::vector<double>;
using Channels = std::map<int, Samples>;
using Attrs = std::vector<std::pair<std::string, std::string>>;

/// Noise in [-1, 1) that any position can be asked for.
inline double noiseAt(int channel, int position) {
    uint64_t x = static_cast<uint64_t>(position + 1) * 0x9E3779B97F4A7C15u +
                 static_cast<uint64_t>(channel + 1) * 0xD1B54A32D192ED03u;
    x ^= x >> 31;
    x *= 0x94D049BB133111EBu;
    x ^= x >> 29;
    return static_cast<double>(x >> 11) * 0x1p-52 - 1.0;
}

/// The share of the old signal at sample k of a fade over n samples.
inline double oldShare(int k, int n) {
    return 0.5 + 0.5 * std::cos(k * std::numbers::pi / n);
}

inline CNode process(const char* tag, const char* name, Attrs attrs = {},
                     std::vector<CNode> children = {}) {
    return {tag, name, std::move(attrs), std::move(children), {}};
}
inline CNode linkOf(const char* src, const char* dst, Attrs more = {}) {
    more.push_back({"src", src});
    more.push_back({"dst", dst});
    return process("audio:process-link", "link", more);
}
inline CNode param(const char* name, const char* defaults, Attrs more = {}) {
    Attrs attrs = {{"element-size", "1"},
                   {"converter", "shared::real"},
                   {"min-values", "-100"},
                   {"max-values", "100"},
                   {"def-values", defaults}};
    attrs.insert(attrs.end(), more.begin(), more.end());
    return process("audio:param", name, attrs);
}
inline CNode alloc(int index, const char* name, Attrs more = {}) {
    more.push_back({"index", std::to_string(index)});
    more.push_back({"param-name", name});
    return process("audio:param-alloc", "alloc", more);
}
inline const Attrs kSingleGroup = {{"is-single-group", "true"}};
inline const Attrs kSingle = {{"is-single-group", "true"}, {"is-single-element", "true"}};
inline const Attrs kAllElements = {{"use-all-elements", "true"}};

inline CNode router(const char* name, bool isOutput, const char* routing, const char* grouping,
                    const char* countsParam = "") {
    return process("audio:modRouter", name,
                   {{"is-output", isOutput ? "true" : "false"},
                    {"bypass-state-id", "-1"},
                    {"channel-counts-param", countsParam}},
                   {param("routing", routing, kSingleGroup),
                    param("grouping", grouping, kSingleGroup), alloc(0, "routing", kAllElements),
                    alloc(1, "grouping", kAllElements)});
}
inline CNode delay(const char* name, int samples, Attrs more = {}) {
    more.push_back({"delay", std::to_string(samples)});
    more.push_back({"xfade-length", "0.01"});
    return process("test:delay", name, more, {param("gain", "1"), alloc(0, "gain")});
}

/// A compiled shared tree with one graph, and an instance that runs it.
class CGraph {
public:
    static lum::CString traceName() { return "test"; }
    CGraph() = default;
    CGraph(const CGraph&) = delete;
    CGraph& operator=(const CGraph&) = delete;
    ~CGraph() {
        output.reset();
        main.reset();
        context.reset();
        pool.reset();
        if (root) lum::CObject::destroyObject(root);
        if (isStarted) lum::CApplication::finish();
    }

    /// Loads the tree; the graph is `main`, linked automatically.
    void load(std::vector<CNode> children, Attrs attrs = {{"is-auto-links", "true"}}) {
        static const lum::CCreatorRow testRows[] = {
            lum::creatorRow<CTestDelayDef>("test:delay"),
            lum::creatorRow<lum::CAudioProcessLinkStateDef>("test:link-state"),
            {nullptr, nullptr, nullptr}};
        static const lum::CCreatorRow* const tables[] = {lum::kCoreCreators,
                                                         lum::kAudioParamCreators,
                                                         lum::kAudioProcessCreators,
                                                         lum::kFilterCreators,
                                                         testRows,
                                                         nullptr};
        CNode tree = process("any", "tree", {},
                             {process("audio:cvt-real", "real", {{"decimals", "2"}}),
                              process("audio:modOutput", "output"),
                              process("audio:process-def", "main", attrs, children)});
        std::string bytes = CNode::bytesOf(tree);
        for (int i = 0; i < 4; i++) resource += static_cast<char>(bytes.size() >> (8 * i));
        resource += bytes;
        rows[0] = {reinterpret_cast<const uint8_t*>(resource.data()), "Graph"};
        EXPECT_FALSE(lum::CApplication::start({tables, rows, nullptr}));
        isStarted = true;
        loadError = lum::CApplication::get()->initSharedObject("Graph");
    }
    /// Makes the live processes.
    lum::CErrorResult instantiate() {
        LUM_TRY(std::move(loadError));
        LUM_TRY(lum::CApplication::get()->initRootObject(root, ""));
        LUM_TRY(root->createChild(env, "audio:audio-env", "audio-env", false));
        lum::CAttrMap given;
        given["env"] = lum::CAttrEntry::ofText("^audio-env");
        LUM_TRY(root->createChild(collector, "audio:param-collector", "collector", false, &given));
        pool.reset(new lum::CSampleBlockPool);
        context.reset(new lum::CAudioProcessContext{*env, *collector, *pool, writes});
        LUM_TRY(make(main, "main"));
        LUM_TRY(make(output, "output"));
        lum::CAudioProcessBase::connect(*main, 0, *output, 0);
        env->isActive = true;
        return nullptr;
    }
    void build(std::vector<CNode> children, Attrs attrs = {{"is-auto-links", "true"}}) {
        load(std::move(children), std::move(attrs));
        lum::CErrorResult error = instantiate();
        EXPECT_FALSE(error) << first(error);
    }
    void setInput(int channels, double rate = 48000.0) {
        lum::CPortFormat format;
        format.sampleRate = rate;
        for (int i = 0; i < channels; i++) format.slots.push_back({i, 0, 0, 0});
        main->setExternalInput(0, format);
        inputs = channels;
    }
    void set(const char* name, int group, int element, double value) {
        lum::CAudioParam& live = collector->getParam(name);
        lum::CAudioParamGuard guard(live);
        live.applyChange(lum::CAudioParamChange::ofValues(live.getValues().getFormat(), group,
                                                          element, &value, 1, false, nullptr),
                         {}, &guard);
    }
    void runBlock(int frames, Channels& out) {
        collector->takePendingChanges();
        for (int c = 0; c < inputs; c++) {
            lum::CSampleBlockRef block = pool->take(frames);
            for (int i = 0; i < frames; i++) block.samples()[i] = signal(c, position + i);
            main->feedExternal(0, c, std::move(block), frames);
        }
        main->process();
        output->process();
        for (lum::CChannelSlot& slot : output->inputSlots(0)) {
            if (!slot.block) continue;
            Samples& samples = out[slot.format.channel];
            samples.insert(samples.end(), slot.block.samples(), slot.block.samples() + frames);
        }
        output->releaseInputs();
        position += frames;
    }
    /// Runs `total` samples in blocks of the given lengths, over and over.
    Channels run(int total, const std::vector<int>& lengths = {512}) {
        Channels out;
        for (size_t i = 0; total > 0; i++) {
            int frames = std::min(lengths[i % lengths.size()], total);
            runBlock(frames, out);
            total -= frames;
        }
        return out;
    }
    lum::CAudioProcess& composite() { return static_cast<lum::CAudioProcess&>(*main); }
    bool isActive(const char* name) { return composite().findActive(name) != nullptr; }

    double (*signal)(int channel, int position) = noiseAt;
    std::unique_ptr<lum::CSampleBlockPool> pool;
    lum::CControlWriteQueue writes;
    std::unique_ptr<lum::CAudioProcessContext> context;
    std::unique_ptr<lum::CAudioProcessBase> main;
    std::unique_ptr<lum::CAudioProcessBase> output;
    lum::CAudioEnv* env = nullptr;
    lum::CAudioParamCollector* collector = nullptr;
    lum::CErrorResult loadError;
    int position = 0;
    int inputs = 0;

private:
    static lum::CErrorResult make(std::unique_ptr<lum::CAudioProcessBase>& out, const char* name,
                                  lum::CAudioProcessContext& shared) {
        lum::CAudioProcessDefBase* definition = nullptr;
        LUM_TRY(lum::CObject::sharedRoot()->findObjectChecked(definition, name));
        return definition->instantiate(out, lum::CString("plugin.") + name, shared, nullptr);
    }
    lum::CErrorResult make(std::unique_ptr<lum::CAudioProcessBase>& out, const char* name) {
        return make(out, name, *context);
    }

    lum::CObject* root = nullptr;
    bool isStarted = false;
    std::string resource;
    lum::CResourceRow rows[2] = {};
};
