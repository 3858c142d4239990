/// Records of the plug-in's stores, made by hand.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <zlib.h>

inline std::string bytesOfNumber(uint32_t number) {
    return {reinterpret_cast<const char*>(&number), sizeof number};
}

/// A record: one packed block with the given id of four letters.
inline std::string recordOf(const std::string& id, const std::string& payload) {
    const std::string size = bytesOfNumber(static_cast<uint32_t>(payload.size()));
    const uLong check =
        adler32(adler32(0, nullptr, 0), reinterpret_cast<const Bytef*>(size.data()), 4);
    std::string packed(compressBound(payload.size()), 0);
    uLongf packedSize = packed.size();
    compress(reinterpret_cast<Bytef*>(packed.data()), &packedSize,
             reinterpret_cast<const Bytef*>(payload.data()), payload.size());
    return id + size + bytesOfNumber(static_cast<uint32_t>(check)) + packed.substr(0, packedSize);
}

inline std::string textRecordOf(const std::string& text) {
    return recordOf("dstr", bytesOfNumber(static_cast<uint32_t>(text.size())) + text);
}

/// Makes the folders as well.
inline void putFile(const std::filesystem::path& path, const std::string& bytes) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}
