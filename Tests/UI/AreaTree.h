#pragma once

#include "UI/CViewArea.h"

#include <memory>
#include <random>
#include <vector>

/// What a layout test says of one area. A tree of these is the truth; areas are made from it.
struct CAreaSpec {
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
    std::vector<CAreaSpec> children;
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

    explicit CAreaTree(const CAreaSpec& spec) {
        add(spec, nullptr);
        int index = 0;
        applyMatches(spec, index);
        setRegion(640.0, 400.0);
    }
    ~CAreaTree() {
        while (!nodes.empty()) nodes.pop_back();
    }
    void setRegion(double width, double height) {
        nodes[0]->area->setRegion(0, 0, width, height);
        net.updateAreas();
    }
    static void apply(lum::CViewArea& area, const CAreaSpec& spec) {
        for (const int axis : {0, 1}) {
            area.setSize(axis, spec.size[axis]);
            area.setMin(axis, spec.minSize[axis]);
            area.setMax(axis, spec.maxSize[axis]);
            area.setAlignment(axis, spec.align[axis]);
            area.setInlineAlignment(axis, spec.inlineAlign[axis]);
            area.setRatio(axis, spec.ratio[axis]);
            area.setOffset(axis, spec.offset[axis]);
            area.setAutoRatio(axis, spec.isAutoRatio[axis]);
            area.setScroller(axis, spec.scroller[axis]);
            area.setCompactEnabled(axis, !spec.isCompactOff[axis]);
            if (spec.compactValue[axis] >= 0.0) area.setCompactValue(axis, spec.compactValue[axis]);
        }
        area.setPlacement(spec.placement);
        area.setInnerBorder(spec.inner);
        area.setOuterBorder(spec.outer);
        area.setInlineVertical(spec.isVertical);
        area.setNewInlineRow(spec.isNewRow);
        area.setScrollable(spec.isScrollable);
        area.setVisible(spec.isVisible);
        area.setWeakHide(spec.isWeakHidden);
    }
    void apply(size_t index, const CAreaSpec& spec) {
        apply(*nodes[index]->area, spec);
        nodes[index]->area->setMatch(
            spec.match < 0 ? nullptr : nodes[static_cast<size_t>(spec.match)]->area.get());
    }

    lum::CViewMetrics net;
    std::vector<std::unique_ptr<CNode>> nodes; // parents before children

private:
    void applyMatches(const CAreaSpec& spec, int& index) {
        if (spec.match >= 0) apply(static_cast<size_t>(index), spec);
        index++;
        for (const CAreaSpec& child : spec.children) applyMatches(child, index);
    }
    void add(const CAreaSpec& spec, lum::CViewArea* parent) {
        nodes.push_back(std::make_unique<CNode>());
        CNode& node = *nodes.back();
        node.area = std::make_unique<lum::CViewArea>(net, parent, &node);
        apply(*node.area, spec);
        lum::CViewArea* area = node.area.get();
        for (const CAreaSpec& child : spec.children) add(child, area);
    }
};
