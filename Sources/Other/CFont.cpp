#include "Other/CFont.h"

#include <cmath>

namespace lum {

namespace {

constexpr uint32_t kFontVersion = 1;
constexpr char16_t kFirstPrintable = 32;
constexpr double kLargestMetric = 32767.0; // interface units; more is damage

constexpr double CFont::*kMetrics[] = {&CFont::ascent, &CFont::descent, &CFont::lineGap,
                                       &CFont::capHeight}; // in the file's order

} // namespace

uint32_t CFont::getTypeCode() const {
    return blockId("font");
}

void CFont::clear() {
    CImageSet::clear();
    for (double CFont::*metric : kMetrics) this->*metric = 0.0;
}

CErrorResult CFont::load(CPosInputStream& stream) {
    clear();
    uint32_t version = 0;
    LUM_TRY(stream.readValue(version));
    if (version != kFontVersion) return {};
    LUM_TRY(CImageSet::load(stream));
    double values[std::size(kMetrics)] = {};
    for (double& value : values) {
        LUM_TRY(stream.readValue(value));
        if (!(std::fabs(value) <= kLargestMetric))
            return LUM_FAIL("@lumstr_CFont_load_InvalidMetrics Font metrics are damaged.");
    }
    for (size_t i = 0; i < std::size(kMetrics); i++) this->*kMetrics[i] = values[i];
    return {};
}

CErrorResult CFont::save(COutputStream& stream) {
    LUM_TRY(stream.writeValue(kFontVersion));
    LUM_TRY(CImageSet::save(stream));
    for (double CFont::*metric : kMetrics) LUM_TRY(stream.writeValue(this->*metric));
    return {};
}

const CImage* CFont::getGlyph(char16_t code) const {
    return code < kFirstPrintable ? nullptr : getImage(code);
}

} // namespace lum
