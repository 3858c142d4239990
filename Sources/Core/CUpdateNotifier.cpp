#include "Core/CUpdateNotifier.h"

#include <array>
#include <cstdint>

namespace lum {

namespace {

/// The notifiers alive at the moment. A listener does with a notifier what it does under the lock
/// of the bucket, which the notifier's destructor has to pass.
struct CBucket {
    platform::CLock lock;
    CSet<const CUpdateNotifier*> alive;
};

constexpr size_t kBuckets = 64;

std::array<CBucket, kBuckets>& liveTable() {
    static std::array<CBucket, kBuckets> table;
    return table;
}

/// Spreads addresses, whose low bits are all alike, over the buckets.
CBucket& bucketOf(const CUpdateNotifier* notifier) {
    constexpr uint64_t kSalt = 0x243F6A8885A308D3;
    constexpr uint64_t kFactor = 0x452821E638D01377;
    uint64_t hash = (reinterpret_cast<uintptr_t>(notifier) ^ kSalt) * kFactor;
    hash ^= hash >> 32;
    return liveTable()[hash % kBuckets];
}

} // namespace

CUpdateNotifier::CUpdateNotifier() {
    CBucket& bucket = bucketOf(this);
    platform::CLockGuard guard(bucket.lock);
    bucket.alive.insert(this);
}

CUpdateNotifier::~CUpdateNotifier() {
    CBucket& bucket = bucketOf(this);
    platform::CLockGuard guard(bucket.lock);
    bucket.alive.erase(this);
}

void CUpdateNotifier::notify(const CUpdateRecord* record) {
    platform::CLockGuard guard(lock);
    const auto filed = listeners.find(record ? record->key : nullptr);
    if (filed == listeners.end()) return;
    for (CUpdateListener* listener : filed->second) listener->onUpdate(record);
}

void CUpdateNotifier::add(CUpdateListener* listener, const void* key) {
    platform::CLockGuard guard(lock);
    listeners[key].insert(listener);
}

void CUpdateNotifier::remove(CUpdateListener* listener, const void* key) {
    platform::CLockGuard guard(lock);
    const auto filed = listeners.find(key);
    if (filed == listeners.end()) return;
    filed->second.erase(listener);
    if (filed->second.empty()) listeners.erase(filed);
}

template <class Action>
void CUpdateListener::ifAlive(CUpdateNotifier* notifier, Action action) {
    if (!notifier) return;
    CBucket& bucket = bucketOf(notifier);
    platform::CLockGuard guard(bucket.lock);
    if (bucket.alive.contains(notifier)) action();
}

void CUpdateListener::attach(CUpdateNotifier* notifier, const void* userKey) {
    platform::CLockGuard guard(lock);
    ifAlive(current, [&] { current->remove(this, currentKey); });
    current = notifier;
    ifAlive(current, [&] {
        currentKey = current->getUpdateKey(userKey);
        current->add(this, currentKey);
    });
}

} // namespace lum
