#include "Audio/CPackedState.h"

#include "Core/CWriteSeqBuffer.h"

namespace lum {

CErrorResult CPackedState::pack(CByteBuffer& state, uint32_t blockId) {
    platform::CLockGuard hold(lock);
    if (blockId != keptId || !(state == payload)) {
        CWriteSeqBuffer stream;
        const uint8_t reserved[kPrefix] = {};
        LUM_TRY(stream.write(reserved, kPrefix));
        LUM_TRY(stream.writeCompressedData(state, blockId));
        stream.getBytes(chunk);
        payload = std::move(state);
        keptId = blockId;
    }
    state = chunk;
    return nullptr;
}

} // namespace lum
