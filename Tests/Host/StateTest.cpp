// Programs, chunks and what else a host sees of the state, through the plug-in's binary.

#include "Host/HostedPlugin.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <zlib.h>

using namespace lum::vst;

namespace {

constexpr const char* kPrograms[] = {"Default",           "Brighter and Bassy", "Presence",
                                     "Side Bass Removal", "Mids Boost",         "Lo-Fi",
                                     "Ultra Bass Boost"};

using Bytes = std::vector<char>;

Bytes chunkOf(Instance& instance, bool isPreset) {
    void* data = nullptr;
    const auto size = instance.send(kEffectGetChunk, isPreset, 0, &data);
    const auto* bytes = static_cast<const char*>(data);
    return bytes ? Bytes(bytes, bytes + size) : Bytes();
}

intptr_t give(Instance& instance, bool isPreset, Bytes chunk) {
    return instance.send(kEffectSetChunk, isPreset, static_cast<intptr_t>(chunk.size()),
                         chunk.data());
}

/// What a chunk holds, unpacked.
std::string payloadOf(const Bytes& chunk) {
    uint32_t size = 0;
    std::memcpy(&size, chunk.data() + 20, sizeof size);
    std::string payload(size, 0);
    uLongf got = size;
    const int result =
        uncompress(reinterpret_cast<Bytef*>(payload.data()), &got,
                   reinterpret_cast<const Bytef*>(chunk.data() + 28), chunk.size() - 28);
    EXPECT_EQ(result, Z_OK);
    return payload;
}

/// Whether the text stands there as a string of its own, behind its length.
bool holdsText(const std::string& payload, const std::string& text) {
    const auto length = static_cast<uint32_t>(text.size());
    return payload.find(std::string(reinterpret_cast<const char*>(&length), 4) + text) !=
           std::string::npos;
}

/// Shown level of a band, as the host sees it.
std::string band(Instance& instance, int group, int index) {
    return instance.text(kEffectGetParameterDisplay, 1 + 17 * group + index);
}

/// An arrangement of named speakers.
struct Speakers {
    explicit Speakers(std::vector<std::string> names)
        : bytes(sizeof(SpeakerArrangement) + 16 * sizeof(SpeakerProperties)) {
        get()->numChannels = static_cast<int32_t>(names.size());
        char* at = bytes.data() + offsetof(SpeakerArrangement, speakers);
        for (const std::string& name : names) {
            std::memcpy(at + offsetof(SpeakerProperties, name), name.c_str(), name.size() + 1);
            at += sizeof(SpeakerProperties);
        }
    }
    SpeakerArrangement* get() { return reinterpret_cast<SpeakerArrangement*>(bytes.data()); }
    std::vector<char> bytes;
};

intptr_t arrange(Instance& instance, Speakers& speakers) {
    return instance.send(kEffectSetSpeakerArrangement, 0,
                         reinterpret_cast<intptr_t>(speakers.get()), speakers.get());
}

} // namespace

TEST(State, theProgramsAreTheFactorys) {
    Instance instance;
    ASSERT_EQ(instance.effect->numPrograms, 7);
    for (int i = 0; i < 7; i++) {
        EXPECT_EQ(instance.text(kEffectProgramNameIndexed, i), kPrograms[i]);
        instance.send(kEffectSetProgram, 0, i);
        EXPECT_EQ(instance.send(kEffectGetProgram), i);
        EXPECT_EQ(instance.text(kEffectGetProgramName), kPrograms[i]);
    }
    char name[24];
    EXPECT_EQ(instance.send(kEffectProgramNameIndexed, 7, -1, name), 0);
    EXPECT_EQ(instance.send(kEffectProgramNameIndexed, -1, -1, name), 0);
    EXPECT_EQ(band(instance, 0, 0), "10.7");
    instance.send(kEffectSetProgram, 0, 3);
    EXPECT_EQ(band(instance, 0, 1), "2.6");
    EXPECT_EQ(band(instance, 1, 0), "-10.0");
    instance.set(1, 1.0F);
    instance.send(kEffectSetProgram, 0, 5);
    EXPECT_EQ(band(instance, 0, 15), "-12.0");
    instance.send(kEffectSetProgram, 0, 3);
    EXPECT_EQ(band(instance, 0, 0), "12.0") << "edits survive a change of program";
    instance.send(kEffectSetProgram, 0, 7);
    EXPECT_EQ(instance.send(kEffectGetProgram), 3);
}

/// All values of the factory, and the byte form: both as golden chunks have kept them. The packed
/// bytes are the packer's affair.
TEST(State, whatIsSavedIsWhatTheGoldenChunksHold) {
    Instance untouched;
    const auto golden = [](const std::filesystem::path& path) {
        std::ifstream file(path, std::ios::binary);
        return Bytes{std::istreambuf_iterator<char>(file), {}};
    };
    const std::filesystem::path folder = LUM_TEST_DATA "/Chunks";
    EXPECT_EQ(payloadOf(chunkOf(untouched, false)),
              payloadOf(golden(folder / "bank-untouched.chunk")));
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() != ".chunk") continue;
        const bool isPreset = entry.path().filename().string().starts_with("program");
        const Bytes chunk = golden(entry.path());
        Instance instance;
        ASSERT_EQ(give(instance, isPreset, chunk), 1) << entry.path();
        EXPECT_EQ(payloadOf(chunkOf(instance, isPreset)), payloadOf(chunk)) << entry.path();
        count++;
    }
    EXPECT_GT(count, 10);
}

/// Hosts ask for a state again and again; each is that of the moment.
TEST(State, everyStateIsThatOfItsMoment) {
    Instance instance;
    for (const bool isPreset : {true, false}) {
        const Bytes before = chunkOf(instance, isPreset);
        EXPECT_EQ(chunkOf(instance, isPreset), before);
        instance.set(3, 0.75F);
        const Bytes after = chunkOf(instance, isPreset);
        Instance other;
        ASSERT_EQ(give(other, isPreset, after), 1);
        EXPECT_EQ(band(other, 0, 2), "6.0");
        instance.set(3, 0.5F);
        ASSERT_EQ(give(other, isPreset, chunkOf(instance, isPreset)), 1);
        EXPECT_EQ(band(other, 0, 2), "0.0");
    }
}

/// The bypass belongs to the session: it stays over programs, and a state brings it back in all.
TEST(State, theBypassIsNoPartOfAProgram) {
    const auto bypass = [](Instance& instance) {
        return instance.effect->getParameter(instance.effect, 0);
    };
    Instance instance;
    instance.set(0, 1.0F);
    instance.send(kEffectSetProgram, 0, 2);
    EXPECT_EQ(bypass(instance), 1.0F);
    const Bytes bank = chunkOf(instance, false);
    const Bytes program = chunkOf(instance, true);
    Instance other;
    other.send(kEffectSetProgram, 0, 5);
    ASSERT_EQ(give(other, false, bank), 1);
    EXPECT_EQ(bypass(other), 1.0F) << "though it was on in programs 0 and 2 alone";
    other.set(0, 0.0F);
    other.send(kEffectSetProgram, 0, 2);
    EXPECT_EQ(bypass(other), 0.0F);
    ASSERT_EQ(give(other, true, program), 1);
    EXPECT_EQ(bypass(other), 1.0F);
}

/// The host is told of each value that a program brings, once the program stands.
TEST(State, aProgramChangeReachesTheHostsParameters) {
    Instance instance;
    auto& told = HostModel::current().automations;
    told.clear();
    instance.send(kEffectSetProgram, 0, 6);
    const auto expected = static_cast<float>((10.72 + 12.0) / 24.0);
    EXPECT_FLOAT_EQ(instance.effect->getParameter(instance.effect, 1), expected);
    ASSERT_EQ(told.size(), 4U) << "the four bands that differ";
    std::ranges::sort(told);
    EXPECT_EQ(told[0].first, 1);
    EXPECT_FLOAT_EQ(told[0].second, expected);
    told.clear();
}

/// What the host did itself it need not look up again.
TEST(State, theHostIsAskedToLookOnlyAtWhatItDidNotDo) {
    HostModel& host = HostModel::current();
    const HostModel saved = host;
    Instance instance;
    const Bytes bank = chunkOf(instance, false);
    int displays = 0;
    host.heard = [&](int32_t opcode) { displays += opcode == kHostUpdateDisplay; };
    char name[] = "Mine";
    instance.send(kEffectSetProgram, 0, 4);
    instance.send(kEffectSetProgramName, 0, 0, name);
    EXPECT_EQ(displays, 0);
    ASSERT_EQ(give(instance, false, bank), 1);
    EXPECT_GT(displays, 0) << "the names have changed";
    host = saved;
}

TEST(State, namesAreCutWhereTheyAreShown) {
    Instance instance;
    char longName[] = "A name of more than twenty-three characters";
    instance.send(kEffectSetProgramName, 0, 0, longName);
    EXPECT_EQ(instance.text(kEffectGetProgramName), "A name of more than twe");
    const Bytes chunk = chunkOf(instance, true);
    EXPECT_TRUE(holdsText(payloadOf(chunk), longName)) << "the preset's name has followed";
    Instance other;
    ASSERT_EQ(give(other, true, chunk), 1);
    EXPECT_EQ(other.text(kEffectProgramNameIndexed, 0), "A name of more than twe");
    EXPECT_EQ(chunkOf(other, true), chunk) << "the whole name is in the chunk";
    char umlauts[] = "\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4"
                     "\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4";
    instance.send(kEffectSetProgramName, 0, 0, umlauts);
    EXPECT_EQ(instance.text(kEffectGetProgramName).size(), 22u) << "no half characters";
    char empty[] = "";
    instance.send(kEffectSetProgramName, 0, 0, empty);
    EXPECT_EQ(instance.text(kEffectGetProgramName), "");
}

TEST(State, chunksComeBackByteForByteInAnotherInstance) {
    Instance instance;
    instance.open(44100);
    for (int program = 0; program < 7; program++) {
        instance.send(kEffectSetProgram, 0, program);
        instance.set(1 + program, 0.25F);
        for (const bool isPreset : {true, false}) {
            const Bytes chunk = chunkOf(instance, isPreset);
            EXPECT_EQ(Bytes(chunk.begin(), chunk.begin() + 16), Bytes(16, 0));
            EXPECT_EQ(std::string(chunk.data() + 16, 4), isPreset ? "aprs" : "abnk");
            Instance other;
            other.send(kEffectSetProgram, 0, program);
            ASSERT_EQ(give(other, isPreset, chunk), 1);
            EXPECT_EQ(chunkOf(other, isPreset), chunk) << program;
            EXPECT_EQ(give(other, !isPreset, chunk), 0) << "the other kind";
            EXPECT_EQ(chunkOf(other, isPreset), chunk);
        }
    }
    const Bytes before = chunkOf(instance, false);
    for (const size_t length : {1, 16})
        EXPECT_EQ(give(instance, false,
                       Bytes(before.begin(), before.begin() + static_cast<long>(length))),
                  1);
    for (const size_t length : {17, 20, 27, 40, 500})
        EXPECT_EQ(give(instance, false,
                       Bytes(before.begin(), before.begin() + static_cast<long>(length))),
                  0);
    EXPECT_EQ(instance.send(kEffectSetChunk, 0, -5, const_cast<char*>(before.data())), 0);
    EXPECT_EQ(chunkOf(instance, false), before);
}

TEST(State, theStoredDefaultPresetStandsInTheFirstProgram) {
    std::string pattern = (std::filesystem::temp_directory_path() / "state-XXXXXX").string();
    const std::string folder = mkdtemp(pattern.data());
    const std::string store = folder + "/Lumeron/Audio Plug-Ins/Sorrel GEQ";
    std::filesystem::create_directories(store);
    Bytes chunk;
    {
        Instance maker;
        maker.set(1, 1.0F);
        chunk = chunkOf(maker, true);
    }
    for (const bool isGood : {true, false}) {
        std::ofstream(store + "/default-preset", std::ios::binary)
            .write(chunk.data() + 16, static_cast<long>(chunk.size() - (isGood ? 16 : 40)));
        PluginFile::settingsFolder() = folder;
        Instance instance;
        PluginFile::settingsFolder() = "/dev/null";
        EXPECT_EQ(band(instance, 0, 0), isGood ? "12.0" : "0.0");
        instance.send(kEffectSetProgram, 0, 1);
        EXPECT_EQ(band(instance, 0, 0), "4.6");
    }
    std::filesystem::remove_all(folder);
}

/// The routing that nobody has touched follows the host's speakers, and their names come with it.
TEST(State, arrangementsAdaptTheRoutingAndImportTheirLabels) {
    HostModel& host = HostModel::current();
    const HostModel saved = host;
    struct Row {
        const char* vendor;
        const char* product;
        bool isImported;
    };
    constexpr Row kRows[] = {{"Any", "Any", true},
                             {"Cakewalk Music", "Any", false},
                             {"Twelve Tone Systems", "Any", false},
                             {"Any", "My Sonar X", false},
                             {"Any", "FX Teleport", false}};
    for (const Row& row : kRows) {
        host.vendor = row.vendor;
        host.product = row.product;
        Instance instance;
        Speakers surround({"Lf", "Rf", "Cf", "?", "VeryLongName", ""});
        ASSERT_EQ(arrange(instance, surround), 1);
        const Bytes chunk = chunkOf(instance, true);
        const std::string payload = payloadOf(chunk);
        for (const char* label : {"Lf", "Rf", "Cf", "IN4", "VeryLon", "IN6", "MULTI"})
            EXPECT_EQ(holdsText(payload, label), row.isImported) << label << " in " << row.product;
        instance.open(48000);
        const auto input = noise<float>(6, 2000);
        const auto output = render(instance, input);
        const auto isHeard = std::ranges::any_of(output[5], [](float s) { return s != 0.0F; });
        EXPECT_EQ(isHeard, row.isImported) << row.vendor << row.product;
        Instance other;
        ASSERT_EQ(give(other, true, chunk), 1);
        EXPECT_EQ(chunkOf(other, true), chunk);
    }
    host = saved;
    Instance instance;
    for (int count = 1; count <= 8; count++) {
        Speakers speakers(std::vector<std::string>(static_cast<size_t>(count), "S"));
        ASSERT_EQ(arrange(instance, speakers), 1) << count;
        instance.open(48000);
        const auto input = noise<float>(count, 1000);
        const auto output = render(instance, input);
        const size_t source = 999 - static_cast<size_t>(instance.effect->initialDelay);
        for (size_t channel = 0; channel < output.size(); channel++)
            EXPECT_NEAR(output[channel][999], input[channel][source], 1e-5) << count;
        instance.suspend();
    }
}

TEST(State, precisionsAlternateWithoutALoss) {
    Instance instance;
    instance.open(44100);
    const auto single = noise<float>(8, 600);
    const auto wide = noise<double>(8, 600);
    for (int i = 0; i < 3; i++) {
        EXPECT_NE(render(instance, single)[0][599], -99.0F);
        EXPECT_NE(render(instance, wide)[0][599], -99.0);
    }
    instance.send(kEffectSetProcessPrecision, 0, 1);
    const auto output = render(instance, wide, {600});
    EXPECT_NEAR(output[1][599], wide[1][599 - 392], 1e-12);
}
