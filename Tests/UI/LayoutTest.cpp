#include "AreaTree.h"

#include <gtest/gtest.h>

using namespace lum;

namespace {

CSizeRule px(double value) {
    return {SizeMode::Number, value};
}
CSizeRule part(double value) {
    return {SizeMode::Percent, value};
}

CAreaDraft box(CSizeRule width, CSizeRule height, Placement placement = Placement::Inline) {
    CAreaDraft draft;
    draft.size[0] = width;
    draft.size[1] = height;
    draft.placement = placement;
    return draft;
}

CAreaDraft parentOf(std::vector<CAreaDraft> children, CSizeRule width = px(100),
                    CSizeRule height = px(60)) {
    CAreaDraft draft = box(width, height);
    draft.children = std::move(children);
    return draft;
}

struct CRect {
    double x, y, width, height;
    friend bool operator==(const CRect&, const CRect&) = default;
    friend std::ostream& operator<<(std::ostream& out, const CRect& r) {
        return out << r.x << " " << r.y << " " << r.width << " " << r.height;
    }
};

CRect rectOf(const CAreaTree& tree, size_t index) {
    const double* r = tree.nodes[index]->rect;
    return {r[0], r[1], r[2], r[3]};
}

const CSizeRule kCompact{SizeMode::Compact, 0.0};
const CSizeRule kUnset{};

} // namespace

TEST(LayoutTest, placementsGiveTheseRectangles) {
    CAreaDraft inlineRow = parentOf({box(px(20), px(10)), box(px(30), px(20))});
    CAreaDraft nearRow = inlineRow;
    nearRow.inlineAlign[0] = nearRow.inlineAlign[1] = MetricAlign::Near;
    nearRow.children[0].align[1] = MetricAlign::Near;
    CAreaDraft column = inlineRow;
    column.isVertical = true;
    CAreaDraft twoRows = inlineRow;
    twoRows.children[0].isNewRow = twoRows.children[1].isNewRow = true;
    CAreaDraft bordered = parentOf({box(kUnset, kUnset, Placement::Full)});
    bordered.inner = {5, 3, 5, 3};
    bordered.children[0].outer = {1, 2, 1, 2};
    CAreaDraft overlaid = parentOf({box(kUnset, kUnset, Placement::Overlay)});
    overlaid.inner = {5, 3, 5, 3};
    CAreaDraft balanced =
        parentOf({box({SizeMode::Balanced, 0}, px(10)), box({SizeMode::Balanced, 0}, px(10)),
                  box(px(10), px(10), Placement::Overlay)});
    CAreaDraft scrolled = parentOf(
        {box(part(1.0), px(40), Placement::Top), box(kUnset, kUnset, Placement::ScrollerV)});
    scrolled.isScrollable = true;
    scrolled.ratio[1] = 0.5;
    scrolled.offset[1] = 0.25;

    const struct {
        const char* what;
        CAreaDraft draft;
        std::vector<CRect> rects; // of the children
    } rows[] = {
        {"a row in the middle", inlineRow, {{25, 25, 20, 10}, {45, 20, 30, 20}}},
        {"a row at the corner", nearRow, {{0, 0, 20, 10}, {20, 0, 30, 20}}},
        {"a column", column, {{40, 15, 20, 10}, {35, 25, 30, 20}}},
        {"two rows", twoRows, {{40, 15, 20, 10}, {35, 25, 30, 20}}},
        {"docked to all sides",
         parentOf({box(kUnset, px(10), Placement::Top), box(kUnset, px(12), Placement::Bottom),
                   box(px(14), kUnset, Placement::Left), box(px(16), kUnset, Placement::Right),
                   box(kUnset, kUnset, Placement::Full)}),
         {{0, 0, 100, 10}, {0, 48, 100, 12}, {0, 10, 14, 38}, {84, 10, 16, 38}, {14, 10, 70, 38}}},
        {"borders inside and outside", bordered, {{6, 5, 88, 50}}},
        {"an overlay has the whole view", overlaid, {{0, 0, 100, 60}}},
        {"balanced children share",
         balanced,
         {{0, 25, 50, 10}, {50, 25, 50, 10}, {45, 25, 10, 10}}},
        {"balanced without docked children",
         parentOf({box({SizeMode::Balanced, 0}, px(10), Placement::Overlay)}),
         {{0, 25, 100, 10}}},
        {"a scrolled content is larger and moved", scrolled, {{0, -30, 100, 40}, {100, 0, 0, 60}}},
    };
    for (const auto& row : rows) {
        CAreaTree tree(row.draft);
        for (size_t i = 0; i < row.rects.size(); i++)
            EXPECT_EQ(rectOf(tree, i + 1), row.rects[i]) << row.what << ", child " << i;
    }
}

TEST(LayoutTest, compactSizesComeFromFixedChildrenAlone) {
    CAreaDraft parent = parentOf({box({SizeMode::CompactFull, 1.0}, px(10)),
                                  box({SizeMode::CompactFull, 1.0}, px(10)), box(px(30), px(8))},
                                 kCompact, kCompact);
    for (CAreaDraft& child : parent.children) child.isNewRow = true;
    parent.inner = {2, 2, 2, 2};
    CAreaTree tree(parentOf({parent}, px(200), px(100)));
    EXPECT_EQ(rectOf(tree, 1).width, 34.0);
    EXPECT_EQ(rectOf(tree, 1).height, 32.0);
    EXPECT_EQ(rectOf(tree, 2).width, 34.0 - 4.0);
    EXPECT_EQ(rectOf(tree, 3).width, 34.0 - 4.0);
}

TEST(LayoutTest, dockedSidesAddUpInTheCompactSize) {
    CAreaDraft parent =
        parentOf({box(px(10), px(20), Placement::Left), box(px(50), px(5), Placement::Top),
                  box(px(20), px(20), Placement::Right), box(px(15), px(9))},
                 kCompact, kCompact);
    CAreaTree tree(parentOf({parent}, px(200), px(100)));
    EXPECT_EQ(rectOf(tree, 1).width, 60.0);  // 10 + the larger of 50 and 20 + 15
    EXPECT_EQ(rectOf(tree, 1).height, 25.0); // the larger of 20, 5 + 20 and 5 + 9
}

TEST(LayoutTest, aHiddenChildGivesUpItsRoom) {
    CAreaTree tree(
        parentOf({parentOf({box(px(20), px(10)), box(px(30), px(20))}, kCompact, kCompact)}));
    EXPECT_EQ(rectOf(tree, 1).width, 50.0);
    CViewArea& hidden = *tree.nodes[3]->area;
    hidden.setVisible(false);
    tree.net.updateAreas();
    EXPECT_EQ(rectOf(tree, 1), (CRect{40, 25, 20, 10}));
    EXPECT_EQ(tree.nodes[1]->area->childCount(), 1.0);
    hidden.setWeakHide(true);
    tree.net.updateAreas();
    EXPECT_EQ(rectOf(tree, 1).width, 50.0);
    hidden.setWeakHide(false);
    hidden.setVisible(true);
    tree.net.updateAreas();
    EXPECT_EQ(rectOf(tree, 1).width, 50.0);
}

TEST(LayoutTest, theScaleIsOneWrite) {
    CAreaDraft draft = parentOf({box(px(20), px(10))}, px(101), px(61));
    draft.children[0].outer = {3, 0, 0, 0};
    draft.inlineAlign[0] = MetricAlign::Near;
    CAreaTree tree(draft);
    tree.net.setValue(tree.net.pixelSizeCell(), 4.0);
    tree.net.setValue(tree.net.scaleCell(), 1.5);
    tree.net.updateAreas();
    EXPECT_EQ(rectOf(tree, 0).width, 152.0) << "a root snaps to the grid";
    EXPECT_EQ(rectOf(tree, 0).height, 92.0);
    EXPECT_EQ(rectOf(tree, 1).x, 5.0) << "3 units, rounded";
    EXPECT_EQ(rectOf(tree, 1).width, 30.0);
}

TEST(LayoutTest, limitsClampAndARatioOfNoneIsTheSmallest) {
    CAreaDraft draft = parentOf({box(part(0.5), px(500)), box(px(1), px(1))});
    draft.children[0].maxSize[0] = px(30);
    draft.children[0].maxSize[1] = part(0.5);
    draft.children[1].minSize[0] = px(7);
    CAreaTree tree(draft);
    EXPECT_EQ(rectOf(tree, 1).width, 30.0);
    EXPECT_EQ(rectOf(tree, 1).height, 30.0);
    EXPECT_EQ(rectOf(tree, 2).width, 7.0);
    tree.nodes[0]->area->setRatio(kAxisX, 0.0);
    EXPECT_EQ(tree.nodes[0]->area->value(Metric::Ratio, kAxisX), 0.0001);
}

TEST(LayoutTest, matchesFollowAndSurviveTheirTarget) {
    CAreaDraft draft =
        parentOf({box(px(20), px(10), Placement::Left), box(kUnset, kUnset, Placement::Match),
                  box(kUnset, kUnset, Placement::WindowOverlay)});
    CAreaTree tree(draft);
    tree.nodes[2]->area->setMatch(tree.nodes[1]->area.get());
    tree.net.updateAreas();
    EXPECT_EQ(rectOf(tree, 2), rectOf(tree, 1));
    EXPECT_EQ(rectOf(tree, 3), rectOf(tree, 0));
    tree.nodes[1]->area->setSize(kAxisX, px(44));
    tree.net.updateAreas();
    EXPECT_EQ(rectOf(tree, 2).width, 44.0);
    tree.nodes[1]->area.reset();
    tree.setRegion(300, 200);
}

TEST(LayoutTest, matchesInACircleEnd) {
    CAreaDraft draft =
        parentOf({box(kUnset, kUnset, Placement::Match), box(kUnset, kUnset, Placement::Match)});
    draft.children[0].outer = {1, 1, 0, 0};
    draft.children[1].outer = {2, 0, 0, 0};
    CAreaTree tree(draft);
    tree.nodes[1]->area->setMatch(tree.nodes[2]->area.get());
    tree.nodes[2]->area->setMatch(tree.nodes[1]->area.get());
    const uint64_t before = tree.net.getEvaluationCount();
    tree.net.updateAreas();
    EXPECT_LT(tree.net.getEvaluationCount() - before, 5000U);
}

namespace {

CAreaDraft largeTree(int fanOut, int levels, int level = 0) {
    CAreaDraft draft = level == 0 ? box(px(2000), px(2000)) : box(kCompact, kCompact);
    if (level == levels) return box(px(4 + level), px(3));
    static constexpr Placement kPlacements[] = {
        Placement::Inline, Placement::Inline, Placement::Top, Placement::Left, Placement::Overlay};
    draft.inner = {1, 1, 1, 1};
    for (int i = 0; i < fanOut; i++) {
        draft.children.push_back(largeTree(fanOut, levels, level + 1));
        draft.children.back().placement = kPlacements[(i + level) % 5];
    }
    return draft;
}

} // namespace

// Longer than the deepest propagation, which a chain from one to the next would exceed.
TEST(LayoutTest, aLongListFollowsItsFirstLine) {
    for (const bool isDocked : {true, false}) {
        CAreaDraft list = parentOf({}, px(100), px(5000));
        list.inlineAlign[1] = MetricAlign::Near;
        for (int i = 0; i < 450; i++) {
            list.children.push_back(
                box(px(50), px(10), isDocked ? Placement::Top : Placement::Inline));
            list.children.back().isNewRow = true;
        }
        CAreaTree tree(list);
        tree.nodes[1]->area->setSize(kAxisY, px(17));
        tree.net.updateAreas();
        for (size_t i = 2; i < tree.nodes.size(); i++)
            ASSERT_EQ(rectOf(tree, i).y, 17.0 + 10.0 * static_cast<double>(i - 2)) << i;
    }
}

// Numbers of operands lie nearer to each other here than constants that share an entry.
TEST(LayoutTest, theWidestOfThousandsOfLinesIsFound) {
    for (const bool isLastShown : {true, false}) {
        CAreaDraft list = parentOf({}, kCompact, kCompact);
        for (int i = 0; i < 5001; i++)
            list.children.push_back(box(px(i == 0 ? 90 : 10), px(1), Placement::Top));
        list.children.back().isVisible = isLastShown;
        CAreaTree tree(list);
        EXPECT_EQ(rectOf(tree, 0).width, 90.0);
        tree.nodes.back()->area->setVisible(!isLastShown);
        tree.net.updateAreas();
        EXPECT_EQ(rectOf(tree, 0).width, 90.0);
        EXPECT_EQ(rectOf(tree, 0).height, isLastShown ? 5000.0 : 5001.0);
    }
}

TEST(LayoutTest, aChangeEvaluatesOnlyWhatDependsOnIt) {
    const CAreaDraft draft = largeTree(5, 5); // 3906 areas
    CAreaTree tree(draft);
    ASSERT_EQ(tree.nodes.size(), 3906U);
    EXPECT_LT(tree.net.getEvaluationCount(), tree.nodes.size() * 32) << "one for each program";

    const uint64_t before = tree.net.getEvaluationCount();
    tree.net.updateAreas();
    EXPECT_EQ(tree.net.getEvaluationCount(), before);
    // A leaf of an overlay: its own size, its parent's sums, its siblings' and its own places.
    tree.nodes[5]->area->setSize(kAxisY, px(1));
    tree.net.updateAreas();
    EXPECT_LT(tree.net.getEvaluationCount() - before, 400U);
    for (auto& node : tree.nodes) node->area->markDirty();
    const uint64_t whole = tree.net.getEvaluationCount();
    tree.net.updateAreas();
    EXPECT_EQ(tree.net.getEvaluationCount(), whole) << "equal programs";
}
