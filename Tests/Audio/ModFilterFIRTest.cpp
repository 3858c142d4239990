#include "Audio/Filters/CAudioFilterFIRSplineGen.h"
#include "GraphFixture.h"

using namespace lum;

namespace {

constexpr const char* kPoints = "plugin.main.fir.points";
constexpr double kRate = 48000.0;
constexpr int kHalf = 288; // taps of half a kernel at 48 kHz
constexpr int kImpulseAt = 1000;

double impulse(int channel, int position) {
    return position == kImpulseAt ? 1.0 + channel : 0.0;
}
double constant(int, int) {
    return 0.5;
}

struct COptions {
    Attrs attrs = {{"gen-array", "shared::main.gens"}, {"is-terminal-whole", "true"}};
    const char* count = "1";
    const char* index = "0";
    const char* latency = "7";
    const char* fixsr = "0";
};

CNode wide(const char* name, const char* value) {
    return param(name, value, {{"max-values", "100000"}});
}

/// A filter with its generator, set up as the product does it, with sixteen gains of 1.
std::vector<CNode> filterTree(const COptions& o) {
    const char* const names[] = {"count",     "index",     "latency",    "fixsr",
                                 "length",    "min-phase", "min-freq",   "max-freq",
                                 "precision", "points",    "point-count"};
    std::vector<CNode> children = {
        wide("count", o.count), wide("index", o.index),    wide("latency", o.latency),
        wide("fixsr", o.fixsr), wide("length", "0.012"),   wide("min-phase", "0"),
        wide("min-freq", "20"), wide("max-freq", "20000"), wide("precision", "256"),
        wide("points", "1"),    wide("point-count", "16")};
    int place = 0;
    for (const char* name : names)
        children.push_back(
            alloc(place++, name, std::string(name) == "points" ? kAllElements : Attrs{}));
    Attrs attrs = o.attrs;
    attrs.push_back({"xfade-length", "0.025"});
    return {process("audio:fltgen-firspline", "gen", {{"type", "0"}}),
            process("audio:fltgen-array", "gens", {},
                    {process("audio:fltgen-array-item", "item",
                             {{"index", "0"}, {"fltgen", "shared::main.gen"}})}),
            process("audio:modFilterFIR", "fir", attrs, children)};
}

int reportedLatency(CGraph& g) {
    return g.output->inputSlots(0)[0].format.latency;
}

/// The kernel that one raised band gives, from the generator itself.
Samples kernelOf(int band, double gain) {
    CSampleBlockPool pool;
    CMap<CString, int> names;
    Samples values;
    const std::pair<const char*, double> settings[] = {
        {"length", 0.012},       {"min-phase", 0.0},   {"min-freq", 20.0},
        {"max-freq", 20000.0},   {"precision", 256.0}, {"element-size", 1.0},
        {"element-count", 16.0}, {"point-count", 16.0}};
    for (const auto& [name, value] : settings) {
        names[CString(name)] = static_cast<int>(values.size());
        values.push_back(value);
    }
    Samples points(16, 1.0);
    points[static_cast<size_t>(band)] = gain;
    CFilterGenContext context;
    CAudioFilterFIRSplineGen().generate(context, kRate, {names, values.data(), points.data(), 16},
                                        pool);
    const double* taps = context.items[0].kernel.samples();
    return {taps, taps + context.items[0].length};
}

} // namespace

TEST(ModFilterFIRTest, aFlatFilterIsADelayOfTheReportedLatency) {
    struct {
        double rate;
        const char* exponent;
        const char* fixsr;
        int latency;
    } const rows[] = {
        {44100.0, "7", "0", 392},          {48000.0, "7", "0", 415},      {96000.0, "7", "0", 703},
        {192000.0, "7", "0", 1279},        {96000.0, "7", "1", 392},      // designed at 44.1 kHz
        {44100.0, "14", "0", 264 + 16384}, {44100.0, "0", "0", 264 + 16}, // the smallest block
    };
    for (const auto& row : rows) {
        COptions options;
        options.latency = row.exponent;
        options.fixsr = row.fixsr;
        CGraph g;
        g.signal = impulse;
        g.build(filterTree(options));
        g.setInput(2, row.rate);
        Channels out = g.run(kImpulseAt + row.latency + 500);
        EXPECT_EQ(reportedLatency(g), row.latency);
        for (int c = 0; c < 2; c++)
            for (int i = 0; i < static_cast<int>(out[c].size()); i++)
                ASSERT_NEAR(out[c][static_cast<size_t>(i)],
                            i == kImpulseAt + row.latency ? 1.0 + c : 0.0, 1e-13)
                    << row.latency << " " << i;
    }
}

TEST(ModFilterFIRTest, everyChannelHasTheKernelOfTheGains) {
    for (const char* isWhole : {"true", "false"})
        for (const char* isZeroLatency : {"false", "true"}) {
            COptions options;
            options.attrs = {{"gen-array", "shared::main.gens"},
                             {"is-terminal-whole", isWhole},
                             {"is-zero-latency", isZeroLatency}};
            const bool isDirect = isZeroLatency[0] == 't';
            CGraph g;
            g.signal = impulse;
            g.build(filterTree(options));
            g.set(kPoints, 0, 15, 1.0); // all sixteen are stored
            g.set(kPoints, 0, 11, 2.5);
            g.setInput(2, kRate);
            Channels out = g.run(2500, {100, 1, 513});
            EXPECT_EQ(reportedLatency(g), kHalf - 1 + (isDirect ? 0 : 128));
            const Samples kernel = kernelOf(11, 2.5);
            const size_t start = kImpulseAt + (isDirect ? 0 : 128);
            for (int c = 0; c < 2; c++)
                for (size_t i = 0; i < out[c].size(); i++) {
                    const bool isInside = i >= start && i < start + kernel.size();
                    ASSERT_NEAR(out[c][i], isInside ? (1.0 + c) * kernel[i - start] : 0.0, 1e-14)
                        << i;
                }
        }
}

TEST(ModFilterFIRTest, aSustainedValueStartsWithoutARampAlsoAfterAReset) {
    CGraph g;
    g.signal = constant;
    g.build(filterTree({}));
    g.setInput(1, kRate);
    for (int round = 0; round < 2; round++) {
        const Channels out = g.run(2000, {64});
        for (double value : out.at(0)) ASSERT_NEAR(value, 0.5, 1e-13);
        g.main->reset();
    }
}

TEST(ModFilterFIRTest, aSmoothChangeEndsAtTheNewKernelInAnySplit) {
    auto runWith = [](const std::vector<int>& split) {
        COptions options;
        options.attrs.push_back({"is-smooth-update", "true"});
        CGraph g;
        g.build(filterTree(options));
        g.setInput(2, kRate);
        g.run(1000, {500});
        g.set(kPoints, 0, 15, 1.0);
        g.set(kPoints, 0, 5, 0.3);
        return g.run(4000, split);
    };
    const Channels whole = runWith({4000});
    for (const std::vector<int>& split : {std::vector<int>{1}, {7}, {64}, {513}, {4000, 0}})
        EXPECT_EQ(runWith(split), whole) << split[0];
    const Samples kernel = kernelOf(5, 0.3);
    for (int i = 3900; i < 4000; i++) {
        double want = 0.0;
        for (size_t k = 0; k < kernel.size(); k++)
            want += kernel[k] * noiseAt(1, 1000 + i - 128 - static_cast<int>(k));
        ASSERT_NEAR(whole.at(1)[static_cast<size_t>(i)], want, 1e-12);
    }
}

TEST(ModFilterFIRTest, whatGivesNoKernelPassesTheInput) {
    struct {
        const char* genArray;
        const char* count;
        const char* index;
        int latency;
    } const rows[] = {
        {"shared::main.nothing", "1", "0", 0},
        {"shared::main.gen", "1", "0", 0}, // of another class
        {"shared::main.gens", "1", "3", 0},
        {"shared::main.gens", "0", "0", 0},
        {"shared::main.gens", "2", "0", 2 * (kHalf - 1)},       // no combining; their latency stays
        {"shared::main.gens", "100000", "0", 16 * (kHalf - 1)}, // nobody means as many
        {"shared::main.gens", "1", "-3000000000", 0},
    };
    for (const auto& row : rows) {
        COptions options;
        options.attrs = {{"gen-array", row.genArray}};
        options.count = row.count;
        options.index = row.index;
        CGraph g;
        g.build(filterTree(options));
        g.setInput(1, kRate);
        const Channels out = g.run(600, {200});
        EXPECT_EQ(reportedLatency(g), row.latency) << row.genArray;
        for (int i = 0; i < 600; i++) ASSERT_EQ(out.at(0)[static_cast<size_t>(i)], noiseAt(0, i));
    }
}
