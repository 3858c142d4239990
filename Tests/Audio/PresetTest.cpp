#include "Audio/CAudioPreset.h"

#include "Audio/StateFixture.h"
#include "Core/TempFolder.h"

namespace lum::test {
namespace {

CByteBuffer block(const char* text) {
    return CByteBuffer(text, std::strlen(text));
}

CAudioPreset presetNamed(const char* name) {
    CAudioPreset preset;
    preset.name = name;
    preset.setEntry("b", block("two"));
    preset.setEntry("a", block(""));
    return preset;
}

TEST(Preset, itsStreamIsNameCountAndSortedEntries) {
    constexpr char kBytes[] = "\x03\0\0\0x:y\x02\0\0\0\x01\0\0\0a\0\0\0\0\x01\0\0\0b\x03\0\0\0two";
    const CByteBuffer bytes = bytesOf(presetNamed("x:y"));
    EXPECT_EQ(bytes, CByteBuffer(kBytes, sizeof kBytes - 1));
    CMemoryReader reader(bytes);
    CAudioPreset loaded = presetNamed("other");
    loaded.setEntry("gone", block("old"));
    ASSERT_FALSE(loaded.load(reader));
    EXPECT_EQ(loaded.findEntry("gone"), nullptr);
    EXPECT_EQ(bytesOf(loaded), bytes);
    EXPECT_EQ(bytesOf(CAudioPreset()), CByteBuffer("\0\0\0\0\0\0\0\0", 8));
    EXPECT_EQ(CAudioPreset::idOf("none"), "");
    EXPECT_EQ(CAudioPreset::nameOf("a:b:c"), "b:c");
}

/// Every cut of a bank's bytes fails, and a count beyond the bytes does so before it costs memory.
TEST(Preset, whatDoesNotHoldItsCountsIsRefused) {
    CAudioPresetBank bank;
    bank.presets.push_back(presetNamed("1:a"));
    bank.presets.push_back(presetNamed("1:b"));
    const CByteBuffer whole = bytesOf(bank);
    for (size_t length = 0; length < whole.size(); length++) {
        CMemoryReader reader(whole.data(), static_cast<int32_t>(length));
        CAudioPresetBank loaded;
        EXPECT_TRUE(loaded.load(reader)) << length;
    }
    for (const uint32_t count : {3u, 70000u, 0x7fffffffu, 0xffffffffu}) {
        CByteBuffer wrong = whole;
        std::memcpy(wrong.data() + 4, &count, sizeof count);
        CMemoryReader reader(wrong);
        CAudioPresetBank loaded;
        EXPECT_TRUE(loaded.load(reader)) << count;
    }
}

TEST(Preset, aBankSortsByLowerCaseAndKeepsItsName) {
    CAudioPresetBank bank;
    bank.name = "Bank";
    for (const char* name : {"1:B", "1:a", "1:C"}) bank.presets.push_back(presetNamed(name));
    bank.sort();
    EXPECT_EQ(bank.presets[0].name, "1:a");
    EXPECT_EQ(bank.presets[2].name, "1:C");
    EXPECT_EQ(bank.name, "Bank");
    bank.resize(4);
    EXPECT_EQ(bank.presets[3].name, "");
}

TEST(Preset, filesHoldOneBlockAndTellTheirKind) {
    const CTempFolder folder;
    ASSERT_FALSE(presetNamed("1:a").saveToFile(folder / "a.cpf"));
    CAudioPreset preset;
    ASSERT_FALSE(preset.loadFromFile(folder / "a.cpf"));
    EXPECT_EQ(bytesOf(preset), bytesOf(presetNamed("1:a")));
    CAudioPresetBank bank;
    const std::string message = messageOf(bank.loadFromFile(folder / "a.cpf"));
    EXPECT_EQ(message.find("Invalid ID encountered when reading compressed data (expected "), 0u)
        << message;
    EXPECT_TRUE(preset.saveToFile(folder / "none/a.cpf"));
    std::string damaged = folder.get("a.cpf");
    damaged[damaged.size() / 2] = static_cast<char>(damaged[damaged.size() / 2] ^ 0x55);
    folder.put("a.cpf", damaged);
    EXPECT_TRUE(preset.loadFromFile(folder / "a.cpf"));
}

class FactoryData : public StateFixture {};

TEST_F(FactoryData, theStatesHaveTheirSizes) {
    EXPECT_EQ(chunk(true, false).size(), 1824u);
    EXPECT_EQ(chunk(false, false).size(), 13131u);
    CWriteSeqBuffer rom;
    ASSERT_FALSE(registry().acquireBank(true, rom));
    EXPECT_EQ(rom.getSize(), 13013 + 7) << "the bank's name has become that of the registry";
}

} // namespace
} // namespace lum::test
