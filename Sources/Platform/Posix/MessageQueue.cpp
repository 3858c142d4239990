#include "Platform/MessageQueue.h"

#include "Platform/Clock.h"
#include "Platform/Lock.h"
#include "Platform/Posix/TimedCondition.h"
#include "Platform/Thread.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <map>
#include <vector>

namespace lum::platform {

namespace {

constexpr int64_t kTicksPerMs = 1000000;
constexpr size_t kMostMessages = 10000; // under way at once; a thread that never pumps is no leak

struct CMessage {
    uint64_t address;
    uint32_t message;
    intptr_t value;
};

struct CThreadTimer {
    uint32_t id;
    int64_t period; // ticks
    int64_t due;    // ticks
    void (*callback)(uint32_t id, void* argument);
    void* argument;
};

// Numbers of timers tell apart the timers of all queues, addresses the receivers of all queues.
std::atomic<uint32_t> lastTimerId{0};
std::atomic<uint64_t> lastAddress{0};

/// Messages in the order of their posting; steady traffic keeps to the memory it has.
class CMessageList {
public:
    size_t size() const { return items.size() - first; }
    void push(const CMessage& message) {
        if (first > 0 && items.size() == items.capacity()) drop(first);
        items.push_back(message);
    }
    CMessage pop() {
        const CMessage message = items[first++];
        if (first == items.size()) drop(first);
        return message;
    }
    void eraseAllTo(uint64_t address) {
        drop(first);
        std::erase_if(items, [address](const CMessage& m) { return m.address == address; });
    }

private:
    void drop(size_t count) {
        items.erase(items.begin(), items.begin() + static_cast<ptrdiff_t>(count));
        first = 0;
    }
    std::vector<CMessage> items;
    size_t first = 0;
};

/// The queues of all threads, by thread. A thread-local pointer would need a destructor to run on a
/// host's thread after this module has been unloaded.
struct CQueueTable {
    CLock lock;
    std::map<uint64_t, std::weak_ptr<CMessageQueue>> queues;
};

CQueueTable& queueTable() {
    static CQueueTable table;
    return table;
}

} // namespace

struct CMessageQueue::CState {
    CTimedCondition condition; // guards what follows
    std::map<uint64_t, CMessageReceiver*> receivers;
    CMessageList waiting;
    std::vector<uint64_t> called; // receivers being called, the outermost first
    std::vector<CThreadTimer> timers;
    uint64_t pumpThread = 0; // of the calls under way

    int deliverMessages();
    int deliverTimers();
    bool deliver(const CMessage& message);
    bool isCalled(uint64_t address) const {
        return std::find(called.begin(), called.end(), address) != called.end();
    }
    int64_t nextDue() const;
};

/// Delivers what is queued at the time of the call: what receivers post meanwhile waits for the
/// next one. Taken out one by one, so that a pump inside a receiver goes on where this one stands.
int CMessageQueue::CState::deliverMessages() {
    int deliveries = 0;
    for (size_t left = waiting.size(); left > 0 && waiting.size() > 0; left--)
        if (deliver(waiting.pop())) deliveries++;
    return deliveries;
}

bool CMessageQueue::CState::deliver(const CMessage& message) {
    const auto found = receivers.find(message.address);
    if (found == receivers.end()) return false;
    CMessageReceiver* receiver = found->second;
    called.push_back(message.address);
    pumpThread = currentThreadId();
    condition.leave();
    receiver->onMessage(message.message, message.value);
    condition.enter();
    called.pop_back();
    condition.notifyAll();
    return true;
}

/// Each timer that is due calls once; the callback may stop and start timers.
int CMessageQueue::CState::deliverTimers() {
    const int64_t now = clockTicks();
    int deliveries = 0;
    for (;;) {
        const auto due = std::find_if(timers.begin(), timers.end(),
                                      [now](const CThreadTimer& t) { return t.due <= now; });
        if (due == timers.end()) return deliveries;
        due->due += ((now - due->due) / due->period + 1) * due->period;
        const CThreadTimer timer = *due;
        condition.leave();
        timer.callback(timer.id, timer.argument);
        condition.enter();
        deliveries++;
    }
}

/// Clock value at which there is something to do: 0 with messages, the largest with nothing at all.
int64_t CMessageQueue::CState::nextDue() const {
    if (waiting.size() > 0) return 0;
    int64_t next = INT64_MAX;
    for (const CThreadTimer& timer : timers) next = std::min(next, timer.due);
    return next;
}

std::shared_ptr<CMessageQueue> CMessageQueue::current() {
    CQueueTable& table = queueTable();
    CLockGuard guard(table.lock);
    const uint64_t thread = currentThreadId();
    if (auto known = table.queues.find(thread); known != table.queues.end())
        if (auto queue = known->second.lock()) return queue;
    std::erase_if(table.queues, [](const auto& entry) { return entry.second.expired(); });
    auto queue = std::make_shared<CMessageQueue>();
    table.queues[thread] = queue;
    return queue;
}

CMessageQueue::CMessageQueue() : state(std::make_unique<CState>()) {}

CMessageQueue::~CMessageQueue() = default;

uint64_t CMessageQueue::attach(CMessageReceiver& receiver) {
    const uint64_t address = ++lastAddress;
    CGuard<CTimedCondition> guard(state->condition);
    state->receivers[address] = &receiver;
    return address;
}

void CMessageQueue::detach(uint64_t address) {
    CGuard<CTimedCondition> guard(state->condition);
    state->receivers.erase(address);
    state->waiting.eraseAllTo(address);
    while (state->isCalled(address) && state->pumpThread != currentThreadId())
        state->condition.wait();
}

int CMessageQueue::post(uint64_t address, uint32_t message, intptr_t value) {
    CGuard<CTimedCondition> guard(state->condition);
    if (state->receivers.count(address) == 0) return EINVAL;
    if (state->waiting.size() >= kMostMessages) return EAGAIN;
    state->waiting.push({address, message, value});
    state->condition.notifyAll();
    return 0;
}

int CMessageQueue::pump() {
    CGuard<CTimedCondition> guard(state->condition);
    const int messages = state->deliverMessages();
    return messages + state->deliverTimers();
}

int CMessageQueue::pumpFor(double seconds) {
    constexpr double kLongest = 1e9; // seconds, within the range of the clock
    const double ticks = std::clamp(seconds, 0.0, kLongest) * clockFrequency();
    const int64_t end = clockTicks() + static_cast<int64_t>(ticks);
    {
        CGuard<CTimedCondition> guard(state->condition);
        for (int64_t now = clockTicks(); now < end && state->nextDue() > now; now = clockTicks())
            state->condition.waitUntil(std::min(end, state->nextDue()));
    }
    return pump();
}

uint32_t CMessageQueue::startTimer(uint32_t periodMs, void (*callback)(uint32_t, void*),
                                   void* argument) {
    uint32_t id = ++lastTimerId;
    if (id == 0) id = ++lastTimerId;
    const int64_t period = std::max<int64_t>(periodMs, 1) * kTicksPerMs;
    CGuard<CTimedCondition> guard(state->condition);
    state->timers.push_back({id, period, clockTicks() + period, callback, argument});
    state->condition.notifyAll();
    return id;
}

void CMessageQueue::stopTimer(uint32_t id) {
    CGuard<CTimedCondition> guard(state->condition);
    std::erase_if(state->timers, [id](const CThreadTimer& timer) { return timer.id == id; });
}

} // namespace lum::platform
