#include "Audio/CAudioParamStorage.h"
#include "Audio/CAudioPreset.h"
#include "Core/CMemoryReader.h"
#include "Core/CResourceReader.h"
#include "Other/CColor.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>

using namespace lum;

// The colour presets as the product embeds them: what a user reads must stand out from its ground.

namespace {

struct Record {
    double brightness = 0.0;
    double contrast = 0.0;
    double opacity = 0.0;
    uint32_t tones[3] = {};
};
using Palette = std::map<std::string, Record>;

/// Tones that the bank must have, in its order.
struct PresetRow {
    const char* name;
    uint32_t background, panel, button, surface;
};
constexpr PresetRow kPresets[] = {
    {"LMUS:Gray", 0x434343, 0x878787, 0xD0D0D0, 0x777777},
    {"LMUS:Gray Blue", 0x3B3E49, 0x7C8391, 0xC2CBDD, 0x7C8391},
    {"LMUS:Blue", 0x2B4A73, 0x3875C6, 0xADCCFF, 0x131D4A},
    {"LMUS:Beige", 0x777253, 0xF6EDCE, 0xFFF8D8, 0xA5A688},
    {"LMUS:Red", 0x6A0907, 0xB8120F, 0xEFDCDC, 0x370D0D},
    {"LMUS:Green", 0x2C6727, 0x54A94D, 0xD1F6CF, 0x2A4E2B},
    {"LMUS:Orange", 0x714107, 0xFC9217, 0xFFCF95, 0x3B2508},
    {"LMUS:Brown", 0x786154, 0xD1BEAD, 0xEFE2D8, 0x7D7364},
    {"LMUS:White", 0x808080, 0xFFFFFF, 0xFFFFFF, 0x969595},
    {"LMUS:Cyan", 0x1F736F, 0x3FAEAE, 0xB3EBEB, 0x315352},
    {"LMUS:Black", 0x161616, 0x1E1E1E, 0x191920, 0x777777},
    {"LMUS:Navy", 0x3C5163, 0x4F708A, 0xD1C4AF, 0x2F4556},
    {"LMUS:Gray Soft", 0x4B4B4B, 0x878787, 0xD0D0D0, 0x777777},
    {"LMUS:Beige Soft", 0x777357, 0xF6EDCE, 0xFFF8D8, 0xA5A688},
    {"LMUS:Femme Pink", 0xDAA0A0, 0xF9BABA, 0xEDD1D1, 0x846363},
};

/// What is drawn on what, besides "<Name>Text<State>" on "<Name><State>".
struct PairRow {
    const char* mark;
    const char* ground;
    double ratio; // 4.5 for text, 3 for parts of controls
};
constexpr PairRow kPairs[] = {
    {"RulerText", "Panel", 4.5},
    {"RulerText_Hover", "Panel", 4.5},
    {"CheckboxText", "Panel", 4.5},
    {"SelectionText", "ButtonAB", 4.5},
    {"MultiChangeText_Active", "MultiChange", 4.5},
    {"Custom1Text", "Panel", 4.5},
    {"Custom4Text_Active", "Panel", 4.5},
    {"Custom9Text", "Panel", 4.5},
    {"Checkbox_Active", "Checkbox", 3.0},
    {"EditBox_Cursor", "EditBox", 3.0},
    {"HIDIcon", "HintPanel", 3.0},
    {"ListItemMarker", "Popup", 3.0},
    {"ScrollerButton", "Panel", 3.0},
    {"ScrollerBarNeutral", "ScrollerBarNeutralBG", 3.0},
    {"ScrollerBarNeutral_Hilite", "ScrollerBarNeutralBG", 3.0},
    {"CSPoint", "CSBackground", 3.0},
    {"CSPointMod[0]", "CSBackground", 3.0},
    {"CSPointMod[6]", "CSBackground", 3.0},
    {"CSCurve", "CSBackground", 3.0},
    {"CSSelectLine", "CSBackground", 3.0},
    {"CSSliderBar", "CSSliderBarPit", 3.0},
};

constexpr int kFullTone = 255; // ramp indices between which images fill a ground
constexpr int kDarkFill = 244;

CAudioPresetBank readBank() {
    CResourceReader file;
    CByteBuffer bytes;
    EXPECT_FALSE(file.open(LUM_PALETTE_FOLDER "/AppDataGlobal_uicolor-presets"));
    EXPECT_FALSE(file.readCompressedData(bytes, kListBlock));
    CMemoryReader reader(bytes);
    CVector<CAudioPresetBank, 1> banks;
    EXPECT_FALSE(loadBankList(reader, banks));
    EXPECT_EQ(banks.size(), 1u);
    return banks.empty() ? CAudioPresetBank() : banks[0];
}

/// The item of an entry, behind the full name of its parameter.
CAudioParamStorage readEntry(const CAudioPreset& preset, const char* key, ParamDataType type) {
    CAudioParamStorage storage;
    CAudioParamFormat format;
    format.dataType = type;
    storage.setFormat(format);
    const CByteBuffer* entry = preset.findEntry(key);
    EXPECT_TRUE(entry) << key;
    if (!entry) return storage;
    CMemoryReader reader(*entry);
    CString name;
    EXPECT_FALSE(reader.readString(name));
    EXPECT_EQ(name.toUtf8(), std::string("audio.modMain.uicolor-params.") + key);
    EXPECT_FALSE(storage.load(reader));
    return storage;
}

Palette parseBlob(const CByteBuffer& blob) {
    Palette palette;
    CMemoryReader reader(blob);
    uint32_t version = 0;
    EXPECT_FALSE(reader.readValue(version));
    EXPECT_EQ(version, 1u);
    for (CString name; !reader.readString(name) && !name.empty();) {
        Record record;
        EXPECT_FALSE(reader.read(&record, sizeof(double) * 3 + sizeof record.tones));
        palette[name.toUtf8()] = record;
    }
    return palette;
}

Palette readPalette(const CAudioPreset& preset) {
    return parseBlob(readEntry(preset, "palette", ParamDataType::Raw).readRaw(0, 0));
}

CByteBuffer readRecord(const char* name, uint32_t id) {
    CResourceReader file;
    CByteBuffer bytes;
    EXPECT_FALSE(file.open(CString(LUM_PALETTE_FOLDER "/") + name));
    EXPECT_FALSE(file.readCompressedData(bytes, id));
    return bytes;
}

// Web Content Accessibility Guidelines 2.1, "relative luminance".
double luminance(const Record& record, int index) {
    CColor ramp;
    ramp.compute(record.tones[0], record.contrast, 1.0, record.brightness);
    const uint8_t* entry = ramp.getTable()->entries[index];
    double parts[3];
    for (int i = 0; i < 3; i++) {
        const double v = entry[i] / 255.0;
        parts[i] = v <= 0.03928 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
    }
    return 0.0722 * parts[0] + 0.7152 * parts[1] + 0.2126 * parts[2];
}

double ratioOf(const Palette& palette, const std::string& mark, const std::string& ground) {
    const double front = luminance(palette.at(mark), kFullTone);
    double least = 21.0;
    for (const int index : {kDarkFill, kFullTone}) {
        const double back = luminance(palette.at(ground), index);
        least = std::min(least, (std::max(front, back) + 0.05) / (std::min(front, back) + 0.05));
    }
    return least;
}

/// "ButtonText_Active" gives "Button_Active"; empty for a colour that is no text.
std::string groundOf(const std::string& name) {
    const size_t at = name.find("Text");
    const bool isText =
        at != std::string::npos && at > 0 && (at + 4 == name.size() || name[at + 4] == '_');
    return isText ? name.substr(0, at) + name.substr(at + 4) : std::string();
}

TEST(PaletteContrast, bankHasItsPresetsWithTheirTones) {
    const CAudioPresetBank bank = readBank();
    ASSERT_EQ(bank.presets.size(), std::size(kPresets));
    EXPECT_TRUE(bank.name.empty());
    const Palette first = readPalette(bank.presets[0]);
    for (size_t i = 0; i < std::size(kPresets); i++) {
        const PresetRow& row = kPresets[i];
        const CAudioPreset& preset = bank.presets[i];
        EXPECT_EQ(preset.name.toUtf8(), row.name);
        EXPECT_EQ(readEntry(preset, "mode-name", ParamDataType::String).readString(0, 0).toUtf8(),
                  "User");
        Palette palette = readPalette(preset);
        EXPECT_EQ(palette["Background"].tones[0], row.background) << row.name;
        EXPECT_EQ(palette["Panel"].tones[0], row.panel) << row.name;
        EXPECT_EQ(palette["Button"].tones[0], row.button) << row.name;
        EXPECT_EQ(palette["CSBackground"].tones[0], row.surface) << row.name;
        EXPECT_EQ(palette.size(), first.size()) << row.name;
        for (const auto& [name, record] : first) EXPECT_TRUE(palette.count(name)) << name;
    }
}

TEST(PaletteContrast, textsAndMarksStandOutInEveryPreset) {
    double leastText = 21.0;
    double leastMark = 21.0;
    for (const CAudioPreset& preset : readBank().presets) {
        const Palette palette = readPalette(preset);
        const std::string place = preset.name.toUtf8() + " ";
        for (const auto& [name, record] : palette) {
            const std::string ground = groundOf(name);
            // What is switched off may be faint, and the selected side of A/B has a ground of its
            // own.
            if (!palette.count(ground) || ground == "Disabled" || ground == "Selection") continue;
            if (record.opacity < 1.0 || palette.at(ground).opacity < 1.0) continue;
            if (ground.rfind("Checkbox", 0) == 0 || ground == "Ruler") continue; // beside it
            const double ratio = ratioOf(palette, name, ground);
            EXPECT_GE(ratio, 4.5) << place << name;
            leastText = std::min(leastText, ratio);
        }
        for (const PairRow& row : kPairs) {
            const double ratio = ratioOf(palette, row.mark, row.ground);
            EXPECT_GE(ratio, row.ratio) << place << row.mark << " on " << row.ground;
            (row.ratio < 4.5 ? leastMark : leastText) =
                std::min(row.ratio < 4.5 ? leastMark : leastText, ratio);
        }
    }
    std::printf("least contrast: text %.2f, marks %.2f\n", leastText, leastMark);
}

TEST(PaletteContrast, aNewUserStartsWithTheFirstPreset) {
    const CByteBuffer name = readRecord("AppDataLocal_uicolor-name", kStringBlock);
    CMemoryReader reader(name);
    CString text;
    EXPECT_FALSE(reader.readString(text));
    EXPECT_EQ(text.toUtf8(), "Gray");
    const CByteBuffer blob = readRecord("AppDataLocal_uicolor-palette", kDataBlock);
    const CByteBuffer first =
        readEntry(readBank().presets[0], "palette", ParamDataType::Raw).readRaw(0, 0);
    ASSERT_EQ(blob.size(), first.size());
    EXPECT_EQ(std::memcmp(blob.data(), first.data(), blob.size()), 0);
}

} // namespace
