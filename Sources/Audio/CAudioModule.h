#pragma once

#include "Audio/CAudioProcessBase.h"

namespace lum {

class CAudioModule;
class CAudioProcessTerminalBase;

/// A module's view of one parameter of its definition, by the index of the param-alloc. It reads
/// the audio-side values of the module's group (group 0 of a single-group parameter). Element 0
/// serves all channels of a group unless the allocation uses all elements.
class CParamHandle {
public:
    bool isBound() const { return subscription != nullptr; }
    /// The parameter has values to read: a definition or a change reached it.
    bool isAvailable() const { return subscription && subscription->storage->isInitialised(); }
    /// The value of an element of the module's group; `fallback` for what is unbound.
    double read(int element = 0, double fallback = 0.0, int subValue = 0) const LUM_REALTIME;
    /// The same of any group, for allocations that use all groups.
    double readGroup(int group, int element = 0, double fallback = 0.0) const LUM_REALTIME;
    /// Elements stored in the module's group; 0 when none were written.
    int elementCount() const LUM_REALTIME;
    int elementSize() const LUM_REALTIME;
    int groupCount() const LUM_REALTIME;
    const CAudioParamStorage* getStorage() const {
        return subscription ? subscription->storage : nullptr;
    }

private:
    friend class CAudioProcessTerminalBase;
    CParamSubscription* subscription = nullptr;
    int group = 0;
    int storageGroup() const LUM_REALTIME;
};

/// A channel of a module: where it reads and what it made of it.
struct CModuleChannel {
    CChannelSlot* input = nullptr; // slot of port 0: block, channel, group
    CSampleBlockRef output;        // set by the module's process; the input's block to forward it
    int latency = 0;               // output latency: samples since the graph's input
};

/// The DSP object of a terminal process: one per channel, or one for all its channels where the
/// definition is terminal-whole. Beside the virtual operations a module class T has
///   void process(int frames);
/// which fills channels[i].output from channels[i].input->block for at least one frame. A block
/// whose count is above 1 is never written; a new one comes from getPool().take(frames).
///
/// Life: created, configured by its terminal (group, channels, sampleRate, baseLatency), bound by
/// registerParams, then init, and update with changed flags. A replaced module retires to its
/// terminal's pool with all it has allocated, and comes back through init and update with
/// `isForced` set and every channel's `latency` back at `baseLatency`; what its past left in it
/// must then have no effect. All on the audio thread, or at set-up.
class CAudioModule : public CCheckedObject, public CLumMemAllocator {
public:
    /// Before each first update after a configuration; must be cheap when repeated.
    virtual void init() {}
    /// Forgets the signal's past.
    virtual void reset() {}
    /// Takes over the signal's past from the module that it replaces, which has run on the same
    /// channels to this sample. Called behind the first update; a module that cannot use it waits
    /// for its latency, as the crossfade does.
    virtual void takeHistory(const CAudioModule&) LUM_REALTIME {}
    /// Recomputes what follows from the parameters and, if isFormatPending, from the channels and
    /// the sample rate. Sets channels[i].latency, and calls outputLatencyChanged on a change.
    virtual void update() LUM_REALTIME {}
    /// Binds handles by regModuleParam. Called when the group or the channel is (newly) set.
    virtual void registerParams() {}

    int getGroupIndex() const { return groupIndex; }
    int getChannelIndex() const { return channelIndex; }
    double getSampleRate() const { return sampleRate; }
    /// The process's input latency in samples, to which the module adds its own.
    int getBaseLatency() const { return baseLatency; }
    CAudioProcessTerminalBase& getTerminal() const { return *terminal; }
    const CAudioProcessDefBase& getDefinition() const;
    CSampleBlockPool& getPool() const;
    /// Whether the parameter of an alloc index changed since the last update.
    bool isChanged(int allocIndex) const {
        return allocIndex >= 0 && allocIndex < changed.ssize() && changed[allocIndex] != 0;
    }

    CVector<CModuleChannel, 2> channels;

protected:
    /// Binds a handle to the parameter of an alloc index; a missing index leaves it unbound, with
    /// a line in the log. Of what is structure, a graph of an instance keeps the value for life.
    void regModuleParam(int allocIndex, CParamHandle* handle, ParamUse use = ParamUse::Value);
    /// Tells the terminal to publish its output format after this update.
    void outputLatencyChanged();

    bool isForced = false;        // every parameter counts as changed: a replacement
    bool isFormatPending = false; // channels or sample rate are new

private:
    friend class CAudioProcessTerminalBase;
    struct CBinding {
        int allocIndex;
        CParamSubscription* subscription;
    };

    CAudioProcessTerminalBase* terminal = nullptr;
    int groupIndex = 0;
    int channelIndex = 0;
    double sampleRate = 0.0; // Hz
    int baseLatency = 0;     // samples
    CVector<CBinding, 4> bindings;
    CVector<uint8_t, 16> changed; // by alloc index
    bool isDirty = false;
};

} // namespace lum
