#include "Audio/CAudioModule.h"

#include "Audio/CAudioProcessTerminal.h"

namespace lum {

int CParamHandle::storageGroup() const LUM_REALTIME {
    return subscription->storage->getFormat().isSingleGroup ? 0 : group;
}

double CParamHandle::read(int element, double fallback, int subValue) const LUM_REALTIME {
    if (!subscription) return fallback;
    bool isSingle = subscription->storage->getFormat().isSingleElement;
    return subscription->storage->read(storageGroup(), isSingle ? 0 : element, fallback, subValue);
}

double CParamHandle::readGroup(int otherGroup, int element, double fallback) const LUM_REALTIME {
    return subscription ? subscription->read(otherGroup, element, fallback) : fallback;
}

int CParamHandle::elementCount() const LUM_REALTIME {
    return subscription ? subscription->storage->getElementCount(storageGroup()) : 0;
}

int CParamHandle::elementSize() const LUM_REALTIME {
    return subscription ? subscription->storage->getFormat().elementSize : 1;
}

int CParamHandle::groupCount() const LUM_REALTIME {
    return subscription ? subscription->storage->getGroupCount() : 0;
}

const CAudioProcessDefBase& CAudioModule::getDefinition() const {
    return terminal->getDefinition();
}

CSampleBlockPool& CAudioModule::getPool() const {
    return terminal->getPool();
}

void CAudioModule::regModuleParam(int allocIndex, CParamHandle* handle, ParamUse use) {
    terminal->bindParam(*this, allocIndex, *handle, use);
}

void CAudioModule::outputLatencyChanged() {
    terminal->isOutputChanged = true;
}

} // namespace lum
