// The plug-in's binary with wrong data inside: a copy of the file in which an embedded file has
// been changed. The host gets nothing or a working instance, is told why, and goes on. Compiled
// trees have no checks of their own, as they are part of the product; only what is authored in them
// is judged.

#include "Core/TempFolder.h"
#include "Faults/Confined.h"
#include "Host/HostedPlugin.h"

#include <malloc.h>
#include <random>

namespace lum::test {
namespace {

using namespace lum::vst;

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The binary, and where one of the embedded files lies in it.
class Binary {
public:
    explicit Binary(const std::string& name = "SharedData.xml.bin")
        : bytes(contentOf(LUM_PLUGIN)), embedded(contentOf(LUM_PRODUCT_FOLDER "/" + name)) {
        position = bytes.find(embedded);
        EXPECT_NE(position, std::string::npos);
    }
    /// Changes the text that follows `name` in a compiled tree's texts; a shorter one ends early.
    void replaceBehind(const std::string& name, const std::string& text) {
        const std::string key = '\0' + name + '\0';
        const size_t at = bytes.find(key, position);
        ASSERT_LT(at, position + embedded.size()) << name;
        const size_t value = at + key.size();
        const size_t room = std::strlen(bytes.c_str() + value);
        ASSERT_LE(text.size(), room) << name;
        bytes.replace(value, room, text + std::string(room - text.size(), '\0'));
    }
    void setSize(uint32_t size) { std::memcpy(bytes.data() + position - 4, &size, 4); }

    std::string bytes;
    std::string embedded;
    size_t position = 0;
};

constexpr int kPrograms = 7; // of the factory
constexpr int kRefused = 0;
constexpr int kWorks = 10; // and the number of its programs

/// Loads the file and lets the instance, if there is one, work. Run in a process of its own.
int tryPlugin(const std::string& path) {
    void* file = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!file) return 1;
    const auto entry = reinterpret_cast<PluginEntry>(dlsym(file, kEntryName));
    AEffect* effect = entry(&HostModel::callback);
    int result = kRefused;
    if (effect) {
        result = kWorks + effect->numPrograms;
        effect->dispatcher(effect, kEffectOpen, 0, 0, nullptr, 0.0F);
        effect->dispatcher(effect, kEffectMainsChanged, 0, 1, nullptr, 0.0F);
        const auto input = noise<float>(std::max(effect->numInputs, 1), 600);
        auto output = input;
        std::vector<float*> in;
        std::vector<float*> out;
        for (const auto& channel : input) in.push_back(const_cast<float*>(channel.data()));
        for (auto& channel : output) out.push_back(channel.data());
        effect->processReplacing(effect, in.data(), out.data(), 600);
        effect->dispatcher(effect, kEffectClose, 0, 0, nullptr, 0.0F);
    }
    dlclose(file);
    return result;
}

class EmbeddedData : public testing::Test {
protected:
    EmbeddedData() {
        setenv("XDG_CONFIG_HOME", "/dev/null", 1);
        unsetenv("DISPLAY");
    }
    /// The file as it now is, put through `tryPlugin`.
    Confined tried(const std::string& bytes) const {
        folder.put("Plugin.so", bytes);
        return Confined([&] { return tryPlugin(folder.path("Plugin.so")); }, 20);
    }
    CTempFolder folder;
};

TEST_F(EmbeddedData, whatIsWrongIsToldAndTheHostGetsNothing) {
    struct Row {
        const char* name;
        const char* text;
        const char* message;
    };
    constexpr Row kRows[] = {
        {"app-name", "", "Plug-in name is empty."},
        {"plugin-intchannel-count", "0", "Invalid 'plugin-intchannel-count' attribute value."},
        {"plugin-code", "168", "Invalid plug-in code in string '168'."},
        {"app-version", "1", "Invalid version specification in string '1'."},
    };
    ASSERT_EQ(tried(Binary().bytes).status(), kWorks + kPrograms);
    for (const Row& row : kRows) {
        Binary binary;
        binary.replaceBehind(row.name, row.text);
        const Confined run = tried(binary.bytes);
        EXPECT_EQ(run.status(), kRefused) << row.name << "\n" << run.errors();
        EXPECT_NE(run.errors().find(row.message), std::string::npos) << run.errors();
        EXPECT_NE(run.errors().find("Application Message"), std::string::npos);
    }
}

/// Packed files have checks; without them there is one program, and the default routing.
TEST_F(EmbeddedData, damagedPackedFilesAreLeftOut) {
    const char* wanted = std::getenv("LUM_FAULT_RUNS");
    const int runs = wanted ? std::atoi(wanted) : 60;
    const Binary files[] = {Binary("FactoryROM.cbf"), Binary("AppDataGlobal_routing-presets-sys")};
    std::mt19937 random(5);
    int leftOut = 0;
    for (int i = 0; i < runs; i++) {
        Binary file = files[i % 2];
        for (int flips = 0; flips < 1 + i % 4; flips++) {
            const size_t at = file.position + random() % file.embedded.size();
            file.bytes[at] =
                static_cast<char>(file.bytes[at] ^ static_cast<char>(1U << random() % 8));
        }
        if (i % 5 == 0) file.setSize(static_cast<uint32_t>(random() % file.embedded.size()));
        const Confined run = tried(file.bytes);
        ASSERT_FALSE(run.isHung()) << "step " << i;
        ASSERT_TRUE(run.status() == kWorks + kPrograms || run.status() == kWorks + 1)
            << "step " << i << ": status " << run.status() << "\n"
            << run.errors();
        leftOut += run.status() == kWorks + 1;
    }
    EXPECT_GT(leftOut, runs / 4);
}

TEST_F(EmbeddedData, aRefusedInstanceLeavesNoMemoryBehind) {
    Binary binary;
    binary.replaceBehind("plugin-code", "168");
    folder.put("Plugin.so", binary.bytes);
    const Confined run([&] {
        const std::string path = folder.path("Plugin.so");
        for (int i = 0; i < 3; i++) tryPlugin(path);
        const auto before = mallinfo2();
        for (int i = 0; i < 20; i++) tryPlugin(path);
        const auto after = mallinfo2();
        // The allocator counts what it keeps at hand as used; an instance's tree is far larger.
        constexpr size_t kSlack = 16384;
        const size_t grown = after.uordblks + after.hblkhd - before.uordblks - before.hblkhd;
        return static_cast<ptrdiff_t>(grown) <= static_cast<ptrdiff_t>(kSlack) ? 0 : 1;
    });
    EXPECT_EQ(run.status(), 0) << run.errors();
}

} // namespace
} // namespace lum::test
