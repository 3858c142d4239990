#include "Core/CObject.h"

// The attribute store of an object, its deferred handlers, and the live links that leave it.

namespace lum {

const CAttrEntry* CObject::findAttr(const CString& name) const {
    auto found = attributes.find(name);
    return found == attributes.end() ? nullptr : &found->second;
}

CString CObject::getAttrString(const CString& name, const CString& fallback) const {
    const CAttrEntry* entry = findAttr(name);
    return entry ? entry->stringOr(fallback) : fallback;
}

int32_t CObject::getAttrInt(const CString& name, int32_t fallback) const {
    const CAttrEntry* entry = findAttr(name);
    return entry ? entry->intOr(fallback) : fallback;
}

double CObject::getAttrReal(const CString& name, double fallback) const {
    const CAttrEntry* entry = findAttr(name);
    return entry ? entry->realOr(fallback) : fallback;
}

bool CObject::getAttrBool(const CString& name, bool fallback) const {
    const CAttrEntry* entry = findAttr(name);
    return entry ? entry->boolOr(fallback) : fallback;
}

CString CObject::getName() const {
    const CString name = getFullName();
    const int dot = name.findLast(u'.');
    return dot < 0 ? name : name.substring(static_cast<size_t>(dot) + 1);
}

CErrorResult CObject::setAttr(const CString& name, const CString& text, bool immediate) {
    if (readOnly || name.empty()) return nullptr;
    return storeAttr(name, CAttrEntry::ofText(substitute(name, text)), immediate);
}

CErrorResult CObject::setAttrValue(const CString& name, const CAttrEntry& value, bool immediate) {
    if (value.type() == AttrType::String) return setAttr(name, value.text(), immediate);
    if (readOnly || name.empty()) return nullptr;
    return storeAttr(name, value, immediate);
}

CErrorResult CObject::setAttrs(const CAttrMap& values, bool flush) {
    if (readOnly) return nullptr;
    for (const auto& [name, value] : values) LUM_TRY(setAttrValue(name, value, false));
    return flush ? flushAttrs() : nullptr;
}

CErrorResult CObject::storeAttr(const CString& name, const CAttrEntry& value, bool immediate) {
    auto [place, isNew] = attributes.try_emplace(name);
    CAttrEntry& entry = place->second;
    if (isNew && name == "full-name") fullName = &entry;
    entry.assign(value);
    LUM_TRY(handleChange(name, entry, immediate));
    return notifyDependents(place->first, entry);
}

CErrorResult CObject::handleChange(const CString& name, CAttrEntry& entry, bool immediate) {
    if (!(entry.flags & CAttrEntry::kHandlerKnown)) {
        const auto& handlers = classTable().attributes;
        auto found = handlers.find(name);
        entry.handler = found == handlers.end() ? nullptr : found->second;
        entry.flags |= CAttrEntry::kHandlerKnown;
    }
    if (!entry.handler) return nullptr;
    if (immediate) return runAttrHandler(entry);
    if (entry.flags & CAttrEntry::kPending) return nullptr;
    entry.flags |= CAttrEntry::kPending;
    entry.nextPending = pendingAttrs;
    pendingAttrs = &entry;
    return nullptr;
}

CErrorResult CObject::runAttrHandler(const CAttrEntry& entry) {
    LUM_TRY((this->*entry.handler)(entry));
    return nullptr;
}

// A handler may defer further attributes; these wait for the next flush. After a failure the rest
// of the list is dropped.
CErrorResult CObject::flushAttrs() {
    if (readOnly) return nullptr;
    CErrorResult error;
    CAttrEntry* next = std::exchange(pendingAttrs, nullptr);
    while (CAttrEntry* entry = next) {
        next = entry->nextPending;
        entry->flags = static_cast<uint8_t>(entry->flags & ~CAttrEntry::kPending);
        if (!error) error = runAttrHandler(*entry);
    }
    return error;
}

// ---- Live links

// The receivers may make and drop links here, so each step looks up the next one anew.
CErrorResult CObject::notifyDependents(const CString& name, const CAttrEntry& value) {
    for (auto place = attrDependents.begin(); place != attrDependents.end();) {
        CObject* dependent = place->first;
        const auto& links = place->second;
        auto link = links.find(name);
        if (links.empty() || link != links.end()) {
            const CString target = links.empty() ? name : link->second;
            LUM_TRY(dependent->onLinkedAttr(*this, target, value));
        }
        place = attrDependents.upper_bound(dependent);
    }
    return nullptr;
}

CErrorResult CObject::onLinkedAttr(CObject&, const CString& name, const CAttrEntry& value) {
    LUM_TRY(setAttrValue(name, value, true));
    return nullptr;
}

void CObject::followAllAttrs(CObject& source) {
    source.attrDependents[this].clear();
    attrSources.insert(&source);
}

void CObject::dropAttrLinks() {
    for (CObject* source : attrSources) source->attrDependents.erase(this);
    for (const auto& [dependent, links] : attrDependents) dependent->attrSources.erase(this);
    attrSources.clear();
    attrDependents.clear();
}

} // namespace lum
