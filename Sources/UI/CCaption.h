#pragma once

#include "Other/CObjectTextImages.h"
#include "Other/CTextDrawing.h"
#include "UI/CView.h"

namespace lum {

/// `ui:caption`: a text in one style, wrapped where it has mark-up. Its compact size is the text's.
/// Interface thread.
class CCaption : public CView {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult initContent() override;
    CErrorResult attrFontName(const CAttrEntry& value);
    CErrorResult attrTitle(const CAttrEntry& value);
    CErrorResult attrTextColor(const CAttrEntry& value);
    CErrorResult attrTextLook(const CAttrEntry& value);
    void onScaleChanged() override;
    CErrorResult prepare() override;

protected:
    void updateCompactSize() override;
    void render(const CViewContext& context) const override;

private:
    struct CTextPlace {
        TextAlign align = TextAlign::Centre;
        double alignV = 0.5; // part of the free space above the text
        double gap = 0.0;    // interface units behind the text
        friend bool operator==(const CTextPlace&, const CTextPlace&) = default;
    };
    CErrorResult findFont(const CString& path);
    CTextLayoutInputs inputsFor(double width, bool isWrapped) const;
    bool updateTextSlots();
    void layoutText();
    void prepareText(int index, const CViewLook& look);

    CObjectTextImages images{*this};
    CTextWrapper wrapper;
    CString title; // what the wrapper has
    CTextPlace textPlace;
    bool hasFont = false;
    bool hasShadow = false;
    CTextDrawing texts[2]; // by look
    CTextDrawing shadows[2];
    int textX = 0; // pixels from the corner of the view's drawing
    int textY = 0;
    int shadowShift = 1; // pixels
};

} // namespace lum
