#pragma once

#include "Core/CObject.h"
#include "Core/CWriteSeqBuffer.h"
#include "Other/CParamInterfaceConnector.h"

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
    requires requires(const T& object, COutputStream& out) { object.save(out); }
    CParamMessage& add(const T& object) { return keep(object.save(buffer)); }
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

/// The receiving half of either end: runs the event that a message names on its object, whose
/// handler reads the arguments from here.
class CParamMessageReader : public CParamMessageReceiver {
public:
    explicit CParamMessageReader(CObject& object) : self(object) {}
    /// Error: the handler's, or a name that the object does not know.
    CErrorResult receiveMessage(const CByteBuffer& message) override;

protected:
    /// Reads arguments in their order: numbers, texts, and what has a stream form.
    template <class... T>
    CErrorResult read(T&... out) {
        CErrorResult failure;
        (void)(... || static_cast<bool>(failure = readOne(out)));
        return failure;
    }

    platform::CLock messageLock;   // held while a message is run
    CInputStream* input = nullptr; // of the message being run

private:
    CErrorResult readOne(CString& out) { return input->readString(out); }
    template <class T>
    CErrorResult readOne(T& out) {
        if constexpr (std::is_arithmetic_v<T>)
            return input->readValue(out);
        else
            return out.load(*input);
    }

    CObject& self;
};

} // namespace lum
