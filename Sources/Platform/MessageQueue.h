#pragma once

#include <cstdint>
#include <memory>

/// Delivery of small messages to a thread: what a window message is elsewhere.
namespace lum::platform {

/// Receives what is posted to it, on the thread that drains the queue.
class CMessageReceiver {
public:
    virtual ~CMessageReceiver() = default;
    virtual void onMessage(uint32_t message, intptr_t value) = 0;
};

/// One queue per thread that wants messages. Whoever owns the queue's thread pumps it: an editor's
/// own thread, a host's thread at its idle call, the command-line host, a test.
class CMessageQueue {
public:
    /// The calling thread's queue, made on the first call and alive while anybody holds it.
    static std::shared_ptr<CMessageQueue> current();

    CMessageQueue();
    ~CMessageQueue();

    /// Enters a receiver; the result is its address for post. Any thread.
    uint64_t attach(CMessageReceiver& receiver);
    /// Takes a receiver out; messages still under way to it are dropped. When this returns the
    /// receiver is not being called, unless it is the caller itself.
    void detach(uint64_t address);
    /// Posts to a receiver. Never blocks on the receiver. Any thread. Gives 0 or an error code.
    int post(uint64_t address, uint32_t message, intptr_t value);

    /// Delivers what is queued and the thread timers that are due, on the calling thread, which
    /// must be the queue's own. Gives the number of deliveries.
    int pump();
    /// As pump, but first sleeps until something is due, for at most `seconds`.
    int pumpFor(double seconds);

    /// A timer served by pump: `callback(argument)` every `periodMs`. Gives a number, 0 on failure.
    uint32_t startTimer(uint32_t periodMs, void (*callback)(uint32_t id, void* argument),
                        void* argument);
    void stopTimer(uint32_t id);

private:
    struct CState;
    std::unique_ptr<CState> state;
};

} // namespace lum::platform
