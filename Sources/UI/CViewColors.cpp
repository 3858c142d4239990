#include "UI/CViewColors.h"

#include "Core/CLog.h"
#include "Other/CDynamicPalette.h"

#include <algorithm>

namespace lum {

template <class T>
bool CViewColors::change(T& member, const T& value) {
    if (member == value) return false;
    member = value;
    isBuilt = false;
    return true;
}

bool CViewColors::setColor(const CString& name) {
    return change(color, name);
}

bool CViewColors::setCommonName(const CString& name) {
    return change(commonName, name);
}

bool CViewColors::setSlots(const CString& names) {
    if (!change(slotNames, names)) return false;
    CVector<CString> list;
    names.split(list, u'|', false);
    slots.clear();
    for (const CString& name : list) slots.push_back(name);
    return true;
}

bool CViewColors::setSlot(int index, const CString& name) {
    if (index < 0) return false;
    const bool isLonger = index >= slots.ssize();
    if (isLonger) slots.resize(static_cast<size_t>(index) + 1);
    isBuilt = isBuilt && !isLonger;
    return change(slots[index], name) || isLonger;
}

bool CViewColors::setPalettes(const CDynamicPalette* own, const CDynamicPalette* root) {
    const bool isOwnNew = change(ownPalette, own);
    return change(rootPalette, root) || isOwnNew;
}

int CViewColors::findState(const CString& state) {
    const CString* found = std::find(states.begin(), states.end(), state);
    if (found != states.end()) return static_cast<int>(found - states.begin());
    states.push_back(state);
    if (isBuilt) addRow(state);
    return states.ssize() - 1;
}

CString CViewColors::nameOf(int slot, const CString& state) const {
    const CString& name = slots[slot];
    CString result = name.startsWith("/") ? name.substring(1)
                     : commonName.empty() ? color + name
                                          : commonName;
    if (!state.empty()) result.append("_").append(state);
    return result;
}

void CViewColors::build() {
    if (!rootPalette) logLine("RootColors IS NULL");
    if (!rootPalette && !ownPalette) {
        logLine("PALETTE IS NULL");
        return;
    }
    entries.clear();
    for (const CString& state : states) addRow(state);
    isBuilt = true;
}

void CViewColors::addRow(const CString& state) {
    const CDynamicPalette* palette = ownPalette ? ownPalette : rootPalette;
    for (int slot = 0; slot < slots.ssize(); slot++) {
        CEntry entry;
        const CString name = nameOf(slot, state);
        const bool isNameless = slots[slot].empty() && color.empty() && commonName.empty();
        if (!isNameless) entry.color = palette->findColor(name, &entry.isHover);
        entries.push_back(entry);
    }
}

const CColor* CViewColors::rampOf(int slot, int state, double position) {
    if (!isBuilt) build();
    if (!isBuilt) return nullptr;
    if (slot < 0 || slot >= slots.ssize()) {
        logFormat("WRONG SLOT INDEX %i (state %i) // %p", slot, state,
                  static_cast<const void*>(this));
        return nullptr;
    }
    const int index = state * slots.ssize() + slot;
    if (index < 0 || index >= entries.ssize()) {
        logFormat("WRONG COLOR INDEX %i", index);
        return nullptr;
    }
    const CEntry& entry = entries[index];
    if (!entry.color) return nullptr;
    return entry.isHover ? entry.color->getHoverColor() : entry.color->getGradientColor(position);
}

CDrawColor CViewColors::get(int slot, int state, double position) {
    const CColor* ramp = rampOf(slot, state, position);
    return ramp ? ramp->asDrawColor() : CDrawColor();
}

} // namespace lum
