// sorrel-dump: prints a preset file, a bank, a list, a host's chunk or a store record as text, and
// says what is wrong with a damaged one.

#include "Audio/CAudioParamStorage.h"
#include "Audio/CAudioPreset.h"
#include "Core/CMemoryReader.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

using namespace lum;

namespace {

constexpr size_t kChunkPrefix = 16; // reserved bytes in front of a host's chunk

CErrorResult printEntry(const CString& key, const CByteBuffer& block) {
    CMemoryReader reader(block);
    CString fullName;
    LUM_TRY(reader.readString(fullName));
    int32_t head[3] = {}; // version, element size, data type
    CMemoryReader look = reader;
    LUM_TRY(look.read(head, sizeof head));
    CAudioParamFormat format;
    format.elementSize = head[1];
    format.dataType = static_cast<ParamDataType>(head[2]);
    if (!isValid(format))
        return LUM_FAIL("Unknown storage format (esize=%1, dtype=%2).", head[1], head[2]);
    CAudioParamStorage values;
    values.setFormat(format);
    LUM_TRY(values.load(reader));
    std::printf("    %s (%s)\n", key.toUtf8().c_str(), fullName.toUtf8().c_str());
    for (int group = 0; group < values.getGroupCount(); group++) {
        std::printf("      group %d:", group);
        for (int i = 0; i < values.getElementCount(group); i++) {
            if (format.isFloat())
                for (int sub = 0; sub < format.elementSize; sub++)
                    std::printf(" %.9g", values.read(group, i, 0.0, sub));
            else if (format.dataType == ParamDataType::String)
                std::printf(" \"%s\"", values.readString(group, i).toUtf8().c_str());
            else
                std::printf(" %zu bytes", values.readRaw(group, i).size());
        }
        std::printf("\n");
    }
    return nullptr;
}

CErrorResult print(const CAudioPreset& preset) {
    std::printf("  preset \"%s\", %zu entries\n", preset.name.toUtf8().c_str(),
                preset.entries.size());
    for (const auto& [key, block] : preset.entries) {
        CErrorResult error = printEntry(key, block);
        if (error)
            return LUM_FAIL("Entry '%1' of preset '%2' is damaged: %3", key, preset.name,
                            error.line(0));
    }
    return nullptr;
}

CErrorResult print(const CAudioPresetBank& bank) {
    std::printf("bank \"%s\", %zu presets\n", bank.name.toUtf8().c_str(), bank.presets.size());
    for (const CAudioPreset& preset : bank.presets) LUM_TRY(print(preset));
    return nullptr;
}

CErrorResult printPayload(uint32_t id, const CByteBuffer& bytes) {
    CMemoryReader reader(bytes);
    if (id == kPresetBlock) {
        CAudioPreset preset;
        LUM_TRY(preset.load(reader));
        LUM_TRY(print(preset));
    } else if (id == kBankBlock) {
        CAudioPresetBank bank;
        LUM_TRY(bank.load(reader));
        LUM_TRY(print(bank));
    } else if (id == kListBlock) {
        CVector<CAudioPresetBank, 1> banks;
        LUM_TRY(loadBankList(reader, banks));
        for (const CAudioPresetBank& bank : banks) LUM_TRY(print(bank));
    } else if (id == kStringBlock) {
        CString text;
        LUM_TRY(reader.readString(text));
        std::printf("text \"%s\"\n", text.toUtf8().c_str());
    } else {
        std::printf("data, %zu bytes\n", bytes.size());
        return nullptr;
    }
    if (reader.bytesLeft() > 0)
        return LUM_FAIL("%1 bytes stand behind the end of the data.", reader.bytesLeft());
    return nullptr;
}

CErrorResult dump(const std::string& bytes) {
    const bool isChunk =
        bytes.size() > kChunkPrefix && bytes.find_first_not_of('\0') >= kChunkPrefix;
    const size_t start = isChunk ? kChunkPrefix : 0;
    CMemoryReader look(bytes.data() + start, static_cast<int32_t>(bytes.size() - start));
    uint32_t id = 0;
    LUM_TRY(look.readValue(id));
    for (const uint32_t known : {kPresetBlock, kBankBlock, kListBlock, kStringBlock, kDataBlock}) {
        if (id != known) continue;
        CMemoryReader reader(bytes.data() + start, static_cast<int32_t>(bytes.size() - start));
        CByteBuffer payload;
        LUM_TRY(reader.readCompressedData(payload, id));
        std::printf("%s, block \"%.4s\", %zu bytes unpacked\n", isChunk ? "host chunk" : "file",
                    reinterpret_cast<const char*>(&id), payload.size());
        LUM_TRY(printPayload(id, payload));
        return nullptr;
    }
    return LUM_FAIL("This is no preset, bank, list, chunk or store record (it begins with %1).",
                    id);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: sorrel-dump FILE\n");
        return 2;
    }
    std::ifstream file(argv[1], std::ios::binary);
    if (!file || std::filesystem::is_directory(argv[1])) {
        std::fprintf(stderr, "%s: cannot be read\n", argv[1]);
        return 1;
    }
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    const CErrorResult error = dump(bytes);
    if (!error) return 0;
    std::fprintf(stderr, "%s: %s\n", argv[1], error.line(0).toUtf8().c_str());
    return 1;
}
