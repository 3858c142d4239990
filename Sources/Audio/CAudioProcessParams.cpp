// What a live process has to do with parameters: remaps, definitions and filters at set-up, and
// subscriptions afterwards.

#include "Audio/CAudioParamDef.h"
#include "Audio/CAudioParamFilter.h"
#include "Audio/CAudioParamRemapDef.h"
#include "Audio/CAudioParamSharedStorage.h"
#include "Audio/CAudioProcessBase.h"
#include "Audio/CAudioProcessDef.h"
#include "Audio/CGraphValues.h"
#include "Core/CLog.h"

namespace lum {

CErrorResult CAudioProcessBase::createParams() {
    createRemaps();
    bindParams();
    LUM_TRY(createFilters());
    for (const auto& storage : definition->getStorages())
        storage.item->instantiate(context->collector, fullName + storage.groupSuffix());
    return nullptr;
}

void CAudioProcessBase::createRemaps() {
    for (const CAudioParamRemapDef* remap : definition->getRemaps())
        for (const CAudioParamRemapDef::CPair& pair : remap->pairs)
            context->collector.addRemap(resolveName(pair.original), resolveName(pair.replacement));
}

/// A declared parameter that is remapped elsewhere is not made: nothing could reach it.
void CAudioProcessBase::bindParams() {
    CChangeContext atSetUp;
    atSetUp.isImmediate = true;
    for (const auto& param : definition->getParams()) {
        CString name = fullName + "." + param.prefix + param.item->getName();
        if (context->collector.isRedirected(name)) continue;
        CAudioParam& live = context->collector.getParamDirect(name);
        const CAudioParamInfo& info = param.item->getInfo();
        if (!live.isBound() || !live.getInfo()->isSameAs(info)) live.bind(info, atSetUp);
    }
}

CErrorResult CAudioProcessBase::createFilters() {
    for (const auto& filter : definition->getFilters()) {
        std::unique_ptr<CAudioParamFilter> live;
        LUM_TRY(
            filter.item->instantiate(live, context->collector, fullName + filter.groupSuffix()));
        context->collector.addFilter(std::move(live));
    }
    return nullptr;
}

CString CAudioProcessBase::resolveName(const CString& name) const {
    return resolveParamName(fullName, name);
}

CParamSubscription& CAudioProcessBase::subscribe(CAudioParam& param, int allocIndex, int group,
                                                 int element, ParamUse use) LUM_REALTIME {
    for (auto& known : subscriptions)
        if (known->param == &param && known->allocIndex == allocIndex && known->group == group &&
            known->element == element)
            return *known;
    auto& made =
        *subscriptions.push_back(std::unique_ptr<CParamSubscription>(new CParamSubscription));
    made.param = &param;
    made.allocIndex = allocIndex;
    made.group = group;
    made.element = element;
    made.use = use;
    made.node.dirty = &made.isDirty;
    made.node.anyDirty = &hasNewValues;
    made.node.groupMask = &made.groupMask;
    made.node.group = group;
    made.node.element = element;
    if (context->values)
        context->values->add(made);
    else
        made.listen();
    return made;
}

void CParamSubscription::listen() LUM_REALTIME {
    storage = &param->getAudioValues();
    CAudioParamCollector::addAudioListener(*param, node);
}

void CAudioProcessBase::findAllocParams() {
    allocParams.clear();
    for (const auto& [index, alloc] : definition->getAllocs())
        allocParams.push_back({alloc, &context->collector.getParam(resolveName(alloc->paramName))});
}

CParamSubscription* CAudioProcessBase::subscribeAlloc(int allocIndex, int group,
                                                      ParamUse use) LUM_REALTIME {
    for (const CAllocParam& known : allocParams)
        if (known.alloc->index == allocIndex)
            return &subscribe(*known.param, allocIndex, known.alloc->useAllGroups ? -1 : group,
                              known.alloc->useAllElements ? -1 : 0, use);
    logFormat("%s // regModuleParam error %i", fullName.toUtf8().c_str(), allocIndex);
    return nullptr;
}

} // namespace lum
