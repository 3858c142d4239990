/// The form of the file that a rendering writes.
#pragma once

#include <filesystem>
#include <string>

namespace lum::host {

/// libsndfile's format number for `path` by its extension, with the named subtype (such as
/// "pcm24"), or, when `subtype` is empty, the source's own where the format has it, else the
/// nearest that loses nothing. Throws Failure with the names that are possible.
int outputFormat(const std::filesystem::path& path, const std::string& subtype, int sourceFormat,
                 int sampleRate, int channels);

/// The subtype names, comma-separated, for help texts.
std::string subtypeNames();

/// A format in words: "WAV (Microsoft), Signed 24 bit PCM".
std::string formatName(int format);

} // namespace lum::host
