#include "Audio/Transform/TransformTables.h"

#include "Audio/Transform/CFFTPlan.h"
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

/// exp(-2 pi i k / n), n a power of two of at least 8. Only angles up to a quarter of pi are
/// evaluated, so that the roots have the exact symmetries of the circle.
CRoot unitRoot(int64_t k, int64_t n) {
    k &= n - 1;
    const int64_t quarter = n / 4;
    const int64_t quadrant = k / quarter;
    const int64_t rest = k % quarter;
    const bool isSwapped = rest > quarter / 2;
    const double angle = 2.0 * std::numbers::pi *
                         static_cast<double>(isSwapped ? quarter - rest : rest) /
                         static_cast<double>(n);
    double c = std::cos(angle);
    double s = std::sin(angle);
    if (isSwapped) std::swap(c, s);
    switch (quadrant) {
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

platform::CLock tablesLock;
CTransformTables* tablesByOrder[CFFTPlan::kMaxOrder + 1] = {};

/// Inner passes by the number of bits that time pass and split pass leave over.
constexpr int kRadices[13][CTransformTables::kMaxPasses] = {
    {},           // order 5
    {2},          // order 6
    {4},          // order 7
    {8},          // order 8
    {4, 4},       // order 9
    {4, 8},       // order 10
    {8, 8},       // order 11
    {4, 4, 8},    // order 12
    {4, 8, 8},    // order 13
    {8, 8, 8},    // order 14
    {4, 4, 8, 8}, // order 15
    {4, 8, 8, 8}, // order 16
    {8, 8, 8, 8}, // order 17
};

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

CTransformTables::CTransformTables(int order) : points(1 << (order - 1)) {
    planPasses(order - CFFTPlan::kMinOrder);
    size_t values = static_cast<size_t>(points) * 3 / 2 + static_cast<size_t>(points) / 2 + 32;
    for (int i = 0; i < passCount; i++)
        values += static_cast<size_t>(passes[i].groups * (passes[i].radix - 1) * 2 + 8);
    memory = pool::alloc(values * sizeof(double) + 64);
    const uintptr_t aligned = (reinterpret_cast<uintptr_t>(memory) + 63) & ~uintptr_t{63};
    fillSplit(fillPasses(fillTime(reinterpret_cast<double*>(aligned))));
}

CTransformTables::~CTransformTables() {
    pool::free(memory);
}

void CTransformTables::planPasses(int bits) {
    int stride = 4;
    for (int radix : kRadices[bits]) {
        if (radix == 0) break;
        CTransformPass& pass = passes[passCount++];
        pass.radix = radix;
        pass.blocks = stride / 4;
        pass.groups = points / (stride * radix);
        stride *= radix;
    }
}

double* CTransformTables::fillTime(double* place) {
    timeTwiddles = place;
    for (int p = 0; p < points / 4; p += 4)
        for (int leg = 1; leg < 4; leg++, place += 8)
            for (int lane = 0; lane < 4; lane++) {
                CRoot root = unitRoot(int64_t{leg} * (p + kLane[lane]), points);
                place[lane] = root.re;
                place[lane + 4] = root.im;
            }
    return place;
}

double* CTransformTables::fillPasses(double* place) {
    for (int i = 0; i < passCount; i++) {
        CTransformPass& pass = passes[i];
        pass.twiddles = place;
        for (int p = 0; p < pass.groups; p++)
            for (int leg = 1; leg < pass.radix; leg++, place += 2) {
                CRoot root = unitRoot(int64_t{leg} * p, int64_t{pass.radix} * pass.groups);
                place[0] = root.re;
                place[1] = root.im;
            }
        place += (8 - (place - pass.twiddles) % 8) % 8; // keeps what follows on a cache line
    }
    return place;
}

void CTransformTables::fillSplit(double* place) {
    // (-i / 2) * exp(-2 pi i k / N): the half of the separation and its turn in one factor.
    auto put = [this](double* target, int lane, int bin) {
        CRoot root = unitRoot(bin, 2 * int64_t{points});
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
        const int bin = stride > 4 ? stride / 2 + lane * stride : points / 2;
        put(place, lane, bin);
    }
}

} // namespace lum
