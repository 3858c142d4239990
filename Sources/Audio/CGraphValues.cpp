#include "Audio/CGraphValues.h"

#include <algorithm>

namespace lum {

void CGraphValues::add(CParamSubscription& subscription) {
    CEntry& entry = entryOf(*subscription.param);
    const bool isStructure = subscription.use == ParamUse::Structure;
    (isStructure ? entry.structure : entry.values).push_back(&subscription);
    subscription.storage = &entry.copy;
}

CGraphValues::CEntry& CGraphValues::entryOf(CAudioParam& param) {
    for (auto& entry : entries)
        if (entry->param == &param) return *entry;
    CEntry& made = *entries.push_back(std::unique_ptr<CEntry>(new CEntry));
    made.param = &param;
    made.copy = param.copyValues();
    return made;
}

void CGraphValues::refresh() {
    for (auto& entry : entries) entry->copy = entry->param->copyValues();
    for (auto& entry : entries)
        for (CParamSubscription* subscription : entry->structure) subscription->mark();
    markAll();
}

void CGraphValues::markAll() {
    for (auto& entry : entries)
        for (CParamSubscription* subscription : entry->values) subscription->mark();
}

bool CGraphValues::isStructureCurrent() const {
    return std::all_of(entries.begin(), entries.end(), [](const auto& entry) {
        return entry->structure.empty() || entry->copy.readsLike(entry->param->copyValues());
    });
}

CVector<CAudioParam*, 8> CGraphValues::getStructureParams() const {
    CVector<CAudioParam*, 8> params;
    for (auto& entry : entries)
        if (!entry->structure.empty()) params.push_back(entry->param);
    return params;
}

void CGraphValues::goLive() LUM_REALTIME {
    for (auto& entry : entries) {
        if (entry->values.empty()) continue;
        const bool isSame = entry->copy.readsLike(entry->param->getAudioValues());
        for (CParamSubscription* subscription : entry->values) {
            subscription->listen();
            subscription->isDirty = 0;
            if (!isSame) subscription->mark();
        }
    }
}

void CGraphValues::leave() LUM_REALTIME {
    for (auto& entry : entries)
        for (CParamSubscription* subscription : entry->values) {
            CAudioParamCollector::removeAudioListener(subscription->node);
            subscription->isDirty = 0;
        }
}

} // namespace lum
