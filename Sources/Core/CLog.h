#pragma once

#include "Core/CString.h"

namespace lum {

/// Appends a line to the diagnostic log. The log's path is fixed when the system is built and empty
/// in the shipped form; with an empty path the line is dropped. Lines end with CR LF, and go out
/// under a lock. Not for the audio thread, except where a fault makes the line the lesser evil.
void logLine(const CString& text, bool withNewline = true);

/// As logLine, with a printf-style format.
void logFormat(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Sends the log to another file, an empty path turns it off. For tools and tests.
void setLogPath(const CString& path);

} // namespace lum
