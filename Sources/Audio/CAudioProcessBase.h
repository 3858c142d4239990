#pragma once

#include "Audio/CAudioEnv.h"
#include "Audio/CAudioParamCollector.h"
#include "Audio/CSampleBlock.h"

namespace lum {

class CAudioParamFilter;
class CAudioProcessBase;
class CAudioProcessDefBase;
class CDSPModDelay;

constexpr int kMaxPortChannels = 16;

/// What all processes of an instance share.
struct CAudioProcessContext {
    CAudioEnv& env;
    CAudioParamCollector& collector;
    CSampleBlockPool& pool;
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
struct CPortFormat {
    double sampleRate = 0.0; // Hz
    CVector<CSlotFormat, kMaxPortChannels> slots;
    bool operator==(const CPortFormat& other) const;
};

/// A channel of an input port, merged over all sources that feed it.
struct CChannelSlot {
    CSlotFormat format;
    CSampleBlockRef block; // of the current block; null when no source delivered
};

/// One source of an input port: what it published and what it delivered for the current block.
struct CPortSource {
    CAudioProcessBase* process = nullptr; // null: fed from outside the graph
    int sourcePort = 0;
    CPortFormat format;
    CVector<CSampleBlockRef, kMaxPortChannels> blocks; // [slots of format]
    CVector<std::unique_ptr<CDSPModDelay>, 0> delays;  // [slots of format], null: no delay
};

struct CInputPort {
    int number = 0;
    CVector<std::unique_ptr<CPortSource>, 2> sources;
    CVector<CChannelSlot, kMaxPortChannels> slots; // ascending channel
    uint32_t changeCounter = 0;
    uint32_t seenCounter = 0;
    int blockLength = 0; // samples
};

/// Where a process's output goes.
struct COutputTarget {
    CAudioProcessBase* process;
    int sourcePort;
    int targetPort;
    CPortSource* source; // the entry in the target's port
};

/// A live process of the audio graph. Everything runs on the thread that the host calls for audio,
/// or at set-up. Order of use: init, then per block process, which runs the block head (timed
/// events, update, compensation, merging); reset when the stream restarts; disconnect at the end.
class CAudioProcessBase : public CCheckedObject, public CLumMemAllocator {
public:
    CAudioProcessBase() = default;
    ~CAudioProcessBase() override;

    virtual CErrorResult init() { return nullptr; }
    /// Drops what the delays hold and applies pending delay changes.
    virtual void reset();
    /// Applies parameter and graph changes.
    virtual void update() {}
    /// Runs one block.
    virtual void process() {}
    /// Tears down all outgoing links.
    virtual void disconnect();
    /// Binds the parameters of the allocations by index.
    virtual void registerParams() {}

    /// Set by the factory before init.
    void attach(const CAudioProcessDefBase& processDefinition, CString processName,
                CAudioProcessContext& processContext, CAudioProcessBase* parentProcess);

    const CString& getFullName() const { return fullName; }
    const CAudioProcessDefBase& getDefinition() const { return *definition; }
    int getGroupIndex() const { return groupIndex; }
    void setGroupIndex(int group, int stack) {
        groupIndex = group;
        stackIndex = stack;
    }
    int getLatency() const { return latency; }
    double getSampleRate() const { return sampleRate; }

    // Links.
    static void connect(CAudioProcessBase& from, int sourcePort, CAudioProcessBase& to,
                        int targetPort);
    static void unlink(CAudioProcessBase& from, int sourcePort, CAudioProcessBase& to,
                       int targetPort);

    // The graph's outer ends, used by the instance.
    /// Describes what is fed to a port from outside.
    void setExternalInput(int port, const CPortFormat& format);
    /// Gives one slot's samples for the next block; `frames` must be the same for all slots.
    void feedExternal(int port, int slot, CSampleBlockRef block, int frames) LUM_REALTIME;
    /// The merged slots of an input port after process has run the block head.
    CVector<CChannelSlot, kMaxPortChannels>& inputSlots(int port) LUM_REALTIME;
    int inputBlockLength(int port) LUM_REALTIME;

protected:
    /// The steps at the start of every process. See the class comment.
    void runBlockHead() LUM_REALTIME;
    /// Publishes the output format to all targets; unchanged content does nothing.
    void publish(int sourcePort, const CPortFormat& format) LUM_REALTIME;
    /// Hands one output channel to all targets of a port, one reference each.
    void deliver(int sourcePort, int slot, const CSampleBlockRef& block) LUM_REALTIME;
    void releaseInputs() LUM_REALTIME;
    /// Sets `flag` to 1 when `seconds` of audio have passed.
    void addTimedEvent(double seconds, uint8_t* flag) LUM_REALTIME;
    CInputPort* findPort(int number) LUM_REALTIME;
    CInputPort& makePort(int number);
    /// Follows the remaps that this process inherits; the result is a full name.
    CString resolveName(const CString& name) const;

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
    CVector<CInputPort, 2> inputPorts;
    CVector<COutputTarget, 2> targets;
    uint8_t needsUpdate = 0;
    uint8_t formatChanged = 0;

private:
    struct CTimedEvent {
        double secondsLeft;
        uint8_t* flag;
    };
    CVector<CTimedEvent, 4> timedEvents;
    CVector<CPortFormat, 1> publishedFormats; // by source port
};

} // namespace lum
