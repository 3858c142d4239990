#pragma once

#include "Core/CString.h"

namespace lum {

/// What went wrong: lines in the order in which they were added, the innermost message first and
/// then one line of trace per level that passed the error up.
struct CErrorRecord : public CLumMemAllocator {
    CVector<CString, 8> lines;
};

/// Result of a fallible operation: owns an error record, null for success. Whoever receives a
/// failure passes it on with a line of trace (LUM_TRY), prints it, or drops it by name.
class [[nodiscard]] CErrorResult {
public:
    CErrorResult() noexcept = default;
    CErrorResult(std::nullptr_t) noexcept {}
    explicit CErrorResult(CErrorRecord* owned) noexcept : record(owned) {}
    CErrorResult(CErrorResult&& other) noexcept : record(std::exchange(other.record, nullptr)) {}
    CErrorResult& operator=(CErrorResult&& other) noexcept {
        if (this != &other) {
            delete record;
            record = std::exchange(other.record, nullptr);
        }
        return *this;
    }
    ~CErrorResult() { delete record; }

    explicit operator bool() const noexcept { return record != nullptr; } // true: a failure
    const CErrorRecord* get() const noexcept { return record; }
    CErrorRecord* release() noexcept { return std::exchange(record, nullptr); }
    /// Line of the record, empty when there is none.
    CString line(size_t index) const {
        return record && index < record->lines.size() ? record->lines[index] : CString();
    }

private:
    CErrorRecord* record = nullptr;
};

/// Adds a message, if it is not empty, and a line of trace; makes the record when there is none.
/// message: a template, optionally with an id "@lumstr_..." and a blank in front, which is dropped.
CErrorResult addError(CErrorResult error, const char* sourceFile, int line, const CString& fullName,
                      const CString& message = {}, const CVector<CString>& arguments = {});

/// Writes the lines to the log.
void printError(const CErrorResult& error);
/// Prints a failure to the log and ends it. The one way to drop an error on purpose.
void logAndDropError(CErrorResult error);

/// Full name for the trace of code outside any object; CObject has a member of the same name.
inline CString traceName() {
    return {};
}

namespace detail {
inline CString toArgument(const CString& value) {
    return value;
}
inline CString toArgument(const char* value) {
    return value;
}
inline CString toArgument(std::string_view value) {
    return CString::fromUtf8(value);
}
template <class T>
requires std::is_integral_v<T> CString toArgument(T value) {
    return CString::fromInt(static_cast<int64_t>(value));
}
} // namespace detail

} // namespace lum

/// A new failure: LUM_FAIL("@lumstr_Class_method_Name Text with %1.", argument, ...).
#define LUM_FAIL(message, ...)                                                                     \
    ::lum::addError(nullptr, __FILE__, __LINE__, traceName(), message, [&](auto&&... arguments_) { \
        return ::lum::CVector<::lum::CString>{::lum::detail::toArgument(arguments_)...};           \
    }(__VA_ARGS__))

/// Passes a failure of `expression` up with a line of trace.
#define LUM_TRY(expression)                                                                        \
    do {                                                                                           \
        if (::lum::CErrorResult error_ = (expression))                                             \
            return ::lum::addError(std::move(error_), __FILE__, __LINE__, traceName());            \
    } while (false)
