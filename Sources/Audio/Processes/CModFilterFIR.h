#pragma once

#include "Audio/CAudioProcessDef.h"
#include "Audio/CAudioProcessTerminal.h"
#include "Audio/Filters/CAudioFilterGen.h"
#include "Audio/Processes/CDSPConvolver.h"
#include "Audio/Processes/CDSPDirectFIR.h"
#include "Audio/Processes/CKernelPartitions.h"

namespace lum {

class CAudioFilterGenArray;

/// `audio:modFilterFIR`: a FIR filter whose kernel comes from a generator of `gen-array`.
/// `is-zero-latency` adds a direct head, so that only the kernel's own delay is left.
class CModFilterFIRDef : public CAudioProcessDefBase {
public:
    CAudioProcessBase* createProcess() const override;
};

/// Designs one kernel from its parameters and convolves every channel with it. The parameters are
/// known by the names of the definition's allocations: `count`, `index`, `latency`, `fixsr` and
/// `points`, `points2`, `points3` are the module's own; any other is a setting that the generator
/// reads. All but the curves are structure, because another length, grid or block wants other
/// tables and other memory, which a block must not take. Audio thread or set-up.
class CModFilterFIRModule : public CAudioModule {
public:
    void init() override;
    void reset() override;
    void takeHistory(const CAudioModule& predecessor) LUM_REALTIME override;
    void update() LUM_REALTIME override;
    void registerParams() override;
    void process(int frames) LUM_REALTIME;

private:
    static constexpr int kCurves = 3;
    struct CSetting {
        int allocIndex;
        int position; // in the settings table
        CParamHandle handle;
    };
    /// What a channel is filtered with. It stays over rebuilds, which take no memory as long as the
    /// kernels have one length.
    struct CChannelFilter {
        std::unique_ptr<CDSPConvolver> convolver;
        std::unique_ptr<CDSPDirectFIR> head;
    };

    void collectNames();
    void findGenArray();
    void rebuild() LUM_REALTIME;
    bool areSettingsAvailable() const LUM_REALTIME;
    CSampleBlockRef gatherPoints(int& valueCount) LUM_REALTIME;
    void generate(CFilterGenContext& context) LUM_REALTIME;
    void readSettings(int filter) LUM_REALTIME;
    const CFilterKernelItem* chooseKernel(const CFilterGenContext& context) const LUM_REALTIME;
    void buildFilters(const CFilterKernelItem& item, int firstBlock) LUM_REALTIME;
    void buildHead(CChannelFilter& filter, const double* taps, int length) LUM_REALTIME;
    void addLatency(int samples) LUM_REALTIME;
    int firstBlockSize() const LUM_REALTIME;
    void log(const CString& message) const;

    bool isCollected = false;
    bool isSearched = false;
    bool isZeroLatency = false;
    CAudioFilterGenArray* genArray = nullptr;
    CParamHandle count;
    CParamHandle index;
    CParamHandle blockExponent;
    CParamHandle fixedRate;
    CParamHandle points[kCurves];
    int countAlloc = -1, indexAlloc = -1, latencyAlloc = -1, fixsrAlloc = -1; // -1: not declared
    int pointsAllocs[kCurves] = {-1, -1, -1};
    CVector<CSetting, 8> settings;
    CMap<CString, int> settingNames; // to positions in `settingValues`
    CVector<double, 16> settingValues;
    bool isFiltering = false;           // false: the channels pass as they are
    CKernelPartitions kernel;           // of all channels; has no stages where the head is all
    CVector<CChannelFilter, 2> filters; // by channel
};

class CModFilterFIR : public CAudioProcessTerminal<CModFilterFIRModule> {};

} // namespace lum
