#pragma once

#include "Core/CString.h"
#include "Other/CLinearBitmap.h"

namespace lum {

class CColor;
class CDynamicColor;
class CDynamicPalette;

/// The colours of a view: a prefix, slots behind it, and a row of palette colours for each colour
/// state met so far. Built when a drawing is prepared and something it rests on has changed.
/// Interface thread.
class CViewColors : public CLumMemAllocator {
public:
    // Setters give false where nothing has changed.
    bool setColor(const CString& name);
    /// Gives all slots this one name, but those with a whole name of their own; empty: the names
    /// that they have.
    bool setCommonName(const CString& name);
    bool setSlots(const CString& names); // separated by "|"
    bool setSlot(int index, const CString& name);
    int getSlotCount() const { return slots.ssize(); }
    /// The palettes: the view's own or null, and that of the tree.
    bool setPalettes(const CDynamicPalette* own, const CDynamicPalette* root);
    /// The palette has other colours than before.
    void invalidate() { isBuilt = false; }

    /// Number of the row of a colour state, which is added when it is new.
    int findState(const CString& state);
    /// What a slot draws with at a position of its gradient, 0 to 1; white where there is nothing.
    CDrawColor get(int slot, int state, double position = 0.0);
    /// Name that a slot has in a state.
    CString nameOf(int slot, const CString& state) const;

private:
    struct CEntry {
        const CDynamicColor* color = nullptr;
        bool isHover = false;
    };
    template <class T>
    bool change(T& member, const T& value);
    const CColor* rampOf(int slot, int state, double position);
    void build();
    void addRow(const CString& state);

    CString color;
    CString commonName;
    CString slotNames;                    // as given, in one text
    CVector<CString, 2> slots{CString()}; // with those that were set one by one
    CVector<CString, 2> states;
    CVector<CEntry, 4> entries; // state * slot count + slot
    const CDynamicPalette* ownPalette = nullptr;
    const CDynamicPalette* rootPalette = nullptr;
    bool isBuilt = false;
};

} // namespace lum
