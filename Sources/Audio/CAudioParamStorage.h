#pragma once

#include "Audio/CAudioParamData.h"

namespace lum {

class CAudioParamInfo;
struct CAudioParamChange;

/// What the values of a parameter look like.
struct CAudioParamFormat {
    int32_t elementSize = 1; // sub-values per element
    ParamDataType dataType = ParamDataType::Float;
    bool isSingleGroup = false;
    bool isSingleElement = false;
    friend bool operator==(const CAudioParamFormat&, const CAudioParamFormat&) = default;
};

/// A complete set of values, by group and element, sparse and growing on demand. What was never
/// written reads as the default. No lock: its owner's thread only.
class CAudioParamStorage : public CLumMemAllocator {
public:
    const CAudioParamFormat& getFormat() const { return format; }
    void setFormat(const CAudioParamFormat& newFormat);
    bool isInitialised() const { return initialised; }
    int getGroupCount() const { return groups.ssize(); }
    /// Elements stored in a group; 0 for a group that is not there.
    int getElementCount(int group) const;
    const CAudioParamData& getData() const { return data; }

    /// The read rule: `fallback` without a format, the stored value, else defaults[element], else
    /// defaults[0].
    double read(int group, int element, double fallback = 0.0, int subValue = 0) const noexcept;
    CString readString(int group, int element) const;
    CByteBuffer readRaw(int group, int element) const;

    /// Applies a change; one of another format is dropped.
    void apply(const CAudioParamChange& change);
    void clear();
    void clampTo(const CAudioParamInfo& info);
    /// Fills values and defaults from the text of `def-values`.
    CErrorResult parseDefValues(const CAudioParamInfo& info, const CString& text);

    /// Stream form; group -1 saves all groups.
    CErrorResult save(COutputStream& stream, int group = -1) const;
    CErrorResult load(CInputStream& stream);

    CAudioParamStorage() = default;
    CAudioParamStorage(const CAudioParamStorage&) = default;
    CAudioParamStorage& operator=(const CAudioParamStorage&) = default;

private:
    friend struct CAudioParamChange;
    using CValues = CVector<double, 16>;

    CAudioParamFormat format;
    CAudioParamData data;
    CVector<CValues, 1> groups; // [groupCount][elementCount * elementSize]
    bool initialised = false;
    CValues defaults; // group 0 of the definition
};

/// One change of a parameter: the unit on the audio queue, in undo and on the parameter interface.
struct CAudioParamChange : public CLumMemAllocator {
    int32_t group = 0; // or kDefinitionGroup
    int32_t firstElement = 0;
    int32_t elementCount = 0;
    bool isTruncating = false; // the group then ends at firstElement + elementCount
    const void* originator = nullptr; // who made it; not serialised
    CAudioParamFormat format;
    CVector<double, 16> values;            // [elementCount * elementSize], or ids into `data`
    std::unique_ptr<CAudioParamData> data; // null for float

    CAudioParamChange() = default;
    CAudioParamChange(CAudioParamChange&&) = default;
    CAudioParamChange& operator=(CAudioParamChange&&) = default;
    CAudioParamChange clone() const;
    /// A float change of elements from `first` on.
    static CAudioParamChange ofValues(const CAudioParamFormat& format, int group, int first,
                                      const double* values, int elementCount, bool isTruncating,
                                      const void* originator);
    /// What a storage holds of a group, as a truncating change from element 0.
    static CAudioParamChange ofGroup(const CAudioParamStorage& storage, int group,
                                     const void* originator);

    CErrorResult save(COutputStream& stream) const;
    CErrorResult load(CInputStream& stream);
};

} // namespace lum
