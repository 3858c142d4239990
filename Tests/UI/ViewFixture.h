#pragma once

#include "Core/TreeFixture.h"
#include "Other/CDynamicPalette.h"
#include "Other/COtherCreators.h"
#include "UI/CHeadlessWindow.h"
#include "UI/CUICreators.h"

inline const lum::CCreatorRow* const kViewTestCreators[] = {
    lum::kCoreCreators, lum::kOtherCreators, lum::kUICreators, kProbeCreators, nullptr};

/// A headless window at "win" with a root view "win.root", beside an empty "ui".
class CViewTest : public CTreeTest {
protected:
    void SetUp() override {
        CProbe::journal.clear();
        ASSERT_FALSE(lum::CApplication::start({kViewTestCreators, nullptr, nullptr}));
        ASSERT_FALSE(lum::CApplication::get()->initSharedObject(""));
        ASSERT_FALSE(lum::CApplication::get()->initRootObject(root, ""));
        build({"core:object", "ui", {}, {}, ""});
        window =
            dynamic_cast<lum::CHeadlessWindow*>(build({"ui:headless-window", "win", {}, {}, ""}));
        ASSERT_TRUE(window);
    }

    /// Takes an authored node through the passes as the loader does. The innermost message of a
    /// failure goes to `failure`.
    lum::CObject* build(const CNode& node, lum::CObject* parent = nullptr) {
        lum::CObject* object = nullptr;
        failure.clear();
        (void)note((parent ? parent : root)
                       ->createChild(object, node.tag.c_str(), node.name.c_str(), false));
        for (const auto& [key, value] : node.attributes)
            (void)note(object->setAttr(key.c_str(), value.c_str(), false));
        if (note(object->init()) || note(object->initContent())) return object;
        for (const CNode& child : node.children)
            if (build(child, object); !failure.empty()) return object;
        (void)note(object->initDone());
        return object;
    }
    /// The window's root view, `size` wide and high.
    lum::CView* buildRoot(std::vector<CNode> children, const char* width = "100",
                          const char* height = "60") {
        return dynamic_cast<lum::CView*>(
            build({"ui:view",
                   "root",
                   {{"is-root-view", "true"}, {"width", width}, {"height", height}},
                   std::move(children),
                   ""},
                  window));
    }
    /// A palette whose colour of each name has the tone, at every lightness.
    void buildPalette(std::vector<std::pair<std::string, std::string>> tones) {
        CNode palette{"ui:dynamic-palette", "palette", {}, {}, ""};
        for (const auto& [name, tone] : tones)
            palette.children.push_back({"ui:dynamic-color",
                                        name,
                                        {{"tone", tone},
                                         {"contrast", "1"},
                                         {"opacity", "1"},
                                         {"brightness", "0"},
                                         {"gradient-size", "1"},
                                         {"palette", "ui.palette"}},
                                        {},
                                        ""});
        build(palette, root->findChild("ui"));
        ASSERT_EQ(failure, "");
    }
    template <class T = lum::CView>
    T* at(const char* path) {
        return root->findAs<T>(path);
    }
    void frameAt(double seconds) {
        EXPECT_FALSE(window->advanceTo(seconds));
        EXPECT_FALSE(window->frame());
    }
    /// 0xRRGGBB of a pixel of a fresh painting.
    uint32_t pixel(int x, int y) {
        lum::CLinearBitmap bitmap;
        EXPECT_FALSE(window->paintAll(bitmap));
        const uint8_t* p = bitmap.row(y) + 4 * x;
        return static_cast<uint32_t>(p[2] << 16 | p[1] << 8 | p[0]);
    }

    lum::CHeadlessWindow* window = nullptr;
    std::string failure;

private:
    bool note(lum::CErrorResult error) {
        if (!error) return false;
        failure = first(error);
        return true;
    }
};
