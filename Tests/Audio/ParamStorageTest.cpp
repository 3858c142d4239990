#include "Audio/ParamFixture.h"

#include <random>

using namespace lum;

namespace {

class ParamStorage : public CParamFixture {};
using CValueList = std::vector<double>;

/// Little-endian words, for streams made by hand.
CByteBuffer words(std::initializer_list<uint32_t> list) {
    return CByteBuffer(std::data(list), list.size() * sizeof(uint32_t));
}

template <class T>
std::string loadMessage(T& target, const CByteBuffer& bytes) {
    CMemoryReader reader(bytes);
    return target.load(reader).line(0).toUtf8();
}

TEST_F(ParamStorage, whatWasNeverWrittenReadsAsTheDefault) {
    CAudioParamStorage storage;
    EXPECT_EQ(storage.read(0, 0, 7.0), 7.0);
    storage = infoOf({{"def-values", "1,2,0,0,0,0,0,0"}}).defaults;
    EXPECT_EQ(storage.getElementCount(0), 8);
    EXPECT_EQ(storage.read(0, 1), 2.0);
    EXPECT_EQ(storage.read(5, 1), 2.0);
    EXPECT_EQ(storage.read(0, 8), 1.0);
    EXPECT_EQ(storage.read(0, -1, 7.0), 7.0);

    const CAudioParamInfo& pair = infoOf({{"element-size", "2"},
                                          {"converter2", "shared::real"},
                                          {"min-values", "0 0"},
                                          {"max-values", "10 5"},
                                          {"def-values", "1 9,3 4;5 5"}});
    EXPECT_EQ(pair.defaults.read(0, 0, 0, 1), 5.0); // clamped
    EXPECT_EQ(pair.defaults.read(0, 1, 0, 1), 4.0);
    EXPECT_EQ(pair.defaults.read(3, 9, 0, 1), 5.0);
    EXPECT_EQ(pair.defaults.getGroupCount(), 2);
}

/// The slow obvious storage: texts by group and element.
struct CModel {
    std::vector<std::vector<std::string>> groups;
    void apply(int group, size_t first, const std::vector<std::string>& texts, bool isTruncating) {
        if (groups.size() <= static_cast<size_t>(group)) groups.resize(group + 1);
        auto& list = groups[group];
        if (list.size() < first + texts.size() || isTruncating) {
            while (list.size() < first) list.push_back("none");
            list.resize(first + texts.size());
        }
        std::copy(texts.begin(), texts.end(), list.begin() + static_cast<ptrdiff_t>(first));
    }
};

TEST_F(ParamStorage, randomChangesOfTextsAgreeWithAModelAndLeakNoItems) {
    std::mt19937 random(20240611);
    CAudioParamStorage storage;
    storage.apply(CAudioParamChange::ofDefaults(textInfo().defaults, nullptr));
    CModel model{{{"none"}}};
    for (int round = 0; round < 3000; round++) {
        CAudioParamChange change;
        change.format = storage.getFormat();
        change.group = static_cast<int>(random() % 4);
        change.firstElement = static_cast<int>(random() % 9);
        change.elementCount = static_cast<int>(random() % 5);
        change.isTruncating = random() % 3 == 0;
        change.data = std::make_unique<CAudioParamData>();
        std::vector<std::string> texts;
        for (int i = 0; i < change.elementCount; i++) {
            texts.push_back(std::to_string(round) + std::string(random() % 40, 'x'));
            change.values.push_back(change.data->addString(texts.back().c_str()));
        }
        storage.apply(change);
        model.apply(change.group, static_cast<size_t>(change.firstElement), texts,
                    change.isTruncating);

        size_t items = 1; // the default
        for (int g = 0; g < storage.getGroupCount(); g++) {
            ASSERT_EQ(storage.getElementCount(g), static_cast<int>(model.groups[g].size()));
            for (int i = 0; i < storage.getElementCount(g); i++)
                ASSERT_EQ(storage.readString(g, i), model.groups[g][i].c_str()) << round;
            items += model.groups[g].size();
        }
        ASSERT_EQ(storage.getData().size(), items) << round;
    }
}

TEST_F(ParamStorage, streamFormKeepsEveryGroupAndReadsABlankAsEmpty) {
    CAudioParamStorage texts = textInfo().defaults;
    CAudioParamChange change;
    change.format = texts.getFormat();
    change.group = 1;
    change.elementCount = 2;
    change.data = std::make_unique<CAudioParamData>();
    change.values = {double(change.data->addString(" ")), double(change.data->addString("two"))};
    texts.apply(change);
    CAudioParamStorage loaded = textInfo().defaults;
    EXPECT_EQ(loadMessage(loaded, bytesOf(texts)), "");
    EXPECT_EQ(loaded.readString(0, 0), "none");
    EXPECT_EQ(loaded.readString(1, 0), "");
    EXPECT_EQ(loaded.readString(1, 1), "two");
    EXPECT_EQ(loaded.getData().size(), 4u);

    CAudioParamStorage numbers = infoOf({{"def-values", "1,2;3"}}).defaults;
    CWriteSeqBuffer single;
    EXPECT_FALSE(numbers.save(single, 1));
    EXPECT_EQ(single.getSize(), 16 + 4 + 8);
    EXPECT_EQ(loadMessage(numbers, bytesOf(single)), "");
    EXPECT_EQ(numbers.getGroupCount(), 1);
    EXPECT_EQ(groupOf(numbers, 0), CValueList{3.0});
}

TEST_F(ParamStorage, hostileAndCutStreamsFailWithoutHarm) {
    const struct {
        CByteBuffer bytes;
        const char* message;
    } cases[] = {
        {words({2}), "Unsupported data set version 2."},
        {words({1, 2, 0, 1}),
         "Unsupported storage format (esize=2, dtype=0; should be: esize=1, dtype=0)."},
        {words({1, 1, 1, 1}),
         "Unsupported storage format (esize=1, dtype=1; should be: esize=1, dtype=0)."},
        {words({1, 1, 0, 0xFFFFFFFF}), "Invalid group count 4294967295 encountered."},
        {words({1, 1, 0, 1, 0x80000000}), "Invalid element count 2147483648 encountered."},
        {words({1, 1, 0, 1, 2, 0, 0}), "Invalid element count 2 encountered."},
    };
    for (const auto& c : cases) {
        CAudioParamStorage storage = infoOf({}).defaults;
        EXPECT_EQ(loadMessage(storage, c.bytes), c.message);
        EXPECT_EQ(storage.read(0, 0), 1.0);
    }
    CAudioParamStorage texts = textInfo().defaults;
    CAudioParamChange change = CAudioParamChange::ofGroup(texts, 0, nullptr);
    CByteBuffer stored = bytesOf(texts), queued = bytesOf(change);
    for (size_t length = 0; length < stored.size(); length++)
        EXPECT_NE(loadMessage(texts, CByteBuffer(stored.data(), length)), "");
    for (size_t length = 0; length < queued.size(); length++)
        EXPECT_NE(loadMessage(change, CByteBuffer(queued.data(), length)), "");

    CAudioParamData table;
    EXPECT_EQ(loadMessage(table, words({1, 1, 3, 0})), "Unknown data type 3 encountered");
    EXPECT_EQ(loadMessage(table, words({1, 0xFFFFFFFF, 1, 0})),
              "Invalid data id 4294967295 encountered.");
    EXPECT_EQ(loadMessage(table, words({1, 1, 2, 0xFFFFFFFF})),
              "Invalid raw data size 4294967295 encountered.");
    EXPECT_EQ(loadMessage(table, words({0x40000000, 1, 1, 0})),
              "Invalid data item count 1073741824 encountered.");
}

TEST_F(ParamStorage, changesBeyondTheLimitsAreDropped) {
    CAudioParamStorage storage = infoOf({}).defaults;
    const CAudioParamFormat format = storage.getFormat();
    for (int group : {-1, kMaxParamGroups, 9998, 10000, 1000000000})
        storage.apply(floatChange(format, group, 0, {5.0}));
    for (int first : {-1, kMaxParamGroupValues, 2147483647})
        storage.apply(floatChange(format, 0, first, {5.0}));
    CAudioParamChange lying = floatChange(format, 0, 0, {5.0});
    lying.elementCount = 2;
    storage.apply(lying);
    CAudioParamChange otherFormat =
        floatChange({2, ParamDataType::Float, false, false}, 0, 0, {5.0, 5.0});
    storage.apply(otherFormat);
    EXPECT_EQ(storage.getGroupCount(), 1);
    EXPECT_EQ(groupOf(storage, 0), CValueList{1.0});
    storage.apply(floatChange(format, kMaxParamGroups - 1, kMaxParamGroupValues - 1, {5.0}));
    EXPECT_EQ(storage.read(kMaxParamGroups - 1, kMaxParamGroupValues - 1), 5.0);
}

TEST_F(ParamStorage, rawDataIsSharedOnItsWayAndComesBackFromAStream) {
    const CAudioParamInfo& info = infoOf({{"data-type", "raw"}, {"converter", "shared::text"}});
    std::string palette(10000, 'p'); // more than the pool holds in a block
    CAudioParamChange change = CAudioParamChange::ofDefaults(info.defaults, nullptr);
    change.group = 0;
    change.values[0] = change.data->addRaw(palette.data(), palette.size());
    CAudioParamStorage storage = info.defaults;
    for (int i = 0; i < 3; i++) storage.apply(change); // each drops the one before
    CAudioParamChange copy;
    EXPECT_EQ(loadMessage(copy, bytesOf(change)), "");
    storage.apply(copy);
    CByteBuffer read = storage.readRaw(0, 0);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(read.data()), read.size()), palette);
    EXPECT_EQ(storage.getData().size(), 2u);
}

TEST(ParamRounding, halvesGoAwayFromZeroAndStrangeNumbersAreLimited) {
    const std::pair<double, int32_t> rows[] = {{-0.5, -1},           {1.49, 1},
                                               {1e300, 2147483647},  {-1e300, -2147483647 - 1},
                                               {0.0 / 0.0 * 1.0, 0}, {2.5, 3}};
    for (const auto& [value, expected] : rows) EXPECT_EQ(roundToInt(value), expected) << value;
}

} // namespace
