/// Sound files, read and written through libsndfile.
#pragma once

#include "Host/WholeFile.h"

#include <cstdint>
#include <filesystem>
#include <sndfile.h>
#include <string>
#include <vector>

namespace lum::host {

/// A sound file open for reading. Throws Failure when it is missing or unreadable.
class AudioReader {
public:
    explicit AudioReader(const std::filesystem::path& path);
    ~AudioReader();
    AudioReader(const AudioReader&) = delete;
    AudioReader& operator=(const AudioReader&) = delete;

    double sampleRate() const { return info_.samplerate; }
    int channels() const { return info_.channels; }
    int format() const { return info_.format; }
    /// Frames by the file's head; -1 when it does not tell.
    std::int64_t frames() const;

    /// Reads interleaved frames [frames * channels] at full scale 1.0. Returns the frames read;
    /// fewer than asked for mean the end. Throws Failure when the data are damaged.
    std::int64_t read(double* samples, std::int64_t frames);

    SNDFILE* handle() const { return file_; }

private:
    std::filesystem::path path_;
    SF_INFO info_{};
    SNDFILE* file_ = nullptr;
};

/// A sound file in the making, under its name only after commit().
class AudioWriter {
public:
    /// format: libsndfile's number, major type and subtype. Throws Failure.
    AudioWriter(const std::filesystem::path& path, int format, int sampleRate, int channels);
    ~AudioWriter();
    AudioWriter(const AudioWriter&) = delete;
    AudioWriter& operator=(const AudioWriter&) = delete;

    /// Takes over title, artist and the like, and the channel map.
    void copyTags(const AudioReader& source);

    /// Appends interleaved frames [frames * channels]. Integer formats are rounded to the nearest
    /// step and clipped at full scale. Throws Failure, as when the disk is full.
    void write(const double* samples, std::int64_t frames);

    /// Completes the file under its final name. Throws Failure.
    void commit();

    std::int64_t clippedSamples() const { return clipped_; }
    std::int64_t invalidSamples() const { return invalid_; } // infinite or no number at all
    double peak() const { return peak_; }                    // linear, before clipping

private:
    void quantise(const double* samples, std::size_t count);

    PartialFile target_;
    int integerBits_ = 0; // 0: the format stores floating point or is lossy
    int channels_ = 0;
    SNDFILE* file_ = nullptr;
    std::vector<int> integers_;
    std::int64_t clipped_ = 0;
    std::int64_t invalid_ = 0;
    double peak_ = 0.0;
};

} // namespace lum::host
