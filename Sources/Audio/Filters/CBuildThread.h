#pragma once

#include "Core/CWorkerThreadPool.h"

namespace lum {

class CDSPFIREQ;

/// Helps with one kernel: takes slices until none is left. Runs on a persistent worker.
class CBuildThread : public CWorkerThread {
public:
    CBuildThread(CDSPFIREQ& owner, const double* kernelGains) : design(owner), gains(kernelGains) {}
    CErrorResult run() override;

    /// Whether the calling thread may have a helper now.
    static bool isAllowed();

private:
    CDSPFIREQ& design;
    const double* gains;
};

/// Allows helpers to the kernels that this thread makes while the object lives, unless another
/// thread has them just now. To wake a sleeping thread is a call to the system, and to wait for it
/// is a wait, so inside a block the audio thread sums all slices itself; with the partial sums that
/// the table keeps that is also the faster way. Whoever prepares a graph opens a scope.
class CBuildHelperScope {
public:
    CBuildHelperScope();
    ~CBuildHelperScope();
    CBuildHelperScope(const CBuildHelperScope&) = delete;
    CBuildHelperScope& operator=(const CBuildHelperScope&) = delete;

private:
    bool isHolder;
};

} // namespace lum
