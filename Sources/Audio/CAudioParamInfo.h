#pragma once

#include "Audio/CAudioParamStorage.h"

namespace lum {

class CAudioParamConverter;
class CObject;

/// The parsed form of a parameter's definition. It also travels over the parameter interface, so it
/// stands without the tree. Read-only once it is filled, and then for any thread.
class CAudioParamInfo {
public:
    CAudioParamFormat format;
    bool isGlobal = false; // storable or persistent, or declared so
    bool isStorable = false;
    bool isPersistent = false;
    CString visualName;
    CString fullName; // of the definition, such as "audio.modMain.modSorrelGEQ.gains"
    CString paramRegistryName;
    CVector<CString, 1> converterNames;                 // one per sub-value
    CVector<const CAudioParamConverter*, 1> converters; // resolved; not serialised
    CVector<double, 1> minValues;                       // internal value domain
    CVector<double, 1> maxValues;
    CVector<CString> stateNames;
    CVector<CString> stateShortNames; // at most 7 characters
    CVector<double> switchValues;
    CVector<CString> switchNames; // as many as values
    CAudioParamStorage defaults;

    /// Resolves converterNames in the shared tree.
    CErrorResult parseConverterNames();
    CErrorResult parseMinMaxValues(const CString& minTexts, const CString& maxTexts);
    /// Takes "name|short;name|short", or the preset names of a stored list: "@list" of the local
    /// data store, "@/list" of the global one. Reads the store; control threads.
    CErrorResult parseStateNames(const CString& text);
    void parseSwitches(const CString& valueTexts, const CString& nameTexts);
    /// Limits a value to the unordered pair of minimum and maximum; a NaN gives the lower of them.
    double clamp(int subValue, double value) const noexcept;
    const CAudioParamConverter* converter() const {
        return converters.empty() ? nullptr : converters[0];
    }
    /// Only the first switch entry is consulted.
    bool findSwitchValue(const CString& name, double& out) const;
    /// The first switch's name when the value lies within the larger of 0.005 and 0.005 times the
    /// switch value of it.
    bool findSwitchName(double value, CString& out) const;
    bool isSameAs(const CAudioParamInfo& other) const; // full name and format

    CErrorResult save(COutputStream& stream) const;
    /// Fills an empty info from a stream and resolves the converters in the shared tree. Error: the
    /// stream's, another version, counts that the stream cannot hold, unknown converters.
    CErrorResult load(CInputStream& stream);

private:
    CErrorResult parseLimits(CVector<double, 1>& out, const CString& texts, const char* message);
    CErrorResult loadStateList(const CString& name);
    CErrorResult loadFormat(CInputStream& stream);
    CErrorResult loadConverters(CInputStream& stream);
    CErrorResult loadNames(CInputStream& stream);
};

/// First characters of a name, as many as a short name has (7).
CString toShortName(const CString& name);
/// Splits "name|short;name|short" and appends to both lists.
void splitStateNames(const CString& text, CVector<CString>& names, CVector<CString>& shortNames);

} // namespace lum
