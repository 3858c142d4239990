#include "AreaTree.h"

#include <gtest/gtest.h>

using namespace lum;

namespace {

/// Random trees and random changes, from one seed.
class CRandomLayout {
public:
    explicit CRandomLayout(unsigned seed) : engine(seed) {}

    int pick(int count) { return static_cast<int>(engine() % static_cast<unsigned>(count)); }
    bool chance(int percent) { return pick(100) < percent; }

    CAreaDraft tree(int levels) {
        CAreaDraft draft;
        const int changes = pick(8);
        const int index = areaCount++;
        for (int i = 0; i < changes; i++) change(draft, index);
        const int count = levels == 0 ? 0 : pick(5);
        for (int i = 0; i < count; i++) draft.children.push_back(tree(levels - 1));
        return draft;
    }

    /// Changes one attribute of the area of this number. What it matches stands before it, so that
    /// no circle comes about.
    void change(CAreaDraft& draft, int index) {
        const int axis = pick(2);
        switch (pick(17)) {
        case 0:
        case 1:
            draft.size[axis] = size();
            break;
        case 2:
            draft.minSize[axis] = limit();
            break;
        case 3:
            draft.maxSize[axis] = limit();
            break;
        case 4:
            draft.placement = static_cast<Placement>(1 + pick(8));
            break;
        case 5:
            draft.align[axis] = static_cast<MetricAlign>(pick(3) - 1);
            break;
        case 6:
            draft.inlineAlign[axis] = static_cast<MetricAlign>(pick(3) - 1);
            break;
        case 7:
            draft.inner = border();
            break;
        case 8:
            draft.outer = border();
            break;
        case 9:
            (chance(50) ? draft.isVertical : draft.isNewRow) = chance(50);
            break;
        case 10:
            draft.isVisible = chance(70);
            break;
        case 11:
            draft.isWeakHidden = chance(50);
            break;
        case 12:
            draft.isAutoRatio[axis] = chance(50);
            break;
        case 13:
            draft.scroller[axis] = chance(50) ? 0.0 : 0.5 * pick(30);
            break;
        case 14:
            draft.isCompactOff[axis] = chance(50);
            break;
        case 15:
            draft.compactValue[axis] = chance(50) ? -1.0 : pick(200);
            break;
        case 16:
            draft.placement = Placement::Match;
            draft.match = index > 0 && chance(80) ? pick(index) : -1;
            break;
        default:
            draft.isScrollable = chance(50);
            draft.ratio[axis] = 0.25 * (1 + pick(4));
            draft.offset[axis] = 0.25 * pick(3);
        }
    }

private:
    CSizeRule size() {
        switch (pick(7)) {
        case 0:
            return {};
        case 1:
            return {SizeMode::Balanced, 0.0};
        case 2:
            return {SizeMode::Compact, 0.0};
        case 3:
            return {SizeMode::CompactFull, 0.5 * (1 + pick(2))};
        case 4:
            return {SizeMode::FullSimple, 0.0};
        case 5:
            return {SizeMode::Percent, 0.25 * (1 + pick(4))};
        default:
            return {SizeMode::Number, 1.0 + pick(200)};
        }
    }
    CSizeRule limit() {
        if (chance(40)) return {};
        return {SizeMode::Number, 1.0 + pick(200)};
    }
    CViewBorder border() {
        return {0.5 * pick(9) - 1, 0.5 * pick(9) - 1, 0.5 * pick(9) - 1, 0.5 * pick(9) - 1};
    }
    std::mt19937 engine;
    int areaCount = 0; // in the order of the tree
};

void collect(std::vector<CAreaDraft*>& out, CAreaDraft& draft) {
    out.push_back(&draft);
    for (CAreaDraft& child : draft.children) collect(out, child);
}

bool isShown(const CViewArea* area) {
    for (; area; area = area->getParent())
        if (!area->isShown()) return false;
    return true;
}

/// Whether the area has a place: it is shown, and all that it lies in and matches is.
bool hasPlace(const CAreaTree& tree, const std::vector<CAreaDraft*>& drafts, size_t index) {
    const CViewArea* area = tree.nodes[index]->area.get();
    if (!isShown(area)) return false;
    for (; area; area = area->getParent()) {
        while (tree.nodes[index]->area.get() != area)
            index--; // parents stand before their children
        const CAreaDraft& draft = *drafts[index];
        if (draft.placement != Placement::Match) continue;
        if (draft.match < 0 || !hasPlace(tree, drafts, static_cast<size_t>(draft.match)))
            return false;
    }
    return true;
}

/// Index of the first area whose rectangle differs from a fresh tree's; -1 for none.
int firstDifference(const CAreaTree& tree, const CAreaTree& fresh,
                    const std::vector<CAreaDraft*>& drafts) {
    for (size_t i = 0; i < tree.nodes.size(); i++)
        if (hasPlace(tree, drafts, i))
            for (const int side : {0, 1, 2, 3})
                if (std::abs(tree.nodes[i]->rect[side] - fresh.nodes[i]->rect[side]) > 1.0 / 64.0)
                    return static_cast<int>(i);
    return -1;
}

} // namespace

TEST(LayoutPropertyTest, aChangedTreeIsLaidOutLikeAFreshOne) {
    int cases = 0;
    for (unsigned seed = 1; seed <= 150; seed++) {
        CRandomLayout random(seed);
        CAreaDraft draft = random.tree(4);
        std::vector<CAreaDraft*> drafts;
        collect(drafts, draft);
        CAreaTree tree(draft);
        for (int step = 0; step < 20; step++, cases++) {
            const int index = random.pick(static_cast<int>(drafts.size()));
            random.change(*drafts[static_cast<size_t>(index)], index);
            tree.apply(static_cast<size_t>(index), *drafts[static_cast<size_t>(index)]);
            if (random.chance(20)) {
                tree.net.setValue(tree.net.scaleCell(), 1.25);
                tree.net.setValue(tree.net.scaleCell(), 1.0);
            }
            tree.net.updateAreas();
            const CAreaTree fresh(draft);
            const int different = firstDifference(tree, fresh, drafts);
            ASSERT_EQ(different, -1)
                << "seed " << seed << ", step " << step << ", area " << different << " of "
                << tree.nodes.size() << " after a change of area " << index;
        }
    }
    RecordProperty("cases", cases);
}

TEST(LayoutPropertyTest, removingAreasLeavesTheLayoutOfATreeWithoutThem) {
    for (unsigned seed = 1; seed <= 100; seed++) {
        CRandomLayout random(seed);
        CAreaDraft draft = random.tree(3);
        draft.children.push_back(random.tree(0)); // a leaf, which is the last area
        CAreaTree tree(draft);
        tree.nodes.pop_back();
        draft.children.pop_back();
        tree.net.updateAreas();
        const CAreaTree fresh(draft);
        std::vector<CAreaDraft*> drafts;
        collect(drafts, draft);
        ASSERT_EQ(firstDifference(tree, fresh, drafts), -1) << "seed " << seed;
        ASSERT_EQ(tree.net.getCellCount(), fresh.net.getCellCount()) << "seed " << seed;
    }
}
