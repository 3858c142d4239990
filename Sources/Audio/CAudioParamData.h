#pragma once

#include "Core/CStream.h"
#include "Core/Realtime.h"

#include <atomic>
#include <memory>

namespace lum {

/// Codes of data types, in files and on the wire.
enum class ParamDataType : int32_t { Float = 0, String = 1, Raw = 2 };

constexpr int32_t kDefinitionGroup = 9999;    // a change of this group replaces format and defaults
constexpr int32_t kLargestItemId = 8388608;   // 2^23, the upper clamp limit of ids
constexpr int64_t kLargestRawItem = 16 << 20; // bytes a stream may declare for one raw item

/// Rounds to the nearest integer, halves away from zero: ids, enumerations and indices. Values
/// beyond the 31-bit range are limited, a NaN gives 0.
int32_t roundToInt(double value) noexcept;

/// Equality of values: the difference is at most 2^-52 times the sum of the magnitudes.
bool isEqualReal(double a, double b) noexcept;

class CDataItemRef;

/// A value that is no number. It never changes once it is in a table, so tables share it by
/// reference: a copy on its way to the audio thread costs a counter.
///
/// The last reference may drop on the audio thread. A small item then goes back to the pool; one
/// whose content lies outside the pool goes to a lock-free list instead, and a control thread frees
/// it with freeRetired when it next queues a change or reads a table.
class CAudioParamDataItem : public virtual CCheckedObject, public CLumMemAllocator {
public:
    virtual CDataItemRef clone() const = 0;
    virtual CErrorResult save(COutputStream& stream) const = 0;
    virtual CErrorResult load(CInputStream& stream) = 0;
    virtual ParamDataType typeCode() const = 0;

    /// Frees the large items that were dropped. Control threads.
    static void freeRetired();

protected:
    /// True when the content is one block of the system's, not of the pool.
    virtual bool isLarge() const = 0;

private:
    friend class CDataItemRef;
    void dropReference() noexcept LUM_REALTIME;

    std::atomic<int32_t> references{0};
    CAudioParamDataItem* nextRetired = nullptr;
};

/// Shares an item. Any thread, one thread a reference.
class CDataItemRef {
public:
    CDataItemRef() noexcept = default;
    explicit CDataItemRef(CAudioParamDataItem* target) noexcept : item(target) {
        if (item) item->references.fetch_add(1, std::memory_order_relaxed);
    }
    CDataItemRef(const CDataItemRef& other) noexcept : CDataItemRef(other.item) {}
    CDataItemRef(CDataItemRef&& other) noexcept : item(std::exchange(other.item, nullptr)) {}
    CDataItemRef& operator=(CDataItemRef other) noexcept {
        std::swap(item, other.item);
        return *this;
    }
    ~CDataItemRef() {
        if (item) item->dropReference();
    }
    CAudioParamDataItem* get() const noexcept { return item; }
    CAudioParamDataItem* operator->() const noexcept { return item; }
    explicit operator bool() const noexcept { return item != nullptr; }

private:
    CAudioParamDataItem* item = nullptr;
};

class CAudioParamDataItemString : public CAudioParamDataItem {
public:
    CAudioParamDataItemString() = default;
    explicit CAudioParamDataItemString(const CString& value) : text(value) {}
    CDataItemRef clone() const override;
    CErrorResult save(COutputStream& stream) const override;
    CErrorResult load(CInputStream& stream) override; // a single blank reads as the empty string
    ParamDataType typeCode() const override { return ParamDataType::String; }
    CString text;

protected:
    bool isLarge() const override;
};

class CAudioParamDataItemRaw : public CAudioParamDataItem {
public:
    CAudioParamDataItemRaw() = default;
    CAudioParamDataItemRaw(const void* source, size_t count) : bytes(source, count) {}
    CDataItemRef clone() const override;
    CErrorResult save(COutputStream& stream) const override;
    CErrorResult load(CInputStream& stream) override;
    ParamDataType typeCode() const override { return ParamDataType::Raw; }
    CByteBuffer bytes;

protected:
    bool isLarge() const override;
};

/// The data table of a storage: items by id. Ids start at 1, 0 stands for no item, and they have no
/// meaning outside the table. A copy keeps the ids and shares the items. No lock of its own.
class CAudioParamData : public CLumMemAllocator {
public:
    int32_t addString(const CString& text);
    int32_t addRaw(const void* bytes, size_t count);
    int32_t addEmptyRaw() { return addRaw(nullptr, 0); }
    /// Adds what `id` means in another table, under a new id; 0 when it means nothing there.
    int32_t addCopy(const CAudioParamData& other, int32_t id);
    /// The same, taken out of the other table: needs no memory.
    int32_t adopt(CAudioParamData& other, int32_t id) LUM_REALTIME;
    void remove(int32_t id) LUM_REALTIME;
    void clear() LUM_REALTIME;
    CString getString(int32_t id) const;  // empty for another kind or no item
    CByteBuffer getRaw(int32_t id) const; // likewise
    size_t size() const { return items.size(); }

    CErrorResult save(COutputStream& stream) const;
    /// Replaces the content. Error: the stream's, an id outside 1 to 2^23, an unknown type.
    CErrorResult load(CInputStream& stream);

private:
    int32_t add(CDataItemRef item);
    void stepId() LUM_REALTIME;
    CErrorResult loadItem(CInputStream& stream);

    int32_t lastId = 0;
    CMap<int32_t, CDataItemRef> items;
};

} // namespace lum
