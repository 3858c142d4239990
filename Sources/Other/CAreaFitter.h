#pragma once

#include "Core/CVector.h"

namespace lum {

/// A rectangle to place, and where it came to lie.
struct CFitArea {
    int width = 0;
    int height = 0;
    int page = -1; // -1: not placed
    int x = 0;
    int y = 0;
};

/// A page, cut to what is used of it.
struct CFitPage {
    int width = 0;
    int height = 0;
};

/// Packs rectangles into pages: widest first, by guillotine splits of the free rectangles. Tries
/// page widths until a budget of placements is used up and keeps the smallest total area. One user;
/// for tools, at build time.
class CAreaFitter {
public:
    void add(int width, int height);
    /// False, and a line in the log, when a rectangle stays without a place.
    bool fitAreas();
    /// In the order in which they were added.
    const CVector<CFitArea, 0>& getAreas() const { return areas; }
    const CVector<CFitPage, 1>& getPages() const { return pages; }

private:
    struct CTry {
        CVector<CFitArea, 0> areas;
        CVector<CFitPage, 1> pages;
        long long total = 0; // pixels
    };
    CTry fitInto(const CVector<int, 0>& order, int widthLimit, int heightLimit) const;

    CVector<CFitArea, 0> areas;
    CVector<CFitPage, 1> pages;
};

} // namespace lum
