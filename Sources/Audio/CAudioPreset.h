#pragma once

#include "Core/CStream.h"

#include <memory>

namespace lum {

/// Most presets and entries that one stream may hold in all, so that a small hostile stream cannot
/// make much memory of them.
constexpr int kMostPresetItems = 65536;

/// A snapshot of a registry's parameters in the form in which it goes to disk: for each parameter a
/// block of bytes, not parsed until it is applied. Control threads; guarded by its owner.
class CAudioPreset : public CLumMemAllocator {
public:
    /// Registry id, ":" and the name proper, as in "168a:Default".
    CString name;
    /// Blocks by key: the parameter's full name without the registry's hierarchy.
    CMap<CString, CByteBuffer> entries;

    void clear();
    const CByteBuffer* findEntry(const CString& key) const;
    void setEntry(const CString& key, CByteBuffer block) { entries[key] = std::move(block); }
    /// The part of a full name before its first ":", and the part behind it. A name without a colon
    /// has an empty id part.
    static CString idOf(const CString& fullName);
    static CString nameOf(const CString& fullName);

    /// Stream form. A failed load leaves a preset that must not be used.
    CErrorResult load(CInputStream& stream);
    CErrorResult load(CInputStream& stream, int& itemsLeft); // counts its items off
    CErrorResult save(COutputStream& stream) const;
    /// A file is one compressed block "aprs".
    CErrorResult loadFromFile(const CString& path);
    CErrorResult saveToFile(const CString& path) const;
};

/// A named list of presets.
class CAudioPresetBank : public CLumMemAllocator {
public:
    CString name;
    CVector<CAudioPreset> presets; // in bank order

    void resize(int count) { presets.resize(static_cast<size_t>(count)); }
    /// Orders by the lower-cased full name.
    void sort();

    CErrorResult load(CInputStream& stream);
    CErrorResult load(CInputStream& stream, int& itemsLeft);
    CErrorResult save(COutputStream& stream) const;
    /// A file is one compressed block "abnk". An embedded resource of that name is read likewise.
    CErrorResult loadFromFile(const CString& path);
    CErrorResult saveToFile(const CString& path) const;
};

/// Reads a list payload: a bank count and that many banks.
CErrorResult loadBankList(CInputStream& stream, CVector<CAudioPresetBank, 1>& out);
CErrorResult saveBankList(COutputStream& stream, const CVector<CAudioPresetBank, 1>& banks);

} // namespace lum
