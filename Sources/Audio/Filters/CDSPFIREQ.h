#pragma once

#include "Audio/Filters/CKernelCache.h"

#include <atomic>
#include <memory>

namespace lum {

/// A design table: turns P linear gains at fixed frequencies into a symmetric FIR kernel. The gain
/// runs piecewise linearly between the frequencies and stays flat outside them; the kernel is the
/// windowed inverse Fourier integral of that line, taken exactly. The integral is linear in the
/// gains, so the table holds one row of taps per gain, the integral of the tent that rises from the
/// frequency before to 1 at its own and falls to 0 at the next, and a kernel is a weighted sum of
/// rows.
///
/// One table per sample rate and setting, shared by all instances and kept to the end of the
/// process. Any thread: the rows never change after construction; the kernel cache is under a spin
/// lock that is held for a copy, and the cache of partial sums belongs to whoever gets hold of it
/// without waiting.
class CDSPFIREQ : public CLumMemAllocator {
public:
    /// Finds the table, or builds it (some milliseconds, from the system's memory) while others who
    /// need a new one wait. Finding takes no lock.
    static CDSPFIREQ& get(double sampleRate, double length, int gainCount, double minFreq,
                          double maxFreq, bool isLog);
    /// Frees all tables. For the unloading of the module.
    static void releaseAll();
    ~CDSPFIREQ();

    /// gains: [P] linear factors at the grid frequencies. coefficients: [2 * H - 1 + extraZeros],
    /// symmetric about H - 1 unless minimum phase is asked for. Equal gains give equal bits,
    /// whichever thread asks and whoever helps. A minimum-phase kernel takes memory from the
    /// system; the other kind takes none.
    void makeKernel(const double* gains, double* coefficients, bool isMinPhase,
                    int extraZeros) LUM_REALTIME;

    int getHalfLength() const { return halfLength; } // H, with the centre tap
    int getKernelLength() const { return 2 * halfLength - 1; }
    /// Frequency of a grid point as a share of the Nyquist frequency.
    double getGridFrequency(int index) const { return nu[static_cast<size_t>(index)]; }
    int getCacheHits() const { return cache.getHits(); } // for tests

private:
    friend class CBuildThread;
    static constexpr int kSlices = 32;         // of the rows
    static constexpr int kHelperLength = 1000; // H from which a helper pays

    struct CIdentity {
        double sampleRate;
        double length; // L in samples, not rounded
        int gainCount; // P
        double minFreq;
        double maxFreq;
        bool isLog;
        bool operator==(const CIdentity&) const = default;
    };

    explicit CDSPFIREQ(const CIdentity& wanted);
    static CDSPFIREQ* findTable(const CIdentity& wanted);
    void fillGrid();
    void fillRows();
    void sumRows(const double* gains, double* half) LUM_REALTIME;
    void sumInWorkspace(const double* gains) LUM_REALTIME;
    void sumInTiles(const double* gains, double* half) const LUM_REALTIME;
    void runSlices(const double* gains) LUM_REALTIME;
    void sumSlice(int slice, const double* gains, double* sums, int from,
                  int count) const LUM_REALTIME;
    int firstRow(int slice) const { return slice * identity.gainCount / kSlices; }
    void makeMinPhase(double* coefficients) const;

    CIdentity identity;
    int halfLength;
    int stride;                       // values per row: H rounded up to 8
    std::unique_ptr<double[]> memory; // of what follows
    double* nu = nullptr;             // [P]
    double* rows = nullptr;           // [P][stride], 64-byte aligned, zero behind H
    CKernelCache cache;

    // Partial sums of the last kernel: a slice whose gains are as they were needs no new sum.
    std::atomic_flag isWorkspaceTaken = ATOMIC_FLAG_INIT;
    std::atomic<int> nextSlice{0};
    double* sliceSums = nullptr;  // [kSlices][stride]
    double* sliceGains = nullptr; // [P], of the sums above
    double* total = nullptr;      // [stride]
    bool hasSlices = false;

    CDSPFIREQ* next = nullptr; // global list
};

} // namespace lum
