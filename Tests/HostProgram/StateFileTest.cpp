// Programs, presets, banks and chunks on the command line, with the product's own plug-in, which
// writes and reads them through the host interface.

#include "Host/StateFile.h"
#include "Host/Failure.h"
#include "HostProgram/HostFixture.h"

#include <zlib.h>

namespace lum::host {

namespace {

class StateFileTest : public HostFixture {
protected:
    int product(const std::string& arguments) {
        // No settings of the user's: they may hold a default preset.
        return run(arguments + " --plugin '" LUM_PLUGIN "'", "XDG_CONFIG_HOME=/dev/null ");
    }
    /// The parameters as `info` shows them in this state.
    std::string parametersIn(const std::string& arguments) {
        EXPECT_EQ(product("info --json " + arguments), 0) << printed;
        return printed.substr(printed.find("\"parameters\""));
    }
    std::string bytesOf(const std::string& name) const {
        std::ifstream file(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    void write(const std::string& name, const std::string& bytes) const {
        std::ofstream(path(name), std::ios::binary) << bytes;
    }
    void saveAll() {
        ASSERT_EQ(product("info --program presence --set 1EQ0=+3dB --save-preset " + path("a.cpf") +
                          " --save-bank " + path("a.cbf") + " --save-chunk " + path("a.chunk")),
                  0)
            << printed;
    }
};

TEST_F(StateFileTest, whatWasSavedComesBack) {
    saveAll();
    const std::string wanted = parametersIn("--program 2 --set 1EQ0=+3dB");
    EXPECT_NE(wanted, parametersIn("--program 2"));
    EXPECT_NE(wanted, parametersIn(""));
    write("program.chunk", std::string(16, '\0') + bytesOf("a.cpf"));
    for (const std::string& state :
         {"--preset " + path("a.cpf"), "--bank " + path("a.cbf") + " --program 2",
          "--chunk " + path("a.chunk") + " --program PRESENCE",
          "--chunk " + path("program.chunk") + " --program 5",
          "--bank " + path("a.cbf") + " --program 1 --preset " + path("a.cpf")}) {
        EXPECT_EQ(parametersIn(state), wanted) << state;
    }
    ASSERT_EQ(product("info --chunk " + path("a.chunk") + " --program 2 --save-preset " +
                      path("b.cpf") + " --save-bank " + path("b.cbf") + " --save-chunk " +
                      path("b.chunk")),
              0);
    EXPECT_EQ(bytesOf("b.cpf"), bytesOf("a.cpf"));
    EXPECT_EQ(bytesOf("b.cbf"), bytesOf("a.cbf"));
    EXPECT_EQ(bytesOf("b.chunk"), bytesOf("a.chunk"));
}

TEST_F(StateFileTest, aRenderingStartsFromTheState) {
    saveAll();
    writeNoise("in.wav", 2, 3000);
    const std::string files = "render " + path("in.wav") + " ";
    const std::string form = " --subtype double --bits 64";
    ASSERT_EQ(product(files + path("set.wav") + " --program 2 --set 1EQ0=+3dB" + form), 0);
    ASSERT_EQ(product(files + path("preset.wav") + " --preset " + path("a.cpf") + form), 0);
    EXPECT_NE(printed.find("preset \"168a:Presence\", 15 entries of"), std::string::npos)
        << printed;
    ASSERT_EQ(product(files + path("plain.wav") + form), 0);
    EXPECT_EQ(readAll("preset.wav"), readAll("set.wav"));
    EXPECT_NE(readAll("preset.wav"), readAll("plain.wav"));
}

TEST_F(StateFileTest, aWrongStateSaysWhyAndRendersNothing) {
    saveAll();
    writeNoise("in.wav", 2, 100);
    write("text.cpf", "this is no preset");
    write("half.cpf", bytesOf("a.cpf").substr(0, 300));
    write("empty", "");
    write("list", std::string("alst") + bytesOf("a.cbf").substr(4));
    const std::size_t files = fileCount();
    struct Case {
        std::string arguments;
        const char* words;
    };
    const Case cases[] = {
        {"--program Prescence", "no program \"Prescence\"; it has 0 \"Default\", 1 \"Brighter"},
        {"--program 7", "no program \"7\""},
        {"--preset " + path("none.cpf"), "No such file"},
        {"--preset " + path("a.cbf"), "is no preset, it is a bank (load it with --bank)"},
        {"--bank " + path("a.cpf"), "is no bank, it is a preset (load it with --preset)"},
        {"--bank " + path("list"), "it is a list of banks"},
        {"--preset " + path("a.chunk"), "is a host's chunk (use --chunk)"},
        {"--chunk " + path("a.cpf"), "is no chunk, it is a preset"},
        {"--chunk " + path("empty"), "is empty"},
        {"--chunk " + path("in.wav"), "refuses the chunk of"},
        {"--preset " + path("text.cpf"), "is no preset file"},
        {"--preset " + path("half.cpf"), "is damaged: its packed data are corrupt or incomplete"},
        {"--preset " + folder.string(), "is a folder"},
        {"--save-preset " + path("no/folder/x.cpf"), "cannot write"},
        {"--save-preset " + folder.string(), "cannot write"},
        {"--save-bank /dev/full", "No space left"},
        {"--preset " + path("a.cpf") + " --plugin '" LUM_TEST_PLUGIN "'", "does not take a state"},
        {"--save-bank " + path("x.cbf") + " --plugin '" LUM_TEST_PLUGIN "'", "no state to save"},
        {"--program 0 --plugin '" LUM_TEST_PLUGIN "'", "no program \"0\"; it has none"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.arguments);
        const std::string plugin = test.arguments.find("--plugin") == std::string::npos
                                       ? " --plugin '" LUM_PLUGIN "'"
                                       : "";
        EXPECT_EQ(
            run("render " + path("in.wav") + " " + path("out.wav") + " " + test.arguments + plugin,
                "XDG_CONFIG_HOME=/dev/null "),
            1);
        EXPECT_NE(printed.find(test.words), std::string::npos) << printed;
        EXPECT_EQ(fileCount(), files);
    }
}

/// What a preset file holds, unpacked; nothing when it cannot be read.
std::string payloadOf(const std::string& file) {
    std::string payload(1 << 16, '\0');
    uLongf size = payload.size();
    if (file.size() < 12 ||
        uncompress(reinterpret_cast<Bytef*>(payload.data()), &size,
                   reinterpret_cast<const Bytef*>(file.data() + 12), file.size() - 12) != Z_OK) {
        return {};
    }
    payload.resize(size);
    return payload;
}

TEST_F(StateFileTest, noDamageGoesUnnoticed) {
    saveAll();
    const std::string whole = bytesOf("a.cpf");
    const std::string payload = payloadOf(whole);
    ASSERT_NO_THROW(readPresetFile(path("a.cpf")));
    for (std::size_t i = 0; i < whole.size(); ++i) {
        write("damaged.cpf", whole.substr(0, i));
        EXPECT_THROW(readPresetFile(path("damaged.cpf")), Failure) << "cut at " << i;
        std::string flipped = whole;
        flipped[i] = static_cast<char>(flipped[i] ^ (1 << i % 8));
        // A copy from elsewhere in a run of zeros unpacks to the same bytes.
        if (i >= 12 && payloadOf(flipped) == payload) continue;
        write("damaged.cpf", flipped);
        EXPECT_THROW(readPresetFile(path("damaged.cpf")), Failure) << "bit of byte " << i;
    }
}

} // namespace

} // namespace lum::host
