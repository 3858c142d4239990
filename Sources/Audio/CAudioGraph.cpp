#include "Audio/CAudioGraph.h"

#include "Audio/CAudioProcessDef.h"
#include "Audio/Filters/CBuildThread.h"
#include "Audio/Processes/CModOutput.h"

namespace lum {

namespace {

constexpr int kLongestRehearsal = 2000; // blocks of a round; fades last a few
constexpr int kUpdateBlocks = 4;        // short scratch of an update

} // namespace

CAudioGraph::CAudioGraph(CAudioEnv& env, CAudioParamCollector& collector,
                         CControlWriteQueue& writes)
    : context{env, collector, pool, writes, &values} {}

CAudioGraph::~CAudioGraph() {
    if (main) main->disconnect();
}

CErrorResult CAudioGraph::create(const CGraphDefinitions& definitions) {
    LUM_TRY(definitions.main->instantiate(main, definitions.mainName, context, nullptr));
    LUM_TRY(definitions.output->instantiate(output, definitions.outputName, context, nullptr));
    if (!dynamic_cast<CModOutput*>(output.get()))
        return LUM_FAIL(
            "@lumstr_CAudioWrapper_init_InvalidOutput Output process object '%1' is not "
            "of required 'CModOutput' type.",
            definitions.outputPath);
    CAudioProcessBase::connect(*main, 0, *output, 0);
    return nullptr;
}

void CAudioGraph::prepare(const CPortFormat& input) {
    CBuildHelperScope helpers;
    inputCount = input.slots.ssize();
    values.refresh();
    main->setExternalInput(0, input);
    rehearse();
    reset();
}

/// Replaces every module once and again and lets the fades run out. Twice, because the second
/// replacement is the first that finds a retired module. What a block holds on its way depends on
/// values too, such as a gain of 1 that hands it on as it is, so that is counted.
void CAudioGraph::rehearse() {
    runSilence(kLongestSubBlock);
    for (int round = 0; round < 2; round++) {
        values.markAll();
        int blocks = 0;
        do runSilence(kLongestSubBlock);
        while (!isSettled() && ++blocks < kLongestRehearsal);
    }
    pool.reserve(kLongestSubBlock, inputCount + main->countBlocks() + kUpdateBlocks);
}

void CAudioGraph::runSilence(int frames) LUM_REALTIME {
    for (int i = 0; i < inputCount; i++) feed(i, pool.takeZeroed(frames), frames);
    process();
    releaseOutputs();
}

void CAudioGraph::feed(int slot, CSampleBlockRef block, int frames) LUM_REALTIME {
    main->feedExternal(0, slot, std::move(block), frames);
}

void CAudioGraph::process() LUM_REALTIME {
    main->process();
    output->process();
}

const double* CAudioGraph::findOutput(int channel) LUM_REALTIME {
    for (CChannelSlot& slot : output->inputSlots(0))
        if (slot.format.channel == channel && slot.block) return slot.block.samples();
    return nullptr;
}

void CAudioGraph::reset() {
    main->reset();
    output->reset();
}

} // namespace lum
