#include "Graphics/GraphicsFile.h"

#include <stdexcept>

void throwOnError(const lum::CErrorResult& error, const std::string& place) {
    if (error) throw std::runtime_error(place + ": " + error.line(0).toUtf8());
}

std::unique_ptr<lum::CFont> loadFontFile(const std::string& path) {
    auto font = std::make_unique<lum::CFont>();
    throwOnError(font->loadFromResource(lum::CString::fromUtf8(path)), path);
    return font;
}

std::unique_ptr<lum::CImageSet> loadGraphicsFile(const std::string& path) {
    if (path.ends_with(".fnt")) return loadFontFile(path);
    auto set = std::make_unique<lum::CImageSet>();
    throwOnError(set->loadFromResource(lum::CString::fromUtf8(path)), path);
    return set;
}
