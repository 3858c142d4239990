#include "Other/CAreaFitter.h"

#include "Core/CLog.h"

#include <algorithm>
#include <climits>

namespace lum {

namespace {

constexpr int kPageLimit = 1024;    // pixels a side, unless one rectangle needs more
constexpr int kLongestSide = 32767; // pixels; what the file's 16-bit sizes hold
constexpr int kNodeBudget = 15000;  // placements over all tries
constexpr int kWidthSteps = 64;     // tries differ in width by a 64th of the limit

struct CFreeRect {
    int x, y, width, height;
};

/// The free part of one page.
class CFitSheet {
public:
    CFitSheet(int width, int height) { free.push_back({0, 0, width, height}); }

    /// Takes the free rectangle that the area fills best.
    bool place(CFitArea& area) {
        int best = -1;
        int bestRest = INT_MAX;
        for (int i = 0; i < free.ssize(); i++) {
            const CFreeRect& rect = free[i];
            if (area.width > rect.width || area.height > rect.height) continue;
            const int rest = std::min(rect.width - area.width, rect.height - area.height);
            if (rest < bestRest) {
                bestRest = rest;
                best = i;
            }
        }
        if (best < 0) return false;
        split(static_cast<size_t>(best), area);
        used.width = std::max(used.width, area.x + area.width);
        used.height = std::max(used.height, area.y + area.height);
        return true;
    }
    CFitPage used;

private:
    // One cut from edge to edge; the longer one leaves the larger of the two rests whole.
    void split(size_t index, CFitArea& area) {
        const CFreeRect rect = free[index];
        free.erase(index);
        area.x = rect.x;
        area.y = rect.y;
        const int right = rect.width - area.width;
        const int below = rect.height - area.height;
        const bool isCutAcross = right < below;
        addFree({rect.x + area.width, rect.y, right, isCutAcross ? area.height : rect.height});
        addFree({rect.x, rect.y + area.height, isCutAcross ? rect.width : area.width, below});
    }
    void addFree(const CFreeRect& rect) {
        if (rect.width > 0 && rect.height > 0) free.push_back(rect);
    }

    CVector<CFreeRect, 0> free;
};

} // namespace

void CAreaFitter::add(int width, int height) {
    CFitArea& area = areas.emplace_back();
    area.width = width;
    area.height = height;
}

bool CAreaFitter::fitAreas() {
    CVector<int, 0> order;
    int widest = 0;
    int tallest = 0;
    for (int i = 0; i < areas.ssize(); i++) {
        order.push_back(i);
        widest = std::max(widest, areas[i].width);
        tallest = std::max(tallest, areas[i].height);
    }
    if (widest > kLongestSide || tallest > kLongestSide) {
        logLine("CAreaFitter :: fitAreas error!");
        return false;
    }
    std::sort(order.begin(), order.end(), [this](int a, int b) {
        if (areas[a].width != areas[b].width) return areas[a].width > areas[b].width;
        if (areas[a].height != areas[b].height) return areas[a].height > areas[b].height;
        return a < b;
    });

    const int widthLimit = std::max(kPageLimit, widest);
    const int heightLimit = std::max(kPageLimit, tallest);
    CTry best = fitInto(order, widthLimit, heightLimit);
    int nodes = areas.ssize();
    const int step = std::max(1, widthLimit / kWidthSteps);
    for (int width = widthLimit - step; width >= widest; width -= step) {
        nodes += areas.ssize();
        if (nodes > kNodeBudget) break;
        CTry next = fitInto(order, width, heightLimit);
        if (next.total < best.total) best = std::move(next);
    }
    areas = std::move(best.areas);
    pages = std::move(best.pages);
    return true;
}

CAreaFitter::CTry CAreaFitter::fitInto(const CVector<int, 0>& order, int widthLimit,
                                       int heightLimit) const {
    CTry out;
    out.areas = areas;
    CVector<CFitSheet, 1> sheets;
    for (int index : order) {
        CFitArea& area = out.areas[index];
        area.page = 0;
        while (area.page < sheets.ssize() && !sheets[area.page].place(area)) area.page++;
        if (area.page < sheets.ssize()) continue;
        sheets.push_back(CFitSheet(widthLimit, heightLimit)).place(area);
    }
    for (const CFitSheet& sheet : sheets) {
        out.pages.push_back(sheet.used);
        out.total += static_cast<long long>(sheet.used.width) * sheet.used.height;
    }
    return out;
}

} // namespace lum
