#include "Audio/CParamMessage.h"

#include "Core/CMemoryReader.h"

namespace lum {

CErrorResult CParamMessageReader::receiveMessage(const CByteBuffer& message) {
    platform::CLockGuard hold(messageLock);
    CMemoryReader reader(message);
    CInputStream* outer = std::exchange(input, &reader); // a handler may be sent a message itself
    CString event;
    CErrorResult failure = reader.readString(event);
    if (!failure) failure = self.runEvent(event);
    input = outer;
    LUM_TRY(std::move(failure));
    return nullptr;
}

} // namespace lum
