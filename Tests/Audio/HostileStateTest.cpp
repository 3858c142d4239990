#include "Audio/StateFixture.h"
#include "Core/Sanitized.h"

#include <cstdio>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

using namespace lum;
using namespace lum::test;

namespace {

constexpr int kMostMegabytes = 64; // of memory that a small state may make the process use
constexpr int kPayloadBytes = 8 << 20;

/// A line of this process's status in kilobytes.
long statusOf(const char* line) {
    std::FILE* file = std::fopen("/proc/self/status", "r");
    char text[256];
    long value = 0;
    while (std::fgets(text, sizeof text, file))
        if (std::strncmp(text, line, std::strlen(line)) == 0)
            value = std::strtol(text + std::strlen(line), nullptr, 10);
    std::fclose(file);
    return value;
}

/// Most megabytes by which the process grew at any time of an action, which a child does.
int growthOf(const std::function<void()>& action) {
    const pid_t child = fork();
    if (child == 0) {
        const long before = statusOf("VmRSS:");
        action();
        _exit(static_cast<int>(std::min(254L, (statusOf("VmHWM:") - before) / 1024)));
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 255;
}

/// A payload under construction.
struct Payload {
    Payload& text(const std::string& bytes) {
        number(static_cast<uint32_t>(bytes.size()));
        EXPECT_FALSE(stream.write(bytes.data(), static_cast<int64_t>(bytes.size())));
        return *this;
    }
    Payload& number(uint32_t value) {
        EXPECT_FALSE(stream.writeValue(value));
        return *this;
    }
    Payload& block(const Payload& inner) {
        const CByteBuffer bytes = bytesOf(inner.stream);
        return text({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    }
    CWriteSeqBuffer stream;
};

class HostileState : public StateFixture {
protected:
    /// Opens an entry of a preset: the parameter's name, the version, one element, its type.
    static void openEntry(Payload& entry, uint32_t type) {
        entry.text("").number(1).number(1).number(type).number(1);
    }
};

TEST_F(HostileState, aSmallStateCannotTakeMuchMemory) {
    if (kIsSanitized) GTEST_SKIP() << "a sanitizer's own memory is counted too";
    Payload presets, entries, wideKeys, items, raw, banks;
    presets.text("").number(65536);
    for (int i = 0; i < 65536; i++) presets.text("").number(0);
    entries.text("168a:x").number(65536);
    for (int i = 0; i < 65536; i++) entries.text(std::to_string(i)).text("");
    const std::string wide = "\xE2\x82\xAC" + std::string(61437, 'k'); // two bytes a character
    wideKeys.text("168a:x").number(kPayloadBytes / 61448);
    for (int i = 0; i < kPayloadBytes / 61448; i++)
        wideKeys.text(wide.substr(0, 61430) + std::to_string(1000000000 + i)).text("");
    Payload itemTable, rawItem;
    openEntry(itemTable, 1);
    itemTable.number(kPayloadBytes / 12 - 10);
    for (uint32_t i = 1; i < kPayloadBytes / 12 - 9; i++) itemTable.number(i).number(1).text("");
    items.text("168a:x").number(1).text("io-params.group-names").block(itemTable);
    openEntry(rawItem, 1);
    rawItem.number(1).number(1).number(2).text(std::string(kPayloadBytes - 200, 'r'));
    raw.text("168a:x").number(1).text("io-params.group-names").block(rawItem);
    banks.number(65536);
    for (int i = 0; i < 65536; i++) banks.text("").number(0);

    const struct {
        const char* name;
        const Payload& payload;
        uint32_t id;
    } cases[] = {{"presets", presets, kBankBlock},      {"entries", entries, kPresetBlock},
                 {"wide keys", wideKeys, kPresetBlock}, {"items", items, kPresetBlock},
                 {"raw item", raw, kPresetBlock},       {"banks", banks, kListBlock}};
    for (const auto& c : cases) {
        CWriteSeqBuffer block;
        EXPECT_FALSE(block.write(std::string(16, '\0').data(), 16));
        EXPECT_FALSE(block.writeCompressedData(bytesOf(c.payload.stream), c.id));
        const CByteBuffer chunk = bytesOf(block);
        const int megabytes = growthOf([&] {
            if (c.id != kListBlock) {
                logAndDropError(
                    wrapper->setState(chunk.data(), chunk.size(), c.id == kPresetBlock, true));
                return;
            }
            CMemoryReader reader(chunk);
            CByteBuffer unpacked;
            logAndDropError(reader.skip(16));
            logAndDropError(reader.readCompressedData(unpacked, kListBlock));
            CMemoryReader list(unpacked);
            CVector<CAudioPresetBank, 1> loaded;
            logAndDropError(loadBankList(list, loaded));
        });
        EXPECT_LE(megabytes, kMostMegabytes) << c.name;
    }
}

} // namespace
