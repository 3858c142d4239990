#include "Audio/CControlWriteQueue.h"

#include "Audio/CAudioParam.h"

namespace lum {

void CControlWriteQueue::post(CAudioParam& param, int group, double value,
                              const CAudioParamInfo* definition) LUM_REALTIME {
    platform::CSpinGuard hold(lock);
    hasWrites.store(true, std::memory_order_release);
    for (CWrite& write : writes)
        if (write.param == &param && write.group == group) {
            write.value = value;
            return;
        }
    writes.push_back({&param, group, value, definition});
}

void CControlWriteQueue::drain() {
    while (!isEmpty() && !isDraining.test_and_set(std::memory_order_acquire)) {
        CVector<CWrite, 16> taken;
        {
            platform::CSpinGuard hold(lock);
            for (const CWrite& write : writes) taken.push_back(write);
            writes.clear();
            hasWrites.store(false, std::memory_order_release);
        }
        for (const CWrite& write : taken) carryOut(write);
        isDraining.clear(std::memory_order_release);
    }
}

void CControlWriteQueue::carryOut(const CWrite& write) {
    CAudioParamGuard guard(*write.param);
    if (write.definition) write.param->bind(*write.definition, {}, &guard);
    write.param->applyChange(CAudioParamChange::ofValues(write.param->getValues().getFormat(),
                                                         write.group, 0, &write.value, 1, false,
                                                         this),
                             {}, &guard);
}

} // namespace lum
