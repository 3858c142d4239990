#include "Audio/CAudioParamData.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace lum {

namespace {

constexpr int64_t kReadStep = 65536;  // bytes read at a time from a stream of unknown length
constexpr int64_t kShortestItem = 12; // bytes of an item in a stream: id, type, length
constexpr int64_t kMostItems = 16384; // more than the elements of all groups, each of which has one

std::atomic<CAudioParamDataItem*> retiredItems{nullptr};

/// Reads `count` bytes without trusting the count: memory grows with what has arrived.
CErrorResult readBytes(CInputStream& stream, CByteBuffer& out, int64_t count) {
    CByteBuffer arrived;
    for (int64_t have = 0; have < count;) {
        int64_t step = std::min(count - have, std::max(kReadStep, have));
        CByteBuffer grown;
        grown.resize(static_cast<size_t>(have + step));
        if (have > 0) std::memcpy(grown.data(), arrived.data(), static_cast<size_t>(have));
        LUM_TRY(stream.read(grown.data() + have, step));
        arrived = std::move(grown);
        have += step;
    }
    out = std::move(arrived);
    return nullptr;
}

} // namespace

int32_t roundToInt(double value) noexcept {
    if (std::isnan(value)) return 0;
    double limited = std::clamp(std::round(value), -2147483648.0, 2147483647.0);
    return static_cast<int32_t>(limited);
}

bool isEqualReal(double a, double b) noexcept {
    return std::fabs(a - b) <=
           std::numeric_limits<double>::epsilon() * (std::fabs(a) + std::fabs(b));
}

// Items

void CAudioParamDataItem::dropReference() noexcept {
    if (references.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    if (!isLarge()) {
        delete this;
        return;
    }
    nextRetired = retiredItems.load(std::memory_order_relaxed);
    while (!retiredItems.compare_exchange_weak(nextRetired, this, std::memory_order_release,
                                               std::memory_order_relaxed)) {
    }
}

void CAudioParamDataItem::freeRetired() {
    CAudioParamDataItem* item = retiredItems.exchange(nullptr, std::memory_order_acquire);
    while (item) {
        CAudioParamDataItem* next = item->nextRetired;
        delete item;
        item = next;
    }
}

CDataItemRef CAudioParamDataItemString::clone() const {
    return CDataItemRef(new CAudioParamDataItemString(text));
}

CErrorResult CAudioParamDataItemString::save(COutputStream& stream) const {
    return stream.writeString(text);
}

CErrorResult CAudioParamDataItemString::load(CInputStream& stream) {
    LUM_TRY(stream.readString(text));
    if (text == " ") text.clear();
    return nullptr;
}

bool CAudioParamDataItemString::isLarge() const {
    return text.length() * 4 > pool::kLargestBlock; // wide, with room that growth may have left
}

CDataItemRef CAudioParamDataItemRaw::clone() const {
    return CDataItemRef(new CAudioParamDataItemRaw(bytes.data(), bytes.size()));
}

CErrorResult CAudioParamDataItemRaw::save(COutputStream& stream) const {
    LUM_TRY(stream.writeValue(static_cast<uint32_t>(bytes.size())));
    return stream.write(bytes.data(), static_cast<int64_t>(bytes.size()));
}

CErrorResult CAudioParamDataItemRaw::load(CInputStream& stream) {
    uint32_t count = 0;
    LUM_TRY(stream.readValue(count));
    int64_t left = stream.bytesLeft();
    if (count > kLargestRawItem || (left >= 0 && count > left))
        return LUM_FAIL("@lumstr_CAudioParamDataItemRaw_load_InvalidSize Invalid raw data size %1 "
                        "encountered.",
                        count);
    return readBytes(stream, bytes, count);
}

bool CAudioParamDataItemRaw::isLarge() const {
    return bytes.size() > pool::kLargestBlock;
}

// Table

/// Makes lastId one that is free.
void CAudioParamData::stepId() {
    do lastId = lastId >= kLargestItemId ? 1 : lastId + 1;
    while (items.contains(lastId));
}

int32_t CAudioParamData::add(CDataItemRef item) {
    stepId();
    items.emplace(lastId, std::move(item));
    return lastId;
}

int32_t CAudioParamData::addString(const CString& text) {
    return add(CDataItemRef(new CAudioParamDataItemString(text)));
}

int32_t CAudioParamData::addRaw(const void* bytes, size_t count) {
    return add(CDataItemRef(new CAudioParamDataItemRaw(bytes, count)));
}

int32_t CAudioParamData::addCopy(const CAudioParamData& other, int32_t id) {
    auto found = other.items.find(id);
    return found == other.items.end() ? 0 : add(found->second);
}

int32_t CAudioParamData::adopt(CAudioParamData& other, int32_t id) {
    auto node = other.items.extract(id);
    if (node.empty()) return 0;
    stepId();
    node.key() = lastId;
    items.insert(std::move(node));
    return lastId;
}

void CAudioParamData::remove(int32_t id) {
    items.erase(id);
}

void CAudioParamData::clear() {
    items.clear();
}

CString CAudioParamData::getString(int32_t id) const {
    auto found = items.find(id);
    if (found == items.end()) return {};
    auto* item = dynamic_cast<const CAudioParamDataItemString*>(found->second.get());
    return item ? item->text : CString();
}

CByteBuffer CAudioParamData::getRaw(int32_t id) const {
    auto found = items.find(id);
    if (found == items.end()) return {};
    auto* item = dynamic_cast<const CAudioParamDataItemRaw*>(found->second.get());
    return item ? item->bytes : CByteBuffer();
}

CErrorResult CAudioParamData::save(COutputStream& stream) const {
    LUM_TRY(stream.writeValue(static_cast<uint32_t>(items.size())));
    for (const auto& [id, item] : items) {
        LUM_TRY(stream.writeValue(static_cast<uint32_t>(id)));
        LUM_TRY(stream.writeValue(static_cast<uint32_t>(item->typeCode())));
        LUM_TRY(item->save(stream));
    }
    return nullptr;
}

CErrorResult CAudioParamData::load(CInputStream& stream) {
    CAudioParamDataItem::freeRetired();
    clear();
    lastId = 0;
    uint32_t count = 0;
    LUM_TRY(stream.readValue(count));
    int64_t left = stream.bytesLeft();
    if (count > kMostItems || (left >= 0 && count > left / kShortestItem))
        return LUM_FAIL(
            "@lumstr_CAudioParamData_load_InvalidCount Invalid data item count %1 encountered.",
            count);
    for (uint32_t i = 0; i < count; i++) LUM_TRY(loadItem(stream));
    return nullptr;
}

CErrorResult CAudioParamData::loadItem(CInputStream& stream) {
    uint32_t id = 0;
    uint32_t type = 0;
    LUM_TRY(stream.readValue(id));
    LUM_TRY(stream.readValue(type));
    if (id < 1 || id > static_cast<uint32_t>(kLargestItemId))
        return LUM_FAIL("@lumstr_CAudioParamData_load_InvalidId Invalid data id %1 encountered.",
                        id);
    CDataItemRef item;
    if (type == static_cast<uint32_t>(ParamDataType::String))
        item = CDataItemRef(new CAudioParamDataItemString);
    else if (type == static_cast<uint32_t>(ParamDataType::Raw))
        item = CDataItemRef(new CAudioParamDataItemRaw);
    else
        return LUM_FAIL("@lumstr_CAudioParamData_load_UnknownType Unknown data type %1 encountered",
                        type);
    LUM_TRY(item->load(stream));
    items.insert_or_assign(static_cast<int32_t>(id), std::move(item));
    lastId = std::max(lastId, static_cast<int32_t>(id));
    return nullptr;
}

} // namespace lum
