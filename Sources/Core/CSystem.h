#pragma once

#include "Core/CError.h"

#include <cstdint>
#include <string>

namespace lum::platform {
class CMessageQueue;
}

/// What the module knows of itself and the system.
namespace lum::system {

/// Takes the start time and the module's path. Called once by the start-up sequence.
void noteStart();
/// Seconds since the module was loaded.
double secondsSinceLoad();
/// A path from the system as text; empty, with a line in the log, where it is not UTF-8: what could
/// be read of it would lead to another place.
CString textOfPath(const std::string& path);
/// The module's own file with "/" separators, and the part up to and including its last "/". Empty
/// when unknown.
CString getModulePath();
CString getModuleDirectory();

/// Whether a click into an editor's window takes the keyboard focus; true unless the host is one
/// that wants to keep it. Set by each instance that is made, for the process. Any thread.
void setFocusOnClick(bool takesFocus);
bool isFocusOnClick();

/// Posts a message with a value to a receiver of a queue. Any thread. Error: the post's error code.
CErrorResult sendEvent(platform::CMessageQueue& queue, uint64_t address, uint32_t message,
                       intptr_t value);

/// Whether the system would give so many bytes at this moment. The pool ends the process when it is
/// refused memory, so a large beginning asks here, where there still is a way back. Nothing is
/// kept. Any thread but the audio thread.
[[nodiscard]] bool hasMemory(size_t bytes) noexcept;

/// The last resort: prints the error to the log and reports it to the user with the fixed text.
/// Both texts go to standard error. It opens no window and waits for nobody, so that a host that
/// scans its plug-ins unattended goes on. Any thread but the audio thread.
void showError(CErrorResult error);

} // namespace lum::system
