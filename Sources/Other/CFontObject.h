#pragma once

#include "Core/CObject.h"
#include "Other/CFont.h"

#include <array>

namespace lum {

/// Styles of a family, in the order of a font object's slots.
enum class FontStyle : uint8_t { Bold, BoldItalic, Italic, Regular, Superscript };
constexpr int kFontStyleCount = 5;

/// A family of fonts as an object of the tree: each child with `is-font-style` is a style and loads
/// one font from its `file`; its name tells which. Filled once, when its children are complete, and
/// read-only afterwards.
class CFontObject : public CObject {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult initDone() override;

    /// The font of a style, null where the family has none.
    const CFont* getFont(FontStyle style) const { return fonts[static_cast<size_t>(style)].get(); }
    /// For code that makes fonts itself.
    void setFont(FontStyle style, std::unique_ptr<CFont> font);

private:
    CErrorResult loadStyle(const CObject& child);

    std::array<std::unique_ptr<CFont>, kFontStyleCount> fonts;
};

} // namespace lum
