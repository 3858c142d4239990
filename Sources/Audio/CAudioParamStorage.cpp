#include "Audio/CAudioParamStorage.h"

#include "Audio/CAudioParamConverter.h"

#include <algorithm>

namespace lum {

namespace {

constexpr uint32_t kStorageVersion = 1;

static_assert(kMaxParamGroupValues * sizeof(double) <= pool::kLargestBlock);
static_assert(kMaxParamGroups * sizeof(CParamValues) <= pool::kLargestBlock);

/// Whether a declared count can be: within the limit of a group and within the bytes left.
bool isPlausibleCount(CInputStream& stream, uint32_t count, const CAudioParamFormat& format) {
    int64_t numbers = static_cast<int64_t>(count) * format.elementSize;
    int64_t width = format.isFloat() ? 8 : 4; // bytes of a value in a stream
    int64_t left = stream.bytesLeft();
    return numbers <= kMaxParamGroupValues && (left < 0 || numbers * width <= left);
}

/// Gives a vector that is too small for `count` elements the memory of `room`.
template <class T, size_t N>
void moveInto(CVector<T, N>& room, CVector<T, N>& vector, size_t count) {
    if (vector.capacity() >= count || room.capacity() < count) return;
    for (T& item : vector) room.push_back(std::move(item));
    std::swap(room, vector);
}

/// Reads doubles, or ids, to the end of `out`.
template <size_t N>
CErrorResult readNumbers(CInputStream& stream, CVector<double, N>& out, bool isFloat) {
    for (double& value : out) {
        if (isFloat) {
            LUM_TRY(stream.readValue(value));
            continue;
        }
        uint32_t id = 0;
        LUM_TRY(stream.readValue(id));
        value = id;
    }
    return nullptr;
}

} // namespace

bool isValid(const CAudioParamFormat& format) {
    if (format.elementSize < 1 || format.elementSize > kMaxParamGroupValues) return false;
    if (format.isFloat()) return true;
    return format.elementSize == 1 &&
           (format.dataType == ParamDataType::String || format.dataType == ParamDataType::Raw);
}

// Reading and state

void CAudioParamStorage::setFormat(const CAudioParamFormat& newFormat) {
    clear();
    format = newFormat;
    initialised = true;
}

void CAudioParamStorage::clear() {
    format = {};
    data.clear();
    groups.clear();
    defaults.clear();
    initialised = false;
}

int CAudioParamStorage::getElementCount(int group) const {
    if (group < 0 || group >= getGroupCount()) return 0;
    return groups[group].ssize() / format.elementSize;
}

double CAudioParamStorage::read(int group, int element, double fallback,
                                int subValue) const noexcept {
    if (!initialised || element < 0 || subValue < 0 || subValue >= format.elementSize)
        return fallback;
    int64_t index = static_cast<int64_t>(element) * format.elementSize + subValue;
    if (element < getElementCount(group)) return groups[group][index];
    if (index < defaults.ssize()) return defaults[index];
    return subValue < defaults.ssize() ? defaults[subValue] : fallback;
}

CString CAudioParamStorage::readString(int group, int element) const {
    return data.getString(roundToInt(read(group, element)));
}

CByteBuffer CAudioParamStorage::readRaw(int group, int element) const {
    return data.getRaw(roundToInt(read(group, element)));
}

// Changes

bool CAudioParamStorage::fits(const CAudioParamChange& change) const {
    if (!isValid(change.format) || change.firstElement < 0 || change.elementCount < 0) return false;
    bool isGroup = change.group >= 0 && change.group < kMaxParamGroups;
    if (!isGroup && change.group != kDefinitionGroup) return false;
    int64_t end = static_cast<int64_t>(change.firstElement) + change.elementCount;
    if (end * change.format.elementSize > kMaxParamGroupValues) return false;
    if (change.values.ssize() != change.elementCount * change.format.elementSize) return false;
    return change.format.isFloat() || change.data || change.elementCount == 0;
}

bool CAudioParamStorage::accepts(const CAudioParamChange& change) const {
    if (!fits(change)) return false;
    return change.group == kDefinitionGroup || (initialised && change.format == format);
}

void CAudioParamStorage::apply(const CAudioParamChange& change) {
    if (!accepts(change)) return;
    CParamValues& values = writableGroup(change);
    size_t first = static_cast<size_t>(change.firstElement * format.elementSize);
    for (size_t i = 0; i < change.values.size(); i++) {
        double value = change.values[i];
        values[first + i] =
            format.isFloat() ? value : data.addCopy(*change.data, roundToInt(value));
    }
}

void CAudioParamStorage::take(CAudioParamChange& change, CAudioParamRoom& room) {
    if (!accepts(change)) return;
    const bool isDefinition = change.group == kDefinitionGroup;
    const size_t group = isDefinition ? 0 : static_cast<size_t>(change.group);
    const size_t end = static_cast<size_t>(change.end() * change.format.elementSize);
    if (isDefinition) moveInto(room.defaults, defaults, end);
    moveInto(room.groups, groups, group + 1);
    if (group >= groups.size()) groups.resize(group + 1);
    moveInto(room.values, groups[group], end);
    CParamValues& values = writableGroup(change);
    const size_t first = end - change.values.size();
    for (size_t i = first; i < end; i++) {
        const double value = change.values[i - first];
        values[i] = format.isFloat() ? value : data.adopt(*change.data, roundToInt(value));
    }
}

/// The values of the change's group, with room for its elements.
CParamValues& CAudioParamStorage::writableGroup(const CAudioParamChange& change) {
    if (change.group == kDefinitionGroup) startDefinition(change);
    int group = change.group == kDefinitionGroup ? 0 : change.group;
    if (group >= getGroupCount()) groups.resize(static_cast<size_t>(group) + 1);

    CParamValues& values = groups[group];
    size_t first = static_cast<size_t>(change.firstElement * format.elementSize);
    size_t end = first + change.values.size();
    extendWithDefaults(values, first);
    if (!format.isFloat()) removeItems(values, first, change.isTruncating ? values.size() : end);
    if (change.isTruncating || values.size() < end) values.resize(end);
    return values;
}

bool CAudioParamStorage::readsLike(const CAudioParamStorage& other) const noexcept {
    if (initialised != other.initialised || !(format == other.format)) return false;
    if (!std::equal(defaults.begin(), defaults.end(), other.defaults.begin(), other.defaults.end()))
        return false;
    const int groupCount = std::max(getGroupCount(), other.getGroupCount());
    for (int group = 0; group < groupCount; group++) {
        const int count = std::max(getElementCount(group), other.getElementCount(group));
        if (getElementCount(group) != other.getElementCount(group)) return false;
        for (int i = 0; i < count * format.elementSize; i++)
            if (groups[group][i] != other.groups[group][i]) return false;
    }
    return true;
}

void CAudioParamStorage::startDefinition(const CAudioParamChange& change) {
    setFormat(change.format);
    defaults.reserve(change.values.size());
    for (double value : change.values)
        defaults.push_back(format.isFloat() ? value
                                            : data.addCopy(*change.data, roundToInt(value)));
}

void CAudioParamStorage::extendWithDefaults(CParamValues& values, size_t valueCount) {
    values.reserve(valueCount);
    while (values.size() < valueCount) values.push_back(copyOfDefault(values.size()));
}

/// An element never shares the default's own item, which would go when the element is written.
double CAudioParamStorage::copyOfDefault(size_t index) {
    size_t subValue = index % static_cast<size_t>(format.elementSize);
    size_t source = index < defaults.size() ? index : subValue;
    double value = source < defaults.size() ? defaults[source] : 0.0;
    return format.isFloat() ? value : data.addCopy(data, roundToInt(value));
}

void CAudioParamStorage::removeItems(const CParamValues& values, size_t first, size_t end) {
    for (size_t i = first; i < std::min(end, values.size()); i++)
        data.remove(roundToInt(values[i]));
}

void CAudioParamStorage::clampTo(const CAudioParamInfo& info) {
    for (CParamValues& values : groups)
        for (int i = 0; i < values.ssize(); i++)
            values[i] = info.clamp(i % format.elementSize, values[i]);
}

// Default values

void CAudioParamStorage::adoptDefaults() {
    defaults.clear();
    if (groups.empty()) return;
    defaults.reserve(groups[0].size());
    for (double value : groups[0])
        defaults.push_back(format.isFloat() ? value : data.addCopy(data, roundToInt(value)));
}

CErrorResult CAudioParamStorage::parseDefValues(const CAudioParamInfo& info, const CString& text) {
    setFormat(info.format);
    const int size = format.elementSize;
    int group = 0, element = 0, subValue = 0;
    size_t start = 0;
    for (size_t at = 0; at <= text.length(); at++) {
        char16_t c = at < text.length() ? text.at(at) : u';';
        if (c != u',' && c != u';' && !(c == u' ' && size >= 2)) continue;
        CString token = text.substring(start, static_cast<int>(at - start));
        LUM_TRY(addDefault(info, token, group, element, subValue));
        start = at + 1;
        if (c == u' ') {
            subValue++;
            continue;
        }
        if (subValue < size - 1)
            return LUM_FAIL("@lumstr_CAudioParamStorage_parseDefValues_NotEnough Not enough "
                            "default elements at pos %1.",
                            at);
        subValue = 0;
        element = c == u',' ? element + 1 : 0;
        if (c == u';') group++;
    }
    adoptDefaults();
    return nullptr;
}

CErrorResult CAudioParamStorage::addDefault(const CAudioParamInfo& info, const CString& token,
                                            int group, int element, int subValue) {
    constexpr const char* kFailure =
        "@lumstr_CAudioParamStorage_parseDefValues_Error Default values parsing error.";
    bool fitsLimits =
        group < kMaxParamGroups && (element + 1) * format.elementSize <= kMaxParamGroupValues;
    if (subValue >= format.elementSize || !fitsLimits) return LUM_FAIL(kFailure);
    if (group >= getGroupCount()) groups.emplace_back();
    CParamValues& values = groups[group];
    if (subValue == 0) values.resize(values.size() + static_cast<size_t>(format.elementSize));
    double& target = values[element * format.elementSize + subValue];
    if (format.dataType == ParamDataType::String) {
        target = data.addString(token);
    } else if (format.dataType == ParamDataType::Raw) {
        target = data.addEmptyRaw();
    } else {
        bool isOk = false;
        if (subValue < info.converters.ssize())
            target = info.converters[subValue]->parseText(info, subValue, token, isOk);
        if (!isOk) return LUM_FAIL(kFailure);
    }
    return nullptr;
}

// Stream form

CErrorResult CAudioParamStorage::save(COutputStream& stream, int group) const {
    int first = group < 0 ? 0 : group;
    int count = group < 0 ? getGroupCount() : 1;
    LUM_TRY(stream.writeValue(kStorageVersion));
    LUM_TRY(stream.writeValue(static_cast<uint32_t>(format.elementSize)));
    LUM_TRY(stream.writeValue(static_cast<uint32_t>(format.dataType)));
    LUM_TRY(stream.writeValue(static_cast<uint32_t>(count)));
    if (!format.isFloat()) return saveItemGroups(stream, first, count);
    for (int g = first; g < first + count; g++) {
        LUM_TRY(stream.writeValue(static_cast<uint32_t>(getElementCount(g))));
        if (g >= getGroupCount()) continue;
        for (double value : groups[g]) LUM_TRY(stream.writeValue(value));
    }
    return nullptr;
}

/// The table goes first, so the ids that it gives are collected before anything is written.
CErrorResult CAudioParamStorage::saveItemGroups(COutputStream& stream, int first, int count) const {
    CAudioParamData table;
    CVector<uint32_t> lists; // per group: count, ids
    for (int g = first; g < first + count; g++) {
        lists.push_back(static_cast<uint32_t>(getElementCount(g)));
        if (g >= getGroupCount()) continue;
        for (double value : groups[g])
            lists.push_back(static_cast<uint32_t>(table.addCopy(data, roundToInt(value))));
    }
    LUM_TRY(table.save(stream));
    for (uint32_t number : lists) LUM_TRY(stream.writeValue(number));
    return nullptr;
}

CErrorResult CAudioParamStorage::load(CInputStream& stream) {
    uint32_t version = 0, elementSize = 0, dataType = 0, groupCount = 0;
    LUM_TRY(stream.readValue(version));
    if (version != kStorageVersion)
        return LUM_FAIL("@lumstr_CAudioParamStorage_load_Version Unsupported data set version %1.",
                        version);
    LUM_TRY(stream.readValue(elementSize));
    LUM_TRY(stream.readValue(dataType));
    if (elementSize != static_cast<uint32_t>(format.elementSize) ||
        dataType != static_cast<uint32_t>(format.dataType))
        return LUM_FAIL("@lumstr_CAudioParamStorage_load_Format Unsupported storage format "
                        "(esize=%1, dtype=%2; should be: esize=%3, dtype=%4).",
                        elementSize, dataType, format.elementSize,
                        static_cast<int>(format.dataType));
    LUM_TRY(stream.readValue(groupCount));
    if (groupCount > static_cast<uint32_t>(kMaxParamGroups))
        return LUM_FAIL(
            "@lumstr_CAudioParamStorage_load_GroupCount Invalid group count %1 encountered.",
            groupCount);
    dropGroups();
    CAudioParamData table;
    if (!format.isFloat()) LUM_TRY(table.load(stream));
    for (uint32_t i = 0; i < groupCount; i++) LUM_TRY(loadGroup(stream, &table));
    return nullptr;
}

void CAudioParamStorage::dropGroups() {
    if (!format.isFloat())
        for (const CParamValues& values : groups) removeItems(values, 0, values.size());
    groups.clear();
}

CErrorResult CAudioParamStorage::loadGroup(CInputStream& stream, const CAudioParamData* table) {
    uint32_t count = 0;
    LUM_TRY(stream.readValue(count));
    if (!isPlausibleCount(stream, count, format))
        return LUM_FAIL(
            "@lumstr_CAudioParamStorage_load_ElementCount Invalid element count %1 encountered.",
            count);
    CParamValues values;
    values.resize(count * static_cast<size_t>(format.elementSize));
    LUM_TRY(readNumbers(stream, values, format.isFloat()));
    if (!format.isFloat())
        for (double& value : values) value = data.addCopy(*table, roundToInt(value));
    groups.push_back(std::move(values));
    return nullptr;
}

// CAudioParamRoom

void CAudioParamRoom::prepare(const CAudioParamChange& change) {
    constexpr int kGroups = 8; // of products; at once, so that no second step is needed
    const int64_t wanted =
        static_cast<int64_t>(change.firstElement + int64_t{change.elementCount}) *
        change.format.elementSize;
    const auto end = static_cast<size_t>(std::clamp<int64_t>(wanted, 0, kMaxParamGroupValues));
    values.clear();
    values.reserve(end);
    defaults.clear();
    if (change.group == kDefinitionGroup)
        defaults.reserve(end);
    else if (change.group > 0 && change.group < kMaxParamGroups)
        groups.reserve(static_cast<size_t>(std::max(change.group + 1, kGroups)));
}

// CAudioParamChange

void CAudioParamChange::separateItems() {
    if (!data) return;
    auto own = std::make_unique<CAudioParamData>();
    for (double& value : values) value = own->addCopy(*data, roundToInt(value));
    data = std::move(own);
}

CAudioParamChange CAudioParamChange::clone() const {
    CAudioParamChange copy;
    copy.group = group;
    copy.firstElement = firstElement;
    copy.elementCount = elementCount;
    copy.isTruncating = isTruncating;
    copy.originator = originator;
    copy.format = format;
    copy.values = values;
    if (data) copy.data = std::make_unique<CAudioParamData>(*data);
    return copy;
}

CAudioParamChange CAudioParamChange::ofValues(const CAudioParamFormat& format, int group, int first,
                                              const double* values, int elementCount,
                                              bool isTruncating, const void* originator) {
    CAudioParamChange change;
    change.group = group;
    change.firstElement = first;
    change.elementCount = elementCount;
    change.isTruncating = isTruncating;
    change.originator = originator;
    change.format = format;
    for (int i = 0; i < elementCount * format.elementSize; i++) change.values.push_back(values[i]);
    return change;
}

CAudioParamChange CAudioParamChange::ofElements(const CAudioParamStorage& storage, int group,
                                                int first, int count, const void* originator) {
    CAudioParamChange change;
    change.group = group;
    change.firstElement = first;
    change.elementCount = count;
    change.originator = originator;
    change.format = storage.format;
    if (!change.format.isFloat()) change.data = std::make_unique<CAudioParamData>();
    for (int element = first; element < first + count; element++)
        for (int sub = 0; sub < storage.format.elementSize; sub++)
            change.append(storage.read(group, element, 0.0, sub), &storage.data);
    return change;
}

CAudioParamChange CAudioParamChange::ofGroup(const CAudioParamStorage& storage, int group,
                                             const void* originator) {
    CAudioParamChange change =
        ofElements(storage, group, 0, storage.getElementCount(group), originator);
    change.isTruncating = true;
    return change;
}

CAudioParamChange CAudioParamChange::ofDefaults(const CAudioParamStorage& storage,
                                                const void* originator) {
    CAudioParamChange change = ofGroup(storage, 0, originator);
    change.group = kDefinitionGroup;
    return change;
}

void CAudioParamChange::append(double value, const CAudioParamData* table) {
    if (!format.isFloat()) value = table ? data->addCopy(*table, roundToInt(value)) : 0;
    values.push_back(value);
}

CErrorResult CAudioParamChange::save(COutputStream& stream) const {
    const int32_t head[] = {group,
                            firstElement,
                            elementCount,
                            isTruncating,
                            format.elementSize,
                            static_cast<int32_t>(format.dataType),
                            format.isSingleGroup,
                            format.isSingleElement};
    for (int32_t field : head) LUM_TRY(stream.writeValue(field));
    if (format.isFloat()) {
        for (double value : values) LUM_TRY(stream.writeValue(value));
        return nullptr;
    }
    for (double value : values) LUM_TRY(stream.writeValue(roundToInt(value)));
    return data ? data->save(stream) : CAudioParamData().save(stream);
}

CErrorResult CAudioParamChange::load(CInputStream& stream) {
    int32_t head[8];
    for (int32_t& field : head) LUM_TRY(stream.readValue(field));
    group = head[0];
    firstElement = head[1];
    elementCount = head[2];
    isTruncating = head[3] != 0;
    format.elementSize = head[4];
    format.dataType = static_cast<ParamDataType>(head[5]);
    format.isSingleGroup = head[6] != 0;
    format.isSingleElement = head[7] != 0;
    values.clear();
    data.reset();
    LUM_TRY(checkCounts(stream));
    values.resize(static_cast<size_t>(elementCount) * static_cast<size_t>(format.elementSize));
    LUM_TRY(readNumbers(stream, values, format.isFloat()));
    if (format.isFloat()) return nullptr;
    data = std::make_unique<CAudioParamData>();
    return data->load(stream);
}

CErrorResult CAudioParamChange::checkCounts(CInputStream& stream) const {
    if (!isValid(format))
        return LUM_FAIL("@lumstr_CAudioParamChange_load_Format Invalid format of a parameter "
                        "change encountered (esize=%1, dtype=%2).",
                        format.elementSize, static_cast<int>(format.dataType));
    if (elementCount < 0 || !isPlausibleCount(stream, static_cast<uint32_t>(elementCount), format))
        return LUM_FAIL(
            "@lumstr_CAudioParamChange_load_Count Invalid element count %1 encountered.",
            elementCount);
    return nullptr;
}

} // namespace lum
