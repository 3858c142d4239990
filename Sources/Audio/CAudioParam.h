#pragma once

#include "Audio/CAudioParamInfo.h"
#include "Core/CUpdateNotifier.h"
#include "Core/Realtime.h"
#include "Platform/Lock.h"

#include <atomic>
#include <optional>

namespace lum {

class CAudioParam;
class CAudioParamCollector;
class CAudioParamFilter;
class CAudioParamRegistryBase;
struct CAudioListenerNode;
struct CQueuedChange;
class CParamUndoRecord;

/// Holds a parameter's recursive lock for a scope, control threads only. When the last guard of a
/// collector closes, its deferred calls to the host run.
class CAudioParamGuard {
public:
    /// Quiet: deferred calls do not wait for this guard, and its end runs none. For a short change
    /// that is made under a lock for which the host, in such a call, may be waiting.
    enum class Kind { Usual, Quiet };

    explicit CAudioParamGuard(CAudioParam& target, Kind guardKind = Kind::Usual);
    ~CAudioParamGuard();
    CAudioParamGuard(const CAudioParamGuard&) = delete;
    CAudioParamGuard& operator=(const CAudioParamGuard&) = delete;
    CAudioParam& getParam() const { return param; }

private:
    CAudioParam& param;
    const Kind kind;
};

/// Guards of up to N parameters, closed in the reverse order.
template <size_t N>
class CAudioParamGuardSet {
public:
    CAudioParamGuardSet() = default;
    ~CAudioParamGuardSet() {
        while (count > 0) guards[--count].reset();
    }
    CAudioParamGuardSet(const CAudioParamGuardSet&) = delete;
    CAudioParamGuardSet& operator=(const CAudioParamGuardSet&) = delete;
    void add(CAudioParam& param) { guards[count++].emplace(param); }

private:
    std::optional<CAudioParamGuard> guards[N];
    size_t count = 0;
};

/// Changes that are collected and handed over together. While one is open no deferred call runs.
/// A change that comes past the batch meanwhile, from another thread say, reaches the queue first;
/// the batch then sends the present values of that parameter behind itself, so that the audio side
/// ends with the latest. Control threads, one thread a batch.
class CAudioParamBatch {
public:
    explicit CAudioParamBatch(CAudioParamCollector& owner);
    ~CAudioParamBatch(); // hands the list over
    CAudioParamBatch(const CAudioParamBatch&) = delete;
    CAudioParamBatch& operator=(const CAudioParamBatch&) = delete;
    /// Under a guard of the parameter.
    void add(CAudioParam& param, const CAudioParamChange& change);

private:
    struct CMember {
        uint64_t lastChange = 0; // the parameter's count with the newest change in this batch
        int groupCount = 0;      // groups that the batch reaches
        bool isOvertaken = false;
    };

    CAudioParamCollector& collector;
    CQueuedChange* head = nullptr;
    CQueuedChange* tail = nullptr;
    CMap<CAudioParam*, CMember> members;
};

/// How a change is applied.
struct CChangeContext {
    CParamUndoRecord* undo = nullptr;
    CAudioParamBatch* batch = nullptr;
    bool isImmediate = false; // straight to the audio-side values; set-up time only
};

/// What the collector's notifier tells of a change; the record's key is the parameter. Listeners
/// compare `originator` with themselves to drop changes of their own.
struct CAudioParamUpdate : CUpdateRecord {
    const void* originator = nullptr;
    CAudioParam* param = nullptr;
    const CAudioParamChange* change = nullptr;
    CAudioParamGuard* guard = nullptr;
    const CChangeContext* context = nullptr;
};

/// The live parameter of one instance. Made by the collector on first use of its full name, bound
/// to a definition afterwards; bound it stays. `values` belong to control threads under the lock,
/// `audioValues` to the audio thread alone once it runs.
class CAudioParam : public CCheckedObject, public CLumMemAllocator {
public:
    CAudioParam(CAudioParamCollector& owner, CString fullName);
    ~CAudioParam() override;
    CAudioParam(const CAudioParam&) = delete;
    CAudioParam& operator=(const CAudioParam&) = delete;

    const CString& getName() const { return name; }
    CAudioParamCollector& getCollector() const { return collector; }
    const CAudioParamInfo* getInfo() const LUM_REALTIME {
        return info.load(std::memory_order_acquire);
    }
    bool isBound() const LUM_REALTIME { return getInfo() != nullptr; }
    /// The control-side values. Under a guard.
    const CAudioParamStorage& getValues() const { return values; }
    const CAudioParamStorage& getResetValues() const { return resetValues; }
    /// The copy of the audio thread.
    const CAudioParamStorage& getAudioValues() const LUM_REALTIME { return audioValues; }
    double readValue(int group, int element, double fallback = 0.0); // takes a guard
    /// A copy of the control-side values. Control threads, with or without guards: unlike a guard
    /// it runs nobody's deferred calls.
    CAudioParamStorage copyValues() const;

    /// Binds to a definition, or rebinds when it differs, and applies its defaults. A definition
    /// that the parameter has already is seen without a lock, so that the audio thread may ask too.
    /// newInfo: lives longer than this parameter.
    void bind(const CAudioParamInfo& newInfo, const CChangeContext& context,
              CAudioParamGuard* guard = nullptr);

    // All of these take a guard, or use the one that is passed.
    /// Writes element 0 of a group of a float parameter; the group has one element afterwards.
    void setValue(double value, int group, const void* originator,
                  CAudioParamGuard* guard = nullptr);
    void setString(int group, int element, const CString& text, const void* originator,
                   CAudioParamGuard* guard = nullptr, const CChangeContext& context = {});
    void setRaw(int group, int element, const CByteBuffer& bytes, const void* originator,
                CAudioParamGuard* guard = nullptr);
    CString getString(int group, int element, CAudioParamGuard* guard = nullptr);
    /// The one path by which values change. A change that the values do not take (no format yet,
    /// another one, beyond the limits) is dropped.
    void applyChange(const CAudioParamChange& change, const CChangeContext& context,
                     CAudioParamGuard* guard = nullptr);
    /// Goes back to the reset values: a negative group for all, element -1 for a whole group.
    void reset(int group, int element, const CChangeContext& context, bool isSingleSource = false,
               CAudioParamGuard* guard = nullptr);

    /// Writes the block that a preset keeps of this parameter: the definition's full name and the
    /// values, of all groups or of one.
    CErrorResult saveForPreset(COutputStream& stream, int group = -1);
    /// Reads such a block into the reset values and tells nobody.
    CErrorResult loadResetValues(CInputStream& stream);
    /// Reads such a block into the values; group -1 for all groups, element -1 for whole groups.
    CErrorResult loadFromPreset(CInputStream& stream, const CChangeContext& context, int group,
                                int element, CAudioParamGuard* guard = nullptr);

    /// Filters that take this parameter as a source. Under a guard.
    void addFilter(CAudioParamFilter& filter);
    void removeFilter(CAudioParamFilter& filter);

    /// Registries whose preset name turns to "User" when this parameter changes.
    void addPresetNameRegistry(CAudioParamRegistryBase& registry);
    void removePresetNameRegistry(CAudioParamRegistryBase& registry);
    CVector<CAudioParamRegistryBase*, 2> getPresetNameRegistries() const;

private:
    friend class CAudioParamBatch;
    friend class CAudioParamCollector;
    friend class CAudioParamGuard;

    bool fillGap(const CAudioParamChange& change, const CChangeContext& context,
                 CAudioParamGuard& guard);
    void write(const CAudioParamChange& change, const CChangeContext& context);
    void announce(const CAudioParamChange& change, const CChangeContext& context,
                  CAudioParamGuard& guard);
    void queueValues(int groupCount);
    void resetElement(int group, int element, const CChangeContext& context, bool isSingleSource,
                      CAudioParamGuard& guard);
    void setItem(int group, int element, CAudioParamChange& change, const void* originator,
                 CAudioParamGuard& guard, const CChangeContext& context = {});
    CErrorResult loadValues(CInputStream& stream, CAudioParamStorage& target) const;
    void takeAllGroups(const CAudioParamStorage& loaded, const CChangeContext& context,
                       CAudioParamGuard& guard);
    void takeOneGroup(const CAudioParamStorage& loaded, const CChangeContext& context, int group,
                      int element, CAudioParamGuard& guard);

    mutable platform::CLock lock;
    CAudioParamCollector& collector;
    std::atomic<const CAudioParamInfo*> info{nullptr}; // written under the lock
    CString name;
    CAudioParamStorage values;
    CAudioParamStorage resetValues;
    uint64_t changeCount = 0; // under the lock
    CVector<CAudioParamFilter*, 1> filters;
    CAudioListenerNode* audioListeners = nullptr;
    CAudioParamStorage audioValues;
    mutable platform::CSpinLock registryLock;
    CVector<CAudioParamRegistryBase*, 2> presetNameRegistries;
    CAudioParamRegistryBase* enumeratedRegistry = nullptr;
};

} // namespace lum
