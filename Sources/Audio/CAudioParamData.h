#pragma once

#include "Core/CStream.h"

#include <memory>

namespace lum {

/// Codes of data types, in files and on the wire.
enum class ParamDataType : int32_t { Float = 0, String = 1, Raw = 2 };

constexpr int32_t kDefinitionGroup = 9999; // a change of this group replaces format and defaults

/// Rounds to the nearest integer, halves away from zero: ids, enumerations and indices.
int32_t roundToInt(double value) noexcept;

/// A value that is no number.
class CAudioParamDataItem : public virtual CCheckedObject, public CLumMemAllocator {
public:
    virtual std::unique_ptr<CAudioParamDataItem> clone() const = 0;
    virtual CErrorResult save(COutputStream& stream) const = 0;
    virtual CErrorResult load(CInputStream& stream) = 0;
    virtual ParamDataType typeCode() const = 0;
};

class CAudioParamDataItemString : public CAudioParamDataItem {
public:
    std::unique_ptr<CAudioParamDataItem> clone() const override;
    CErrorResult save(COutputStream& stream) const override;
    CErrorResult load(CInputStream& stream) override; // a single blank reads as the empty string
    ParamDataType typeCode() const override { return ParamDataType::String; }
    CString text;
};

class CAudioParamDataItemRaw : public CAudioParamDataItem {
public:
    std::unique_ptr<CAudioParamDataItem> clone() const override;
    CErrorResult save(COutputStream& stream) const override;
    CErrorResult load(CInputStream& stream) override;
    ParamDataType typeCode() const override { return ParamDataType::Raw; }
    CByteBuffer bytes;
};

/// The data table of a storage: items by id. Ids start at 1 and have no meaning outside the table.
class CAudioParamData : public CLumMemAllocator {
public:
    CAudioParamData() = default;
    CAudioParamData(const CAudioParamData& other) { *this = other; }
    CAudioParamData& operator=(const CAudioParamData& other); // keeps the ids

    int32_t addString(const CString& text);
    int32_t addRaw(const void* bytes, size_t count);
    int32_t addEmptyRaw() { return addRaw(nullptr, 0); }
    /// Adds a copy of the item that `id` has in another table; an empty string item when it has none.
    int32_t addCopy(const CAudioParamData& other, int32_t id);
    void remove(int32_t id);
    void clear();
    CString getString(int32_t id) const;     // empty for another kind or no item
    CByteBuffer getRaw(int32_t id) const;    // likewise
    size_t size() const { return items.size(); }

    CErrorResult save(COutputStream& stream) const;
    CErrorResult load(CInputStream& stream);

private:
    int32_t lastId = 0;
    CMap<int32_t, std::unique_ptr<CAudioParamDataItem>> items;
};

} // namespace lum
