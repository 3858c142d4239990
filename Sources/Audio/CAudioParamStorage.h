#pragma once

#include "Audio/CAudioParamData.h"

namespace lum {

class CAudioParamInfo;
struct CAudioParamChange;

/// Limits of a storage. They are far above what products use (8 groups, 64 elements) and keep every
/// array of values inside one block of the pool, so that a change from outside, whatever it
/// says, makes the audio thread neither allocate from the system nor run long. Changes beyond the
/// limits are dropped, streams beyond them fail.
constexpr int kMaxParamGroups = 32;       // a mask of groups has 32 bits
constexpr int kMaxParamGroupValues = 510; // doubles a group: elements times sub-values

/// What the values of a parameter look like.
struct CAudioParamFormat {
    int32_t elementSize = 1; // sub-values per element
    ParamDataType dataType = ParamDataType::Float;
    bool isSingleGroup = false;
    bool isSingleElement = false;
    bool isFloat() const { return dataType == ParamDataType::Float; }
    friend bool operator==(const CAudioParamFormat&, const CAudioParamFormat&) = default;
};
/// Whether there are values of such a format; what comes from outside may name any.
bool isValid(const CAudioParamFormat& format);

using CParamValues = CVector<double, 8>; // [elementCount * elementSize], numbers or ids

struct CAudioParamRoom;

/// A complete set of values, by group and element, sparse and growing on demand. What was never
/// written reads as the default. No lock: its owner's thread only. `apply` and `read` are for the
/// audio thread too.
class CAudioParamStorage : public CLumMemAllocator {
public:
    const CAudioParamFormat& getFormat() const { return format; }
    /// Clears the storage and gives it a format without values or defaults.
    void setFormat(const CAudioParamFormat& newFormat);
    bool isInitialised() const { return initialised; }
    int getGroupCount() const { return groups.ssize(); }
    /// Elements stored in a group; 0 for a group that is not there.
    int getElementCount(int group) const;
    const CAudioParamData& getData() const { return data; }

    /// The read rule: `fallback` without a format, the stored value, else defaults[element], else
    /// defaults[0].
    double read(int group, int element, double fallback = 0.0,
                int subValue = 0) const noexcept LUM_REALTIME;
    CString readString(int group, int element) const;
    CByteBuffer readRaw(int group, int element) const;

    /// Applies a change; one of another format or beyond the limits is dropped.
    void apply(const CAudioParamChange& change) LUM_REALTIME;
    /// The same for the audio thread, which takes no memory: items move over from the change, and
    /// what has to grow does so into the room that was prepared for this change.
    void take(CAudioParamChange& change, CAudioParamRoom& room) LUM_REALTIME;
    /// True when all values and defaults of two float storages are alike.
    bool readsLike(const CAudioParamStorage& other) const noexcept LUM_REALTIME;
    /// True when `apply` would take the change.
    bool accepts(const CAudioParamChange& change) const LUM_REALTIME;
    /// Back to no format at all.
    void clear() LUM_REALTIME;
    /// Limits every stored value to its range; a NaN becomes the lower limit.
    void clampTo(const CAudioParamInfo& info);
    /// Fills values and defaults from the text of `def-values`.
    CErrorResult parseDefValues(const CAudioParamInfo& info, const CString& text);
    /// Makes the values of group 0 the defaults.
    void adoptDefaults();

    /// Stream form; group -1 saves all groups.
    CErrorResult save(COutputStream& stream, int group = -1) const;
    /// Replaces the values and keeps format and defaults; a failure keeps what was read so far.
    /// Error: the stream's; another version, element size or data type; counts beyond the limits or
    /// beyond the bytes that are left.
    CErrorResult load(CInputStream& stream);

private:
    friend struct CAudioParamChange;

    bool fits(const CAudioParamChange& change) const;
    void startDefinition(const CAudioParamChange& change);
    CParamValues& writableGroup(const CAudioParamChange& change);
    void extendWithDefaults(CParamValues& values, size_t valueCount);
    void removeItems(const CParamValues& values, size_t first, size_t end);
    double copyOfDefault(size_t index);
    void dropGroups();
    CErrorResult saveItemGroups(COutputStream& stream, int first, int count) const;
    CErrorResult loadGroup(CInputStream& stream, const CAudioParamData* table);
    CErrorResult addDefault(const CAudioParamInfo& info, const CString& token, int group,
                            int element, int subValue);

    CAudioParamFormat format;
    CAudioParamData data;
    CVector<CParamValues, 1> groups; // [groupCount]
    bool initialised = false;
    CParamValues defaults; // group 0 of the definition; ids are in `data`
};

/// Memory for the growth of a storage by one change, taken by the thread that makes the change.
/// What the storage leaves behind goes with it. See CAudioParamStorage::take.
struct CAudioParamRoom {
    void prepare(const CAudioParamChange& change);
    CParamValues values;
    CParamValues defaults;
    CVector<CParamValues, 1> groups;
};

/// One change of a parameter: the unit on the audio queue, in undo and on the parameter interface.
struct CAudioParamChange : public CLumMemAllocator {
    int32_t group = 0; // or kDefinitionGroup
    int32_t firstElement = 0;
    int32_t elementCount = 0;
    bool isTruncating = false;        // the group then ends at firstElement + elementCount
    const void* originator = nullptr; // who made it; not serialised
    CAudioParamFormat format;
    CVector<double, 16> values;            // [elementCount * elementSize], or ids into `data`
    std::unique_ptr<CAudioParamData> data; // null for float

    CAudioParamChange() = default;
    CAudioParamChange(CAudioParamChange&&) = default;
    CAudioParamChange& operator=(CAudioParamChange&&) = default;
    CAudioParamChange clone() const;
    /// Gives each value an item of its own, and drops those that no value means.
    void separateItems();
    /// A float change of elements from `first` on.
    static CAudioParamChange ofValues(const CAudioParamFormat& format, int group, int first,
                                      const double* values, int elementCount, bool isTruncating,
                                      const void* originator);
    /// What a storage holds of a group, as a truncating change from element 0.
    static CAudioParamChange ofGroup(const CAudioParamStorage& storage, int group,
                                     const void* originator);
    /// Elements first to first + count of a group by the read rule; not truncating.
    static CAudioParamChange ofElements(const CAudioParamStorage& storage, int group, int first,
                                        int count, const void* originator);
    /// The defaults of a storage, as the truncating change that makes another storage like it.
    static CAudioParamChange ofDefaults(const CAudioParamStorage& storage, const void* originator);
    /// Adds a value that stands in another change or storage; items get a new id.
    void append(double value, const CAudioParamData* table);
    int32_t end() const { return firstElement + elementCount; }

    CErrorResult save(COutputStream& stream) const;
    /// Error: the stream's; counts beyond the limits or beyond the bytes that are left.
    CErrorResult load(CInputStream& stream);

private:
    CErrorResult checkCounts(CInputStream& stream) const;
};

} // namespace lum
