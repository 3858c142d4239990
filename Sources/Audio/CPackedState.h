#pragma once

#include "Core/CByteBuffer.h"
#include "Core/CError.h"
#include "Platform/Lock.h"

namespace lum {

/// Packs an instance's state for the host, and keeps the last one. Packing takes four fifths of the
/// time of a state, and hosts ask for the states of all instances when one has changed. What is
/// kept is handed out for the very same bytes alone, so it is never stale.
/// Threads: any but the audio thread.
class CPackedState {
public:
    static constexpr size_t kPrefix = 16; // reserved bytes in front of a host's chunk, all zero

    /// state: the payload on entry, the host's chunk on return, a block of the given id.
    /// Error: of the packing; the payload then stays in `state`.
    CErrorResult pack(CByteBuffer& state, uint32_t blockId);

private:
    platform::CLock lock;
    uint32_t keptId = 0; // none yet: no block has this id
    CByteBuffer payload;
    CByteBuffer chunk;
};

} // namespace lum
