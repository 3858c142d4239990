#pragma once

#include "UI/CView.h"

namespace lum {

/// `ui:frame-base`, `ui:shadow`: a border of eight pieces around an area. The pieces of a set stand
/// row by row: corners and edges from the top left to the bottom right. Corners keep their size,
/// edges repeat, and the centre is filled with the tone at which the last corner starts, so that
/// border and centre meet. The image behind the pieces is the grain of a textured background.
/// Interface thread.
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
    /// What the attributes say about it.
    struct CParts {
        bool hasBorders = false;
        bool hasCenter = false;
        bool hasCornersOnly = false;
        bool isFixed = false;
        bool isOpaque = false;
        bool isTextured = false;
        double textureOffset = 0.0; // interface units
        friend bool operator==(const CParts&, const CParts&) = default;
    };

    void addPiece(CPreparedDraw& out, const CViewLook& look, const CPieces& pieces, int piece,
                  const CPixelRect& area);
    void addTiled(CPreparedDraw& out, const CViewLook& look, const CPieces& pieces, int piece,
                  const CPixelRect& area);
    void addTiles(CPreparedDraw& out, const CViewLook& look, const CImage& image, double scale,
                  const CPixelRect& size, const CPixelRect& area, int startX);
    void addTexture(CPreparedDraw& out, const CViewLook& look, const CPieces& pieces,
                    const CPixelRect& area);
    void addCenter(CPreparedDraw& out, const CViewLook& look, const CPieces& pieces,
                   const CPixelRect& area);
    void adjust(CPreparedDraw& out, size_t from, double scale) const;

    CParts parts;
};

} // namespace lum
