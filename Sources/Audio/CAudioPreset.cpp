#include "Audio/CAudioPreset.h"

#include "Core/CAtomicFileWriter.h"
#include "Core/CMemoryReader.h"
#include "Core/CResourceReader.h"
#include "Core/CWriteSeqBuffer.h"

#include <algorithm>

namespace lum {
namespace {

constexpr int64_t kLeastItemBytes = 8; // an entry, a preset and a bank: two 32-bit numbers each

/// Reads a size of bytes to follow, and refuses one that the stream cannot hold.
CErrorResult readSize(CInputStream& stream, uint32_t& out) {
    LUM_TRY(stream.readValue(out));
    const int64_t left = stream.bytesLeft();
    if (left < 0 || static_cast<int64_t>(out) > left)
        return LUM_FAIL("@lumstr_CAudioPreset_readSize Premature end of preset data (size %1).",
                        out);
    return nullptr;
}

/// Reads a count of items, and refuses one that the stream cannot hold, before anything is sized
/// by it. itemsLeft: what the whole stream may still hold.
CErrorResult readCount(CInputStream& stream, int& itemsLeft, uint32_t& out) {
    LUM_TRY(stream.readValue(out));
    const int64_t left = stream.bytesLeft();
    if (left < 0 || out > static_cast<uint64_t>(left / kLeastItemBytes) ||
        out > static_cast<uint32_t>(itemsLeft))
        return LUM_FAIL("@lumstr_CAudioPreset_readCount Premature end of preset data (count %1).",
                        out);
    itemsLeft -= static_cast<int>(out);
    return nullptr;
}

template <class T>
CErrorResult loadBlockFile(T& target, const CString& path, uint32_t id) {
    CResourceReader file;
    LUM_TRY(file.open(path));
    CByteBuffer bytes;
    LUM_TRY(file.readCompressedData(bytes, id));
    CMemoryReader reader(bytes);
    LUM_TRY(target.load(reader));
    return nullptr;
}

template <class T>
CErrorResult saveBlockFile(const T& source, const CString& path, uint32_t id) {
    CWriteSeqBuffer buffer;
    LUM_TRY(source.save(buffer));
    CByteBuffer bytes;
    buffer.getBytes(bytes);
    CAtomicFileWriter file;
    LUM_TRY(file.open(path));
    LUM_TRY(file.writeCompressedData(bytes, id));
    LUM_TRY(file.commit());
    return nullptr;
}

} // namespace

void CAudioPreset::clear() {
    name.clear();
    entries.clear();
}

const CByteBuffer* CAudioPreset::findEntry(const CString& key) const {
    const auto found = entries.find(key);
    return found == entries.end() ? nullptr : &found->second;
}

CString CAudioPreset::idOf(const CString& fullName) {
    const int colon = fullName.find(u':');
    return colon < 0 ? CString() : fullName.substring(0, colon);
}

CString CAudioPreset::nameOf(const CString& fullName) {
    return fullName.substring(static_cast<size_t>(fullName.find(u':') + 1));
}

CErrorResult CAudioPreset::load(CInputStream& stream) {
    int itemsLeft = kMostPresetItems;
    LUM_TRY(load(stream, itemsLeft));
    return nullptr;
}

CErrorResult CAudioPreset::load(CInputStream& stream, int& itemsLeft) {
    clear();
    LUM_TRY(stream.readString(name));
    uint32_t count = 0;
    LUM_TRY(readCount(stream, itemsLeft, count));
    for (uint32_t i = 0; i < count; i++) {
        CString key;
        LUM_TRY(stream.readString(key));
        uint32_t size = 0;
        LUM_TRY(readSize(stream, size));
        CByteBuffer block;
        block.resize(size);
        LUM_TRY(stream.read(block.data(), size));
        entries[key] = std::move(block);
    }
    return nullptr;
}

CErrorResult CAudioPreset::save(COutputStream& stream) const {
    LUM_TRY(stream.writeString(name));
    LUM_TRY(stream.writeValue(static_cast<uint32_t>(entries.size())));
    for (const auto& [key, block] : entries) {
        LUM_TRY(stream.writeString(key));
        LUM_TRY(stream.writeValue(static_cast<uint32_t>(block.size())));
        LUM_TRY(stream.write(block.data(), static_cast<int64_t>(block.size())));
    }
    return nullptr;
}

CErrorResult CAudioPreset::loadFromFile(const CString& path) {
    return loadBlockFile(*this, path, kPresetBlock);
}

CErrorResult CAudioPreset::saveToFile(const CString& path) const {
    return saveBlockFile(*this, path, kPresetBlock);
}

void CAudioPresetBank::sort() {
    std::stable_sort(presets.begin(), presets.end(),
                     [](const CAudioPreset& a, const CAudioPreset& b) {
                         return a.name.lowerCase() < b.name.lowerCase();
                     });
}

CErrorResult CAudioPresetBank::load(CInputStream& stream) {
    int itemsLeft = kMostPresetItems;
    LUM_TRY(load(stream, itemsLeft));
    return nullptr;
}

CErrorResult CAudioPresetBank::load(CInputStream& stream, int& itemsLeft) {
    LUM_TRY(stream.readString(name));
    uint32_t count = 0;
    LUM_TRY(readCount(stream, itemsLeft, count));
    presets.clear();
    presets.reserve(count);
    for (uint32_t i = 0; i < count; i++) LUM_TRY(presets.emplace_back().load(stream, itemsLeft));
    return nullptr;
}

CErrorResult CAudioPresetBank::save(COutputStream& stream) const {
    LUM_TRY(stream.writeString(name));
    LUM_TRY(stream.writeValue(static_cast<uint32_t>(presets.size())));
    for (const CAudioPreset& preset : presets) LUM_TRY(preset.save(stream));
    return nullptr;
}

CErrorResult CAudioPresetBank::loadFromFile(const CString& path) {
    return loadBlockFile(*this, path, kBankBlock);
}

CErrorResult CAudioPresetBank::saveToFile(const CString& path) const {
    return saveBlockFile(*this, path, kBankBlock);
}

CErrorResult loadBankList(CInputStream& stream, CVector<CAudioPresetBank, 1>& out) {
    out.clear();
    int itemsLeft = kMostPresetItems;
    uint32_t count = 0;
    LUM_TRY(readCount(stream, itemsLeft, count));
    out.reserve(count);
    for (uint32_t i = 0; i < count; i++) LUM_TRY(out.emplace_back().load(stream, itemsLeft));
    return nullptr;
}

CErrorResult saveBankList(COutputStream& stream, const CVector<CAudioPresetBank, 1>& banks) {
    LUM_TRY(stream.writeValue(static_cast<uint32_t>(banks.size())));
    for (const CAudioPresetBank& bank : banks) LUM_TRY(bank.save(stream));
    return nullptr;
}

} // namespace lum
