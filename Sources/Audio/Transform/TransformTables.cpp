#include "Audio/Transform/TransformTables.h"

#include "Platform/Lock.h"

#include <cmath>
#include <cstdint>
#include <numbers>

namespace lum {

namespace {

/// Position in a block of four: lane j holds point kLane[j], so that taking samples apart and
/// putting bins together needs no exchange between the halves of a vector register.
constexpr int kLane[4] = {0, 2, 1, 3};

struct CRoot {
    double re;
    double im;
};

} // namespace

/// The roots exp(-2 pi i k / N) of the largest circle that an order needs. Only angles up to a
/// quarter of pi are evaluated, each once, so that the roots have the exact symmetries of the
/// circle and a plan is made in a fraction of a millisecond.
class CCircle {
public:
    explicit CCircle(int circleSize)
        : size(circleSize),
          eighth(static_cast<CRoot*>(
              pool::alloc((static_cast<size_t>(size) / 8 + 1) * sizeof(CRoot)))) {
        for (int k = 0; k <= size / 8; k++) {
            const double angle = 2.0 * std::numbers::pi * k / circleSize;
            eighth[k] = {std::cos(angle), std::sin(angle)};
        }
    }
    ~CCircle() { pool::free(eighth); }
    CCircle(const CCircle&) = delete;
    CCircle& operator=(const CCircle&) = delete;

    /// exp(-2 pi i k / n); n divides the circle.
    CRoot root(int64_t k, int64_t n) const {
        k = k * (size / n) & (size - 1);
        const int64_t quarter = size / 4;
        const int64_t rest = k % quarter;
        const bool isSwapped = rest > quarter / 2;
        auto [c, s] = eighth[isSwapped ? quarter - rest : rest];
        if (isSwapped) std::swap(c, s);
        switch (k / quarter) {
        case 0:
            return {c, -s};
        case 1:
            return {-s, -c};
        case 2:
            return {-c, s};
        default:
            return {s, c};
        }
    }

private:
    int64_t size;
    CRoot* eighth; // [N / 8 + 1] cosines and sines
};

namespace {

platform::CLock tablesLock;
CTransformTables* tablesByOrder[CTransformPlan::kMaxOrder + 1] = {};

} // namespace

const CTransformTables& CTransformTables::get(int order) {
    platform::CLockGuard hold(tablesLock);
    CTransformTables*& tables = tablesByOrder[order];
    if (!tables) tables = new CTransformTables(order);
    return *tables;
}

void CTransformTables::releaseAll() {
    platform::CLockGuard hold(tablesLock);
    for (CTransformTables*& tables : tablesByOrder) {
        delete tables;
        tables = nullptr;
    }
}

CTransformTables::CTransformTables(int planOrder)
    : CTransformPlan(CTransformPlan::of(planOrder)), order(planOrder) {
    size_t values = 4 * static_cast<size_t>(points) + 40;
    for (int i = 0; i < passCount; i++)
        values += static_cast<size_t>(passes[i].groups * (passes[i].radix - 1) * 2 + 8);
    memory = pool::alloc(values * sizeof(double) + 64);
    const uintptr_t aligned = (reinterpret_cast<uintptr_t>(memory) + 63) & ~uintptr_t{63};
    const CCircle circle(2 * points);
    double* place = fillTime(reinterpret_cast<double*>(aligned), circle);
    place = fillPasses(place, circle);
    fillSplit(place, circle);
}

CTransformTables::~CTransformTables() {
    pool::free(memory);
}

double* CTransformTables::fillTime(double* place, const CCircle& circle) {
    timeTwiddles = place;
    for (int p = 0; p < points / timeRadix; p += 4)
        for (int leg = 1; leg < timeRadix; leg++, place += 8)
            for (int lane = 0; lane < 4; lane++) {
                const CRoot root = circle.root(int64_t{leg} * (p + kLane[lane]), points);
                place[lane] = root.re;
                place[lane + 4] = root.im;
            }
    return place;
}

double* CTransformTables::fillPasses(double* place, const CCircle& circle) {
    for (int i = 0; i < passCount; i++) {
        CTransformPass& pass = passes[i];
        pass.twiddles = place;
        for (int p = 0; p < pass.groups; p++)
            for (int leg = 1; leg < pass.radix; leg++, place += 2) {
                const CRoot root = circle.root(int64_t{leg} * p, int64_t{pass.radix} * pass.groups);
                place[0] = root.re;
                place[1] = root.im;
            }
        place += (8 - (place - pass.twiddles) % 8) % 8; // keeps what follows on a cache line
    }
    return place;
}

void CTransformTables::fillSplit(double* place, const CCircle& circle) {
    // (-i / 2) * exp(-2 pi i k / N): the half of the separation and its turn in one factor.
    auto put = [&](double* target, int lane, int bin) {
        const CRoot root = circle.root(bin, 2 * int64_t{points});
        target[lane] = 0.5 * root.im;
        target[lane + 4] = -0.5 * root.re;
    };
    const int stride = points / 4;
    splitTwiddles = place;
    for (int q = 0; q < std::max(stride / 2, 4); q += 4)
        for (int leg = 0; leg < 2; leg++, place += 8)
            for (int lane = 0; lane < 4; lane++) put(place, lane, q + kLane[lane] + leg * stride);
    middleTwiddles = place;
    for (int lane = 0; lane < 4; lane++) {
        const int bin = stride > 4 ? stride / 2 + kLane[lane] * stride : points / 2;
        put(place, lane, bin);
    }
}

} // namespace lum
