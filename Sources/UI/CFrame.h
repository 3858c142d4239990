#pragma once

#include "UI/CView.h"

namespace lum {

/// `ui:frame-base`, `ui:shadow`: a border of eight pieces around an area. The pieces of a set stand
/// row by row: corners and edges from the top left to the bottom right. Corners keep their size,
/// edges repeat, and the centre is filled with the tone at which the last corner starts, so that
/// border and centre meet. Interface thread.
class CFrame : public CView {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult initContent() override;
    CErrorResult attrLook(const CAttrEntry& value);
    CErrorResult attrSecondLayerColor(const CAttrEntry& value);
    CErrorResult attrIsShadowHidden(const CAttrEntry& value);
    /// The caption named by `path-caption` has another title.
    CErrorResult onCaptionChanged(CAttrMap& arguments);

protected:
    void prepareLook(CPreparedDraw& out, const CViewLook& look) override;

private:
    enum Piece { kTopLeft, kTop, kTopRight, kLeft, kRight, kBottomLeft, kBottom, kBottomRight };
    static constexpr int kPieceCount = 8;
    struct CPieces;

    CPixelRect sizeOf(const CImage& image, double scale) const;
    void addPiece(CPreparedDraw& out, const CViewLook& look, const CPieces& pieces, int piece,
                  const CPixelRect& area);
    void addTiled(CPreparedDraw& out, const CViewLook& look, const CPieces& pieces, int piece,
                  const CPixelRect& area);
    void addCenter(CPreparedDraw& out, const CViewLook& look, const CPieces& pieces,
                   const CPixelRect& area);
    void adjust(CPreparedDraw& out, size_t from, double scale) const;
};

} // namespace lum
