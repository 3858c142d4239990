#include "Audio/Transform/CFFTPlan.h"

#include "Audio/Transform/TransformTables.h"
#include "Audio/Transform/VectorCode.h"
#include "Platform/Lock.h"

#include <cstdint>

namespace lum {

namespace {

static_assert(CFFTPlan::kMinOrder == CTransformPlan::kMinOrder);
static_assert(CFFTPlan::kMaxOrder == CTransformPlan::kMaxOrder);

// A spin lock, held for a pointer swap: plans change hands while filters are rebuilt.
platform::CSpinLock freeLock;
CFFTPlan* freePlans[CFFTPlan::kMaxOrder + 1] = {};

} // namespace

CFFTPlan* CFFTPlan::acquire(int order) {
    {
        platform::CSpinGuard hold(freeLock);
        if (CFFTPlan* plan = freePlans[order]) {
            freePlans[order] = plan->next;
            plan->next = nullptr;
            return plan;
        }
    }
    return new CFFTPlan(order);
}

void CFFTPlan::release(CFFTPlan* plan) {
    platform::CSpinGuard hold(freeLock);
    plan->next = freePlans[plan->order];
    freePlans[plan->order] = plan;
}

CErrorResult CFFTPlan::initService() {
    selectVectorCode(platform::cpuLevel());
    return nullptr;
}

void CFFTPlan::finishService() {
    for (CFFTPlan*& list : freePlans)
        while (CFFTPlan* plan = list) {
            list = plan->next;
            delete plan;
        }
    CTransformTables::releaseAll();
}

CFFTPlan::CFFTPlan(int planOrder)
    : order(planOrder),
      size(1 << planOrder),
      scale(1.0 / static_cast<double>(size)),
      tables(&CTransformTables::get(planOrder)),
      workMemory(pool::alloc(static_cast<size_t>(size) * sizeof(double) + 64)) {
    work =
        reinterpret_cast<double*>((reinterpret_cast<uintptr_t>(workMemory) + 63) & ~uintptr_t{63});
}

CFFTPlan::~CFFTPlan() {
    pool::free(workMemory);
}

void CFFTPlan::forward(double* data) {
    vectorCode().forward(*tables, data, data, work);
}

void CFFTPlan::inverse(double* data) {
    vectorCode().inverse(*tables, data, data, work);
}

void CFFTPlan::forwardBlocked(const double* lower, const double* upper, double* spectrum) {
    vectorCode().forwardBlocked(*tables, lower, upper, spectrum, work);
}

void CFFTPlan::inverseBlocked(const double* spectrum, double* samples) {
    vectorCode().inverseBlocked(*tables, spectrum, samples, work);
}

void mulPacked(const double* a, const double* b, double* out, int size) {
    vectorCode().mulPacked(a, b, out, size);
}

void addProductComplex(const double* a, const double* b, double* acc, int count) {
    vectorCode().addProductComplex(a, b, acc, count);
}

} // namespace lum
