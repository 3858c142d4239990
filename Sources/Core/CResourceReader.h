#pragma once

#include "Core/CStream.h"

#include <memory>

namespace lum {

/// A row of the table of embedded files: a little-endian 32-bit size and the bytes.
struct CResourceRow {
    const uint8_t* data; // null ends the table
    const char* name;    // the exact text by which product data names it
};

/// Enters a table's rows in the process-wide resource map. Start-up only.
void registerResources(const CResourceRow* table);
/// Empties the map. For tests.
void clearResources();

/// Opens a name: an embedded resource if there is one of exactly that name, else a file.
class CResourceReader : public CPosInputStream, public CLumMemAllocator {
public:
    CErrorResult open(const CString& name);

    const void* getMemoryPointer() override;
    CErrorResult skip(int64_t count) override;
    CErrorResult read(void* buffer, int64_t count) override;
    CErrorResult readStreamed(void* buffer, int64_t& count) override;
    CErrorResult getPosition(uint64_t& out) override;
    CErrorResult setPosition(uint64_t position) override;
    CErrorResult getSize(uint64_t& out) override;

private:
    std::unique_ptr<CPosInputStream> reader;
};

} // namespace lum
