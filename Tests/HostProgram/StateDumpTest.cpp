// The dump of every kind of file that the product writes, and what it says of damaged ones.

#include "Host/StoreRecord.h"
#include "HostProgram/HostFixture.h"

#include <cstring>

namespace lum::host {

namespace {

std::string textOf(const std::string& text) {
    return bytesOfNumber(static_cast<std::uint32_t>(text.size())) + text;
}

/// A parameter's entry of a preset; version, element size, data type and groups stand in `head`.
std::string entryOf(const std::string& key, std::initializer_list<std::uint32_t> head,
                    const std::string& values) {
    std::string block = textOf("tree." + key);
    for (const std::uint32_t number : head) block += bytesOfNumber(number);
    return textOf(key) + textOf(block + values);
}

std::string presetOf(const std::string& entry) {
    return textOf("id:Name") + bytesOfNumber(1) + entry;
}

std::string gainsOf(std::initializer_list<double> values) {
    std::string bytes = bytesOfNumber(static_cast<std::uint32_t>(values.size()));
    for (const double value : values) {
        bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
    }
    return bytes;
}

class StateDumpTest : public HostFixture {
protected:
    /// The dump's status; what it printed is in `printed`.
    int dump(const std::string& name) { return runProgram(LUM_DUMP_PROGRAM, path(name)); }
    int dumpOf(const std::string& bytes) {
        putFile(path("file"), bytes);
        return dump("file");
    }
    bool says(const std::string& words) const { return printed.find(words) != std::string::npos; }
};

TEST_F(StateDumpTest, everyKindOfFileIsPrinted) {
    ASSERT_EQ(run("info --program 3 --set 1EQ0=+3dB --save-preset " + path("a.cpf") +
                      " --save-bank " + path("a.cbf") + " --save-chunk " + path("a.chunk") +
                      " --plugin '" LUM_PLUGIN "'",
                  "XDG_CONFIG_HOME=/dev/null "),
              0)
        << printed;
    for (const char* name : {"a.cpf", "a.cbf", "a.chunk"}) {
        ASSERT_EQ(dump(name), 0) << printed;
        EXPECT_TRUE(says("preset \"168a:Side Bass Removal\", 15 entries")) << name;
        EXPECT_TRUE(says("modSorrelGEQ.gains (audio.modMain.modSorrelGEQ.gains)\n"
                         "      group 0: 1.41253"))
            << printed;
        EXPECT_TRUE(says("\n      group 1: 0.31586")) << name;
        EXPECT_TRUE(says("group 0: \"Mid\" \"Side\" \"g-3\"")) << name;
        EXPECT_EQ(says("bank \"Session Bank\", 7 presets"), std::strcmp(name, "a.cpf") != 0);
        EXPECT_EQ(says("host chunk, block \"abnk\""), std::strcmp(name, "a.chunk") == 0);
    }
    const std::string preset = presetOf(entryOf("gain", {1, 1, 0, 1}, gainsOf({0.5, 2.0})));
    const std::string list = bytesOfNumber(2) + textOf("One") + bytesOfNumber(1) + preset +
                             textOf("Two") + bytesOfNumber(0);
    EXPECT_EQ(dumpOf(recordOf("alst", list)), 0) << printed;
    EXPECT_TRUE(says("bank \"One\", 1 presets\n  preset \"id:Name\", 1 entries\n"
                     "    gain (tree.gain)\n      group 0: 0.5 2\nbank \"Two\", 0 presets\n"))
        << printed;
    EXPECT_EQ(dumpOf(textRecordOf("Gray")), 0);
    EXPECT_TRUE(says("text \"Gray\"")) << printed;
    EXPECT_EQ(dumpOf(recordOf("adat", "12345")), 0);
    EXPECT_TRUE(says("data, 5 bytes")) << printed;
}

TEST_F(StateDumpTest, damageIsNamed) {
    const std::string good = entryOf("gain", {1, 1, 0, 1}, gainsOf({0.5}));
    const std::string whole = recordOf("aprs", presetOf(good));
    struct Case {
        std::string bytes;
        const char* words;
    };
    const auto entryCase = [](std::initializer_list<std::uint32_t> head, const char* words) {
        return Case{recordOf("aprs", presetOf(entryOf("gain", head, gainsOf({0.5})))), words};
    };
    const Case cases[] = {
        {"", "Premature end"},
        {std::string(300, '\0'), "This is no preset, bank, list, chunk or store record"},
        {"something else", "This is no preset"},
        {whole.substr(0, 9), "Premature end"},
        {whole.substr(0, whole.size() / 2), "Premature end"},
        {std::string(whole).replace(4, 1, "\x7F"), "Invalid CRC"},
        {std::string(whole).replace(20, 2, "\xFF\xFF"), "zlib inflate error"},
        {recordOf("aprs", presetOf(good) + "12"), "2 bytes stand behind the end of the data."},
        {recordOf("abnk", presetOf(good)), "Premature end"},
        {recordOf("dstr", bytesOfNumber(100) + "short"), "Premature end"},
        entryCase({2, 1, 0, 1},
                  "Entry 'gain' of preset 'id:Name' is damaged: Unsupported data set"),
        entryCase({1, 0x7fffffff, 0, 1}, "is damaged: Unknown storage format (esize=2147483647"),
        entryCase({1, 0, 0, 1}, "is damaged: Unknown storage format (esize=0"),
        entryCase({1, 1, 77, 1}, "is damaged: Unknown storage format (esize=1, dtype=77)"),
        entryCase({1, 1, 0, 1000}, "Invalid group count 1000"),
        {recordOf("aprs", presetOf(entryOf("gain", {1}, ""))), "Entry 'gain' of preset"},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(dumpOf(test.bytes), 1) << test.words;
        EXPECT_TRUE(says(test.words)) << &test - cases << ": " << printed;
        EXPECT_TRUE(says(path("file") + ": ")) << printed;
    }
    EXPECT_EQ(dump("none"), 1);
    EXPECT_TRUE(says("cannot be read"));
    EXPECT_EQ(dump("."), 1) << "a folder";
    EXPECT_EQ(runProgram(LUM_DUMP_PROGRAM, ""), 2);
}

} // namespace

} // namespace lum::host
