/// A folder of its own, sound files in it, and the program run as a user runs it.
#pragma once

#include "Host/AudioFile.h"
#include "Host/PluginInstance.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace lum::host {

class HostFixture : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (std::filesystem::temp_directory_path() / "host-XXXXXX").string();
        folder = mkdtemp(pattern.data());
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    std::string path(const std::string& name) const { return (folder / name).string(); }

    /// Seeded noise within full scale, on the grid of 16 bits.
    static std::vector<double> noise(std::size_t count) {
        std::mt19937 random(7);
        std::uniform_int_distribution<int> step(-30000, 30000);
        std::vector<double> samples(count);
        for (double& sample : samples) sample = step(random) / 32768.0;
        return samples;
    }

    std::vector<double> writeNoise(const std::string& name, int channels, int frames,
                                   int format = SF_FORMAT_WAV | SF_FORMAT_PCM_16) const {
        const auto samples = noise(static_cast<std::size_t>(channels * frames));
        AudioWriter writer(path(name), format, 48000, channels);
        writer.write(samples.data(), frames);
        writer.commit();
        return samples;
    }

    std::vector<double> readAll(const std::string& name) const {
        AudioReader reader(path(name));
        std::vector<double> samples(static_cast<std::size_t>(reader.frames() * reader.channels()));
        EXPECT_EQ(reader.read(samples.data(), reader.frames()), reader.frames());
        return samples;
    }

    /// Runs the program; what it printed, on both outputs, is left in `printed`.
    int run(const std::string& arguments, const std::string& before = "") {
        return runProgram(LUM_HOST_PROGRAM, arguments, before);
    }
    int runProgram(const std::string& program, const std::string& arguments,
                   const std::string& before = "") {
        const std::string command =
            before + "'" + program + "' " + arguments + " >'" + path("printed") + "' 2>&1";
        const int status = std::system(command.c_str());
        std::ifstream file(path("printed"));
        std::stringstream text;
        text << file.rdbuf();
        printed = text.str();
        std::filesystem::remove(path("printed"));
        return WEXITSTATUS(status);
    }

    int render(const std::string& arguments, const std::string& before = "") {
        return run("render --plugin '" LUM_TEST_PLUGIN "' " + arguments, before);
    }

    std::size_t fileCount() const {
        const std::filesystem::directory_iterator files(folder);
        return static_cast<std::size_t>(std::distance(begin(files), end(files)));
    }

    std::filesystem::path folder;
    std::string printed;
};

} // namespace lum::host
