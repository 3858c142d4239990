#include "Audio/Converters/CAudioParamConverterEnum.h"

namespace lum {

namespace {

constexpr int kCompactLength = 3; // characters of a short name in compact texts

struct CBooleanWord {
    const char* text;
    double value;
};
constexpr CBooleanWord kBooleanWords[] = {{"false", 0.0}, {"0", 0.0}, {"true", 1.0}, {"1", 1.0}};

/// Index of a lower-case name, -1 when there is none.
int findIn(const CVector<CString>& names, const CString& text) {
    for (int i = 0; i < names.ssize(); i++)
        if (names[i].lowerCase() == text) return i;
    return -1;
}

} // namespace

CErrorResult CAudioParamConverterEnum::init() {
    LUM_TRY(CAudioParamConverterRound::init());
    isBoolean = getAttrBool("is-boolean");
    splitStateNames(getAttrString("state-names"), stateNames, stateShortNames);
    return nullptr;
}

double CAudioParamConverterEnum::parseText(const CAudioParamInfo& info, int subValue,
                                           const CString& text, bool& isOk) const {
    const int base = roundToInt(info.minValues[subValue]);
    double value = base;
    isOk = parse(info, text, base, value);
    return isOk ? info.clamp(subValue, value) : base;
}

double CAudioParamConverterEnum::parseDefinition(const CAudioParamInfo& info, int,
                                                 const CString& text, bool& isOk) const {
    double value = 0.0;
    isOk = parse(info, text, 0, value);
    return value;
}

bool CAudioParamConverterEnum::parse(const CAudioParamInfo& info, const CString& text, int base,
                                     double& out) const {
    int32_t number = 0;
    if (!text.parseInt(number)) return findName(info, text, base, out);
    out = number;
    return true;
}

bool CAudioParamConverterEnum::findName(const CAudioParamInfo& info, const CString& text, int base,
                                        double& out) const {
    const CString name = text.trimmed().lowerCase();
    if (isBoolean)
        for (const CBooleanWord& word : kBooleanWords)
            if (name == word.text) {
                out = word.value;
                return true;
            }
    int index = findIn(stateNames, name);
    if (index < 0) index = findIn(info.stateNames, name);
    if (index < 0) index = findIn(stateShortNames, toShortName(name));
    if (index < 0) index = findIn(info.stateShortNames, toShortName(name));
    if (index < 0) return false;
    out = static_cast<double>(base) + index;
    return true;
}

CString CAudioParamConverterEnum::formatValue(const CAudioParamInfo& info, int subValue,
                                              double value, const CAudioParamData*,
                                              FormatMode mode) const {
    if (stateNames.empty() && info.stateNames.empty()) return CString::fromInt(roundToInt(value));
    int64_t index = int64_t{roundToInt(value)} - roundToInt(info.minValues[subValue]);
    bool isOwn = index < stateNames.ssize();
    const CVector<CString>& names = isOwn ? stateNames : info.stateNames;
    const CVector<CString>& shortNames = isOwn ? stateShortNames : info.stateShortNames;
    if (index < 0 || index >= names.ssize()) return mode == FormatMode::Compact ? "Rsv" : "Reserve";
    if (mode == FormatMode::Short) return shortNames[index];
    if (mode == FormatMode::Compact) return shortNames[index].substring(0, kCompactLength);
    return names[index];
}

} // namespace lum
