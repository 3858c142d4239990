#include "HostProgram/HostFixture.h"

#include <cmath>

namespace lum::host {

namespace {

constexpr std::size_t kLatency = 100; // of the test plug-in at 48 kHz

TEST_F(HostFixture, unchangedSoundComesBackBitForBitAndInLine) {
    struct Case {
        int channels;
        int frames;
        const char* output;
        const char* options;
    };
    const Case cases[] = {
        {1, 5000, "out.wav", ""},
        {2, 5000, "out.wav", "--bits 64"},
        {2, 512, "out.wav", ""}, // the file ends with a block
        {8, 1000, "out.wav", "--block 1,7,64,500"},
        {2, 50, "out.flac", "--block 4096"}, // shorter than the latency
        {2, 0, "out.wav", ""},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(std::string(test.output) + " " + test.options);
        const auto source = writeNoise("in.wav", test.channels, test.frames);
        ASSERT_EQ(render(path("in.wav") + " " + path(test.output) + " " + test.options), 0)
            << printed;
        EXPECT_EQ(readAll(test.output), source);
    }
}

TEST_F(HostFixture, tailAndUncompensatedDelayAreCountedInFrames) {
    const auto source = writeNoise("in.wav", 2, 1000);
    ASSERT_EQ(
        render(path("in.wav") + " " + path("out.wav") + " --no-latency-compensation --tail 0.01"),
        0);
    const auto result = readAll("out.wav");
    ASSERT_EQ(result.size(), 2 * 1480U); // 0.01 s are 480 frames
    for (std::size_t i = 0; i < result.size(); ++i) {
        const std::size_t delayed = i - 2 * kLatency;
        const bool isSilent = i < 2 * kLatency || delayed >= source.size();
        ASSERT_EQ(result[i], isSilent ? 0.0 : source[delayed]) << i;
    }
}

TEST_F(HostFixture, aTimedSettingActsOnItsFrameInAnyBlockSize) {
    const auto source = writeNoise("in.wav", 1, 4800);
    for (const char* blocks : {"512", "1", "4096", "7,300"}) {
        ASSERT_EQ(render(path("in.wav") + " " + path("out.wav") + " --subtype double --bits 64" +
                         " --set Mode@0.05s=on --set Gain=-6dB --set Mode@0.06=Off --block " +
                         blocks),
                  0)
            << printed;
        const auto result = readAll("out.wav");
        const double gain = std::pow(10.0, -6.0 / 20.0);
        for (std::size_t i = 0; i < result.size(); ++i) {
            const bool isMuted = i >= 2400 && i < 2880;
            // The plug-in's own conversion carries six decimals.
            ASSERT_NEAR(result[i], isMuted ? 0.0 : source[i] * gain, 2e-5) << i << " " << blocks;
        }
    }
}

TEST_F(HostFixture, aFailureSaysWhyAndLeavesNoFile) {
    writeNoise("in.wav", 2, 100000);
    writeNoise("nine.wav", 9, 10);
    std::ofstream(path("text.wav")) << "this is no sound";
    const std::size_t files = fileCount();
    struct Case {
        std::string arguments;
        const char* words;
    };
    const std::string in = path("in.wav") + " ";
    const std::string out = path("out.wav");
    const Case cases[] = {
        {path("missing.wav") + " " + out, "No such file"},
        {path("text.wav") + " " + out, "no sound file"},
        {path("nine.wav") + " " + out, "at most 8 channels"},
        {in + path("out.xyz"), "does not tell a sound format"},
        {in + path("no/folder/out.wav"), "No such file"},
        {in + "/dev/null.wav/x.wav", "cannot write"},
        {in + out + " --subtype vorbis", "cannot hold"},
        {in + out + " --set Gian=-3dB", "near it: Gain"},
        {in + out + " --set Gain=-3Hz", "is in dB, not in Hz"},
        {in + out + " --set Gain=-99dB", "goes from \"-24.0\" to \"24.0\""},
        {in + out + " --set Gain=-3", "write -3dB"},
        {in + out + " --set Gain", "is no setting"},
        {in + out + " --plugin " + path("in.wav"), "cannot load the plug-in"},
        {in + out + " --plugin " + path("none.so"), "there is no plug-in"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.arguments);
        EXPECT_EQ(render(test.arguments), 1);
        EXPECT_NE(printed.find(test.words), std::string::npos) << printed;
        EXPECT_EQ(fileCount(), files);
    }
}

TEST_F(HostFixture, aFullDiskLeavesTheOldOutputAsItWas) {
    writeNoise("in.wav", 2, 200000);
    const auto old = writeNoise("out.wav", 1, 10);
    for (const char* output : {"out.wav", "out.flac"}) {
        // A limit of 64 KiB for a file fails the write as a full disk does.
        EXPECT_EQ(render(path("in.wav") + " " + path(output), "ulimit -f 64; "), 1);
        EXPECT_NE(printed.find("cannot write"), std::string::npos) << printed;
        EXPECT_NE(printed.find("File too large"), std::string::npos) << printed;
        EXPECT_EQ(fileCount(), 2U);
    }
    EXPECT_EQ(readAll("out.wav"), old);
}

TEST_F(HostFixture, oneFailingFileOfManyDoesNotStopTheOthers) {
    const auto source = writeNoise("a.wav", 2, 3000);
    writeNoise("b.wav", 2, 3000);
    std::ofstream(path("text.wav")) << "this is no sound";
    std::filesystem::create_directory(path("sub"));
    writeNoise("sub/a.wav", 1, 500);
    const std::string inputs = path("a.wav") + " " + path("text.wav") + " " + path("missing.wav") +
                               " " + path("sub/a.wav") + " " + path("b.wav");
    EXPECT_EQ(render(inputs + " --out " + path("new/out") + " --set Mode@0.05s=on"), 1);
    for (const char* words :
         {"text.wav: ", "no sound file", "missing.wav: ", "No such file",
          "sub/a.wav: its output would replace that of", "2 of 5 files were rendered"}) {
        EXPECT_NE(printed.find(words), std::string::npos) << words << "\n" << printed;
    }
    const auto first = readAll("new/out/a.wav");
    EXPECT_EQ(readAll("new/out/b.wav"), first) << "both begin with the same state";
    EXPECT_EQ(std::vector<double>(first.begin(), first.begin() + 4800),
              std::vector<double>(source.begin(), source.begin() + 4800));
    EXPECT_NE(first, source);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(path("new/out")), {}), 2);
}

TEST_F(HostFixture, manyFilesKeepTheirNamesInTheFolder) {
    const auto source = writeNoise("a.b.wav", 2, 3000);
    writeNoise("c.wav", 1, 3000);
    const std::string inputs = path("a.b.wav") + " " + path("c.wav");
    ASSERT_EQ(render(inputs + " --out " + path("out") + " --format flac"), 0) << printed;
    EXPECT_EQ(readAll("out/a.b.flac"), source);
    EXPECT_TRUE(std::filesystem::exists(path("out/c.flac")));
    EXPECT_EQ(render(inputs + " --out " + folder.string()), 1);
    EXPECT_NE(printed.find("would replace the input"), std::string::npos) << printed;
    EXPECT_EQ(readAll("a.b.wav"), source);
    EXPECT_EQ(render(inputs + " --out " + path("c.wav")), 1) << "a file is no folder";
    EXPECT_NE(printed.find("cannot make the folder"), std::string::npos) << printed;
    EXPECT_EQ(render(inputs + " --out " + path("other") + " --set Gian=0.5"), 1);
    EXPECT_FALSE(std::filesystem::exists(path("other"))) << "a wrong setting is found before";
    EXPECT_EQ(render(inputs + " " + path("x.wav")), 2);
    EXPECT_EQ(render(path("c.wav")), 2);
    EXPECT_EQ(render(inputs + " --format flac"), 2);
}

TEST_F(HostFixture, aFileMayBeRenderedOntoItself) {
    const auto source = writeNoise("in.wav", 2, 3000);
    ASSERT_EQ(render(path("in.wav") + " " + path("in.wav")), 0) << printed;
    EXPECT_EQ(readAll("in.wav"), source);
}

TEST_F(HostFixture, wrongUsageExitsWithTwo) {
    EXPECT_EQ(run("render"), 2);
    EXPECT_EQ(run("dance"), 2);
    EXPECT_EQ(render(path("in.wav") + " " + path("out.wav") + " --bits 16"), 2);
    EXPECT_EQ(render(path("in.wav") + " " + path("out.wav") + " --block 0"), 2);
    EXPECT_EQ(run("render --help"), 0);
}

TEST_F(HostFixture, overloadIsClippedAndTold) {
    const auto source = writeNoise("in.wav", 1, 1000);
    ASSERT_EQ(render(path("in.wav") + " " + path("out.wav") + " --set Gain=+24dB"), 0);
    EXPECT_NE(printed.find("were clipped"), std::string::npos);
    for (const double sample : readAll("out.wav")) {
        ASSERT_LE(sample, 32767.0 / 32768.0);
        ASSERT_GE(sample, -1.0);
    }
}

} // namespace

} // namespace lum::host
