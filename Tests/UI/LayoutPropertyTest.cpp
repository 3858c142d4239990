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

    CAreaSpec tree(int levels) {
        CAreaSpec spec;
        const int changes = pick(8);
        const int index = areaCount++;
        for (int i = 0; i < changes; i++) change(spec, index);
        const int count = levels == 0 ? 0 : pick(5);
        for (int i = 0; i < count; i++) spec.children.push_back(tree(levels - 1));
        return spec;
    }

    /// Changes one attribute of the area of this number. What it matches stands before it, so that
    /// no circle comes about.
    void change(CAreaSpec& spec, int index) {
        const int axis = pick(2);
        switch (pick(17)) {
        case 0:
        case 1:
            spec.size[axis] = size();
            break;
        case 2:
            spec.minSize[axis] = limit();
            break;
        case 3:
            spec.maxSize[axis] = limit();
            break;
        case 4:
            spec.placement = static_cast<Placement>(1 + pick(8));
            break;
        case 5:
            spec.align[axis] = static_cast<MetricAlign>(pick(3) - 1);
            break;
        case 6:
            spec.inlineAlign[axis] = static_cast<MetricAlign>(pick(3) - 1);
            break;
        case 7:
            spec.inner = border();
            break;
        case 8:
            spec.outer = border();
            break;
        case 9:
            (chance(50) ? spec.isVertical : spec.isNewRow) = chance(50);
            break;
        case 10:
            spec.isVisible = chance(70);
            break;
        case 11:
            spec.isWeakHidden = chance(50);
            break;
        case 12:
            spec.isAutoRatio[axis] = chance(50);
            break;
        case 13:
            spec.scroller[axis] = chance(50) ? 0.0 : 0.5 * pick(30);
            break;
        case 14:
            spec.isCompactOff[axis] = chance(50);
            break;
        case 15:
            spec.compactValue[axis] = chance(50) ? -1.0 : pick(200);
            break;
        case 16:
            spec.placement = Placement::Match;
            spec.match = index > 0 && chance(80) ? pick(index) : -1;
            break;
        default:
            spec.isScrollable = chance(50);
            spec.ratio[axis] = 0.25 * (1 + pick(4));
            spec.offset[axis] = 0.25 * pick(3);
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

void collect(std::vector<CAreaSpec*>& out, CAreaSpec& spec) {
    out.push_back(&spec);
    for (CAreaSpec& child : spec.children) collect(out, child);
}

bool isShown(const CViewArea* area) {
    for (; area; area = area->getParent())
        if (!area->isShown()) return false;
    return true;
}

/// Whether the area has a place: it is shown, and all that it lies in and matches is.
bool hasPlace(const CAreaTree& tree, const std::vector<CAreaSpec*>& specs, size_t index) {
    const CViewArea* area = tree.nodes[index]->area.get();
    if (!isShown(area)) return false;
    for (; area; area = area->getParent()) {
        while (tree.nodes[index]->area.get() != area)
            index--; // parents stand before their children
        const CAreaSpec& spec = *specs[index];
        if (spec.placement != Placement::Match) continue;
        if (spec.match < 0 || !hasPlace(tree, specs, static_cast<size_t>(spec.match))) return false;
    }
    return true;
}

/// Index of the first area whose rectangle differs from a fresh tree's; -1 for none.
int firstDifference(const CAreaTree& tree, const CAreaTree& fresh,
                    const std::vector<CAreaSpec*>& specs) {
    for (size_t i = 0; i < tree.nodes.size(); i++)
        if (hasPlace(tree, specs, i))
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
        CAreaSpec spec = random.tree(4);
        std::vector<CAreaSpec*> specs;
        collect(specs, spec);
        CAreaTree tree(spec);
        for (int step = 0; step < 20; step++, cases++) {
            const int index = random.pick(static_cast<int>(specs.size()));
            random.change(*specs[static_cast<size_t>(index)], index);
            tree.apply(static_cast<size_t>(index), *specs[static_cast<size_t>(index)]);
            if (random.chance(20)) {
                tree.net.setValue(tree.net.scaleCell(), 1.25);
                tree.net.setValue(tree.net.scaleCell(), 1.0);
            }
            tree.net.updateAreas();
            const CAreaTree fresh(spec);
            const int different = firstDifference(tree, fresh, specs);
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
        CAreaSpec spec = random.tree(3);
        spec.children.push_back(random.tree(0)); // a leaf, which is the last area
        CAreaTree tree(spec);
        tree.nodes.pop_back();
        spec.children.pop_back();
        tree.net.updateAreas();
        const CAreaTree fresh(spec);
        std::vector<CAreaSpec*> specs;
        collect(specs, spec);
        ASSERT_EQ(firstDifference(tree, fresh, specs), -1) << "seed " << seed;
        ASSERT_EQ(tree.net.getCellCount(), fresh.net.getCellCount()) << "seed " << seed;
    }
}
