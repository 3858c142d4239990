#include "Host/OutputFormat.h"

#include "Host/Failure.h"

#include <algorithm>
#include <sndfile.h>

namespace lum::host {

namespace {

struct NamedFormat {
    const char* name;
    int format;
};

constexpr NamedFormat kExtensions[] = {
    {"wav", SF_FORMAT_WAV},   {"aif", SF_FORMAT_AIFF},    {"aiff", SF_FORMAT_AIFF},
    {"flac", SF_FORMAT_FLAC}, {"caf", SF_FORMAT_CAF},     {"w64", SF_FORMAT_W64},
    {"rf64", SF_FORMAT_RF64}, {"au", SF_FORMAT_AU},       {"snd", SF_FORMAT_AU},
    {"ogg", SF_FORMAT_OGG},   {"oga", SF_FORMAT_OGG},     {"opus", SF_FORMAT_OGG},
    {"mp3", SF_FORMAT_MPEG},  {"wavex", SF_FORMAT_WAVEX}, {"voc", SF_FORMAT_VOC},
    {"paf", SF_FORMAT_PAF},   {"mat", SF_FORMAT_MAT5},    {"raw", SF_FORMAT_RAW},
};

constexpr NamedFormat kSubtypes[] = {
    {"pcm8", SF_FORMAT_PCM_S8},        {"pcmu8", SF_FORMAT_PCM_U8},   {"pcm16", SF_FORMAT_PCM_16},
    {"pcm24", SF_FORMAT_PCM_24},       {"pcm32", SF_FORMAT_PCM_32},   {"float", SF_FORMAT_FLOAT},
    {"double", SF_FORMAT_DOUBLE},      {"vorbis", SF_FORMAT_VORBIS},  {"opus", SF_FORMAT_OPUS},
    {"mp3", SF_FORMAT_MPEG_LAYER_III}, {"alac16", SF_FORMAT_ALAC_16}, {"alac24", SF_FORMAT_ALAC_24},
    {"ulaw", SF_FORMAT_ULAW},          {"alaw", SF_FORMAT_ALAW},
};

// Tried in this order when the source's own subtype is not to be had.
constexpr int kFallbacks[] = {SF_FORMAT_FLOAT,  SF_FORMAT_PCM_24, SF_FORMAT_PCM_16,
                              SF_FORMAT_VORBIS, SF_FORMAT_OPUS,   SF_FORMAT_MPEG_LAYER_III};
constexpr int kRestOfPcm[] = {SF_FORMAT_PCM_24, SF_FORMAT_PCM_16, SF_FORMAT_VORBIS, SF_FORMAT_OPUS,
                              SF_FORMAT_MPEG_LAYER_III};

bool isPossible(int format, int sampleRate, int channels) {
    SF_INFO info{};
    info.format = format;
    info.samplerate = sampleRate;
    info.channels = channels;
    return sf_format_check(&info) == SF_TRUE;
}

int majorFormat(const std::filesystem::path& path) {
    std::string extension = path.extension().string();
    if (!extension.empty()) extension.erase(0, 1);
    std::ranges::transform(extension, extension.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    for (const auto& row : kExtensions) {
        if (extension == row.name) return row.format;
    }
    std::string known;
    for (const auto& row : kExtensions)
        known += std::string(known.empty() ? "." : ", .") + row.name;
    throw Failure("the name \"" + path.string() + "\" does not tell a sound format; known are " +
                  known);
}

int namedSubtype(const std::string& name) {
    for (const auto& row : kSubtypes) {
        if (name == row.name) return row.format;
    }
    throw Failure("there is no subtype \"" + name + "\"; known are " + subtypeNames());
}

} // namespace

int outputFormat(const std::filesystem::path& path, const std::string& subtype, int sourceFormat,
                 int sampleRate, int channels) {
    const int major = majorFormat(path);
    if (!subtype.empty()) {
        const int format = major | namedSubtype(subtype);
        if (isPossible(format, sampleRate, channels)) return format;
        throw Failure("a " + path.extension().string() + " file cannot hold " +
                      std::to_string(channels) + " channels of " + subtype + " at " +
                      std::to_string(sampleRate) + " Hz");
    }
    // An .opus name asks for that codec; .ogg keeps whatever the source had of the two.
    if (path.extension() == ".opus") return major | SF_FORMAT_OPUS;
    const int own = sourceFormat & SF_FORMAT_SUBMASK;
    if (isPossible(major | own, sampleRate, channels)) return major | own;
    const bool isInteger = own == SF_FORMAT_PCM_S8 || own == SF_FORMAT_PCM_U8 ||
                           own == SF_FORMAT_PCM_16 || own == SF_FORMAT_PCM_24;
    const auto first = isInteger ? std::begin(kRestOfPcm) : std::begin(kFallbacks);
    const auto last = isInteger ? std::end(kRestOfPcm) : std::end(kFallbacks);
    const auto found = std::find_if(
        first, last, [&](int sub) { return isPossible(major | sub, sampleRate, channels); });
    if (found != last) return major | *found;
    throw Failure("a " + path.extension().string() + " file cannot hold " +
                  std::to_string(channels) + " channels at " + std::to_string(sampleRate) + " Hz");
}

std::string subtypeNames() {
    std::string names;
    for (const auto& row : kSubtypes) names += std::string(names.empty() ? "" : ", ") + row.name;
    return names;
}

std::string formatName(int format) {
    std::string name;
    for (const int part : {format & SF_FORMAT_TYPEMASK, format & SF_FORMAT_SUBMASK}) {
        SF_FORMAT_INFO info{};
        info.format = part;
        sf_command(nullptr, SFC_GET_FORMAT_INFO, &info, sizeof info);
        if (info.name != nullptr) name += (name.empty() ? "" : ", ") + std::string(info.name);
    }
    return name;
}

} // namespace lum::host
