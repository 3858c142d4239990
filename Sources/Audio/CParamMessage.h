#pragma once

#include "Core/CWriteSeqBuffer.h"

namespace lum {

/// A message under construction: the event's name and then its payload.
class CParamMessage {
public:
    explicit CParamMessage(const char* event) { keep(buffer.writeString(event)); }
    CParamMessage& add(int32_t value) { return keep(buffer.writeValue(value)); }
    CParamMessage& add(bool value) { return add(static_cast<int32_t>(value)); }
    CParamMessage& add(double value) { return keep(buffer.writeValue(value)); }
    CParamMessage& add(const CString& text) { return keep(buffer.writeString(text)); }
    CParamMessage& add(const char* text) { return add(CString(text)); } // which is no truth value
    /// Anything with a stream form.
    template <class T>
    CParamMessage& addObject(const T& object) {
        return keep(object.save(buffer));
    }
    /// For payloads that write themselves.
    COutputStream& stream() { return buffer; }
    CByteBuffer bytes() const {
        CByteBuffer out;
        buffer.getBytes(out);
        return out;
    }

private:
    // Writing into memory does not fail; should it do so, the log tells.
    CParamMessage& keep(CErrorResult result) {
        if (result) logAndDropError(std::move(result));
        return *this;
    }
    CWriteSeqBuffer buffer;
};

} // namespace lum
