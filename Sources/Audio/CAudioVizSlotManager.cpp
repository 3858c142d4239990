#include "Audio/CAudioVizSlotManager.h"

namespace lum {
namespace {

constinit platform::CSpinLock globalLock;
constinit CAudioVizSlotManager* globalManager = nullptr;

} // namespace

CAudioVizSlotManager* CAudioVizSlotManager::attach(int32_t& instanceId) {
    platform::CSpinGuard hold(globalLock);
    if (!globalManager) globalManager = new CAudioVizSlotManager;
    instanceId = ++globalManager->attachedEver;
    globalManager->attachedNow++;
    return globalManager;
}

void CAudioVizSlotManager::detach(CAudioVizSlotManager* manager, int32_t instanceId) {
    manager->setExportNames(instanceId, {});
    platform::CSpinGuard hold(globalLock);
    if (--manager->attachedNow > 0) return;
    delete manager;
    globalManager = nullptr;
}

void CAudioVizSlotManager::setExportNames(int32_t instanceId, const CMap<int, CString>& names) {
    platform::CSpinGuard hold(lock);
    bool isChanged = false;
    for (int i = 0; i < kVizSlotCount; i++) {
        auto& exporters = slots[i].exporters;
        const CString headBefore = exporters.empty() ? CString() : exporters[0].name;
        const bool wasEmpty = exporters.empty();
        size_t place = 0;
        while (place < exporters.size() && exporters[place].instanceId != instanceId) place++;
        const auto wanted = names.find(i);
        if (wanted == names.end()) {
            if (place < exporters.size()) exporters.erase(place);
        } else if (place < exporters.size()) {
            exporters[place].name = wanted->second;
        } else {
            exporters.push_back({instanceId, wanted->second});
        }
        const CString headAfter = exporters.empty() ? CString() : exporters[0].name;
        if (wasEmpty != exporters.empty() || !(headBefore == headAfter)) isChanged = true;
    }
    if (isChanged) raiseVersion();
}

CErrorResult CAudioVizSlotManager::saveExportNames(COutputStream& stream) {
    platform::CSpinGuard hold(lock);
    uint32_t count = 0;
    for (const CVizSlot& slot : slots) count += slot.exporters.empty() ? 0 : 1;
    LUM_TRY(stream.writeValue(count));
    for (int i = 0; i < kVizSlotCount; i++) {
        if (slots[i].exporters.empty()) continue;
        LUM_TRY(stream.writeValue(static_cast<uint32_t>(i)));
        LUM_TRY(stream.writeString(slots[i].exporters[0].name));
    }
    return nullptr;
}

} // namespace lum
