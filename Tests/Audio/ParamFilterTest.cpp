#include "Audio/CAudioParamFilter.h"
#include "Audio/CParamUndoRecord.h"
#include "Audio/CSharedParam.h"
#include "Audio/ParamFixture.h"
#include "Core/TempFolder.h"

#include <cmath>
#include <thread>

using namespace lum;

namespace {

using CValueList = std::vector<double>;
constexpr const char* kMaximum = "100000";

class ParamFilter : public CParamFixture {
protected:
    /// A filter of a process "p" whose parameters are all declared already.
    std::unique_ptr<CAudioParamFilter> makeFilter(const char* tag, const char* sources,
                                                  const char* destinations, CTextAttrs texts = {}) {
        CAudioParamFilterDef* definition = nullptr;
        texts.insert({{"src", sources}, {"dst", destinations}});
        EXPECT_FALSE(create(*CObject::sharedRoot(), definition, tag, "filter", texts));
        std::unique_ptr<CAudioParamFilter> filter;
        EXPECT_FALSE(definition->instantiate(filter, *collector, "p"));
        return filter;
    }
    CAudioParam& number(const char* name, const char* defaults) {
        return bound(name, infoOf({{"max-values", kMaximum}, {"def-values", defaults}}));
    }
    static void apply(CAudioParam& param, int group, const CValueList& values,
                      const CChangeContext& context = {}) {
        param.applyChange(floatChange(param.getValues().getFormat(), group, 0, values, true),
                          context);
    }
};

TEST_F(ParamFilter, soloOfAnyGroupLiftsTheBypass) {
    CAudioParam& solo = number("p.solo", "0");
    CAudioParam& bypass = number("p.bypass", "7");
    collector->takePendingChanges();
    auto filter = makeFilter("audio:param-filter-bypass-group-solo", "solo", "bypass");
    EXPECT_EQ(bypass.readValue(0, 0), 1.0);
    EXPECT_EQ(bypass.getAudioValues().read(0, 0), 1.0); // at once
    apply(solo, 3, {1.0});
    EXPECT_EQ(bypass.readValue(0, 0), 0.0);
    apply(solo, 3, {});
    EXPECT_EQ(bypass.readValue(0, 0), 1.0);
    filter.reset();
    apply(solo, 3, {1.0});
    EXPECT_EQ(bypass.readValue(0, 0), 1.0);
}

TEST_F(ParamFilter, aPairOfEqualIdsLiftsTheMidSideBypass) {
    CAudioParam& pairs = number("p.ms", "0");
    CAudioParam& bypass = number("p.bypass", "0");
    auto filter = makeFilter("audio:param-filter-bypass-ms", "ms", "bypass");
    for (const auto& [values, expected] :
         std::initializer_list<std::pair<CValueList, double>>{{{1, 1, 0, 0}, 0.0},
                                                              {{1, 2, 0, 0}, 1.0},
                                                              {{0, 0, 0}, 1.0},
                                                              {{}, 1.0},
                                                              {{3, 1, 2, 3}, 0.0}}) {
        apply(pairs, 1, values);
        EXPECT_EQ(bypass.readValue(1, 0), expected);
        EXPECT_EQ(bypass.readValue(0, 0), 1.0);
    }
}

TEST_F(ParamFilter, bandsAreSpreadOverTheRange) {
    CAudioParam& count = number("p.count", "16");
    CAudioParam& bands = number("p.freqs", "0");
    auto filter = makeFilter("audio:param-filter-mb", "count", "freqs", {{"is-iso", "false"}});
    CValueList list = groupOf(bands.getValues(), 0);
    ASSERT_EQ(list.size(), 16u);
    for (size_t i = 0; i < 16; i++)
        EXPECT_NEAR(list[i], 20.0 * std::pow(1000.0, static_cast<double>(i) / 15.0), 1e-8);
    for (auto [number, expected] : std::initializer_list<std::pair<double, size_t>>{
             {1, 1}, {2, 1}, {3, 3}, {-5, 1}, {1e9, size_t{kMaxParamGroupValues}}}) {
        apply(count, 0, {number});
        EXPECT_EQ(groupOf(bands.getValues(), 0).size(), expected);
        EXPECT_EQ(bands.readValue(0, 0), 20.0);
    }
}

TEST_F(ParamFilter, isoBandsStandAroundOneKilohertz) {
    CAudioParam& spacing = number("p.spacing", "4");
    number("p.low", "20000");
    CAudioParam& high = number("p.high", "20");
    CAudioParam& bands = number("p.freqs", "0");
    CAudioParam& count = number("p.count", "0");
    number("p.a", "0");
    number("p.b", "0");
    auto filter = makeFilter("audio:param-filter-mb", "spacing, low,high", "freqs,a,b,count",
                             {{"is-iso", "true"}});
    CValueList list = groupOf(bands.getValues(), 0); // octaves: 31.25 to 16000 Hz
    ASSERT_EQ(list.size(), 10u);
    for (size_t i = 0; i < 10; i++)
        EXPECT_NEAR(list[i], 31.25 * std::pow(2.0, static_cast<double>(i)), 1e-8);
    EXPECT_EQ(count.readValue(0, 0), 10.0);
    apply(high, 0, {2000.0});
    EXPECT_EQ(groupOf(bands.getValues(), 0).size(), 4u); // 2, 4, 8 and 16 kHz, and 1 kHz is out
    apply(spacing, 0, {1e9});
    EXPECT_GE(bands.readValue(0, 0), 1000.0);
}

TEST_F(ParamFilter, derivedValuesGoWithTheBatchAndStayOutOfUndo) {
    struct CUndo : CParamUndoRecord {
        void recordBefore(const CString& name, int, const CAudioParamStorage&, bool) override {
            names += name.toUtf8();
        }
        void recordAfter(const CString&, int, const CAudioParamStorage&) override {}
        std::string names;
    } undo;
    const CAudioParamInfo& storable = infoOf({{"is-storable", "true"}});
    CAudioParam& solo = bound("p.solo", storable);
    bound("p.bypass", storable);
    auto filter = makeFilter("audio:param-filter-bypass-group-solo", "solo", "bypass");
    collector->takePendingChanges();
    {
        CAudioParamBatch batch(*collector);
        CChangeContext context;
        context.undo = &undo;
        context.batch = &batch;
        apply(solo, 0, {0.0}, context);
        EXPECT_EQ(collector->countPendingChanges(), 0);
    }
    EXPECT_EQ(collector->countPendingChanges(), 2);
    EXPECT_EQ(undo.names, "p.solo");
}

/// A store in a folder of its own.
struct CTestStore : CAppData {
    CTestStore() : CAppData("Maker/", "", "Test_") {}
    CString findModuleFolder() const override { return {}; }
};

class SharedParam : public CParamFixture {
protected:
    SharedParam() { setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1); }
    ~SharedParam() override { unsetenv("XDG_CONFIG_HOME"); }
    std::string stored(const char* record) {
        CString text;
        store.getString(text, record, "nothing");
        return text.toUtf8();
    }
    CTempFolder folder;
    CTestStore store;
};

TEST_F(SharedParam, numbersAndTextsFollowTheStoreAndTheStoreFollowsThem) {
    store.setString("time", "250", nullptr);
    CAudioParam& time =
        bound("p.time",
              infoOf({{"converter", "shared::time"}, {"max-values", "500"}, {"def-values", "12"}}));
    CAudioParam& text = bound("p.text", textInfo());
    CSharedParam sharedTime(*collector, "p.time", store, "time");
    CSharedParam sharedText(*collector, "p.text", store, "text");
    EXPECT_EQ(time.readValue(0, 0), 0.25);
    EXPECT_EQ(text.getString(0, 0), "none");
    EXPECT_EQ(stored("text"), "nothing"); // the default is not written

    time.setValue(0.0123, 0, nullptr);
    text.setString(0, 0, "Dark", nullptr);
    EXPECT_EQ(stored("time"), "12.3");
    EXPECT_EQ(stored("text"), "Dark");
    store.setString("time", "400", nullptr);
    EXPECT_EQ(time.readValue(0, 0), 0.4);
    store.setString("time", "soon", nullptr);
    EXPECT_EQ(time.readValue(0, 0), 0.4);
}

TEST_F(SharedParam, twoInstancesShareRawDataAndALateBindingReadsTheRecord) {
    const CAudioParamInfo& info = infoOf({{"data-type", "raw"}, {"converter", "shared::text"}});
    CSharedParam early(*collector, "p.late", store, "raw");
    CAudioParam& first = bound("p.raw", info);
    CSharedParam shared(*collector, "p.raw", store, "raw");
    first.setRaw(0, 0, CByteBuffer("palette", 7), nullptr);
    CAudioParam& late = bound("p.late", info);
    EXPECT_EQ(late.getValues().readRaw(0, 0), CByteBuffer("palette", 7));
    late.setRaw(0, 0, CByteBuffer("other", 5), nullptr);
    EXPECT_EQ(first.getValues().readRaw(0, 0), CByteBuffer("other", 5));
}

/// Each instance tells the store on its own thread, and the store tells the other instance.
TEST_F(SharedParam, instancesThatWriteAtOnceNeitherBlockNorDisagree) {
    CAudioEnv* otherEnv = nullptr;
    CAudioParamCollector* other = nullptr;
    ASSERT_FALSE(create(*root, otherEnv, "audio:audio-env", "other-env", {}));
    ASSERT_FALSE(
        create(*root, other, "audio:param-collector", "other-collector", {{"env", "^other-env"}}));
    const CAudioParamInfo& info = textInfo();
    CAudioParam* const params[] = {&bound("p.text", info), &other->getParam("p.text")};
    params[1]->bind(info, {});
    CSharedParam first(*collector, "p.text", store, "text");
    CSharedParam second(*other, "p.text", store, "text");
    std::vector<std::thread> writers;
    for (CAudioParam* param : params)
        writers.emplace_back([param] {
            for (int i = 0; i < 150; i++)
                param->setString(0, 0, std::to_string(i).c_str(), nullptr);
        });
    for (std::thread& writer : writers) writer.join();
    EXPECT_EQ(params[0]->getString(0, 0), params[1]->getString(0, 0));
    EXPECT_EQ(params[0]->getString(0, 0).toUtf8(), stored("text"));
}

} // namespace
