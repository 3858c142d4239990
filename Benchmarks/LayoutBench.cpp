// The layout network on a tree of about 4,000 areas: the first layout, single changes, the end.
#include "BenchHarness.h"
#include "UI/AreaTree.h"

#include <ctime>

using namespace lum;
using namespace lum::bench;

namespace {

constexpr int kRounds = 15;
constexpr int kChanges = 500;

CAreaDraft box(CSizeRule width, CSizeRule height) {
    CAreaDraft draft;
    draft.size[kAxisX] = width;
    draft.size[kAxisY] = height;
    return draft;
}

CSizeRule px(double units) {
    return {SizeMode::Number, units};
}

/// Boxes in boxes, docked, in rows and above each other; all but the leaves take their content's
/// size.
CAreaDraft largeTree(int fanOut, int levels, int level = 0) {
    static constexpr Placement kPlacements[] = {
        Placement::Inline, Placement::Inline, Placement::Top, Placement::Left, Placement::Overlay};
    if (level == levels) return box(px(4 + level), px(3));
    const CSizeRule content{SizeMode::Compact, 0.0};
    CAreaDraft draft = level == 0 ? box(px(2000), px(2000)) : box(content, content);
    draft.inner = {1, 1, 1, 1};
    for (int i = 0; i < fanOut; i++) {
        draft.children.push_back(largeTree(fanOut, levels, level + 1));
        draft.children.back().placement = kPlacements[(i + level) % 5];
    }
    return draft;
}

/// Of this process, whatever else the machine does.
double processorSeconds() {
    timespec time;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// Lets an action run and keeps the shortest time.
class CShortest {
public:
    template <class Action>
    void run(Action action) {
        const double start = processorSeconds();
        action();
        seconds = std::min(seconds, processorSeconds() - start);
    }
    double seconds = 1e9;
};

struct CFigures {
    CShortest layout, size, alignment, scale, end;
    int moved = 0;
};

void runRound(CFigures& figures) {
    const CAreaDraft draft = largeTree(5, 5);
    std::unique_ptr<CAreaTree> tree;
    figures.layout.run([&] { tree = std::make_unique<CAreaTree>(draft); });
    CViewArea& leaf = *tree->nodes.back()->area;
    const auto change = [&](auto action) {
        for (int i = 0; i < kChanges; i++) {
            action(i);
            tree->net.updateAreas();
        }
    };
    for (auto& node : tree->nodes) node->updates = 0;
    figures.size.run([&] { change([&](int i) { leaf.setSize(kAxisX, px(10 + i % 50)); }); });
    figures.moved = 0;
    for (auto& node : tree->nodes) figures.moved += node->updates;
    figures.alignment.run([&] {
        change([&](int i) { leaf.setAlignment(kAxisX, static_cast<MetricAlign>(i % 3 - 1)); });
    });
    figures.scale.run([&] {
        tree->net.setValue(tree->net.scaleCell(), 1.25);
        tree->net.updateAreas();
    });
    figures.end.run([&] { tree.reset(); });
}

} // namespace

int main() {
    pinToOneCore();
    CFigures figures;
    for (int round = 0; round < kRounds; round++) runRound(figures);
    std::printf("layout of 3906 areas: first %.2f ms, another scale %.2f ms, end %.2f ms\n",
                figures.layout.seconds * 1e3, figures.scale.seconds * 1e3,
                figures.end.seconds * 1e3);
    std::printf("one change: a size that moves %d areas %.1f us, an alignment %.2f us\n",
                figures.moved / kChanges, figures.size.seconds / kChanges * 1e6,
                figures.alignment.seconds / kChanges * 1e6);
    return 0;
}
