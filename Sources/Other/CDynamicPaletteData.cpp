#include "Core/CLog.h"
#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"
#include "Other/CDynamicPalette.h"

#include <cmath>
#include <cstdio>

// What a palette keeps outside: the blob of the colour scheme, and the cache of ramps.

namespace lum {

namespace {

constexpr uint32_t kBlobVersion = 1;
constexpr uint32_t kCacheVersion = 2;
constexpr const char* kCacheRecord = "ui-palette-cache";

CString toneText(uint32_t tone) {
    char text[16];
    std::snprintf(text, sizeof text, "%06x", static_cast<unsigned>(tone));
    return text;
}

CErrorResult setReal(CObject& object, const char* name, double now, double value) {
    if (!std::isfinite(value) || now == value) return nullptr;
    LUM_TRY(object.setAttrValue(name, CAttrEntry::ofReal(value), true));
    return nullptr;
}

/// Whether a colour is part of a scheme.
bool isStored(const CColorFeatures& features) {
    return features.brightness || features.opacity || features.tone;
}

bool hasAny(const CColorFeatures& features) {
    return isStored(features) || features.contrast || features.enabled;
}

} // namespace

// ---- Blob

CErrorResult CDynamicPalette::makeBlob(CByteBuffer& out) const {
    CWriteSeqBuffer stream;
    LUM_TRY(stream.writeValue(kBlobVersion));
    for (const auto& [name, color] : colors) {
        if (!isStored(color->features)) continue;
        const CColorValues& values = color->values;
        LUM_TRY(stream.writeString(name));
        LUM_TRY(stream.writeValue(values.brightness));
        LUM_TRY(stream.writeValue(values.contrast));
        LUM_TRY(stream.writeValue(values.opacity));
        LUM_TRY(stream.writeValue(values.tone));
        LUM_TRY(stream.writeValue(values.tone2));
        LUM_TRY(stream.writeValue(values.tone3));
    }
    LUM_TRY(stream.writeString({}));
    stream.getBytes(out);
    return nullptr;
}

CErrorResult CDynamicPalette::readRecords(const CByteBuffer& blob, CRecords& out,
                                          bool& isKnown) const {
    isKnown = false;
    CMemoryReader stream(blob);
    uint32_t version = 0;
    LUM_TRY(stream.readValue(version));
    if (version != kBlobVersion) return nullptr;
    for (;;) {
        CString name;
        LUM_TRY(stream.readString(name));
        if (name.empty()) break;
        CRecord& record = out[name];
        uint32_t unused[2];
        LUM_TRY(stream.readValue(record.brightness));
        LUM_TRY(stream.readValue(record.contrast));
        LUM_TRY(stream.readValue(record.opacity));
        LUM_TRY(stream.readValue(record.tone));
        LUM_TRY(stream.read(unused, sizeof unused)); // the second and third tone
    }
    isKnown = true;
    return nullptr;
}

// Works on what was read out of the caller's bytes, which the attributes' handlers may replace.
CErrorResult CDynamicPalette::applyRecords(const CByteBuffer& blob) {
    if (blob.empty()) return nullptr;
    CRecords taken;
    bool isKnown = false;
    LUM_TRY(readRecords(blob, taken, isKnown));
    if (!isKnown) return nullptr;
    isApplying = true;
    CErrorResult error = takeRecords(taken);
    if (!error) error = takeCopies(taken);
    isApplying = false;
    LUM_TRY(std::move(error));
    return nullptr;
}

// A parent's change reaches its children by their links, so parents come first and each colour's
// own record has the last word.
CErrorResult CDynamicPalette::takeRecords(const CRecords& taken) {
    const CVector<CDynamicColor*, 0> all = order;
    for (CDynamicColor* color : all) {
        auto found = taken.find(color->getName());
        if (found != taken.end()) LUM_TRY(setColor(*color, found->second, color->features));
    }
    return nullptr;
}

CErrorResult CDynamicPalette::takeCopies(const CRecords& taken) {
    constexpr CColorFeatures kAll{true, true, true, true, true};
    const CVector<CDynamicColor*, 0> all = order;
    for (CDynamicColor* color : all) {
        if (!hasAny(color->features) || taken.count(color->getName())) continue;
        const CString sourceName = color->getCopySource();
        const CDynamicColor* source = sourceName.empty() ? nullptr : findColor(sourceName);
        if (!source) continue;
        const CColorValues& values = source->values;
        LUM_TRY(setColor(*color, {values.brightness, values.contrast, values.opacity, values.tone},
                         kAll));
    }
    return nullptr;
}

CErrorResult CDynamicPalette::setColor(CDynamicColor& color, const CRecord& record,
                                       const CColorFeatures& features) {
    const CColorValues& now = color.values;
    if (features.brightness)
        LUM_TRY(setReal(color, "brightness", now.brightness, record.brightness));
    if (features.contrast) LUM_TRY(setReal(color, "contrast", now.contrast, record.contrast));
    if (features.opacity) LUM_TRY(setReal(color, "opacity", now.opacity, record.opacity));
    if (features.tone && now.tone != record.tone)
        LUM_TRY(color.setAttr("tone", toneText(record.tone), true));
    return nullptr;
}

// ---- Cache

void CDynamicPalette::readCache() {
    CByteBuffer bytes;
    records().read(kCacheRecord, bytes, kDataBlock);
    if (!bytes.empty()) logAndDropError(readCacheEntries(bytes));
}

// A record does not tell whether a hover form follows; the colour does. So a colour that is not
// known any more ends the reading, and what follows is computed. Likewise entries of another form.
CErrorResult CDynamicPalette::readCacheEntries(const CByteBuffer& bytes) {
    CMemoryReader stream(bytes);
    uint32_t version = 0;
    uint32_t count = 0;
    LUM_TRY(stream.readValue(version));
    if (version != kCacheVersion) return nullptr;
    LUM_TRY(stream.readValue(count));
    for (uint32_t i = 0; i < count; i++) {
        CString name;
        LUM_TRY(stream.readString(name));
        auto found = colors.find(name);
        if (found == colors.end() || !found->second->data) return nullptr;
        const CDynamicColor& color = *found->second;
        LUM_TRY(color.data->load(stream, color.isHoverable()));
        color.data->setForm(color.getGradientSize(), color.isHoverable());
    }
    return nullptr;
}

void CDynamicPalette::writeCache() const {
    CByteBuffer bytes;
    if (CErrorResult error = makeCache(bytes)) {
        logAndDropError(std::move(error));
        return;
    }
    records().write(kCacheRecord, bytes, this, kDataBlock);
}

CErrorResult CDynamicPalette::makeCache(CByteBuffer& out) const {
    CWriteSeqBuffer stream;
    uint32_t count = 0;
    for (const auto& [name, color] : colors) count += color->data ? 1 : 0;
    LUM_TRY(stream.writeValue(kCacheVersion));
    LUM_TRY(stream.writeValue(count));
    for (const auto& [name, color] : colors) {
        if (!color->data) continue;
        LUM_TRY(stream.writeString(name));
        LUM_TRY(color->data->save(stream));
    }
    stream.getBytes(out);
    return nullptr;
}

} // namespace lum
