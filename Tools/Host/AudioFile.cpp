#include "Host/AudioFile.h"

#include "Host/Failure.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <unistd.h>
#include <utility>

namespace lum::host {

namespace {

struct SubtypeBits {
    int subtype;
    int bits;
};

constexpr SubtypeBits kIntegerSubtypes[] = {
    {SF_FORMAT_PCM_S8, 8},   {SF_FORMAT_PCM_U8, 8},   {SF_FORMAT_PCM_16, 16},
    {SF_FORMAT_PCM_24, 24},  {SF_FORMAT_PCM_32, 32},  {SF_FORMAT_ALAC_16, 16},
    {SF_FORMAT_ALAC_20, 20}, {SF_FORMAT_ALAC_24, 24}, {SF_FORMAT_ALAC_32, 32},
};

int integerBitsOf(int format) {
    for (const auto& row : kIntegerSubtypes) {
        if (row.subtype == (format & SF_FORMAT_SUBMASK)) return row.bits;
    }
    return 0;
}

/// libsndfile's message for a failed write is vague; the system's own tells of a full disk.
std::string writeReason(SNDFILE* file) {
    if (errno != 0) return std::strerror(errno);
    return sf_strerror(file);
}

} // namespace

AudioReader::AudioReader(const std::filesystem::path& path) : path_(path) {
    if (access(path.c_str(), R_OK) != 0) {
        throw Failure("cannot read " + quoted(path) + ": " + std::strerror(errno));
    }
    if (std::filesystem::is_directory(path)) throw Failure(quoted(path) + " is a folder");
    file_ = sf_open(path.c_str(), SFM_READ, &info_);
    if (file_ == nullptr) {
        throw Failure(quoted(path) +
                      " is no sound file that can be read here: " + sf_strerror(nullptr));
    }
}

AudioReader::~AudioReader() {
    sf_close(file_);
}

std::int64_t AudioReader::frames() const {
    return info_.frames >= 0 && info_.frames < SF_COUNT_MAX ? info_.frames : -1;
}

std::int64_t AudioReader::read(double* samples, std::int64_t frames) {
    const sf_count_t count = sf_readf_double(file_, samples, frames);
    if (count < frames && sf_error(file_) != SF_ERR_NO_ERROR) {
        throw Failure("reading " + quoted(path_) + " failed: " + sf_strerror(file_));
    }
    return count;
}

AudioWriter::AudioWriter(const std::filesystem::path& path, int format, int sampleRate,
                         int channels)
    : target_(path), integerBits_(integerBitsOf(format)), channels_(channels) {
    SF_INFO info{};
    info.format = format;
    info.samplerate = sampleRate;
    info.channels = channels;
    errno = 0;
    file_ = sf_open_fd(target_.descriptor(), SFM_WRITE, &info, SF_FALSE);
    if (file_ == nullptr) target_.fail(writeReason(nullptr));
}

AudioWriter::~AudioWriter() {
    if (file_ != nullptr) sf_close(file_);
}

void AudioWriter::copyTags(const AudioReader& source) {
    for (int tag = SF_STR_FIRST; tag <= SF_STR_LAST; ++tag) {
        const char* text = sf_get_string(source.handle(), tag);
        if (text != nullptr && tag != SF_STR_SOFTWARE) sf_set_string(file_, tag, text);
    }
    std::vector<int> map(static_cast<std::size_t>(channels_));
    const int bytes = static_cast<int>(map.size() * sizeof(int));
    if (source.channels() == channels_ &&
        sf_command(source.handle(), SFC_GET_CHANNEL_MAP_INFO, map.data(), bytes) == SF_TRUE) {
        sf_command(file_, SFC_SET_CHANNEL_MAP_INFO, map.data(), bytes);
    }
}

void AudioWriter::write(const double* samples, std::int64_t frames) {
    const auto count = static_cast<std::size_t>(frames) * static_cast<std::size_t>(channels_);
    for (std::size_t i = 0; i < count; ++i) {
        peak_ = std::max(peak_, std::abs(samples[i]));
        if (!std::isfinite(samples[i])) ++invalid_;
    }
    errno = 0;
    sf_count_t written = 0;
    if (integerBits_ > 0) {
        quantise(samples, count);
        written = sf_writef_int(file_, integers_.data(), frames);
    } else {
        written = sf_writef_double(file_, samples, frames);
    }
    if (written != frames) target_.fail(writeReason(file_));
}

/// Rounds to the format's own steps here, so that a sample read from 16 bits and unchanged is
/// written as the same 16 bits; the library's conversion scales by another factor than it reads.
void AudioWriter::quantise(const double* samples, std::size_t count) {
    integers_.resize(count);
    const double fullScale = std::ldexp(1.0, integerBits_ - 1);
    const double toTop = std::ldexp(1.0, 32 - integerBits_); // the value stands in the high bits
    for (std::size_t i = 0; i < count; ++i) {
        const double steps = std::isnan(samples[i]) ? 0.0 : std::nearbyint(samples[i] * fullScale);
        const double clipped = std::clamp(steps, -fullScale, fullScale - 1.0);
        if (clipped != steps) ++clipped_;
        integers_[i] = static_cast<int>(static_cast<std::int64_t>(clipped * toTop));
    }
}

void AudioWriter::commit() {
    errno = 0;
    const int closed = sf_close(std::exchange(file_, nullptr));
    if (closed != 0) target_.fail(errno != 0 ? std::strerror(errno) : sf_error_number(closed));
    target_.commit();
}

} // namespace lum::host
