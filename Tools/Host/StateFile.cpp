#include "Host/StateFile.h"

#include "Host/Failure.h"
#include "Host/WholeFile.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>
#include <zlib.h>

namespace lum::host {

namespace {

constexpr std::size_t kChunkPrefix = 16;   // zero bytes in front of the block
constexpr std::size_t kBlockHead = 12;     // id, unpacked size, check of the size
constexpr std::uint64_t kBestRatio = 1032; // unpacked bytes that one byte of zlib data can hold
constexpr std::uint64_t kLargestPayload = 64U << 20U; // bytes

/// The kinds of block that a file of this family can be.
struct BlockRow {
    const char* id;
    const char* name;
    const char* advice;
};
constexpr BlockRow kBlocks[] = {
    {"aprs", "a preset", "load it with --preset"},
    {"abnk", "a bank", "load it with --bank"},
    {"alst", "a list of banks", "a plug-in takes one bank"},
    {"adat", "a record of settings", "a plug-in does not take it"},
    {"dstr", "a text setting", "a plug-in does not take it"},
};

const BlockRow* findBlock(std::string_view bytes) {
    for (const BlockRow& row : kBlocks) {
        if (bytes.starts_with(row.id)) return &row;
    }
    return nullptr;
}

std::string isInstead(const BlockRow& row) {
    return std::string(", it is ") + row.name + " (" + row.advice + ")";
}

const char* blockId(StateKind kind) {
    return kind == StateKind::Program ? "aprs" : "abnk";
}

bool hasChunkPrefix(std::string_view bytes) {
    return bytes.size() > kChunkPrefix && bytes.find_first_not_of('\0') == kChunkPrefix;
}

/// Numbers and texts in the order in which they stand; `isShort` once they end early.
class PayloadReader {
public:
    explicit PayloadReader(std::string_view bytes) : rest_(bytes) {}

    std::uint32_t number() {
        std::uint32_t value = 0;
        const std::string_view bytes = take(sizeof value);
        std::memcpy(&value, bytes.data(), bytes.size());
        return value;
    }
    std::string_view text() { return take(number()); }
    std::string_view take(std::size_t count) {
        isShort = isShort || count > rest_.size();
        if (isShort) return {};
        const std::string_view bytes = rest_.substr(0, count);
        rest_.remove_prefix(count);
        return bytes;
    }
    std::size_t left() const { return rest_.size(); }

    bool isShort = false;

private:
    std::string_view rest_;
};

/// Reads a file's bytes as one block of `kind`; its failures name the file.
class BlockReader {
public:
    BlockReader(const std::filesystem::path& path, std::string_view bytes, StateKind kind)
        : path_(path), bytes_(bytes), kind_(kind) {}

    std::string describe() const {
        checkKind();
        const std::string payload = unpack();
        PayloadReader reader(payload);
        std::string words =
            kind_ == StateKind::Program ? describePreset(reader) : describeBank(reader);
        if (reader.isShort) fail("its " + what() + " data end early");
        if (reader.left() > 0) {
            fail(std::to_string(reader.left()) + " bytes stand behind its data");
        }
        return words;
    }

private:
    std::string what() const { return kind_ == StateKind::Program ? "preset" : "bank"; }
    [[noreturn]] void fail(const std::string& reason) const {
        throw Failure(quoted(path_) + " is damaged: " + reason);
    }

    void checkKind() const {
        const BlockRow* found = findBlock(bytes_);
        if (found == nullptr) throw Failure(quoted(path_) + " is no " + what() + " file");
        if (std::string_view(found->id) == blockId(kind_)) return;
        throw Failure(quoted(path_) + " is no " + what() + isInstead(*found));
    }

    std::string unpack() const {
        if (bytes_.size() < kBlockHead) fail("it ends within its head");
        std::uint32_t size = 0;
        std::uint32_t check = 0;
        std::memcpy(&size, bytes_.data() + 4, sizeof size);
        std::memcpy(&check, bytes_.data() + 8, sizeof check);
        const auto* sizeBytes = reinterpret_cast<const Bytef*>(bytes_.data() + 4);
        if (adler32(adler32(0, nullptr, 0), sizeBytes, sizeof size) != check) {
            fail("the check of its head does not fit");
        }
        const std::string_view packed = bytes_.substr(kBlockHead);
        if (size > kLargestPayload || size > packed.size() * kBestRatio) {
            fail("it claims to hold " + std::to_string(size) + " bytes");
        }
        std::string payload(size, '\0');
        uLongf got = size;
        const int result = uncompress(reinterpret_cast<Bytef*>(payload.data()), &got,
                                      reinterpret_cast<const Bytef*>(packed.data()), packed.size());
        if (result == Z_DATA_ERROR) fail("its packed data are corrupt or incomplete");
        if (result != Z_OK || got != size) fail("its packed data are not of the size it tells");
        return payload;
    }

    static std::string describePreset(PayloadReader& reader) {
        const std::string name(reader.text());
        const std::uint32_t count = reader.number();
        for (std::uint32_t i = 0; i < count && !reader.isShort; ++i) {
            reader.text();                // the key
            reader.take(reader.number()); // the parameter's block
        }
        return "preset \"" + name + "\", " + std::to_string(count) + " entries";
    }

    static std::string describeBank(PayloadReader& reader) {
        const std::string name(reader.text());
        const std::uint32_t count = reader.number();
        for (std::uint32_t i = 0; i < count && !reader.isShort; ++i) describePreset(reader);
        return "bank \"" + name + "\", " + std::to_string(count) + " presets";
    }

    const std::filesystem::path& path_;
    std::string_view bytes_;
    StateKind kind_;
};

PluginState readStateFile(const std::filesystem::path& path, StateKind kind) {
    const std::string bytes = readWholeFile(path);
    if (hasChunkPrefix(bytes)) throw Failure(quoted(path) + " is a host's chunk (use --chunk)");
    PluginState state;
    state.kind = kind;
    state.description = BlockReader(path, bytes, kind).describe();
    state.chunk = std::string(kChunkPrefix, '\0') + bytes;
    state.path = path;
    return state;
}

/// The kind of a chunk in this family's form; nothing for another's.
std::optional<StateKind> kindOfChunk(std::string_view chunk) {
    if (!hasChunkPrefix(chunk)) return std::nullopt;
    for (const StateKind kind : {StateKind::Bank, StateKind::Program}) {
        if (chunk.substr(kChunkPrefix).starts_with(blockId(kind))) return kind;
    }
    return std::nullopt;
}

} // namespace

PluginState readPresetFile(const std::filesystem::path& path) {
    return readStateFile(path, StateKind::Program);
}

PluginState readBankFile(const std::filesystem::path& path) {
    return readStateFile(path, StateKind::Bank);
}

PluginState readChunkFile(const std::filesystem::path& path) {
    PluginState state;
    state.path = path;
    state.chunk = readWholeFile(path);
    const std::string_view bytes = state.chunk;
    if (bytes.empty()) throw Failure(quoted(path) + " is empty");
    if (const BlockRow* found = findBlock(bytes)) {
        throw Failure(quoted(path) + " is no chunk" + isInstead(*found));
    }
    const auto kind = kindOfChunk(bytes);
    if (kind) {
        state.kind = *kind;
        state.description = BlockReader(path, bytes.substr(kChunkPrefix), *kind).describe();
    } else {
        state.description = "chunk of " + std::to_string(bytes.size()) + " bytes";
    }
    return state;
}

std::string fileOfChunk(const std::string& chunk, StateKind kind) {
    if (kindOfChunk(chunk) != kind) {
        throw Failure("the plug-in's state has not the form of a preset or bank file "
                      "(--save-chunk keeps it as it is)");
    }
    return chunk.substr(kChunkPrefix);
}

} // namespace lum::host
