#include "Core/CAppData.h"
#include "Core/CLog.h"
#include "Core/CMemoryReader.h"
#include "Core/CResourceReader.h"
#include "Core/StreamBytes.h"
#include "Core/TempFolder.h"

#include <atomic>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace lum;

namespace {

class CTestStore : public CAppData {
public:
    explicit CTestStore(const CTempFolder& folder)
        : CAppData("Maker/Product/", "Product/", "Test_"), moduleFolder(folder / "module/") {}

private:
    CString findModuleFolder() const override { return moduleFolder; }
    CString moduleFolder;
};

struct CTestListener : CAppDataListener<std::string> {
    using CAppDataListener::CAppDataListener;
    void onUpdate(const CUpdateRecord* record) override {
        *owner += static_cast<const CAppDataUpdate*>(record)->source == this ? "own " : "other ";
    }
};

/// A user with a configuration folder, and a module that lies in another.
class AppData : public testing::Test {
protected:
    AppData() { setenv("XDG_CONFIG_HOME", folder.path("user").c_str(), 1); }
    ~AppData() override {
        unsetenv("XDG_CONFIG_HOME");
        clearResources();
    }
    static CByteBuffer bytes(const std::string& text) { return {text.data(), text.size()}; }
    static std::string blockOf(const std::string& text) {
        CWriteSeqBuffer stream;
        EXPECT_FALSE(stream.writeCompressedData(bytes(text), kDataBlock));
        const CByteBuffer out = lum::test::bytesOf(stream);
        return {reinterpret_cast<const char*>(out.data()), out.size()};
    }
    /// Makes a record by hand: in a folder below the fixture's.
    void putRecord(const std::string& place, const std::string& content) const {
        std::filesystem::create_directories(folder.path(place));
        folder.put(place + "/rec", content);
    }
    static std::string readRecord(CAppData& store, bool reload = false) {
        CByteBuffer out = bytes("old");
        store.read("rec", out, kDataBlock, reload);
        return {reinterpret_cast<const char*>(out.data()), out.size()};
    }

    CTempFolder folder;
};

const char* const kUserPlace = "user/Maker/Product";

} // namespace

TEST_F(AppData, writtenRecordsAreThereInTheNextProcess) {
    CString text;
    {
        CTestStore store(folder);
        store.getString(text, "text", "default");
        EXPECT_EQ(text, "default");
        EXPECT_EQ(folder.entryCount(), 0u); // reading makes nothing on the disk
        store.write("rec", bytes("content"), nullptr, kDataBlock);
        store.setString("text", u"caf\u00E9 \u20AC", nullptr);
    }
    EXPECT_EQ(folder.get("user/Maker/Product/rec"), blockOf("content"));
    CTestStore store(folder);
    store.getString(text, "text", "default");
    EXPECT_EQ(text, u"caf\u00E9 \u20AC");
    EXPECT_EQ(readRecord(store), "content");
}

TEST_F(AppData, theFirstPlaceThatOpensWins) {
    const std::string block = blockOf("embedded");
    std::string resource(4, '\0');
    resource[0] = static_cast<char>(block.size());
    resource += block;
    const CResourceRow rows[] = {{reinterpret_cast<const uint8_t*>(resource.data()), "Test_rec"},
                                 {nullptr, nullptr}};
    registerResources(rows);
    const auto nowRead = [this] {
        CTestStore fresh(folder);
        return readRecord(fresh);
    };
    EXPECT_EQ(nowRead(), "embedded");
    putRecord("module/Product", blockOf("beside"));
    EXPECT_EQ(nowRead(), "beside");
    putRecord(kUserPlace, blockOf("user"));
    EXPECT_EQ(nowRead(), "user");
    putRecord("module/Maker Settings/Product", blockOf("portable"));
    EXPECT_EQ(nowRead(), "portable");
    // A damaged record is absent and does not fall through.
    putRecord("module/Maker Settings/Product", blockOf("portable").substr(0, 15));
    EXPECT_EQ(nowRead(), "");
}

TEST_F(AppData, aPortableFolderIsWrittenAndTheUsersOnlyRead) {
    putRecord(kUserPlace, blockOf("user"));
    std::filesystem::create_directories(folder.path("module/Maker Settings"));
    CTestStore store(folder);
    EXPECT_EQ(readRecord(store), "user");
    store.write("rec", bytes("new"), nullptr, kDataBlock);
    EXPECT_EQ(folder.get("module/Maker Settings/Product/rec"), blockOf("new"));
    EXPECT_EQ(folder.get("user/Maker/Product/rec"), blockOf("user"));
    CTestStore next(folder);
    EXPECT_EQ(readRecord(next), "new");
}

TEST_F(AppData, theCacheAnswersUntilAReload) {
    CTestStore store(folder);
    putRecord(kUserPlace, blockOf("first"));
    EXPECT_EQ(readRecord(store), "first");
    putRecord(kUserPlace, blockOf("second"));
    EXPECT_EQ(readRecord(store), "first");
    CByteBuffer out = bytes("old");
    store.read("rec", out, kListBlock); // another id gives nothing and spoils nothing
    EXPECT_TRUE(out.empty());
    EXPECT_EQ(readRecord(store), "first");
    EXPECT_EQ(readRecord(store, true), "second");
    putRecord(kUserPlace, "damaged");
    EXPECT_EQ(readRecord(store, true), "second");
    std::filesystem::remove(folder.path("user/Maker/Product/rec"));
    EXPECT_EQ(readRecord(store, true), "second");
}

TEST_F(AppData, damagedTextsGiveTheDefaultOrNothing) {
    putRecord(kUserPlace, "no block at all");
    CTestStore store(folder);
    CString text;
    store.getString(text, "rec", "default");
    EXPECT_EQ(text, "default");
    store.write("rec", bytes("\x09"), nullptr, kStringBlock); // a whole block, a cut text
    store.getString(text, "rec", "default");
    EXPECT_EQ(text, "");
}

TEST_F(AppData, aFailedDiskWriteStaysInTheCacheAndTellsNobody) {
    putRecord(kUserPlace, blockOf("old"));
    std::string heard;
    CTestListener listener(heard);
    CTestStore store(folder);
    listener.attach(store, "rec");
    signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit full{4, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &full);
    store.write("rec", bytes("new"), &listener, kDataBlock);
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(readRecord(store), "new");
    EXPECT_EQ(folder.get("user/Maker/Product/rec"), blockOf("old"));
    EXPECT_EQ(folder.entryCount(), 4u); // three folders and the record: no litter
    EXPECT_EQ(heard, "");
}

TEST_F(AppData, withoutAFolderNothingIsWritten) {
    folder.put("user", "a file where the folder should be");
    CTestStore store(folder);
    store.write("rec", bytes("new"), nullptr, kDataBlock);
    EXPECT_EQ(readRecord(store), "");
    EXPECT_EQ(folder.entryCount(), 1u);
}

/// Without the byte that is no text the path is that of another folder.
TEST_F(AppData, aFolderWithoutTextIsNotTakenForAnother) {
    putRecord(kUserPlace, blockOf("another's"));
    setenv("XDG_CONFIG_HOME", folder.path("use\xFFr").c_str(), 1);
    setLogPath(folder / "log");
    CTestStore store(folder);
    EXPECT_EQ(readRecord(store), "");
    store.write("rec", bytes("new"), nullptr, kDataBlock);
    setLogPath({});
    EXPECT_EQ(folder.get("user/Maker/Product/rec"), blockOf("another's"));
    EXPECT_FALSE(std::filesystem::exists(folder.path("use\xFFr")));
    EXPECT_NE(folder.get("log").find("use\xFFr' is not UTF-8"), std::string::npos);
}

TEST_F(AppData, listenersHearWritesOfTheirRecord) {
    CTestStore store(folder);
    std::string heard;
    CTestListener first(heard);
    first.attach(store, "rec");
    store.write("rec", bytes("a"), &first, kDataBlock);
    store.write("rec", bytes("b"), this, kDataBlock);
    store.write("another", bytes("c"), &first, kDataBlock);
    EXPECT_EQ(heard, "own other ");
    first.detach();
    store.write("rec", bytes("d"), this, kDataBlock);
    EXPECT_EQ(heard, "own other ");
    EXPECT_EQ(store.getKey("rec"), 1u);
    EXPECT_EQ(store.getKey("another"), 2u);
}

TEST_F(AppData, threadsShareAStoreAndSeeWholeRecords) {
    CTestStore store(folder);
    std::atomic<int> torn{0};
    const auto work = [&](int seed) {
        std::string heard;
        CTestListener listener(heard);
        for (int i = 0; i < 60; i++) {
            listener.attach(store, "unheard");
            store.write("rec", bytes(std::string(100, static_cast<char>('a' + seed))), &listener,
                        kDataBlock);
            const std::string content = readRecord(store, i % 3 == 0);
            torn += content.size() != 100 || content.find_first_not_of(content[0]) != content.npos;
            listener.detach();
        }
    };
    std::vector<std::thread> threads;
    for (int seed = 0; seed < 4; seed++) threads.emplace_back(work, seed);
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(torn, 0);
}
