#include "Audio/Filters/CDSPFIREQ.h"

#include "Audio/Filters/CBuildThread.h"
#include "Audio/Transform/CFFTPlan.h"
#include "Audio/Transform/VectorCode.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numbers>

namespace lum {

namespace {

constexpr double kPi = std::numbers::pi;
constexpr int kTile = 128; // taps that are summed at a time without a workspace

platform::CLock buildLock; // held through a build
std::atomic<CDSPFIREQ*> tables{nullptr};

constexpr int kTurns = 32; // distances from the centre that are turned from one evaluated angle

/// exp(i pi k x) for k = kTurns - 1 down to 0: rows run towards the centre.
struct CTurns {
    double sines[kTurns];
    double cosines[kTurns];

    explicit CTurns(double x) {
        for (int k = 0; k < kTurns; k++) {
            sines[k] = std::sin(kPi * (kTurns - 1 - k) * x);
            cosines[k] = std::cos(kPi * (kTurns - 1 - k) * x);
        }
    }
};

/// The slope integral of the segment from a to b at every distance m from the centre,
/// (cos(pi m b) - cos(pi m a)) / (b - a), in the order of the taps. Taken as the product
/// -2 sin(pi m (a + b) / 2) sin(pi m (b - a) / 2), which loses no digits in short segments. Only
/// every 32nd angle is evaluated; nothing builds up over the taps, as each is turned once.
class CSlopes {
public:
    explicit CSlopes(int halfLength)
        : count(halfLength), memory(new double[static_cast<size_t>(halfLength) + kTurns + 8]()) {}
    /// [H], and up to 7 values behind for loops in steps.
    const double* values() const { return memory.get() + kTurns; }
    void clear() { std::fill_n(memory.get() + kTurns, count, 0.0); }
    void fill(double a, double b) {
        const double middle = 0.5 * (a + b), half = 0.5 * (b - a), scale = -2.0 / (b - a);
        const CTurns middleTurns(middle), halfTurns(half);
        for (int m = 0; m < count; m += kTurns) {
            const double s1 = std::sin(kPi * m * middle), c1 = std::cos(kPi * m * middle);
            const double s2 = scale * std::sin(kPi * m * half);
            const double c2 = scale * std::cos(kPi * m * half);
            double* place = memory.get() + (count - m); // the tap of distance m + kTurns - 1
            for (int k = 0; k < kTurns; k++)
                place[k] = (s1 * middleTurns.cosines[k] + c1 * middleTurns.sines[k]) *
                           (s2 * halfTurns.cosines[k] + c2 * halfTurns.sines[k]);
        }
    }

private:
    int count;
    std::unique_ptr<double[]> memory; // kTurns values that nobody reads, then those of the taps
};

double* alignedUp(double* place) {
    return reinterpret_cast<double*>((reinterpret_cast<uintptr_t>(place) + 63) & ~uintptr_t{63});
}

} // namespace

// The global list -------------------------------------------------------------------------------

CDSPFIREQ& CDSPFIREQ::get(double sampleRate, double length, int gainCount, double minFreq,
                          double maxFreq, bool isLog) {
    const CIdentity wanted{sampleRate, length, gainCount, minFreq, maxFreq, isLog};
    if (CDSPFIREQ* found = findTable(wanted)) return *found;
    platform::CLockGuard hold(buildLock);
    if (CDSPFIREQ* found = findTable(wanted)) return *found;
    auto* table = new CDSPFIREQ(wanted);
    table->next = tables.load(std::memory_order_relaxed);
    tables.store(table, std::memory_order_release);
    return *table;
}

CDSPFIREQ* CDSPFIREQ::findTable(const CIdentity& wanted) {
    CDSPFIREQ* table = tables.load(std::memory_order_acquire);
    while (table && !(table->identity == wanted)) table = table->next;
    return table;
}

void CDSPFIREQ::releaseAll() {
    CDSPFIREQ* table = tables.exchange(nullptr);
    while (table) delete std::exchange(table, table->next);
}

// Building --------------------------------------------------------------------------------------

CDSPFIREQ::CDSPFIREQ(const CIdentity& wanted)
    : identity(wanted),
      halfLength(std::max(static_cast<int>(std::ceil(wanted.length / 2.0)), 1)),
      stride((halfLength + 7) & ~7),
      cache(wanted.gainCount, 2 * halfLength - 1) {
    const size_t gains = static_cast<size_t>(identity.gainCount);
    const size_t row = static_cast<size_t>(stride);
    memory.reset(new double[(gains + kSlices + 1) * row + 2 * gains + 8]);
    rows = alignedUp(memory.get());
    sliceSums = rows + gains * row;
    total = sliceSums + kSlices * row;
    nu = total + row;
    sliceGains = nu + gains;
    fillGrid();
    fillRows();
}

CDSPFIREQ::~CDSPFIREQ() = default;

/// Frequencies by repeated steps from the lowest. Without a flat segment below, the lowest counts
/// as 0.
void CDSPFIREQ::fillGrid() {
    const int count = identity.gainCount;
    const double ratio = std::exp(std::log(identity.maxFreq / identity.minFreq) / (count - 1));
    const double step = (identity.maxFreq - identity.minFreq) / (count - 1);
    double frequency = identity.minFreq;
    for (int i = 0; i < count; i++) {
        nu[i] = 2.0 * frequency / identity.sampleRate;
        frequency = identity.isLog ? frequency * ratio : frequency + step;
    }
    if (!(identity.minFreq > 0.0)) nu[0] = 0.0;
}

/// Row p is the integral of tent p against cos(pi m x), times the window, for tap t with
/// m = H - 1 - t: (slope integral before - slope integral behind) / (pi m)^2, and the tent's area
/// at the centre. The outer tents run on flat to 0 and to Nyquist, which adds nothing but area: the
/// sines of their ends cancel. A last frequency above Nyquist has no flat end.
void CDSPFIREQ::fillRows() {
    const int last = identity.gainCount - 1, centre = halfLength - 1;
    const bool hasHigh = nu[last] < 1.0;
    std::unique_ptr<double[]> factors(new double[static_cast<size_t>(stride)]());
    for (int m = 1; m < halfLength; m++) {
        const double q = 1.0 / (kPi * m);
        factors[static_cast<size_t>(centre - m)] = std::cos(m * kPi / identity.length) * q * q;
    }
    CSlopes before(halfLength), behind(halfLength);
    for (int p = 0; p <= last; p++) {
        std::swap(before, behind); // the segment behind the last tent is the one before this
        if (p < last)
            behind.fill(nu[p], nu[p + 1]);
        else
            behind.clear();
        double* row = rows + static_cast<ptrdiff_t>(p) * stride;
        for (int t = 0; t < stride; t += 8)
            for (int i = t; i < t + 8; i++)
                row[i] =
                    (before.values()[i] - behind.values()[i]) * factors[static_cast<size_t>(i)];
        if (p == last && !hasHigh)
            for (int m = 1; m < halfLength; m++)
                row[centre - m] += std::sin(kPi * m * nu[p]) * (kPi * m) *
                                   factors[static_cast<size_t>(centre - m)];
        const double rise = p > 0 ? 0.5 * (nu[p] - nu[p - 1]) : nu[0];
        const double fall = p < last ? 0.5 * (nu[p + 1] - nu[p]) : hasHigh ? 1.0 - nu[p] : 0.0;
        row[centre] = rise + fall;
    }
}

// One kernel ------------------------------------------------------------------------------------

void CDSPFIREQ::makeKernel(const double* gains, double* coefficients, bool isMinPhase,
                           int extraZeros) {
    const int length = getKernelLength();
    std::fill_n(coefficients + length, extraZeros, 0.0);
    if (cache.find(gains, isMinPhase, coefficients)) return;
    sumRows(gains, coefficients);
    for (int j = 1; j < halfLength; j++)
        coefficients[halfLength - 1 + j] = coefficients[halfLength - 1 - j];
    if (isMinPhase) makeMinPhase(coefficients);
    cache.store(gains, isMinPhase, coefficients);
}

/// The first half of the kernel. The order of the additions is the same on both ways: rows within a
/// slice in ascending order, then the slices in ascending order.
void CDSPFIREQ::sumRows(const double* gains, double* half) {
    if (isWorkspaceTaken.test_and_set(std::memory_order_acquire)) return sumInTiles(gains, half);
    sumInWorkspace(gains);
    std::copy_n(total, halfLength, half);
    isWorkspaceTaken.clear(std::memory_order_release);
}

void CDSPFIREQ::sumInWorkspace(const double* gains) {
    nextSlice.store(0, std::memory_order_relaxed);
    if (halfLength >= kHelperLength && CBuildThread::isAllowed()) {
        CWorkerThreadPool helpers; // its end waits for the helper
        logAndDropError(helpers.add(std::make_unique<CBuildThread>(*this, gains)));
        helpers.signalAll();
        runSlices(gains);
        logAndDropError(helpers.waitAll(false));
    } else {
        runSlices(gains);
    }
    std::copy_n(gains, identity.gainCount, sliceGains);
    hasSlices = true;
    static constexpr struct COnes {
        double values[kSlices];
        constexpr COnes() : values() {
            for (double& value : values) value = 1.0;
        }
    } kOnes;
    vectorCode().sumRows(sliceSums, stride, kOnes.values, kSlices, total, stride);
}

/// Takes slices until none is left; the caller and its helper run this side by side.
void CDSPFIREQ::runSlices(const double* gains) {
    for (int i; (i = nextSlice.fetch_add(1, std::memory_order_relaxed)) < kSlices;) {
        const int from = firstRow(i), count = firstRow(i + 1) - from;
        const bool isSame =
            hasSlices && std::memcmp(gains + from, sliceGains + from,
                                     static_cast<size_t>(count) * sizeof(double)) == 0;
        if (!isSame) sumSlice(i, gains, sliceSums + static_cast<ptrdiff_t>(i) * stride, 0, stride);
    }
}

/// Sums of one slice's rows for `count` taps from tap `from` on.
void CDSPFIREQ::sumSlice(int slice, const double* gains, double* sums, int from, int count) const {
    const int row = firstRow(slice);
    vectorCode().sumRows(rows + static_cast<ptrdiff_t>(row) * stride + from, stride, gains + row,
                         firstRow(slice + 1) - row, sums, count);
}

/// The way of a thread that finds the workspace in use: no memory but the stack.
void CDSPFIREQ::sumInTiles(const double* gains, double* half) const {
    double tile[kTile], sums[kTile];
    for (int from = 0; from < halfLength; from += kTile) {
        const int count = std::min(kTile, stride - from);
        std::fill_n(sums, count, 0.0);
        for (int slice = 0; slice < kSlices; slice++) {
            sumSlice(slice, gains, tile, from, count);
            for (int t = 0; t < count; t++) sums[t] += tile[t];
        }
        std::copy_n(sums, std::min(count, halfLength - from), half + from);
    }
}

/// Folds the real cepstrum: the phase that belongs to the kernel's magnitude alone.
void CDSPFIREQ::makeMinPhase(double* coefficients) const {
    const int length = getKernelLength();
    int order = CFFTPlan::kMinOrder;
    while ((1 << order) <= 4 * halfLength - 3 && order < CFFTPlan::kMaxOrder) order++;
    const int size = 1 << order;
    if (size < length) return; // beyond all sample rates: the kernel stays symmetric
    std::unique_ptr<double[]> memoryHere(new double[2 * static_cast<size_t>(size) + 8]());
    double* data = alignedUp(memoryHere.get());
    double* magnitudes = data + size;
    CFFTPlan* plan = CFFTPlan::acquire(order);

    std::copy_n(coefficients, length, data);
    plan->forward(data);
    for (int k = 0; k < size; k += 2) {
        const bool isRealPair = k == 0; // bins 0 and N / 2
        magnitudes[k] = isRealPair ? std::abs(data[0]) : std::hypot(data[k], data[k + 1]);
        magnitudes[k + 1] = isRealPair ? std::abs(data[1]) : 0.0;
        data[k] = std::log(magnitudes[k]);
        data[k + 1] = isRealPair ? std::log(magnitudes[1]) : 0.0;
    }
    plan->inverse(data);
    for (int i = 0; i < size; i++) data[i] *= i < size / 2 ? plan->getScale() : -plan->getScale();
    plan->forward(data);
    for (int k = 2; k < size; k += 2) {
        const double phase = data[k + 1];
        data[k] = magnitudes[k] * std::cos(phase);
        data[k + 1] = magnitudes[k] * std::sin(phase);
    }
    data[0] = magnitudes[0];
    data[1] = magnitudes[1];
    plan->inverse(data);
    for (int i = 0; i < length; i++) coefficients[i] = data[i] * plan->getScale();
    CFFTPlan::release(plan);
}

} // namespace lum
