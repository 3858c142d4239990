#include "Audio/CAudioParamCollector.h"

#include "Audio/CAudioEnv.h"
#include "Audio/CAudioParamFilter.h"
#include "Audio/CAudioParamRegistryBase.h"
#include "Audio/CSharedParam.h"
#include "Platform/Thread.h"

#include <algorithm>

namespace lum {

namespace {

constexpr uint32_t kAllGroups = 0xFFFFFFFF;

static_assert(sizeof(CQueuedChange) <= pool::kLargestBlock);

uint32_t maskOfGroup(int group) {
    return group >= 0 && group < kMaxParamGroups ? uint32_t{1} << group : 0;
}

uint32_t maskOfGroupsBelow(int count) {
    return count >= kMaxParamGroups ? kAllGroups : (uint32_t{1} << count) - 1;
}

void deleteList(CQueuedChange* head) {
    while (head) {
        CQueuedChange* next = head->next;
        delete head;
        head = next;
    }
}

bool canMerge(const CAudioParamChange& older, const CAudioParamChange& newer) {
    return older.format == newer.format && newer.firstElement <= older.end() &&
           older.firstElement <= newer.end();
}

/// One change that does what `older` and then `newer` do. Their ranges overlap or touch.
CAudioParamChange merge(const CAudioParamChange& older, const CAudioParamChange& newer) {
    CAudioParamChange merged;
    merged.group = newer.group;
    merged.originator = newer.originator;
    merged.format = newer.format;
    merged.isTruncating = older.isTruncating || newer.isTruncating;
    merged.firstElement = std::min(older.firstElement, newer.firstElement);
    int end = newer.isTruncating ? newer.end() : std::max(older.end(), newer.end());
    merged.elementCount = end - merged.firstElement;
    if (!merged.format.isFloat()) merged.data = std::make_unique<CAudioParamData>();
    const int size = merged.format.elementSize;
    merged.values.reserve(static_cast<size_t>(merged.elementCount * size));
    for (int element = merged.firstElement; element < end; element++) {
        bool isNew = element >= newer.firstElement && element < newer.end();
        const CAudioParamChange& source = isNew ? newer : older;
        for (int sub = 0; sub < size; sub++)
            merged.append(source.values[(element - source.firstElement) * size + sub],
                          source.data.get());
    }
    return merged;
}

/// Whether a change of a parameter concerns a listener.
bool concerns(const CAudioListenerNode& node, const CAudioParamChange& change) {
    if (change.group == kDefinitionGroup) return true;
    bool servesAllGroups = change.format.isSingleGroup && change.group == 0;
    if (node.group != -1 && node.group != change.group && !servesAllGroups) return false;
    bool servesAllElements = change.format.isSingleElement && change.firstElement == 0;
    if (node.element == -1 || servesAllElements) return true;
    if (node.element < change.firstElement) return false;
    return change.isTruncating || node.element < change.end();
}

} // namespace

CQueuedChange::CQueuedChange(CAudioParam& target, const CAudioParamChange& source)
    : param(&target), change(source.clone()) {
    change.separateItems(); // the audio side takes each over
    room.prepare(change);
}

CString resolveParamName(const CString& base, const CString& name) {
    if (name.startsWith("/")) return name.substring(1);
    CString result = base;
    size_t carets = 0;
    for (; carets < name.length() && name.at(carets) == u'^'; carets++) {
        int dot = result.findLast(u'.');
        result = dot < 0 ? CString() : result.substring(0, dot);
    }
    CString rest = name.substring(carets);
    if (rest.empty()) return result;
    return rest.startsWith(".") ? result + rest : result + "." + rest;
}

// Set-up

CAudioParamCollector::CAudioParamCollector() = default;

CAudioParamCollector::~CAudioParamCollector() {
    filters.clear();
    sharedParams.clear();
    deleteList(pendingHead);
    params.clear();
    CAudioParamDataItem::freeRetired();
}

void CAudioParamCollector::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
}

CErrorResult CAudioParamCollector::init() {
    LUM_TRY(CObject::init());
    return findObjectByAttr(env, "env");
}

void CAudioParamCollector::addSharedParam(std::unique_ptr<CSharedParam> param) {
    sharedParams.push_back(std::move(param));
}

void CAudioParamCollector::addFilter(std::unique_ptr<CAudioParamFilter> filter) {
    filters.push_back(std::move(filter));
}

bool CAudioParamCollector::claimDeclarations(const CString& processName) {
    platform::CSpinGuard hold(paramsLock);
    return declaredProcesses.insert(processName).second;
}

void CAudioParamCollector::addRegistry(CAudioParamRegistryBase& registry) {
    platform::CSpinGuard hold(paramsLock);
    size_t at = 0;
    while (at < registries.size() &&
           registries[at]->getHierarchy().length() >= registry.getHierarchy().length())
        at++;
    registries.insert(at, &registry);
}

void CAudioParamCollector::removeRegistry(CAudioParamRegistryBase& registry) {
    platform::CSpinGuard hold(paramsLock);
    for (size_t i = registries.size(); i-- > 0;)
        if (registries[i] == &registry) registries.erase(i);
}

CAudioParamRegistryBase* CAudioParamCollector::findRegistry(const CString& registryName) const {
    CRegistryList list;
    {
        platform::CSpinGuard hold(paramsLock);
        list = registries;
    }
    for (CAudioParamRegistryBase* registry : list)
        if (registry->getRegistryName() == registryName) return registry;
    return nullptr;
}

void CAudioParamCollector::start() {
    CRegistryList list;
    {
        platform::CSpinGuard hold(paramsLock);
        if (isStarted) return;
        isStarted = true;
        list = registries;
    }
    for (CAudioParam* param : listParams()) offerToRegistries(*param, list);
    for (CAudioParamRegistryBase* registry : list) registry->onCollectorStarted();
}

/// The first enumerated registry that takes the parameter keeps it alone; else all others see it.
void CAudioParamCollector::offerToRegistries(CAudioParam& param, const CRegistryList& offered) {
    for (CAudioParamRegistryBase* registry : offered)
        if (registry->isEnumerated() && registry->offerParam(param)) return;
    for (CAudioParamRegistryBase* registry : offered)
        if (!registry->isEnumerated()) registry->offerParam(param);
}

// Parameters by name

CAudioParam& CAudioParamCollector::getParam(const CString& name) {
    return getParamDirect(followRemaps(name));
}

CAudioParam& CAudioParamCollector::getParamDirect(const CString& name) {
    {
        platform::CSpinGuard hold(paramsLock);
        auto found = params.find(name);
        if (found != params.end()) return *found->second;
    }
    auto fresh = std::make_unique<CAudioParam>(*this, name);
    CAudioParam* param = nullptr;
    CRegistryList list;
    {
        platform::CSpinGuard hold(paramsLock);
        auto [entry, isNew] = params.try_emplace(name, std::move(fresh));
        param = entry->second.get();
        if (isNew && isStarted) list = registries;
    }
    offerToRegistries(*param, list);
    return *param;
}

/// A ring of remaps ends where it has been round once.
CString CAudioParamCollector::followRemaps(const CString& name) const {
    platform::CSpinGuard hold(paramsLock);
    CString result = name;
    for (size_t steps = 0; steps < remaps.size(); steps++) {
        auto found = remaps.find(result);
        if (found == remaps.end()) break;
        result = found->second;
    }
    return result;
}

bool CAudioParamCollector::isRedirected(const CString& name) const {
    platform::CSpinGuard hold(paramsLock);
    auto found = remaps.find(name);
    return found != remaps.end() && found->second != name;
}

void CAudioParamCollector::addRemap(const CString& original, const CString& replacement) {
    platform::CSpinGuard hold(paramsLock);
    remaps[original] = replacement;
}

CVector<CAudioParam*, 4> CAudioParamCollector::listParams() const {
    CVector<CAudioParam*, 4> list;
    platform::CSpinGuard hold(paramsLock);
    list.reserve(params.size());
    for (const auto& [paramName, param] : params) list.push_back(param.get());
    return list;
}

// The road to the audio thread: control side

void CAudioParamCollector::queueChange(CAudioParam& param, const CAudioParamChange& change,
                                       bool isImmediate) {
    if (isImmediate) {
        CQueuedChange now(param, change);
        applyOnAudioSide(now);
        return;
    }
    CAudioParamDataItem::freeRetired();
    auto record = std::make_unique<CQueuedChange>(param, change);
    platform::CSpinGuard hold(env->lock);
    if (!env->isActive && mergeIntoQueue(*record)) return;
    CQueuedChange* queued = record.release();
    appendToQueue(queued, queued);
}

void CAudioParamCollector::handOverBatch(CQueuedChange* head, CQueuedChange* tail) {
    CAudioParamDataItem::freeRetired();
    CQueuedChange* merged = nullptr; // freed when the lock is open again
    {
        platform::CSpinGuard hold(env->lock);
        if (!pendingHead || env->isActive) {
            appendToQueue(head, tail);
            return;
        }
        while (head) {
            CQueuedChange* record = std::exchange(head, head->next);
            bool isMerged = mergeIntoQueue(*record);
            record->next = isMerged ? std::exchange(merged, record) : nullptr;
            if (!isMerged) appendToQueue(record, record);
        }
    }
    deleteList(merged);
}

/// Under the env lock. Only the last queued record of the same parameter and group is a candidate,
/// and none in front of a record that replaced the definition.
bool CAudioParamCollector::mergeIntoQueue(CQueuedChange& record) {
    if (record.change.group == kDefinitionGroup) return false;
    CQueuedChange* candidate = nullptr;
    for (CQueuedChange* queued = pendingHead; queued; queued = queued->next) {
        if (queued->param != record.param) continue;
        if (queued->change.group == kDefinitionGroup) candidate = nullptr;
        if (queued->change.group == record.change.group) candidate = queued;
    }
    if (!candidate || !canMerge(candidate->change, record.change)) return false;
    candidate->change = merge(candidate->change, record.change);
    candidate->room.prepare(candidate->change);
    return true;
}

void CAudioParamCollector::appendToQueue(CQueuedChange* head, CQueuedChange* tail) {
    (pendingTail ? pendingTail->next : pendingHead) = head;
    pendingTail = tail;
}

int CAudioParamCollector::countPendingChanges() {
    platform::CSpinGuard hold(env->lock);
    int count = 0;
    for (CQueuedChange* queued = pendingHead; queued; queued = queued->next) count++;
    return count;
}

// The road to the audio thread: audio side

void CAudioParamCollector::takePendingChanges() {
    CQueuedChange* taken;
    {
        platform::CSpinGuard hold(env->lock);
        taken = std::exchange(pendingHead, nullptr);
        pendingTail = nullptr;
    }
    while (taken) {
        applyOnAudioSide(*taken);
        delete std::exchange(taken, taken->next);
    }
}

void CAudioParamCollector::applyOnAudioSide(CQueuedChange& record) {
    record.param->audioValues.take(record.change, record.room);
    notifyAudioListeners(*record.param, record.change);
}

/// The mask is replaced, not or-ed: what a listener reads at the block's head is the last change.
void CAudioParamCollector::notifyAudioListeners(CAudioParam& param,
                                                const CAudioParamChange& change) {
    uint32_t mask = change.group == kDefinitionGroup ? kAllGroups : maskOfGroup(change.group);
    for (CAudioListenerNode* node = param.audioListeners; node; node = node->next) {
        if (!concerns(*node, change)) continue;
        *node->dirty = 1;
        if (node->anyDirty) *node->anyDirty = 1;
        *node->groupMask = mask;
    }
}

void CAudioParamCollector::addAudioListener(CAudioParam& param, CAudioListenerNode& node) {
    node.param = &param;
    node.previous = nullptr;
    node.next = param.audioListeners;
    if (node.next) node.next->previous = &node;
    param.audioListeners = &node;

    const int count = param.audioValues.isInitialised() ? param.audioValues.getGroupCount() : 0;
    if (node.group == -1)
        *node.groupMask = maskOfGroupsBelow(count);
    else
        *node.groupMask = node.group < count ? maskOfGroup(node.group) : 0;
}

void CAudioParamCollector::removeAudioListener(CAudioListenerNode& node) {
    CAudioParam* const param = std::exchange(node.param, nullptr);
    if (!param) return;
    (node.previous ? node.previous->next : param->audioListeners) = node.next;
    if (node.next) node.next->previous = node.previous;
}

// Deferred calls

void CAudioParamCollector::acquireGuard(bool isBatch) {
    const uint64_t thread = platform::currentThreadId();
    platform::CSpinGuard hold(deferredLock);
    (isBatch ? batchCount : guardCount)++;
    if (CHolder* holder = findHolder(thread))
        holder->depth++;
    else
        holders.push_back({thread, 1});
}

void CAudioParamCollector::releaseGuard(bool isBatch) {
    bool isLastOfThread = false;
    {
        platform::CSpinGuard hold(deferredLock);
        (isBatch ? batchCount : guardCount)--;
        CHolder* holder = findHolder(platform::currentThreadId());
        isLastOfThread = --holder->depth == 0;
        if (isLastOfThread) holders.erase(static_cast<size_t>(holder - holders.begin()));
    }
    if (isLastOfThread) runOwnWork();
    runDeferredCalls();
}

CAudioParamCollector::CHolder* CAudioParamCollector::findHolder(uint64_t thread) {
    for (CHolder& holder : holders)
        if (holder.thread == thread) return &holder;
    return nullptr;
}

void CAudioParamCollector::deferWork(CDeferredCallTarget& target) {
    const uint64_t thread = platform::currentThreadId();
    {
        platform::CSpinGuard hold(deferredLock);
        if (!findOwnWork(&target, false)) deferredWork.push_back({&target, thread, false});
        if (findHolder(thread)) return;
    }
    runOwnWork();
}

/// Under the lock: work of this thread, of any target where that is null.
CAudioParamCollector::CDeferredWork* CAudioParamCollector::findOwnWork(CDeferredCallTarget* target,
                                                                       bool isRunning) {
    const uint64_t thread = platform::currentThreadId();
    for (CDeferredWork& work : deferredWork)
        if (work.thread == thread && work.isRunning == isRunning &&
            (!target || work.target == target))
            return &work;
    return nullptr;
}

void CAudioParamCollector::runOwnWork() {
    for (CDeferredCallTarget* done = nullptr;;) {
        {
            platform::CSpinGuard hold(deferredLock);
            if (done)
                deferredWork.erase(
                    static_cast<size_t>(findOwnWork(done, true) - deferredWork.begin()));
            CDeferredWork* work = findOwnWork(nullptr, false);
            if (!work) return;
            work->isRunning = true;
            done = work->target;
        }
        done->onDeferredCall(0, 0.0);
    }
}

void CAudioParamCollector::deferCall(CDeferredCallTarget& target, int32_t argument, double value) {
    {
        platform::CSpinGuard hold(deferredLock);
        deferredCalls.push_back({&target, argument, value});
    }
    runDeferredCalls();
}

void CAudioParamCollector::cancelDeferredCalls(CDeferredCallTarget& target) {
    for (platform::CSpinWait wait;; wait.step()) {
        platform::CSpinGuard hold(deferredLock);
        for (size_t i = deferredCalls.size(); i-- > 0;)
            if (deferredCalls[i].target == &target) deferredCalls.erase(i);
        bool isElsewhere = calledNow == &target && callingThread != platform::currentThreadId();
        for (size_t i = deferredWork.size(); i-- > 0;) {
            const CDeferredWork& work = deferredWork[i];
            if (work.target != &target) continue;
            if (!work.isRunning)
                deferredWork.erase(i);
            else
                isElsewhere |= work.thread != platform::currentThreadId();
        }
        // A target may end in its own call; else other threads must be out of it.
        if (!isElsewhere) return;
    }
}

void CAudioParamCollector::runDeferredCalls() {
    CDeferredCall call;
    while (takeDeferredCall(call)) {
        call.target->onDeferredCall(call.argument, call.value);
        platform::CSpinGuard hold(deferredLock);
        calledNow = nullptr;
    }
}

/// False when nothing may run now: whoever closes the last guard, or is in a call, comes back.
bool CAudioParamCollector::takeDeferredCall(CDeferredCall& out) {
    platform::CSpinGuard hold(deferredLock);
    if (guardCount > 0 || batchCount > 0 || calledNow || deferredCalls.empty()) return false;
    out = deferredCalls[0];
    deferredCalls.erase(0);
    calledNow = out.target;
    callingThread = platform::currentThreadId();
    return true;
}

} // namespace lum
