#pragma once

#include "Audio/CAudioParam.h"
#include "Core/CObject.h"

namespace lum {

class CAudioEnv;
class CAudioParamRegistry;
class CSharedParam;

/// A queued change with the parameter that it is for.
struct CQueuedChange : public CLumMemAllocator {
    CAudioParam* param;
    CAudioParamChange change;
    CQueuedChange* next = nullptr;
};

/// An audio-side listener: the process whose flag and mask it sets. Audio thread after set-up.
struct CAudioListenerNode {
    CAudioParam* param;
    uint8_t* dirty;
    uint32_t* groupMask;
    int group;   // -1 for any
    int element; // -1 for any
    CAudioListenerNode* previous;
    CAudioListenerNode* next;
};

/// A call that waits until no guard or batch is open.
class CDeferredCallTarget : public virtual CCheckedObject {
public:
    virtual void onDeferredCall(int32_t argument, double value) = 0;
};

/// Resolves a name of a definition against the full name of the process that holds it: a leading
/// "/" is absolute, each leading "^" strips one part of the base, "." or nothing joins the rest.
CString resolveParamName(const CString& base, const CString& name);

/// `audio:param-collector`: owner of all live parameters of an instance, and of the road by which
/// a change reaches the audio thread: a list of records, handed over at the head of each block
/// under the short lock of the environment.
class CAudioParamCollector : public CObject, public CUpdateNotifier {
public:
    CAudioParamCollector();
    ~CAudioParamCollector() override;
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;

    /// The parameter of a full name, through remaps; made on demand, never fails. Any thread.
    CAudioParam& getParam(const CString& name);
    CAudioParam& getParamDirect(const CString& name);
    bool isRedirected(const CString& name) const;
    void addRemap(const CString& original, const CString& replacement);

    /// Takes a copy of a change for the audio thread, or applies it there and then.
    void queueChange(CAudioParam& param, const CAudioParamChange& change, bool isImmediate);
    /// Takes over a list made by a batch.
    void handOverBatch(CQueuedChange* head, CQueuedChange* tail);
    /// Applies all pending changes to the audio-side values and marks their listeners. Spins on the
    /// environment's lock for a pointer swap.
    void takePendingChanges() LUM_REALTIME;

    /// Listens on the audio side: sets `dirty` to 1 and stores a mask of the groups that changed.
    /// `storage` receives the audio-side values, `groupMask` the groups present.
    CAudioListenerNode* addAudioListener(CAudioParam& param, const CAudioParamStorage*& storage,
                                         uint8_t* dirty, uint32_t* groupMask, int group,
                                         int element) LUM_REALTIME;
    void removeAudioListener(CAudioListenerNode* node) LUM_REALTIME;

    void acquireGuard(bool isBatch = false);
    void releaseGuard(bool isBatch = false);
    /// Runs a call when no guard or batch is open, on the thread that closes the last one.
    void deferCall(CDeferredCallTarget& target, int32_t argument, double value);

    void addSharedParam(std::unique_ptr<CSharedParam> param);
    void addRegistry(CAudioParamRegistry& registry);
    /// Once, from the instance's start-up.
    void start();

    CAudioEnv* getEnv() const { return env; }
    /// Every live parameter, in order of name. Under the collector's lock while `visit` runs.
    template <class Visit>
    void forEachParam(Visit visit) {
        platform::CLockGuard hold(paramsLock);
        for (auto& [paramName, param] : params) visit(*param);
    }

private:
    friend class CAudioParam;
    void notifyAudioListeners(CAudioParam& param, const CAudioParamChange& change) LUM_REALTIME;
    bool mergeIntoQueue(CQueuedChange& record);
    void appendToQueue(CQueuedChange* record);
    void runDeferredCalls();

    struct CDeferredCall {
        CDeferredCallTarget* target;
        int32_t argument;
        double value;
    };

    CAudioEnv* env = nullptr;
    CQueuedChange* pendingHead = nullptr; // under the env lock
    CQueuedChange* pendingTail = nullptr;
    mutable platform::CLock paramsLock;
    CMap<CString, std::unique_ptr<CAudioParam>> params;
    CMap<CString, CString> remaps; // under paramsLock
    bool isStarted = false;
    platform::CSpinLock listenerLock;
    CAudioListenerNode* freeListeners = nullptr;
    CVector<void*, 4> listenerBlocks;
    platform::CSpinLock deferredLock;
    CVector<CDeferredCall, 4> deferredCalls;
    int guardCount = 0;
    int batchCount = 0;
    CVector<std::unique_ptr<CSharedParam>, 4> sharedParams;
};

} // namespace lum
