#pragma once

#include "UI/CViewArea.h"

#include <memory>
#include <random>
#include <vector>

/// What a layout test says of one area. A tree of these is the truth; areas are made from it.
struct CAreaDraft {
    lum::CSizeRule size[2], minSize[2], maxSize[2];
    lum::Placement placement = lum::Placement::Inline;
    lum::MetricAlign align[2] = {lum::MetricAlign::Center, lum::MetricAlign::Center};
    lum::MetricAlign inlineAlign[2] = {lum::MetricAlign::Center, lum::MetricAlign::Center};
    lum::CViewBorder inner, outer;
    bool isVertical = false, isNewRow = false, isScrollable = false, isVisible = true;
    bool isWeakHidden = false, isAutoRatio[2] = {false, false};
    double offset[2] = {0.0, 0.0}, ratio[2] = {1.0, 1.0}, scroller[2] = {0.0, 0.0};
    bool isCompactOff[2] = {false, false};
    double compactValue[2] = {-1.0, -1.0}; // pixels; negative: none
    int match = -1;                        // number of an area
    std::vector<CAreaDraft> children;
};

/// The areas of a described tree, in one network.
class CAreaTree {
public:
    struct CNode : lum::CViewAreaUpdateHandler {
        void onAreaUpdate(double x, double y, double width, double height) override {
            rect[0] = x, rect[1] = y, rect[2] = width, rect[3] = height;
            updates++;
        }
        std::unique_ptr<lum::CViewArea> area;
        double rect[4] = {0, 0, 0, 0};
        int updates = 0;
    };

    explicit CAreaTree(const CAreaDraft& draft) {
        add(draft, nullptr);
        int index = 0;
        applyMatches(draft, index);
        setRegion(640.0, 400.0);
    }
    ~CAreaTree() {
        while (!nodes.empty()) nodes.pop_back();
    }
    void setRegion(double width, double height) {
        nodes[0]->area->setRegion(0, 0, width, height);
        net.updateAreas();
    }
    static void apply(lum::CViewArea& area, const CAreaDraft& draft) {
        for (const int axis : {0, 1}) {
            area.setSize(axis, draft.size[axis]);
            area.setMin(axis, draft.minSize[axis]);
            area.setMax(axis, draft.maxSize[axis]);
            area.setAlignment(axis, draft.align[axis]);
            area.setInlineAlignment(axis, draft.inlineAlign[axis]);
            area.setRatio(axis, draft.ratio[axis]);
            area.setOffset(axis, draft.offset[axis]);
            area.setAutoRatio(axis, draft.isAutoRatio[axis]);
            area.setScroller(axis, draft.scroller[axis]);
            area.setCompactEnabled(axis, !draft.isCompactOff[axis]);
            if (draft.compactValue[axis] >= 0.0)
                area.setCompactValue(axis, draft.compactValue[axis]);
        }
        area.setPlacement(draft.placement);
        area.setInnerBorder(draft.inner);
        area.setOuterBorder(draft.outer);
        area.setInlineVertical(draft.isVertical);
        area.setNewInlineRow(draft.isNewRow);
        area.setScrollable(draft.isScrollable);
        area.setVisible(draft.isVisible);
        area.setWeakHide(draft.isWeakHidden);
    }
    void apply(size_t index, const CAreaDraft& draft) {
        apply(*nodes[index]->area, draft);
        nodes[index]->area->setMatch(
            draft.match < 0 ? nullptr : nodes[static_cast<size_t>(draft.match)]->area.get());
    }

    lum::CViewMetrics net;
    std::vector<std::unique_ptr<CNode>> nodes; // parents before children

private:
    void applyMatches(const CAreaDraft& draft, int& index) {
        if (draft.match >= 0) apply(static_cast<size_t>(index), draft);
        index++;
        for (const CAreaDraft& child : draft.children) applyMatches(child, index);
    }
    void add(const CAreaDraft& draft, lum::CViewArea* parent) {
        nodes.push_back(std::make_unique<CNode>());
        CNode& node = *nodes.back();
        node.area = std::make_unique<lum::CViewArea>(net, parent, &node);
        apply(*node.area, draft);
        lum::CViewArea* area = node.area.get();
        for (const CAreaDraft& child : draft.children) add(child, area);
    }
};
