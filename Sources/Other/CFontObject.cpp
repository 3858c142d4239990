#include "Other/CFontObject.h"

namespace lum {

namespace {

/// Names of the children, in the order of FontStyle.
constexpr const char* kStyleNames[kFontStyleCount] = {"bold", "bold-italic", "italic", "regular",
                                                      "superscript"};

} // namespace

void CFontObject::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
}

CErrorResult CFontObject::initDone() {
    LUM_TRY(CObject::initDone());
    for (const CObject* child : getChildren())
        if (child->getAttrBool("is-font-style")) LUM_TRY(loadStyle(*child));
    return {};
}

CErrorResult CFontObject::loadStyle(const CObject& child) {
    const CString name = child.getName();
    for (size_t i = 0; i < fonts.size(); i++) {
        if (!(name == kStyleNames[i])) continue;
        auto font = std::make_unique<CFont>();
        LUM_TRY(font->loadFromResource(child.getAttrString("file")));
        fonts[i] = std::move(font);
        return {};
    }
    return LUM_FAIL("@lumstr_CFontObject_initDone_UnknownStyle Unknown font style '%1'.", name);
}

void CFontObject::setFont(FontStyle style, std::unique_ptr<CFont> font) {
    fonts[static_cast<size_t>(style)] = std::move(font);
}

} // namespace lum
