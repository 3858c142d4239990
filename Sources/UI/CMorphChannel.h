#pragma once

#include "Core/CString.h"

namespace lum {

/// Value at `now` on the way from `from` to `to`, on half a sine. Times in seconds.
double easedValue(double from, double to, double start, double end, double now);

/// A number that a view state moves: it eases upwards and lands at once on its way down. Interface
/// thread.
class CMorphChannel {
public:
    void start(double fromValue, double toValue, double now, double duration);
    /// The value to write at `now`, in steps of 1/10000; behind the end the channel has finished.
    double step(double now);
    /// The number is somebody else's from now on.
    void stop() { finished = true; }
    bool isFinished() const { return finished; }
    double getTarget() const { return to; }

private:
    double from = 0.0;
    double to = 0.0;
    double startTime = 0.0; // seconds
    double endTime = 0.0;
    double current = 0.0;
    bool finished = true;
};

/// How a view looks: the names of its active states in sorted order, and what they make of its
/// colour state and its image range.
struct CViewLook {
    CString states;
    CString colorState;
    CString imageSetRange;
    friend bool operator==(const CViewLook&, const CViewLook&) = default;
};

/// Fades from one look to the next. A look that comes while a fade runs waits for its end.
class CLookCrossfade {
public:
    /// Takes a look at once, without a fade.
    void reset(const CViewLook& look);
    void start(const CViewLook& look, double now, double duration);
    /// One step. False: current and target are equal and nothing runs.
    bool step(double now);
    bool isRunning() const { return !(current == target); }
    const CViewLook& getCurrent() const { return current; }
    const CViewLook& getTarget() const { return target; }
    const CViewLook& getQueued() const { return queued; }
    double getFactor() const { return factor; } // weight of the target, 0 to 1

private:
    CViewLook current;
    CViewLook target;
    CViewLook queued;
    double factor = 0.0;
    double startTime = 0.0;
    double endTime = 0.0;
    double duration = 0.0; // of the latest look, seconds
};

} // namespace lum
