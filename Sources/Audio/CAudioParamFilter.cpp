#include "Audio/CAudioParamFilter.h"

#include "Audio/CAudioParamCollector.h"

namespace lum {

namespace {

using CGuardSet = CAudioParamGuardSet<2 * kMostFilterParams>;

void splitNames(CVector<CString>& out, const CString& text) {
    CVector<CString> items;
    text.split(items, u',', true);
    for (const CString& item : items)
        if (CString name = item.trimmed(); !name.empty()) out.push_back(std::move(name));
}

CVector<CString> resolveAll(const CString& base, const CVector<CString>& names) {
    CVector<CString> resolved;
    for (const CString& name : names) resolved.push_back(resolveParamName(base, name));
    return resolved;
}

} // namespace

// CAudioParamFilterDef

void CAudioParamFilterDef::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
}

CErrorResult CAudioParamFilterDef::init() {
    LUM_TRY(CObject::init());
    splitNames(sources, getAttrString("src"));
    if (sources.empty())
        return LUM_FAIL(
            "@lumstr_CAudioParamFilterDef_init_NoSources No source parameters defined.");
    splitNames(destinations, getAttrString("dst"));
    if (destinations.empty())
        return LUM_FAIL("@lumstr_CAudioParamFilterDef_init_NoDestinations No destination "
                        "parameters defined.");
    return nullptr;
}

CErrorResult CAudioParamFilterDef::instantiate(std::unique_ptr<CAudioParamFilter>& out,
                                               CAudioParamCollector& collector,
                                               const CString& processName) const {
    std::unique_ptr<CAudioParamFilter> filter = createFilter();
    LUM_TRY(filter->init(*this, collector, resolveAll(processName, sources),
                         resolveAll(processName, destinations)));
    filter->attach();
    out = std::move(filter);
    return nullptr;
}

// CAudioParamFilter

CAudioParamFilter::~CAudioParamFilter() {
    for (CAudioParam* source : sources) source->removeFilter(*this);
}

CErrorResult CAudioParamFilter::init(const CAudioParamFilterDef& filterDefinition,
                                     CAudioParamCollector& collector,
                                     const CVector<CString>& sourceNames,
                                     const CVector<CString>& destinationNames) {
    definition = &filterDefinition;
    if (sourceNames.ssize() < requiredSources())
        return LUM_FAIL("@lumstr_CAudioParamFilter_init_NotEnoughSources Not enough source "
                        "parameters %1 defined in the param filter (required %2).",
                        sourceNames.ssize(), requiredSources());
    if (sourceNames.ssize() > kMostFilterParams)
        return LUM_FAIL("@lumstr_CAudioParamFilter_init_TooManySources Too many source parameters "
                        "%1 defined in the param filter.",
                        sourceNames.ssize());
    if (destinationNames.ssize() < requiredDestinations())
        return LUM_FAIL("@lumstr_CAudioParamFilter_init_NotEnoughDestinations Not enough "
                        "destination parameters %1 defined in the param filter (required %2).",
                        destinationNames.ssize(), requiredDestinations());
    if (destinationNames.ssize() > kMostFilterParams)
        return LUM_FAIL("@lumstr_CAudioParamFilter_init_TooManyDestinations Too many destination "
                        "parameters %1 defined in the param filter.",
                        destinationNames.ssize());
    for (const CString& name : sourceNames) sources.push_back(&collector.getParam(name));
    for (const CString& name : destinationNames) destinations.push_back(&collector.getParam(name));
    return nullptr;
}

void CAudioParamFilter::attach() {
    CGuardSet guards;
    for (CAudioParam* source : sources) guards.add(*source);
    for (CAudioParam* destination : destinations) guards.add(*destination);
    for (CAudioParam* source : sources) {
        source->addFilter(*this);
        runAttached(*source);
    }
    isActive = true;
}

/// The destinations learn the definition's defaults first, then what the source holds.
void CAudioParamFilter::runAttached(CAudioParam& source) {
    if (!isReady()) return;
    CChangeContext context;
    context.isImmediate = true;
    if (const CAudioParamInfo* info = source.getInfo())
        process(sources, destinations, CAudioParamChange::ofDefaults(info->defaults, nullptr),
                context);
    for (int group = 0; group < source.getValues().getGroupCount(); group++)
        process(sources, destinations,
                CAudioParamChange::ofGroup(source.getValues(), group, nullptr), context);
}

void CAudioParamFilter::run(const CAudioParamChange& change, const CChangeContext& context,
                            CAudioParamGuard& guard) {
    if (!isActive) return;
    CGuardSet guards;
    for (const CParamList* list : {&sources, &destinations})
        for (CAudioParam* param : *list)
            if (param != &guard.getParam()) guards.add(*param);
    if (!isReady()) return;
    CChangeContext derived = context;
    derived.undo = nullptr;
    process(sources, destinations, change, derived);
}

bool CAudioParamFilter::isReady() const {
    for (const CParamList* list : {&sources, &destinations})
        for (CAudioParam* param : *list)
            if (!param->getValues().isInitialised()) return false;
    return true;
}

void CAudioParamFilter::process(const CParamList&, const CParamList& to,
                                const CAudioParamChange& change, const CChangeContext& context) {
    CAudioParamChange mapped = change.clone();
    for (double& value : mapped.values) value = mapElement(value);
    to[0]->applyChange(mapped, context);
}

void CAudioParamFilter::writeValues(CAudioParam& param, int group, const double* numbers, int count,
                                    const CAudioParamChange& cause, const CChangeContext& context) {
    const CAudioParamFormat& format = param.getValues().getFormat();
    if (!format.isFloat() || format.elementSize != 1) return;
    param.applyChange(
        CAudioParamChange::ofValues(format, group, 0, numbers, count, true, cause.originator),
        context);
}

} // namespace lum
