#include "Audio/CControlWriteQueue.h"

#include "Audio/CAudioParam.h"

namespace lum {

void CControlWriteQueue::post(CAudioParam& param, int group, double value) LUM_REALTIME {
    platform::CSpinGuard hold(lock);
    hasWrites.store(true, std::memory_order_release);
    for (CWrite& write : writes)
        if (write.param == &param && write.group == group) {
            write.value = value;
            return;
        }
    writes.push_back({&param, group, value});
}

void CControlWriteQueue::drain() {
    if (isEmpty()) return;
    CVector<CWrite, 16> taken;
    {
        platform::CSpinGuard hold(lock);
        for (const CWrite& write : writes) taken.push_back(write);
        writes.clear();
        hasWrites.store(false, std::memory_order_release);
    }
    for (const CWrite& write : taken) {
        CAudioParamGuard guard(*write.param);
        write.param->applyChange(CAudioParamChange::ofValues(write.param->getValues().getFormat(),
                                                             write.group, 0, &write.value, 1, false,
                                                             this),
                                 {}, &guard);
    }
}

} // namespace lum
