#pragma once

#include "Audio/CAudioParamStorage.h"

namespace lum {

class CAudioParamConverter;
class CObject;

/// The parsed form of a parameter's definition. It also travels over the parameter interface, so it
/// stands without the tree. Read-only once it is filled.
class CAudioParamInfo {
public:
    CAudioParamFormat format;
    bool isGlobal = false; // storable or persistent, or declared so
    bool isStorable = false;
    bool isPersistent = false;
    CString visualName;
    CString fullName; // of the definition, such as "audio.modMain.modSorrelGEQ.gains"
    CString paramRegistryName;
    CVector<CString, 1> converterNames;                // one per sub-value
    CVector<const CAudioParamConverter*, 1> converters; // resolved; not serialised
    CVector<double, 1> minValues;                      // internal value domain
    CVector<double, 1> maxValues;
    CVector<CString> stateNames;
    CVector<CString> stateShortNames; // at most 7 characters
    CVector<double> switchValues;
    CVector<CString> switchNames; // as many as values
    CAudioParamStorage defaults;

    /// Resolves converterNames in the shared tree.
    CErrorResult parseConverterNames();
    CErrorResult parseMinMaxValues(const CString& minTexts, const CString& maxTexts);
    CErrorResult parseStateNames(const CString& text);
    void parseSwitches(const CString& valueTexts, const CString& nameTexts);
    /// Limits a value to the unordered pair of minimum and maximum.
    double clamp(int subValue, double value) const noexcept;
    const CAudioParamConverter* converter() const { return converters.empty() ? nullptr : converters[0]; }
    /// Only the first switch entry is consulted.
    bool findSwitchValue(const CString& name, double& out) const;
    bool findSwitchName(double value, CString& out) const;
    bool isSameAs(const CAudioParamInfo& other) const; // full name and format

    CErrorResult save(COutputStream& stream) const;
    CErrorResult load(CInputStream& stream);
};

} // namespace lum
