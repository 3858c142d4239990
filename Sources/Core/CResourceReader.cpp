#include "Core/CResourceReader.h"

#include "Core/CFile.h"
#include "Core/CMemoryReader.h"

#include <cstring>

namespace lum {

namespace {

/// Embedded files by name. Filled at start-up, only read until the module goes.
CMap<CString, const CResourceRow*> resources;

int32_t sizeOf(const CResourceRow& row) {
    int32_t size;
    std::memcpy(&size, row.data, sizeof size);
    return size;
}

} // namespace

void registerResources(const CResourceRow* table) {
    for (const CResourceRow* row = table; row->data; row++) resources[row->name] = row;
}

void clearResources() {
    resources.clear();
}

CErrorResult CResourceReader::open(const CString& name) {
    reader.reset();
    if (auto found = resources.find(name); found != resources.end()) {
        const CResourceRow& row = *found->second;
        reader = std::make_unique<CMemoryReaderStatic>(row.data + sizeof(int32_t), sizeOf(row));
        return nullptr;
    }
    auto file = std::make_unique<CFileReader>();
    CFileReader* opened = file.get();
    reader = std::move(file); // also when it does not open: reads then fail in words
    LUM_TRY(opened->open(name));
    return nullptr;
}

const void* CResourceReader::getMemoryPointer() {
    return reader->getMemoryPointer();
}
CErrorResult CResourceReader::skip(int64_t count) {
    LUM_TRY(reader->skip(count));
    return nullptr;
}
CErrorResult CResourceReader::read(void* buffer, int64_t count) {
    LUM_TRY(reader->read(buffer, count));
    return nullptr;
}
CErrorResult CResourceReader::readStreamed(void* buffer, int64_t& count) {
    LUM_TRY(reader->readStreamed(buffer, count));
    return nullptr;
}
CErrorResult CResourceReader::getPosition(uint64_t& out) {
    LUM_TRY(reader->getPosition(out));
    return nullptr;
}
CErrorResult CResourceReader::setPosition(uint64_t position) {
    LUM_TRY(reader->setPosition(position));
    return nullptr;
}
CErrorResult CResourceReader::getSize(uint64_t& out) {
    LUM_TRY(reader->getSize(out));
    return nullptr;
}

} // namespace lum
