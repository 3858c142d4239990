#include "Audio/VST/CVSTHostTraits.h"

namespace lum {

namespace {

enum class HostName { Product, Vendor };

/// A host whose name matches has the trait set to `value`. A pattern without "*" is the whole name.
struct CHostRow {
    HostName name;
    const char* pattern;
    bool CVSTHostTraits::*trait;
    bool value;
};

constexpr CHostRow kHosts[] = {
    {HostName::Product, "SONY ACID PRO", &CVSTHostTraits::isMultiChannel, false},
    {HostName::Product, "*PREMIERE*", &CVSTHostTraits::isMultiChannel, false},

    {HostName::Product, "*WAVELAB*", &CVSTHostTraits::needsSyncLock, true},
    {HostName::Product, "*SAMPLITUDE*", &CVSTHostTraits::needsSyncLock, true},
    {HostName::Product, "*CHAINER*", &CVSTHostTraits::needsSyncLock, true},

    {HostName::Vendor, "*CAKEWALK*", &CVSTHostTraits::allowsLabelImport, false},
    {HostName::Vendor, "*TWELVE TONE*", &CVSTHostTraits::allowsLabelImport, false},
    {HostName::Product, "*CAKEWALK*", &CVSTHostTraits::allowsLabelImport, false},
    {HostName::Product, "*SONAR*", &CVSTHostTraits::allowsLabelImport, false},
    {HostName::Product, "*FX TELEPORT*", &CVSTHostTraits::allowsLabelImport, false},

    {HostName::Vendor, "*STEINBERG*", &CVSTHostTraits::takesFocusOnClick, false},
    {HostName::Vendor, "*FXPANSION*", &CVSTHostTraits::takesFocusOnClick, false},
    {HostName::Product, "*WAVELAB*", &CVSTHostTraits::takesFocusOnClick, false},
    {HostName::Product, "*CUBASE*", &CVSTHostTraits::takesFocusOnClick, false},
    {HostName::Product, "*FRUITY*", &CVSTHostTraits::takesFocusOnClick, false},
};
constexpr int32_t kOldestMultiChannelVersion = 2300;

} // namespace

CVSTHostTraits CVSTHostTraits::of(int32_t version, const CString& product, const CString& vendor) {
    CVSTHostTraits traits;
    traits.isMultiChannel = version >= kOldestMultiChannelVersion;
    const CString productName = product.upperCase();
    const CString vendorName = vendor.upperCase();
    for (const CHostRow& row : kHosts)
        if (matchesPattern(row.name == HostName::Product ? productName : vendorName, row.pattern))
            traits.*row.trait = row.value;
    return traits;
}

bool matchesPattern(const CString& text, const char* pattern) {
    size_t at = 0;
    const char* star = nullptr; // the last "*", and where the text behind its run begins
    size_t runEnd = 0;
    while (at < text.length()) {
        if (*pattern == '*') {
            star = pattern++;
            runEnd = at;
        } else if (*pattern == '?' ||
                   (*pattern && text.at(at) == static_cast<unsigned char>(*pattern))) {
            pattern++;
            at++;
        } else if (star) {
            pattern = star + 1;
            at = ++runEnd;
        } else {
            return false;
        }
    }
    while (*pattern == '*') pattern++;
    return *pattern == 0;
}

} // namespace lum
