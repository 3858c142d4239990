#pragma once

#include "Audio/CAudioParamInfo.h"
#include "Core/CUpdateNotifier.h"
#include "Core/Realtime.h"
#include "Platform/Lock.h"

namespace lum {

class CAudioParam;
class CAudioParamCollector;
class CAudioParamFilter;
class CAudioParamRegistry;
struct CAudioListenerNode;
struct CQueuedChange;
class CParamUndoRecord;

/// Holds a parameter's recursive lock for a scope, control threads only. When the last guard of a
/// collector closes, its deferred calls to the host run.
class CAudioParamGuard {
public:
    explicit CAudioParamGuard(CAudioParam& target);
    ~CAudioParamGuard();
    CAudioParamGuard(const CAudioParamGuard&) = delete;
    CAudioParamGuard& operator=(const CAudioParamGuard&) = delete;
    CAudioParam& getParam() const { return param; }

private:
    CAudioParam& param;
};

/// Changes that are collected and handed over together. While one is open no deferred call runs.
class CAudioParamBatch {
public:
    explicit CAudioParamBatch(CAudioParamCollector& owner);
    ~CAudioParamBatch(); // hands the list over
    CAudioParamBatch(const CAudioParamBatch&) = delete;
    CAudioParamBatch& operator=(const CAudioParamBatch&) = delete;
    void add(CAudioParam& param, const CAudioParamChange& change);

private:
    CAudioParamCollector& collector;
    CQueuedChange* head = nullptr;
    CQueuedChange* tail = nullptr;
};

/// How a change is applied.
struct CChangeContext {
    CParamUndoRecord* undo = nullptr;
    CAudioParamBatch* batch = nullptr;
    bool isImmediate = false; // straight to the audio-side values; set-up time only
};

/// What the collector's notifier tells of a change; the record's key is the parameter.
struct CAudioParamUpdate : CUpdateRecord {
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

    const CString& getName() const { return name; }
    CAudioParamCollector& getCollector() const { return collector; }
    const CAudioParamInfo* getInfo() const { return info; }
    bool isBound() const { return info != nullptr; }
    /// The control-side values. Under a guard.
    const CAudioParamStorage& getValues() const { return values; }
    const CAudioParamStorage& getResetValues() const { return resetValues; }
    /// The copy of the audio thread.
    const CAudioParamStorage& getAudioValues() const LUM_REALTIME { return audioValues; }
    double readValue(int group, int element, double fallback = 0.0); // takes a guard

    /// Binds to a definition, or rebinds when it differs, and applies its defaults.
    void bind(const CAudioParamInfo& newInfo, const CChangeContext& context);

    // All of these take a guard, or use the one that is passed.
    void setValue(double value, const void* originator, CAudioParamGuard* guard = nullptr);
    void setString(int group, int element, const CString& text, const void* originator,
                   CAudioParamGuard* guard = nullptr);
    void setRaw(int group, int element, const CByteBuffer& bytes, const void* originator,
                CAudioParamGuard* guard = nullptr);
    CString getString(int group, int element);
    /// The one path by which values change.
    void applyChange(const CAudioParamChange& change, const CChangeContext& context,
                     CAudioParamGuard* guard = nullptr);
    /// Goes back to the reset values: a negative group for all, element -1 for a whole group.
    void reset(int group, int element, const CChangeContext& context, bool isSingleSource = false,
               CAudioParamGuard* guard = nullptr);

    void addFilter(CAudioParamFilter& filter);
    void removeFilter(CAudioParamFilter& filter);

private:
    friend class CAudioParamCollector;
    friend class CAudioParamGuard;
    friend class CAudioParamRegistry;

    platform::CLock lock;
    CAudioParamCollector& collector;
    const CAudioParamInfo* info = nullptr;
    CString name;
    CAudioParamStorage values;
    CAudioParamStorage resetValues;
    CVector<CAudioParamFilter*, 1> filters;
    CAudioListenerNode* audioListeners = nullptr;
    CAudioParamStorage audioValues;
};

} // namespace lum
