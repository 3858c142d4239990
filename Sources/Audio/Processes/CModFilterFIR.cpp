#include "Audio/Processes/CModFilterFIR.h"

#include "Audio/CAudioParamDef.h"
#include "Audio/Filters/CAudioFilterGenArray.h"
#include "Core/CLog.h"

#include <algorithm>
#include <cmath>

namespace lum {

namespace {

constexpr double kFixedRate = 44100.0;   // Hz, of a design that does not follow the stream
constexpr int kHeadLength = 64;          // taps of the direct head; then blocks of 64 keep up
constexpr double kDefaultExponent = 7.0; // blocks of 128 samples
constexpr int kMinExponent = 4;          // 16 samples, the smallest block of the convolver
constexpr int kMaxExponent = 14;
constexpr int kMostFilters = 16; // of one kernel each, of which one is used

constexpr const char* kPointsNames[] = {"points", "points2", "points3"};
constexpr const char* kCountNames[] = {"element-count", "element-count2", "element-count3"};
constexpr const char* kElementSize = "element-size";

} // namespace

CAudioProcessBase* CModFilterFIRDef::createProcess() const {
    return new CModFilterFIR;
}

// Set-up ----------------------------------------------------------------------------------------

void CModFilterFIRModule::registerParams() {
    collectNames();
    auto bind = [this](int allocIndex, CParamHandle& handle, ParamUse use) {
        if (allocIndex >= 0) regModuleParam(allocIndex, &handle, use);
    };
    bind(countAlloc, count, ParamUse::Structure);
    bind(indexAlloc, index, ParamUse::Structure);
    bind(latencyAlloc, blockExponent, ParamUse::Structure);
    bind(fixsrAlloc, fixedRate, ParamUse::Structure);
    for (int i = 0; i < kCurves; i++) bind(pointsAllocs[i], points[i], ParamUse::Value);
    for (CSetting& setting : settings)
        bind(setting.allocIndex, setting.handle, ParamUse::Structure);
}

/// Sorts the allocations by name; the rest are settings of the generator.
void CModFilterFIRModule::collectNames() {
    if (std::exchange(isCollected, true)) return;
    struct {
        const char* name;
        int* allocIndex;
    } const own[] = {
        {"count", &countAlloc},
        {"index", &indexAlloc},
        {"latency", &latencyAlloc},
        {"fixsr", &fixsrAlloc},
        {kPointsNames[0], &pointsAllocs[0]},
        {kPointsNames[1], &pointsAllocs[1]},
        {kPointsNames[2], &pointsAllocs[2]},
    };
    auto addSetting = [this](const CString& name) {
        settingNames[name] = settingValues.ssize();
        settingValues.push_back(0.0);
        return settingValues.ssize() - 1;
    };
    for (const auto& [allocIndex, alloc] : getDefinition().getAllocs()) {
        const CString& name = alloc->paramName;
        const auto* found = std::find_if(std::begin(own), std::end(own),
                                         [&name](const auto& row) { return name == row.name; });
        if (found != std::end(own))
            *found->allocIndex = allocIndex;
        else
            settings.push_back({allocIndex, addSetting(name), {}});
    }
    for (int i = 0; i < kCurves; i++) {
        if (pointsAllocs[i] < 0) continue;
        if (i == 0) addSetting(kElementSize);
        addSetting(kCountNames[i]);
    }
}

void CModFilterFIRModule::init() {
    if (std::exchange(isSearched, true)) return;
    isZeroLatency = getDefinition().getAttrBool("is-zero-latency");
    findGenArray();
}

void CModFilterFIRModule::findGenArray() {
    const CAudioProcessDefBase& definition = getDefinition();
    const CString path = definition.getAttrString("gen-array");
    if (path.empty() || !definition.findObject(path))
        log(CString("The 'gen-array' '") + path + "' not found.");
    else
        logAndDropError(definition.findObjectByAttr(genArray, "gen-array"));
}

// Rebuild ---------------------------------------------------------------------------------------

void CModFilterFIRModule::update() {
    const int before = channels.empty() ? 0 : channels[0].latency;
    filters.resize(channels.size());
    rebuild();
    const int after = channels.empty() ? 0 : channels[0].latency;
    if (after != before) outputLatencyChanged();
}

void CModFilterFIRModule::rebuild() {
    isFiltering = false;
    for (CModuleChannel& channel : channels) channel.latency = getBaseLatency();
    if (!genArray || !areSettingsAvailable()) return;
    CFilterGenContext context;
    generate(context);
    addLatency(context.latency);
    const CFilterKernelItem* chosen = chooseKernel(context);
    if (!chosen) return;
    const int firstBlock = firstBlockSize();
    if (!isZeroLatency) addLatency(firstBlock);
    buildFilters(*chosen, firstBlock);
}

bool CModFilterFIRModule::areSettingsAvailable() const {
    return std::all_of(settings.begin(), settings.end(),
                       [](const CSetting& setting) { return setting.handle.isAvailable(); });
}

void CModFilterFIRModule::generate(CFilterGenContext& context) {
    int valueCount = 0;
    const CSampleBlockRef values = gatherPoints(valueCount);
    const int wanted = std::min(roundToInt(count.read(0, 1.0)), kMostFilters);
    for (int i = 0; i < wanted; i++) {
        const CAudioFilterGen* gen = genArray->getGen(roundToInt(index.read(i, 0.0)));
        if (!gen) continue;
        readSettings(i);
        const double rate = fixedRate.read(i, 0.0) >= 0.5 ? kFixedRate : getSampleRate();
        gen->generate(context, rate,
                      {settingNames, settingValues.data(), values.samples(), valueCount},
                      getPool());
    }
}

/// The stored points of all curves of the module's group, one curve behind the other.
CSampleBlockRef CModFilterFIRModule::gatherPoints(int& valueCount) {
    for (const CParamHandle& curve : points)
        valueCount += curve.elementCount() * curve.elementSize();
    CSampleBlockRef block = getPool().take(valueCount);
    double* place = block.samples();
    for (const CParamHandle& curve : points)
        for (int i = 0; i < curve.elementCount(); i++)
            for (int sub = 0; sub < curve.elementSize(); sub++) *place++ = curve.read(i, 0.0, sub);
    return block;
}

void CModFilterFIRModule::readSettings(int filter) {
    for (const CSetting& setting : settings)
        settingValues[setting.position] = setting.handle.read(filter, 0.0);
    auto set = [this](const char* name, int value) {
        settingValues[settingNames.find(CString(name))->second] = value;
    };
    for (int i = 0; i < kCurves; i++) {
        if (pointsAllocs[i] < 0) continue;
        if (i == 0) set(kElementSize, points[0].elementSize());
        set(kCountNames[i], points[i].elementCount());
    }
}

const CFilterKernelItem* CModFilterFIRModule::chooseKernel(const CFilterGenContext& context) const {
    const CFilterKernelItem* chosen = nullptr;
    for (const CFilterKernelItem& item : context.items) {
        if (item.length <= 0) continue;
        if (chosen) {
            log("FIR filter combining was not implemented yet!");
            return nullptr;
        }
        chosen = &item;
    }
    return chosen;
}

int CModFilterFIRModule::firstBlockSize() const {
    const int exponent = roundToInt(blockExponent.read(0, kDefaultExponent));
    return 1 << std::clamp(exponent, kMinExponent, kMaxExponent);
}

/// All channels have one kernel, so it is divided and transformed once.
void CModFilterFIRModule::buildFilters(const CFilterKernelItem& item, int firstBlock) {
    const double* taps = item.kernel.samples();
    const int head = isZeroLatency ? std::min(item.length, kHeadLength) : 0;
    const bool isSameShape = kernel.fill(getPool(), isZeroLatency ? kHeadLength : firstBlock,
                                         taps + head, item.length - head);
    for (CChannelFilter& filter : filters) {
        buildHead(filter, taps, head);
        if (kernel.getStages().empty())
            filter.convolver.reset();
        else if (isSameShape && filter.convolver)
            filter.convolver->requestReset();
        else
            filter.convolver.reset(new CDSPConvolver(getPool(), kernel));
    }
    isFiltering = true;
}

void CModFilterFIRModule::buildHead(CChannelFilter& filter, const double* taps, int length) {
    if (length == 0)
        filter.head.reset();
    else if (filter.head && filter.head->getLength() == length)
        filter.head->setTaps(taps);
    else
        filter.head.reset(new CDSPDirectFIR(getPool(), taps, length));
}

void CModFilterFIRModule::addLatency(int samples) {
    for (CModuleChannel& channel : channels) channel.latency += samples;
}

void CModFilterFIRModule::log(const CString& message) const {
    logLine(getTerminal().getFullName() + " // " + message);
}

// Run -------------------------------------------------------------------------------------------

void CModFilterFIRModule::reset() {
    for (CChannelFilter& filter : filters) {
        if (filter.convolver) filter.convolver->requestReset();
        if (filter.head) filter.head->requestReset();
    }
}

/// With another kernel of the same shape the past of the input is of the same use. Without it the
/// first samples behind the latency would still answer to a past that never was.
void CModFilterFIRModule::takeHistory(const CAudioModule& predecessor) {
    const auto& older = static_cast<const CModFilterFIRModule&>(predecessor);
    if (!isFiltering || !older.isFiltering || !kernel.isShapedLike(older.kernel)) return;
    for (size_t i = 0; i < std::min(filters.size(), older.filters.size()); i++) {
        CChannelFilter& filter = filters[i];
        const CChannelFilter& past = older.filters[i];
        if (filter.convolver && past.convolver) filter.convolver->takeHistory(*past.convolver);
        if (filter.head && past.head && filter.head->getLength() == past.head->getLength())
            filter.head->takeHistory(*past.head);
    }
}

void CModFilterFIRModule::process(int frames) {
    for (size_t i = 0; i < channels.size(); i++) {
        CModuleChannel& channel = channels[i];
        CChannelFilter& filter = filters[i];
        channel.output = channel.input->block;
        if (!isFiltering) continue;
        CSampleBlockRef out = getPool().take(frames);
        const double* in = channel.output.samples();
        if (filter.convolver) filter.convolver->process(in, out.samples(), frames);
        if (filter.head)
            filter.head->process(in, out.samples(), frames,
                                 filter.convolver ? CDSPDirectFIR::Output::Add
                                                  : CDSPDirectFIR::Output::Copy);
        channel.output = std::move(out);
    }
}

} // namespace lum
