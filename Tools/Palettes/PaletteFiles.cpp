#include "Palettes/PaletteFiles.h"

#include "Audio/CAudioParamStorage.h"
#include "Audio/CAudioPreset.h"
#include "Core/CAtomicFileWriter.h"
#include "Core/CWriteSeqBuffer.h"
#include "Palettes/Tones.h"

#include <algorithm>
#include <vector>

namespace {

constexpr uint32_t kBlobVersion = 1;
constexpr uint32_t kCacheVersion = 2;
constexpr const char* kPresetId = "LMUS:";
constexpr const char* kDefinitions = "audio.modMain.uicolor-params."; // full name of the parameters

void check(const lum::CErrorResult& error) {
    if (error) throw SchemeError(error.line(0).toUtf8());
}

lum::CString toString(const std::string& text) {
    return lum::CString::fromUtf8(text);
}

lum::CByteBuffer bytesOf(lum::CWriteSeqBuffer& stream) {
    lum::CByteBuffer bytes;
    stream.getBytes(bytes);
    return bytes;
}

/// Records go by name, the order in which the palette writes them.
std::vector<const SchemeColor*> byName(const Scheme& scheme, bool isStoredOnly) {
    std::vector<const SchemeColor*> sorted;
    for (const SchemeColor& color : scheme.colors)
        if (!color.isHeading && !color.isTone && !color.has("copy") &&
            (color.isStored() || !isStoredOnly))
            sorted.push_back(&color);
    std::sort(sorted.begin(), sorted.end(), [](const SchemeColor* left, const SchemeColor* right) {
        return toString(left->name) < toString(right->name);
    });
    return sorted;
}

lum::CByteBuffer makeBlob(const Scheme& scheme) {
    Tones tones(scheme);
    lum::CWriteSeqBuffer stream;
    check(stream.writeValue(kBlobVersion));
    for (const SchemeColor* color : byName(scheme, true)) {
        const lum::CColorValues values = tones.valuesOf(*color);
        check(stream.writeString(toString(color->name)));
        for (const double value : {values.brightness, values.contrast, values.opacity})
            check(stream.writeValue(value));
        for (const uint32_t tone : {values.tone, values.tone2, values.tone3})
            check(stream.writeValue(tone));
    }
    check(stream.writeString({}));
    return bytesOf(stream);
}

lum::CByteBuffer makeCache(const Scheme& scheme) {
    Tones tones(scheme);
    const std::vector<const SchemeColor*> colors = byName(scheme, false);
    lum::CWriteSeqBuffer stream;
    check(stream.writeValue(kCacheVersion));
    check(stream.writeValue(static_cast<uint32_t>(colors.size())));
    for (const SchemeColor* color : colors) {
        lum::CDynamicColorData data;
        data.setForm(static_cast<int>(color->number("gradient", 1.0)), color->has("hover"));
        data.setValues(tones.valuesOf(*color));
        check(stream.writeString(toString(color->name)));
        check(data.save(stream));
    }
    return bytesOf(stream);
}

/// A preset's block: the full name of the parameter and its storage with one item.
lum::CByteBuffer makeEntry(const char* key, lum::ParamDataType type, const lum::CByteBuffer& raw,
                           const char* text) {
    lum::CAudioParamChange change;
    change.format.dataType = type;
    change.isTruncating = true;
    change.elementCount = 1;
    change.data = std::make_unique<lum::CAudioParamData>();
    change.values.push_back(type == lum::ParamDataType::Raw
                                ? change.data->addRaw(raw.data(), raw.size())
                                : change.data->addString(text));
    lum::CAudioParamStorage storage;
    storage.setFormat(change.format);
    storage.apply(change);
    lum::CWriteSeqBuffer stream;
    check(stream.writeString(toString(kDefinitions) + key));
    check(storage.save(stream));
    return bytesOf(stream);
}

void writeBlock(const std::string& path, const lum::CByteBuffer& payload, uint32_t id) {
    lum::CAtomicFileWriter file;
    check(file.open(toString(path)));
    check(file.writeCompressedData(payload, id));
    check(file.commit());
}

lum::CByteBuffer makeBank(const Scheme& scheme, const std::string& folder) {
    lum::CVector<lum::CAudioPresetBank, 1> banks;
    lum::CAudioPresetBank& bank = banks.emplace_back();
    for (const SchemePreset& row : scheme.presets) {
        lum::CAudioPreset& preset = bank.presets.emplace_back();
        preset.name = toString(kPresetId + row.name);
        const lum::CByteBuffer blob = makeBlob(applyPreset(scheme, folder + "/" + row.file));
        preset.setEntry("mode-name",
                        makeEntry("mode-name", lum::ParamDataType::String, {}, "User"));
        preset.setEntry("palette", makeEntry("palette", lum::ParamDataType::Raw, blob, ""));
    }
    lum::CWriteSeqBuffer stream;
    check(saveBankList(stream, banks));
    return bytesOf(stream);
}

Scheme firstPreset(const Scheme& scheme, const std::string& folder) {
    if (scheme.presets.empty()) throw SchemeError("the scheme has no preset");
    return applyPreset(scheme, folder + "/" + scheme.presets[0].file);
}

/// Writes the palette's elements.
class TreeWriter {
public:
    explicit TreeWriter(const Scheme& target) : scheme(target), tones(target) {}

    std::string write() {
        out = "<!-- Made by sorrel-palettec from the authored palettes. -->\n"
              "<ui:dynamic-palette name=\"palette\">\n"
              "  <core:object name=\"cmods\" hover-brightness=\"6\" panel-border-brightness=\"0\" "
              "custom-color-active-brightness=\"15\" underlay-slider-opacity=\"0.7\" "
              "cs-readout-descr-text-opacity=\"0.5\"/>\n";
        for (const SchemeColor& color : scheme.colors) {
            if (color.isTone) continue;
            close(color.isHeading ? 0 : color.level);
            if (color.isHeading)
                out += "  <core:object name=\"group-title" + std::to_string(++headings) +
                       "\" title=\"" + color.title + "\"/>\n";
            else
                open(color);
        }
        close(0);
        return out + "</ui:dynamic-palette>\n";
    }

private:
    void close(int level) {
        for (; depth > level; depth--)
            out += std::string(static_cast<size_t>(depth) * 2, ' ') + "</ui:dynamic-color>\n";
    }

    void attr(const char* name, const std::string& value) {
        if (!value.empty()) out += std::string(" ") + name + "=\"" + value + "\"";
    }

    static std::string numberText(double value) {
        char text[32];
        std::snprintf(text, sizeof text, "%.6g", value);
        return text;
    }

    static std::string toneText(uint32_t tone) {
        char text[16];
        std::snprintf(text, sizeof text, "%06x", tone);
        return tone == lum::kNoTone ? std::string() : text;
    }

    void open(const SchemeColor& color) {
        const lum::CColorValues values = tones.valuesOf(color);
        const bool isFollowing = color.has("follow");
        out += std::string(static_cast<size_t>(color.level) * 2 + 2, ' ') + "<ui:dynamic-color";
        attr("name", color.name);
        attr("title", color.title);
        if (color.has("copy")) {
            attr("is-copy-parent-color", "true");
        } else {
            attr("gradient-size", numberText(color.number("gradient", 1.0)));
            attr("tone", isFollowing || !color.has("tone") ? "{*/^ tone}" : toneText(values.tone));
            attr("tone2", toneText(values.tone2));
            attr("contrast", color.level > 0 && (isFollowing || !color.has("contrast"))
                                 ? "{*/^ contrast}"
                                 : numberText(values.contrast));
            attr("brightness", numberText(values.brightness));
            attr("opacity", numberText(values.opacity));
            attr("is-hoverable", color.has("hover") ? "true" : "");
            attr("editable-features", color.text("edit"));
        }
        out += ">\n";
        depth++;
    }

    const Scheme& scheme;
    Tones tones;
    std::string out;
    int depth = 0;
    int headings = 0;
};

} // namespace

void writePaletteFiles(const Scheme& scheme, const std::string& sourceFolder,
                       const std::string& outFolder) {
    const Scheme first = firstPreset(scheme, sourceFolder);
    lum::CWriteSeqBuffer name;
    check(name.writeString(toString(scheme.presets[0].name)));
    writeBlock(outFolder + "/AppDataGlobal_uicolor-presets", makeBank(scheme, sourceFolder),
               lum::kListBlock);
    writeBlock(outFolder + "/AppDataLocal_uicolor-name", bytesOf(name), lum::kStringBlock);
    writeBlock(outFolder + "/AppDataLocal_uicolor-palette", makeBlob(first), lum::kDataBlock);
    writeBlock(outFolder + "/AppDataLocal_ui-palette-cache", makeCache(first), lum::kDataBlock);
}

void writePaletteTree(const Scheme& scheme, const std::string& sourceFolder,
                      const std::string& path) {
    const std::string text = TreeWriter(firstPreset(scheme, sourceFolder)).write();
    lum::CAtomicFileWriter file;
    check(file.open(toString(path)));
    check(file.write(text.data(), static_cast<int64_t>(text.size())));
    check(file.commit());
}
