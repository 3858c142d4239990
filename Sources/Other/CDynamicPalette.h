#pragma once

#include "Core/CAppData.h"
#include "Other/CDynamicColor.h"

namespace lum {

/// Where a palette's blob lives, as a rule the scheme's parameter. The owner of the parameter's
/// interface implements it and runs the event `palette-updated-from-param` on the palette after
/// each change from elsewhere.
class CPaletteStore : public virtual CCheckedObject {
public:
    /// Stores the present blob, empty when there is none.
    virtual void fetchPalette(CByteBuffer& out) = 0;
    virtual CErrorResult storePalette(const CByteBuffer& blob) = 0;
};

/// A line of the colour editor's list: a colour, or the heading of a group.
struct CPaletteListLine {
    CString title;
    CDynamicColor* color = nullptr; // null: a heading
};

/// `ui:dynamic-palette`: the colours of the interface by name, their ramps, and the colour scheme
/// that the user has set. Ramps are read from a cache at start where they fit. Fires
/// `dynamic-palette-updated` whenever ramps changed. Interface thread.
class CDynamicPalette : public CObject {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult initDone() override;
    void prepareDestroy() override;

    /// The colour of a name or of a hover name; null, and a line in the log, without one.
    /// isHover: whether the name means the hover form.
    CDynamicColor* findColor(const CString& name, bool* isHover = nullptr) const;
    /// The same for a series "Name[0]", "Name[1]", ...: position 0 to 1 picks one of its colours.
    CDynamicColor* findColorAt(const CString& name, double position, bool* isHover = nullptr) const;
    /// The ramp that a name means; null for a colour that is not there.
    const CColor* findRamp(const CString& name) const;
    /// A modifier number of the scheme, such as "hover-brightness".
    double getModifier(const CString& name) const;
    /// Headings and titled colours in the tree's order.
    void listColors(CVector<CPaletteListLine>& out) const;

    /// Sets where the blob comes from and where edits go; not owned, null for none.
    void setStore(CPaletteStore* newStore) { store = newStore; }
    /// Takes a colour scheme; one of another version than 1 is ignored. Error: a short blob, which
    /// changes nothing.
    CErrorResult applyBlob(const CByteBuffer& blob);
    /// The present scheme: records of the colours whose brightness, opacity or tone is editable.
    CErrorResult makeBlob(CByteBuffer& out) const;

    // For the colours.
    /// Enters a colour, or its changed form.
    void addColor(CDynamicColor& color);
    void removeColor(CDynamicColor& color);
    /// Tells those who have looked colours up that there are others now.
    void announceColors();
    CErrorResult onColorChanged(CDynamicColor& color);

    // Attributes and events.
    CErrorResult attrBase(const CAttrEntry& value);
    CErrorResult paletteUpdatedFromParam();

protected:
    /// The store of the cache and of the scheme's record.
    virtual CAppData& records() const { return CAppDataLocal::get(); }

private:
    struct CRecord {
        double brightness;
        double contrast;
        double opacity;
        uint32_t tone;
    };
    using CRecords = CMap<CString, CRecord>;

    void fetchBlob(CByteBuffer& out) const;
    CErrorResult applyRecords(const CByteBuffer& blob);
    CErrorResult readRecords(const CByteBuffer& blob, CRecords& out, bool& isKnown) const;
    CErrorResult takeRecords(const CRecords& taken);
    CErrorResult takeCopies(const CRecords& taken);
    CErrorResult setColor(CDynamicColor& color, const CRecord& record,
                          const CColorFeatures& features);
    bool computeRamps();
    void readCache();
    CErrorResult readCacheEntries(const CByteBuffer& bytes);
    void writeCache() const;
    CErrorResult makeCache(CByteBuffer& out) const;

    CMap<CString, CDynamicColor*> colors;
    CMap<CString, CDynamicColor*> hoverColors;              // by hover name
    CMap<CString, std::unique_ptr<CDynamicColorData>> data; // outlives the colours
    CVector<CDynamicColor*, 0> order;                       // parents before their children
    CPaletteStore* store = nullptr;
    bool isApplying = false; // attribute changes are the blob's, and are not stored again
};

} // namespace lum
