#pragma once

#include "Audio/CGraphValues.h"

namespace lum {

/// What an instance's graphs are made from.
struct CGraphDefinitions {
    const CAudioProcessDefBase* main = nullptr;
    const CAudioProcessDefBase* output = nullptr;
    CString mainName;
    CString outputName;
    CString outputPath; // where the definition of the output stands
};

/// One complete graph of an instance, from the host's channels to its end point, with a pool of its
/// own. It is made for one layout and one routing and never linked anew: a control thread makes it,
/// lays it out and runs it on silence until every replacement of a module has found its memory;
/// only then the audio thread gets it. So whatever the audio thread does with it afterwards takes
/// no memory, and another routing is another graph (see CAudioGraphSwitch).
class CAudioGraph : public CLumMemAllocator {
public:
    CAudioGraph(CAudioEnv& env, CAudioParamCollector& collector, CControlWriteQueue& writes);
    ~CAudioGraph();
    CAudioGraph(const CAudioGraph&) = delete;
    CAudioGraph& operator=(const CAudioGraph&) = delete;

    // A control thread's.
    /// Makes the processes. Error: theirs, or a definition of the output that is no output's.
    CErrorResult create(const CGraphDefinitions& definitions);
    /// Reads all values, lays the processes out for these input channels, and rehearses. Once.
    void prepare(const CPortFormat& input);
    bool isPrepared() const { return inputCount >= 0; }
    const CGraphValues& getValues() const { return values; }

    // The audio thread's; a control thread's while no block can run.
    void goLive() LUM_REALTIME { values.goLive(); }
    void leave() LUM_REALTIME { values.leave(); }
    CSampleBlockPool& getPool() LUM_REALTIME { return pool; }
    /// Gives one input channel's samples for the next block.
    void feed(int slot, CSampleBlockRef block, int frames) LUM_REALTIME;
    void process() LUM_REALTIME;
    /// The samples of an output channel of this block; null for a channel that nothing reaches.
    const double* findOutput(int channel) LUM_REALTIME;
    void releaseOutputs() LUM_REALTIME { output->releaseInputs(); }
    /// Runs zeros.
    void runSilence(int frames) LUM_REALTIME;
    /// Forgets the signal's past.
    void reset();
    bool isSettled() const { return main->isSettled(); }
    int getLatency() const { return output->getLatency(); }

private:
    friend class CAudioGraphSwitch;
    CString traceName() const { return main ? main->getFullName() : CString(); }
    void rehearse();

    CSampleBlockPool pool;
    CGraphValues values;
    CAudioProcessContext context;
    std::unique_ptr<CAudioProcessBase> main;
    std::unique_ptr<CAudioProcessBase> output; // a CModOutput
    int inputCount = -1;                       // channels; -1: not prepared
    CAudioGraph* next = nullptr;               // of the list of those that have left
};

} // namespace lum
