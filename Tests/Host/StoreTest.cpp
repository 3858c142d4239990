// Where the plug-in's binary looks for its records, and that none of them keeps it from loading.

#include "Host/HostedPlugin.h"
#include "Host/StoreRecord.h"

using namespace lum::vst;

namespace {

namespace fs = std::filesystem;

/// A copy of the plug-in in a folder of its own, and a user with another.
class Stores : public ::testing::Test {
protected:
    Stores() {
        std::string pattern = (fs::temp_directory_path() / "store-XXXXXX").string();
        folder = mkdtemp(pattern.data());
        fs::create_directories(folder / "module");
        fs::create_directories(folder / "user");
        fs::copy_file(LUM_PLUGIN, folder / "module" / "Copy.so");
        PluginFile::path() = (folder / "module" / "Copy.so").string();
        PluginFile::settingsFolder() = (folder / "user").string();
    }
    ~Stores() override {
        PluginFile::path() = LUM_PLUGIN;
        PluginFile::settingsFolder() = "/dev/null";
        fs::remove_all(folder);
    }
    void put(const std::string& place, const std::string& bytes) { putFile(folder / place, bytes); }
    /// The file of a preset whose first band has the given normalised value.
    static std::string presetWith(float value) {
        Instance maker;
        maker.set(1, value);
        void* data = nullptr;
        const intptr_t size = maker.send(kEffectGetChunk, 1, 0, &data);
        return std::string(static_cast<const char*>(data), static_cast<size_t>(size)).substr(16);
    }
    static int channels() {
        Instance instance;
        return instance.effect ? instance.effect->numInputs : 0;
    }
    std::string shownBand() {
        Instance instance;
        return instance.effect ? instance.text(kEffectGetParameterDisplay, 1) : "no instance";
    }

    fs::path folder;
};

TEST_F(Stores, ofAllPlugInsAreInTheUsersFolderOrBesideTheFile) {
    EXPECT_EQ(channels(), 8);
    put("user/Lumeron/Audio Plug-Ins/force-2ch", textRecordOf("true"));
    EXPECT_EQ(channels(), 2);
    fs::create_directories(folder / "module/Lumeron Settings");
    EXPECT_EQ(channels(), 2) << "what the portable folder lacks";
    put("module/Lumeron Settings/Audio Plug-Ins/force-2ch", textRecordOf("false"));
    EXPECT_EQ(channels(), 8);
}

/// Such a file is beside nothing, and above all not beside what lies where its text leads.
TEST_F(Stores, besideAFileWhosePathIsNoTextAreNotLookedFor) {
    put("module/Lumeron Settings/Audio Plug-Ins/force-2ch", textRecordOf("true"));
    fs::create_directories(folder / "mod\xFFule");
    fs::copy_file(LUM_PLUGIN, folder / "mod\xFFule" / "Copy.so");
    EXPECT_EQ(channels(), 2);
    PluginFile::path() = (folder / "mod\xFFule" / "Copy.so").string();
    EXPECT_EQ(channels(), 8);
}

TEST_F(Stores, ofTheProductHaveAPlaceMoreBehindTheUsers) {
    const std::string high = presetWith(1.0F);
    EXPECT_EQ(shownBand(), "0.0");
    put("module/Sorrel GEQ/default-preset", high);
    EXPECT_EQ(shownBand(), "12.0");
    put("user/Lumeron/Audio Plug-Ins/Sorrel GEQ/default-preset", presetWith(0.25F));
    EXPECT_EQ(shownBand(), "-6.0");
    const std::string portable = "module/Lumeron Settings/Audio Plug-Ins/Sorrel GEQ/default-preset";
    put(portable, presetWith(0.75F));
    EXPECT_EQ(shownBand(), "6.0");
    put(portable, high.substr(0, high.size() / 2));
    EXPECT_EQ(shownBand(), "0.0") << "damage does not fall through";
}

/// Texts where numbers are due, other kinds of block, a map to nowhere, no end.
TEST_F(Stores, noRecordKeepsThePlugInFromLoading) {
    const std::string map = bytesOfNumber(0x7fffffff) + bytesOfNumber(200) + bytesOfNumber(3) +
                            "no." + bytesOfNumber(7) + bytesOfNumber(0xffffffff);
    const std::string contents[] = {"",
                                    "text",
                                    textRecordOf("\xFF\xFE"),
                                    textRecordOf("1e99"),
                                    recordOf("adat", map),
                                    recordOf("aprs", map),
                                    recordOf("adat", map).substr(0, 20)};
    for (const std::string& content : contents) {
        for (const char* record : {"force-2ch", "vst-func-sync", "oversampling-level"})
            put(std::string("user/Lumeron/Audio Plug-Ins/") + record, content);
        for (const char* record :
             {"ccmap", "default-preset", "force-auto-oversampling", "ui-scale2", "ui-scale-usesr"})
            put(std::string("user/Lumeron/Audio Plug-Ins/Sorrel GEQ/") + record, content);
        EXPECT_EQ(shownBand(), "0.0") << &content - contents;
    }
}

} // namespace
