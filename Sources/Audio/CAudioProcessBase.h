#pragma once

#include "Audio/CAudioEnv.h"
#include "Audio/CAudioParamCollector.h"
#include "Audio/CControlWriteQueue.h"
#include "Audio/CSampleBlock.h"

#include <algorithm>

namespace lum {

class CAudioParamAllocDef;
class CAudioProcessBase;
class CAudioProcessDefBase;
class CDSPModDelay;
class CGraphValues;

constexpr int kMaxPortChannels = 16;
constexpr int kMaxGroups = 8;

/// What all processes of a graph share.
struct CAudioProcessContext {
    CAudioEnv& env;
    CAudioParamCollector& collector;
    CSampleBlockPool& pool;
    CControlWriteQueue& controlWrites; // drained by the instance on a control thread
    CGraphValues* values = nullptr;    // null: all parameters are read live
};

/// One channel of a port as its source describes it.
struct CSlotFormat {
    int channel = 0; // internal channel, 0 to 15
    int stack = 0;   // the higher bits of the slot id
    int group = 0;   // channel group, 0 to 7
    int latency = 0; // samples of delay gathered since the graph's input
    friend bool operator==(const CSlotFormat&, const CSlotFormat&) = default;
};

/// What a source publishes to the ports that it feeds.
struct CPortFormat : public CLumMemAllocator {
    double sampleRate = 0.0; // Hz
    CVector<CSlotFormat, kMaxPortChannels> slots;
    bool operator==(const CPortFormat& other) const;
};

/// A channel of an input port, merged over all sources that feed it and aligned to the process's
/// latency, which therefore is `format.latency` of every slot.
struct CChannelSlot {
    CSlotFormat format;
    CSampleBlockRef block; // of the current block; null outside a block and at 0 frames
};

/// The table of slots of a port, ascending channel. Its address is stable, so modules keep pointers
/// to its slots until the next change of format.
struct CSlotTable {
    CChannelSlot slots[kMaxPortChannels];
    int count = 0;
    CChannelSlot* begin() { return slots; }
    CChannelSlot* end() { return slots + count; }
    CChannelSlot& operator[](int index) { return slots[index]; }
    bool empty() const { return count == 0; }
    int size() const { return count; }
    int ssize() const { return count; }
};

/// A compensation delay with the channel that it serves.
struct CSlotDelay {
    int channel;
    int stack;
    std::unique_ptr<CDSPModDelay> delay; // null: none needed so far
};

/// One source of an input port: what it published and what it delivered for the current block.
struct CPortSource : public CLumMemAllocator {
    CPortSource();
    ~CPortSource();
    /// Takes a format; blocks wait in `blocks` from now on.
    void setFormat(const CPortFormat& newFormat) LUM_REALTIME;
    /// Puts blockOf(i) to the place of slot `firstSlot` + i, for i from 0 to `count` - 1.
    template <class BlockOf>
    void put(int firstSlot, int count, BlockOf blockOf) LUM_REALTIME {
        const int end = std::min(count, places.ssize() - firstSlot);
        for (int i = 0; i < end; i++) *places[firstSlot + i] = blockOf(i);
    }

    CAudioProcessBase* process = nullptr; // null: fed from outside the graph
    int sourcePort = 0;
    CPortFormat format;
    /// Where a delivered block goes: to `blocks`, or straight to the slot that it is for.
    CVector<CSampleBlockRef*, kMaxPortChannels> places; // [slots of format]
    CVector<CSampleBlockRef, kMaxPortChannels> blocks;  // [slots of format]: wait to be merged
    CVector<CSlotDelay, 2> delays;                      // [slots of format]
    bool hasRun = false; // samples came through since the link or the stream began
};

/// One slot of one source that goes into a merged channel.
struct CMergeEntry {
    int slot;   // index in the slot table
    int source; // index in the port's sources
    int sourceSlot;
};

/// An input port. A port stays once it was linked; without sources it has no slots.
struct CInputPort : public CLumMemAllocator {
    /// Lets a simple port's sources deliver straight into the slots.
    void goDirect() LUM_REALTIME;
    /// Back to blocks that wait in the sources; those of this block go there too.
    void leaveDirect() LUM_REALTIME;

    int number = 0;
    int blockLength = 0;    // samples
    bool isTouched = false; // sources came, went, or published: slots and merges are out of date
    bool isSimple = false;  // one source for each slot and no delay: nothing to merge
    bool isDirect = false;
    CSlotTable slots;
    CVector<std::unique_ptr<CPortSource>, 2> sources;
    CVector<CMergeEntry, kMaxPortChannels> merges; // by slot, then by source
};

/// Where a process's output goes.
struct COutputTarget {
    CAudioProcessBase* process;
    int sourcePort;
    int targetPort;
    CInputPort* port;    // the target's port
    CPortSource* source; // the entry in it
};

/// What follows from a parameter: values inside the processes, or which processes there are and how
/// they are linked. A graph of an instance keeps its structure for life (see CAudioGraph).
enum class ParamUse { Value, Structure };

/// A subscription of a process to a parameter, or to one group and element of it.
struct CParamSubscription : public CLumMemAllocator {
    CAudioParam* param = nullptr;
    const CAudioParamStorage* storage = nullptr; // audio-side values, or those of the graph
    CAudioListenerNode node;
    uint32_t groupMask = 0;
    int allocIndex = -1; // -1: not by allocation
    int group = -1;      // -1: all
    int element = -1;    // -1: all
    ParamUse use = ParamUse::Value;
    uint8_t isDirty = 0; // set by the collector
    int8_t newMark = 0;  // -1 while update runs and the value is new, else 0

    bool isNew() const { return newMark != 0; }
    /// From now on the audio-side values are read and their changes heard.
    void listen() LUM_REALTIME;
    /// The value counts as new at the process's next block.
    void mark() LUM_REALTIME {
        isDirty = 1;
        *node.anyDirty = 1;
    }
    /// Group 0 of a single-group parameter, whatever the group asked for.
    double read(int readGroup, int readElement, double fallback) const LUM_REALTIME;
};

/// A live process of the audio graph. Everything runs on the thread that the host calls for audio,
/// or at set-up. Order of use: init, then per block process, which runs the block head (timed
/// events, update, compensation, merging); reset when the stream restarts; disconnect at the end.
///
/// How blocks travel: a source publishes a format (sample rate and slots) per output port whenever
/// it changes, and delivers one block reference per slot and block. The target keeps both by
/// source, and its block head merges the sources into the slot table of the port: ascending
/// channel, all slots aligned to the largest latency. Where each slot has one source and no delay,
/// which is nearly everywhere, that source delivers straight into the slot.
///
/// How a graph is driven from outside (the instance):
///   definition.instantiate(process, "plugin.modMain", context, nullptr);
///   CAudioProcessBase::connect(*process, 0, *output, 0);
///   per layout:  process->setExternalInput(0, format);
///   per block:   process->feedExternal(0, slot, block, frames) for each slot of the format,
///                process->process(); output->process();
///                then read output->inputSlots(0) (channel, block) and output->releaseInputs().
class CAudioProcessBase : public CCheckedObject, public CLumMemAllocator {
public:
    CAudioProcessBase();
    ~CAudioProcessBase() override;
    CAudioProcessBase(const CAudioProcessBase&) = delete;
    CAudioProcessBase& operator=(const CAudioProcessBase&) = delete;

    virtual CErrorResult init() { return nullptr; }
    /// Drops what the delays hold and applies pending delay changes.
    virtual void reset();
    /// Applies parameter and graph changes; formatChanged and the marks of the subscriptions tell
    /// which. Called by the block head.
    virtual void update() LUM_REALTIME {}
    /// Runs one block.
    virtual void process() LUM_REALTIME {}
    /// Tears down all outgoing links.
    virtual void disconnect();
    /// Binds the parameters of the allocations by index.
    virtual void registerParams() {}
    /// Puts the process to rest when no link reaches it any more: drops outgoing links, sources,
    /// blocks and pending events. The next link wakes it, and its next update starts afresh. A
    /// composite or stack keeps sleeping processes for reuse.
    virtual void sleep();
    /// Whether the samples of a port matter to this block; asked behind the update. The slots of a
    /// port that does not may hold no blocks, while its delays go on.
    virtual bool readsPort(int number) const LUM_REALTIME {
        (void)number;
        return true;
    }
    /// True when nothing is under way: no fade, no event, no update that is due.
    virtual bool isSettled() const { return !needsUpdate && timedEvents.empty(); }
    /// The sample blocks of a sub-block's length that it may hold while it runs, whatever the
    /// values of its parameters: of each channel two inputs, the results of two modules, and their
    /// mixture.
    virtual int countBlocks() const;
    /// The most channels of its output ports.
    int countChannels() const;

    /// Set by the factory before init.
    void attach(const CAudioProcessDefBase& processDefinition, CString processName,
                CAudioProcessContext& processContext, CAudioProcessBase* parentProcess);
    /// Enters the definition's remaps, parameters and filters in the collector.
    CErrorResult createParams();

    const CString& getFullName() const { return fullName; }
    const CAudioProcessDefBase& getDefinition() const { return *definition; }
    CAudioProcessContext& getContext() const { return *context; }
    CSampleBlockPool& getPool() const { return context->pool; }
    int getGroupIndex() const { return groupIndex; }
    int getStackIndex() const { return stackIndex; }
    void setGroupIndex(int group, int stack) {
        groupIndex = group;
        stackIndex = stack;
    }
    /// Samples; the largest of the input channels since the graph's input.
    int getLatency() const { return latency; }
    int getMinLatency() const { return minLatency; }
    double getSampleRate() const { return sampleRate; }
    int getBlockLength() const { return blockLength; }

    // Links.
    /// Feeds an output port to an input port. A second link of the same four does nothing.
    static void connect(CAudioProcessBase& from, int sourcePort, CAudioProcessBase& to,
                        int targetPort);
    static void unlink(CAudioProcessBase& from, int sourcePort, CAudioProcessBase& to,
                       int targetPort);

    // The graph's outer ends, used by the instance.
    /// Describes what is fed to a port from outside. Unchanged content does nothing.
    void setExternalInput(int port, const CPortFormat& format);
    /// Gives one slot's samples for the next block; `frames` must be the same for all slots.
    void feedExternal(int port, int slot, CSampleBlockRef block, int frames) LUM_REALTIME;
    /// The merged slots of an input port after process has run the block head; a port that was
    /// never linked gives an empty table.
    CSlotTable& inputSlots(int port) LUM_REALTIME;
    int inputBlockLength(int port) LUM_REALTIME;
    /// Lets go of the current block of every input slot.
    void releaseInputs() LUM_REALTIME {
        for (auto& port : inputPorts)
            for (CChannelSlot& slot : port->slots) slot.block.reset();
    }
    /// What was published last on an output port; empty before.
    const CPortFormat& getPublishedFormat(int sourcePort);
    /// The number of ports and where the output goes, for tests and diagnosis.
    const CVector<COutputTarget, 2>& getTargets() const { return targets; }

    /// Appends "fullName // text" to the diagnostic log.
    void logFault(const char* text) const;

protected:
    /// The steps at the start of every process. See the class comment.
    void runBlockHead() LUM_REALTIME;
    /// Publishes the output format to all targets; unchanged content does nothing.
    void publish(int sourcePort, const CPortFormat& format) LUM_REALTIME;
    /// Hands one output channel to all targets of a port. A null block stands for no samples (0
    /// frames). The targets know the block's length from deliverLength.
    void deliver(int sourcePort, int slot, CSampleBlockRef block) LUM_REALTIME {
        deliverEach(sourcePort, slot, 1, [&block](int) -> CSampleBlockRef& { return block; });
    }
    /// The same for `count` channels from `firstSlot` on; blockOf(i) is the i-th one's block, which
    /// is taken from there.
    template <class BlockOf>
    void deliverEach(int sourcePort, int firstSlot, int count, BlockOf blockOf) LUM_REALTIME;
    bool hasTargets(int sourcePort) const LUM_REALTIME;
    /// Tells the targets of all ports the length of the block, before it is delivered.
    void deliverLength() LUM_REALTIME {
        for (const COutputTarget& target : targets) target.port->blockLength = blockLength;
    }
    /// Sets `flag` to 1 when `seconds` of audio have passed.
    void addTimedEvent(double seconds, uint8_t* flag) LUM_REALTIME;
    void cancelTimedEvents(const uint8_t* flag) LUM_REALTIME;
    CInputPort* findPort(int number) LUM_REALTIME;
    CInputPort& makePort(int number);
    /// Resolves a name of the definition against this process's full name.
    CString resolveName(const CString& name) const;
    CString traceName() const { return fullName; }

    /// The subscription to a parameter, group and element; made on first use, which takes memory.
    /// It lives as long as the process.
    CParamSubscription& subscribe(CAudioParam& param, int allocIndex, int group, int element,
                                  ParamUse use) LUM_REALTIME;
    /// Looks up the parameter of each allocation of the definition. Set-up.
    void findAllocParams();
    /// Subscribes to the parameter of an allocation for this process's group: all its groups and
    /// elements as the allocation's flags say. Null, and a line in the log, without one.
    CParamSubscription* subscribeAlloc(int allocIndex, int group,
                                       ParamUse use = ParamUse::Value) LUM_REALTIME;

    const CAudioProcessDefBase* definition = nullptr;
    CString fullName;
    CAudioProcessContext* context = nullptr;
    CAudioProcessBase* parent = nullptr;
    int groupIndex = 0;
    int stackIndex = 0;
    double sampleRate = 0.0; // Hz, of the first connected source
    int latency = 0;         // samples, largest of the input channels
    int minLatency = 0;      // samples, smallest of the compensated inputs
    int blockLength = 0;     // samples of the current block
    CVector<std::unique_ptr<CInputPort>, 2> inputPorts; // ascending number
    CVector<COutputTarget, 2> targets;
    CVector<std::unique_ptr<CParamSubscription>, 4> subscriptions;
    uint8_t needsUpdate = 0;
    uint8_t formatChanged = 0;

private:
    struct CTimedEvent {
        double secondsLeft;
        uint8_t* flag;
    };
    struct CAllocParam {
        const CAudioParamAllocDef* alloc;
        CAudioParam* param;
    };

    // The stages of the block head, in order.
    void takeBlockLength() LUM_REALTIME;
    void takeInputChanges() LUM_REALTIME;
    bool takeStreamFormat() LUM_REALTIME;
    void touchPort(CInputPort& port) LUM_REALTIME;
    bool rebuildPort(CInputPort& port) LUM_REALTIME;
    static bool hasNothingToMerge(const CInputPort& port) LUM_REALTIME;
    void rebuildDelays(CPortSource& source, bool isRateNew) LUM_REALTIME;
    void settleDelay(CSlotDelay& slotDelay, bool isHeard, int delay) LUM_REALTIME;
    bool runTimedEvents() LUM_REALTIME;
    bool takeNewValues() LUM_REALTIME;
    void runUpdate() LUM_REALTIME;
    void fillSlots(CInputPort& port) LUM_REALTIME;
    void mergePort(CInputPort& port) LUM_REALTIME;
    void passPortBy(CInputPort& port) LUM_REALTIME;
    CSampleBlockRef takeSourceBlock(CInputPort& port, const CMergeEntry& entry) LUM_REALTIME;
    CSampleBlockRef combine(CInputPort& port, const CMergeEntry* entries, int count) LUM_REALTIME;

    CPortSource& addSource(CInputPort& port, CAudioProcessBase* source, int sourcePort);
    void dropSource(const COutputTarget& target);
    void dropIncoming();
    CPortFormat& publishedFormat(int sourcePort);
    void createRemaps();
    void bindParams();
    CErrorResult createFilters();

    CVector<CTimedEvent, 4> timedEvents;
    CVector<std::unique_ptr<CPortFormat>, 1> publishedFormats; // by source port
    CVector<CAllocParam, 4> allocParams;
    uint8_t hasNewValues = 0;      // some subscription is dirty; set by the collector too
    bool areInputsTouched = false; // some port is
    bool portsChanged = false;     // there is a new port
};

template <class BlockOf>
void CAudioProcessBase::deliverEach(int sourcePort, int firstSlot, int count,
                                    BlockOf blockOf) LUM_REALTIME {
    const COutputTarget* last = nullptr; // which gets our own references, the others theirs
    for (const COutputTarget& target : targets) {
        if (target.sourcePort != sourcePort) continue;
        if (last) last->source->put(firstSlot, count, [&](int i) { return blockOf(i); });
        last = &target;
    }
    if (last)
        last->source->put(firstSlot, count, [&](int i) { return std::move(blockOf(i)); });
    else
        for (int i = 0; i < count; i++) blockOf(i).reset();
}

} // namespace lum
