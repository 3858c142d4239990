#include "UI/CViewCommand.h"

#include "Core/CLog.h"
#include "Core/CSharedAttribute.h"
#include "UI/CViewBaseCtlEvents.h"

namespace lum {

namespace {

// Read at each run: `condition-state-set`, `condition-state-unset`; `run-event`,
// `run-event-target`, `run-event-params`, `run-event-forward-params`, `is-run-event-bridged`;
// `set-state`, `unset-state`, `toggle-state`, `state-target`; `set-attr`, `set-attr-value`,
// `set-attr-target`; `toggle-attr`, `toggle-attr-target`; `reset-shared-attr`. Read once:
// `on-event`.
constexpr const char* kParamsName = "run-event-params";
constexpr const char* kParamTag = "ui:param-data";

CVector<CString> words(const CString& text) {
    CVector<CString> list;
    text.split(list, u' ', true);
    return list;
}

} // namespace

CErrorResult CViewCommand::init() {
    LUM_TRY(CObject::init());
    view = dynamic_cast<CViewBaseCtlEvents*>(getParent());
    if (!view) return LUM_FAIL("@lumstr_CViewCommand_init_NoView Parent object is not a view.");
    return nullptr;
}

CErrorResult CViewCommand::initDone() {
    LUM_TRY(CObject::initDone());
    event = getAttrString("on-event");
    view->addCommand(*this, event);
    return nullptr;
}

void CViewCommand::prepareDestroy() {
    if (view) view->removeCommand(*this, event);
    CObject::prepareDestroy();
}

// ---- Running

CErrorResult CViewCommand::run(CAttrMap& arguments) {
    if (!isAllowed()) return nullptr;
    LUM_TRY(runEvents(arguments));
    LUM_TRY(changeStates());
    LUM_TRY(changeAttributes());
    LUM_TRY(resetSharedAttribute());
    return nullptr;
}

// While a step of the view's own transition runs its states are between two sets.
bool CViewCommand::isAllowed() const {
    if (!findAttr("condition-state-set") && !findAttr("condition-state-unset")) return true;
    return !view->isInMorphStep() && areSet("condition-state-set", true) &&
           areSet("condition-state-unset", false);
}

bool CViewCommand::areSet(const char* attribute, bool isWanted) const {
    for (const CString& name : words(getAttrString(attribute)))
        if (view->isStateSet(name) != isWanted) return false;
    return true;
}

CErrorResult CViewCommand::runEvents(CAttrMap& arguments) {
    const CString name = getAttrString("run-event");
    if (name.empty()) return nullptr;
    CAttrMap given;
    LUM_TRY(collectArguments(given, arguments));
    const bool isBridged = getAttrBool("is-run-event-bridged");
    for (CObject* target : targets("run-event-target")) {
        CAttrMap own = given;
        if (isBridged)
            target->postOwnEvent(view->getFullName(), name, own);
        else
            LUM_TRY(target->runEvent(name, own));
    }
    return nullptr;
}

CErrorResult CViewCommand::collectArguments(CAttrMap& out, CAttrMap& incoming) const {
    if (const CObject* block = paramsBlock()) {
        for (const CObject* param : block->getChildren()) {
            if (param->getTag() != kParamTag)
                return LUM_FAIL("@lumstr_CViewCommand_params_Tag Unexpected tag '%1', expected "
                                "<param>.",
                                param->getTag());
            const CAttrEntry* value = param->findAttr("value");
            out[param->getAttrString("attr")] = value ? *value : CAttrEntry();
        }
        const CString popupTag = block->getAttrString("popup-tag");
        if (!popupTag.empty()) out["popup-tag"] = CAttrEntry::ofText(popupTag);
    }
    for (const CString& name : words(getAttrString("run-event-forward-params"))) {
        const auto found = incoming.find(name);
        if (found != incoming.end()) out[name] = found->second;
    }
    return nullptr;
}

// A child of the command of that name, or the object at the path in the attribute of that name.
CObject* CViewCommand::paramsBlock() const {
    const CString path = getAttrString(kParamsName);
    return path.empty() ? findChild(kParamsName) : findTarget(path);
}

CErrorResult CViewCommand::changeStates() {
    const CString set = getAttrString("set-state");
    const CString unset = getAttrString("unset-state");
    const CVector<CString> toggled = words(getAttrString("toggle-state"));
    if (set.empty() && unset.empty() && toggled.empty()) return nullptr;
    for (CObject* target : targets("state-target")) {
        auto* stateful = dynamic_cast<CViewBaseState*>(target);
        if (!stateful) continue;
        LUM_TRY(stateful->setState(set));
        LUM_TRY(stateful->unsetState(unset));
        for (const CString& name : toggled)
            LUM_TRY(stateful->isStateSet(name) ? stateful->unsetState(name)
                                               : stateful->setState(name));
    }
    return nullptr;
}

CErrorResult CViewCommand::changeAttributes() {
    const CString set = getAttrString("set-attr");
    const CAttrEntry* value = findAttr("set-attr-value");
    if (!set.empty())
        for (CObject* target : targets("set-attr-target"))
            LUM_TRY(target->setAttrValue(set, value ? *value : CAttrEntry::ofText(""), true));
    const CString toggled = getAttrString("toggle-attr");
    if (toggled.empty()) return nullptr;
    for (CObject* target : targets("toggle-attr-target"))
        LUM_TRY(
            target->setAttrValue(toggled, CAttrEntry::ofBool(!target->getAttrBool(toggled)), true));
    return nullptr;
}

CErrorResult CViewCommand::resetSharedAttribute() {
    if (getAttrString("reset-shared-attr").empty()) return nullptr;
    for (CObject* target : targets("reset-shared-attr"))
        if (auto* shared = dynamic_cast<CSharedAttribute*>(target))
            shared->storeValue(shared->getAttrString("def-value"));
    return nullptr;
}

// ---- Targets

// A path starts at the command; what stands beside it under the view is found too.
CObject* CViewCommand::findTarget(const CString& path) const {
    if (CObject* found = findObject(path)) return found;
    return view->findObject(path);
}

CVector<CObject*> CViewCommand::targets(const char* attribute) const {
    CVector<CObject*> list;
    const CVector<CString> paths = words(getAttrString(attribute));
    if (paths.empty()) list.push_back(view);
    for (const CString& path : paths) {
        if (CObject* found = findTarget(path))
            list.push_back(found);
        else
            logFormat("Target not found: '%s' (command %s)", path.toUtf8().c_str(),
                      getFullName().toUtf8().c_str());
    }
    return list;
}

} // namespace lum
