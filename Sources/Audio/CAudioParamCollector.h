#pragma once

#include "Audio/CAudioParam.h"
#include "Core/CObject.h"

namespace lum {

class CAudioEnv;
class CSharedParam;

/// A queued change with the parameter that it is for, and the memory by which the audio-side values
/// may have to grow for it.
struct CQueuedChange : public CLumMemAllocator {
    CQueuedChange(CAudioParam& target, const CAudioParamChange& source);
    CAudioParam* param;
    CAudioParamChange change;
    CAudioParamRoom room;
    CQueuedChange* next = nullptr;
};

/// An audio-side listener: whose flag and mask a change sets. It lies in the object that listens.
/// Audio thread after set-up.
struct CAudioListenerNode {
    uint8_t* dirty = nullptr;
    uint32_t* groupMask = nullptr;
    int group = -1;               // -1 for any
    int element = -1;             // -1 for any
    CAudioParam* param = nullptr; // null: does not listen
    CAudioListenerNode* previous = nullptr;
    CAudioListenerNode* next = nullptr;
    uint8_t* anyDirty = nullptr; // set with `dirty`, one for several listeners; null: none
};

/// A call that waits until no guard or batch is open, or work that waits for its own thread's.
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
///
/// What the audio thread does here takes no memory and no blocking lock. Records come ready made,
/// with the memory that the audio-side values may have to grow by; freeing one gives blocks back to
/// the process's pool. Strings and raw data move over from the record, and the last reference to a
/// large one goes to a list that the next queued change frees (see CAudioParamDataItem).
///
/// Lock order: a parameter's guard, then the environment's lock or one of the collector's own spin
/// locks; none of those is held while other code is called.
class CAudioParamCollector : public CObject, public CUpdateNotifier {
public:
    CAudioParamCollector();
    ~CAudioParamCollector() override;
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;

    /// The parameter of a full name, through remaps; made on demand, never fails. Any thread: a
    /// look-up holds a spin lock, and the audio thread may do it, though it had better keep the
    /// result.
    CAudioParam& getParam(const CString& name);
    CAudioParam& getParamDirect(const CString& name);
    bool isRedirected(const CString& name) const;
    void addRemap(const CString& original, const CString& replacement);

    /// Takes a copy of a change for the audio thread, or applies it there and then (set-up only).
    void queueChange(CAudioParam& param, const CAudioParamChange& change, bool isImmediate);
    /// Takes over a list made by a batch.
    void handOverBatch(CQueuedChange* head, CQueuedChange* tail);
    /// Applies all pending changes to the audio-side values and marks their listeners. Spins on the
    /// environment's lock for a pointer swap.
    void takePendingChanges() LUM_REALTIME;
    /// Records that wait, for tests and diagnostics.
    int countPendingChanges();

    /// Listens on the audio side: a change sets `dirty` to 1 and stores a mask of the groups that
    /// it touched. The mask receives the groups present; `dirty` is not touched now.
    static void addAudioListener(CAudioParam& param, CAudioListenerNode& node) LUM_REALTIME;
    /// Does nothing for a node that does not listen.
    static void removeAudioListener(CAudioListenerNode& node) LUM_REALTIME;

    void acquireGuard(bool isBatch = false);
    void releaseGuard(bool isBatch = false);
    /// Runs a call when no guard or batch is open, on the thread that closes the last one; at once
    /// when none is open now. Calls run one at a time in the order in which they were deferred,
    /// whatever threads they come from, so that a host hears the latest value last.
    void deferCall(CDeferredCallTarget& target, int32_t argument, double value);
    /// Work that a change brings with it and that is too long for whoever happens to close the last
    /// guard, the host's audio thread perhaps. Runs on the calling thread when that has closed all
    /// its own guards and batches; now when it has none. A target that waits on this thread
    /// already is not noted twice. Several threads may be in one target's call.
    void deferWork(CDeferredCallTarget& target);
    /// Forgets the calls and the work of a target that goes away, and waits for those that other
    /// threads are in.
    void cancelDeferredCalls(CDeferredCallTarget& target);

    void addSharedParam(std::unique_ptr<CSharedParam> param);
    void addFilter(std::unique_ptr<CAudioParamFilter> filter);
    /// True for the first process of a name, which then enters its remaps, parameters and filters:
    /// all further copies of it share them. Set-up.
    bool claimDeclarations(const CString& processName);
    void addRegistry(CAudioParamRegistryBase& registry);
    void removeRegistry(CAudioParamRegistryBase& registry);
    /// The registry of an object's full name, or null.
    CAudioParamRegistryBase* findRegistry(const CString& registryName) const;
    /// Once, from the instance's start-up: distributes the parameters to the registries and starts
    /// those.
    void start();

    CAudioEnv* getEnv() const { return env; }
    /// Gives the environment directly; `init` takes it from the attribute `env`.
    void setEnv(CAudioEnv& environment) { env = &environment; }
    /// Every live parameter, in order of name. No lock is held while `visit` runs; parameters are
    /// never removed.
    template <class Visit>
    void forEachParam(Visit visit) {
        for (CAudioParam* param : listParams()) visit(*param);
    }

private:
    friend class CAudioParam;
    using CRegistryList = CVector<CAudioParamRegistryBase*, 4>;
    struct CDeferredCall {
        CDeferredCallTarget* target;
        int32_t argument;
        double value;
    };
    struct CDeferredWork {
        CDeferredCallTarget* target;
        uint64_t thread;
        bool isRunning;
    };
    struct CHolder {
        uint64_t thread;
        int depth; // guards and batches that it has open
    };

    CVector<CAudioParam*, 4> listParams() const;
    CString followRemaps(const CString& name) const;
    void offerToRegistries(CAudioParam& param, const CRegistryList& offered);
    static void applyOnAudioSide(CQueuedChange& record) LUM_REALTIME;
    static void notifyAudioListeners(CAudioParam& param,
                                     const CAudioParamChange& change) LUM_REALTIME;
    bool mergeIntoQueue(CQueuedChange& record);
    void appendToQueue(CQueuedChange* head, CQueuedChange* tail);
    void runDeferredCalls();
    bool takeDeferredCall(CDeferredCall& out);
    void runOwnWork();
    CDeferredWork* findOwnWork(CDeferredCallTarget* target, bool isRunning);
    CHolder* findHolder(uint64_t thread);

    CAudioEnv* env = nullptr;
    CQueuedChange* pendingHead = nullptr; // under the env lock
    CQueuedChange* pendingTail = nullptr;
    mutable platform::CSpinLock paramsLock;
    CMap<CString, std::unique_ptr<CAudioParam>> params; // under paramsLock
    CMap<CString, CString> remaps;                      // under paramsLock
    CRegistryList registries;                           // longest hierarchy first; under paramsLock
    bool isStarted = false;                             // under paramsLock
    platform::CSpinLock deferredLock;
    CVector<CDeferredCall, 4> deferredCalls; // under deferredLock, and so are the next six
    CVector<CDeferredWork, 4> deferredWork;
    CVector<CHolder, 4> holders;
    CDeferredCallTarget* calledNow = nullptr; // a thread is in its call
    uint64_t callingThread = 0;
    int guardCount = 0;
    int batchCount = 0;
    CVector<std::unique_ptr<CSharedParam>, 4> sharedParams;
    CVector<std::unique_ptr<CAudioParamFilter>, 4> filters;
    CSet<CString> declaredProcesses; // under paramsLock
};

/// Holds deferred calls back for a scope. It stands outside a lock that the host, in a call of its
/// own on another thread, may be waiting for.
class CDeferredCallHold {
public:
    explicit CDeferredCallHold(CAudioParamCollector& owner) : collector(owner) {
        collector.acquireGuard(true);
    }
    ~CDeferredCallHold() { collector.releaseGuard(true); }
    CDeferredCallHold(const CDeferredCallHold&) = delete;
    CDeferredCallHold& operator=(const CDeferredCallHold&) = delete;

private:
    CAudioParamCollector& collector;
};

} // namespace lum
