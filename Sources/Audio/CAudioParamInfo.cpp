#include "Audio/CAudioParamInfo.h"

#include "Audio/CAudioParamConverter.h"
#include "Audio/CAudioPreset.h"
#include "Core/CAppData.h"
#include "Core/CMemoryReader.h"

#include <algorithm>
#include <cmath>

namespace lum {

namespace {

constexpr uint32_t kInfoVersion = 1;
constexpr int kShortNameLength = 7;
constexpr double kSwitchTolerance = 0.005; // absolute, and relative to the switch value
constexpr int64_t kShortestState = 8;      // bytes of two empty strings
constexpr int64_t kShortestSwitch = 12;    // bytes of a number and an empty string
constexpr int64_t kShortestBank = 8;       // bytes of an empty name and a preset count
constexpr int64_t kMostItems = 16384;      // of one kind in a stream, however short they are

CErrorResult readCount(CInputStream& stream, uint32_t& count, int64_t shortestItem) {
    LUM_TRY(stream.readValue(count));
    int64_t left = stream.bytesLeft();
    if (count > kMostItems || (left >= 0 && count > left / shortestItem))
        return LUM_FAIL("@lumstr_CAudioParamInfo_load_Count Invalid item count %1 encountered.",
                        count);
    return nullptr;
}

CErrorResult readFlag(CInputStream& stream, bool& flag) {
    uint32_t number = 0;
    LUM_TRY(stream.readValue(number));
    flag = number != 0;
    return nullptr;
}

CErrorResult writeFlag(COutputStream& stream, bool flag) {
    return stream.writeValue(static_cast<uint32_t>(flag));
}

/// Reads the first bank of a list payload; no bank gives one without presets.
CErrorResult readFirstBank(CInputStream& stream, CAudioPresetBank& out) {
    uint32_t banks = 0;
    LUM_TRY(readCount(stream, banks, kShortestBank));
    if (banks > 0) LUM_TRY(out.load(stream));
    return nullptr;
}

} // namespace

CString toShortName(const CString& name) {
    return name.substring(0, kShortNameLength);
}

void splitStateNames(const CString& text, CVector<CString>& names, CVector<CString>& shortNames) {
    if (text.empty()) return;
    CVector<CString> items;
    text.split(items, u';', false);
    for (const CString& item : items) {
        CVector<CString> parts;
        item.split(parts, u'|', false);
        CString name = parts.empty() ? CString() : parts[0].trimmed();
        names.push_back(name);
        shortNames.push_back(toShortName(parts.size() > 1 ? parts[1].trimmed() : name));
    }
}

// Definition texts

CErrorResult CAudioParamInfo::parseConverterNames() {
    converters.clear();
    CObject* root = CObject::sharedRoot();
    for (int i = 0; i < std::min(converterNames.ssize(), format.elementSize); i++) {
        const CString& name = converterNames[i];
        auto* found = root && !name.empty() ? root->findAs<CAudioParamConverter>(name) : nullptr;
        if (!found)
            return LUM_FAIL("@lumstr_CAudioParamInfo_parseConverterNames_NotFound Audio parameter "
                            "converter '%1' not found.",
                            name);
        converters.push_back(found);
    }
    if (converters.ssize() < format.elementSize)
        return LUM_FAIL("@lumstr_CAudioParamInfo_parseConverterNames_NotEnough Not enough "
                        "converters defined %1 (should be %2).",
                        converters.ssize(), format.elementSize);
    return nullptr;
}

CErrorResult CAudioParamInfo::parseMinMaxValues(const CString& minTexts, const CString& maxTexts) {
    minValues.clear();
    maxValues.clear();
    if (!format.isFloat()) {
        minValues.resize(static_cast<size_t>(format.elementSize), 0.0);
        maxValues.resize(static_cast<size_t>(format.elementSize), double{kLargestItemId});
        return nullptr;
    }
    LUM_TRY(parseLimits(minValues, minTexts,
                        "@lumstr_CAudioParamInfo_parseMinMaxValues_NotEnoughMin Not enough "
                        "minimum values defined %1 (should be %2)."));
    LUM_TRY(parseLimits(maxValues, maxTexts,
                        "@lumstr_CAudioParamInfo_parseMinMaxValues_NotEnoughMax Not enough "
                        "maximum values defined %1 (should be %2)."));
    for (int i = 0; i < format.elementSize; i++)
        if (isEqualReal(minValues[i], maxValues[i]))
            return LUM_FAIL("@lumstr_CAudioParamInfo_parseMinMaxValues_Zero Zero default min-max "
                            "values difference detected in element %1.",
                            i);
    return nullptr;
}

CErrorResult CAudioParamInfo::parseLimits(CVector<double, 1>& out, const CString& texts,
                                          const char* message) {
    CVector<CString> tokens;
    texts.split(tokens, u' ', true);
    if (tokens.ssize() < format.elementSize)
        return LUM_FAIL(message, tokens.ssize(), format.elementSize);
    for (int i = 0; i < format.elementSize; i++) {
        bool isOk = false;
        out.push_back(converters[i]->parseDefinition(*this, i, tokens[i], isOk));
    }
    return nullptr;
}

CErrorResult CAudioParamInfo::parseStateNames(const CString& text) {
    stateNames.clear();
    stateShortNames.clear();
    if (text.startsWith("@")) return loadStateList(text.substring(1));
    splitStateNames(text, stateNames, stateShortNames);
    return nullptr;
}

CErrorResult CAudioParamInfo::loadStateList(const CString& name) {
    bool isGlobalStore = name.startsWith("/");
    CAppData& store = isGlobalStore ? static_cast<CAppData&>(CAppDataGlobal::get())
                                    : static_cast<CAppData&>(CAppDataLocal::get());
    CString record = isGlobalStore ? name.substring(1) : name;
    CByteBuffer bytes;
    store.read(record, bytes, kListBlock);
    if (bytes.empty())
        return LUM_FAIL("@lumstr_CAudioParamInfo_parseStateNames_NoData No state names data "
                        "available in '%1'.",
                        record);
    CMemoryReader reader(bytes);
    CAudioPresetBank bank;
    LUM_TRY(readFirstBank(reader, bank));
    for (const CAudioPreset& preset : bank.presets) {
        CVector<CString> parts; // name;short name
        CAudioPreset::nameOf(preset.name).split(parts, u';', false);
        stateNames.push_back(parts.empty() ? CString() : parts[0]);
        stateShortNames.push_back(toShortName(parts.size() > 1 ? parts[1] : stateNames.back()));
    }
    return nullptr;
}

void CAudioParamInfo::parseSwitches(const CString& valueTexts, const CString& nameTexts) {
    switchValues.clear();
    switchNames.clear();
    if (valueTexts.empty()) return;
    CVector<CString> parts;
    valueTexts.split(parts, u',', false);
    for (const CString& part : parts) {
        double value = 0.0;
        if (!part.parseReal(value)) {
            switchValues.clear();
            return;
        }
        switchValues.push_back(value);
    }
    if (!nameTexts.empty()) nameTexts.split(switchNames, u',', false);
    switchNames.resize(switchValues.size());
}

// Queries

double CAudioParamInfo::clamp(int subValue, double value) const noexcept {
    if (subValue < 0 || subValue >= minValues.ssize() || subValue >= maxValues.ssize())
        return value;
    double low = std::min(minValues[subValue], maxValues[subValue]);
    double high = std::max(minValues[subValue], maxValues[subValue]);
    return value >= low ? std::min(value, high) : low;
}

bool CAudioParamInfo::findSwitchValue(const CString& name, double& out) const {
    if (switchValues.empty() || name != switchNames[0]) return false;
    out = switchValues[0];
    return true;
}

bool CAudioParamInfo::findSwitchName(double value, CString& out) const {
    if (switchValues.empty()) return false;
    double tolerance = std::max(kSwitchTolerance, switchValues[0] * kSwitchTolerance);
    if (!(std::fabs(value - switchValues[0]) <= tolerance)) return false;
    out = switchNames[0];
    return true;
}

bool CAudioParamInfo::isSameAs(const CAudioParamInfo& other) const {
    return this == &other || (format == other.format && fullName == other.fullName);
}

// Stream form

CErrorResult CAudioParamInfo::save(COutputStream& stream) const {
    LUM_TRY(stream.writeValue(kInfoVersion));
    for (bool flag : {isGlobal, isStorable, isPersistent}) LUM_TRY(writeFlag(stream, flag));
    for (const CString* text : {&visualName, &fullName, &paramRegistryName})
        LUM_TRY(stream.writeString(*text));
    LUM_TRY(stream.writeValue(static_cast<uint32_t>(format.elementSize)));
    LUM_TRY(stream.writeValue(static_cast<uint32_t>(format.dataType)));
    LUM_TRY(writeFlag(stream, format.isSingleGroup));
    LUM_TRY(writeFlag(stream, format.isSingleElement));
    for (const CString& name : converterNames) LUM_TRY(stream.writeString(name));
    for (double value : minValues) LUM_TRY(stream.writeValue(value));
    for (double value : maxValues) LUM_TRY(stream.writeValue(value));
    LUM_TRY(stream.writeValue(static_cast<uint32_t>(stateNames.size())));
    for (int i = 0; i < stateNames.ssize(); i++) {
        LUM_TRY(stream.writeString(stateNames[i]));
        LUM_TRY(stream.writeString(stateShortNames[i]));
    }
    LUM_TRY(stream.writeValue(static_cast<uint32_t>(switchValues.size())));
    for (int i = 0; i < switchValues.ssize(); i++) {
        LUM_TRY(stream.writeValue(switchValues[i]));
        LUM_TRY(stream.writeString(switchNames[i]));
    }
    return defaults.save(stream);
}

CErrorResult CAudioParamInfo::load(CInputStream& stream) {
    *this = CAudioParamInfo();
    uint32_t version = 0;
    LUM_TRY(stream.readValue(version));
    if (version != kInfoVersion)
        return LUM_FAIL("@lumstr_CAudioParamInfo_load_Version Unsupported data set version %1.",
                        version);
    for (bool* flag : {&isGlobal, &isStorable, &isPersistent}) LUM_TRY(readFlag(stream, *flag));
    for (CString* text : {&visualName, &fullName, &paramRegistryName})
        LUM_TRY(stream.readString(*text));
    LUM_TRY(loadFormat(stream));
    LUM_TRY(loadConverters(stream));
    LUM_TRY(loadNames(stream));
    defaults.setFormat(format);
    LUM_TRY(defaults.load(stream));
    defaults.adoptDefaults();
    return nullptr;
}

CErrorResult CAudioParamInfo::loadFormat(CInputStream& stream) {
    uint32_t elementSize = 0, dataType = 0;
    LUM_TRY(stream.readValue(elementSize));
    LUM_TRY(stream.readValue(dataType));
    bool isKnown = dataType <= static_cast<uint32_t>(ParamDataType::Raw);
    uint32_t largest = dataType == 0 ? static_cast<uint32_t>(kMaxParamGroupValues) : 1;
    if (!isKnown || elementSize < 1 || elementSize > largest)
        return LUM_FAIL("@lumstr_CAudioParamInfo_load_Format Invalid parameter format encountered "
                        "(esize=%1, dtype=%2).",
                        elementSize, dataType);
    format.elementSize = static_cast<int32_t>(elementSize);
    format.dataType = static_cast<ParamDataType>(dataType);
    LUM_TRY(readFlag(stream, format.isSingleGroup));
    return readFlag(stream, format.isSingleElement);
}

CErrorResult CAudioParamInfo::loadConverters(CInputStream& stream) {
    const size_t size = static_cast<size_t>(format.elementSize);
    converterNames.resize(size);
    minValues.resize(size);
    maxValues.resize(size);
    for (CString& name : converterNames) LUM_TRY(stream.readString(name));
    for (double& value : minValues) LUM_TRY(stream.readValue(value));
    for (double& value : maxValues) LUM_TRY(stream.readValue(value));
    return parseConverterNames();
}

CErrorResult CAudioParamInfo::loadNames(CInputStream& stream) {
    uint32_t count = 0;
    LUM_TRY(readCount(stream, count, kShortestState));
    for (uint32_t i = 0; i < count; i++) {
        LUM_TRY(stream.readString(stateNames.emplace_back()));
        LUM_TRY(stream.readString(stateShortNames.emplace_back()));
    }
    LUM_TRY(readCount(stream, count, kShortestSwitch));
    for (uint32_t i = 0; i < count; i++) {
        LUM_TRY(stream.readValue(switchValues.emplace_back()));
        LUM_TRY(stream.readString(switchNames.emplace_back()));
    }
    return nullptr;
}

} // namespace lum
