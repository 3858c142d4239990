#include "Audio/CParamUndoRecord.h"
#include "Audio/ParamFixture.h"

using namespace lum;

namespace {

using CValueList = std::vector<double>;

/// Notes what the notifier tells.
struct CRecorder : CUpdateListener {
    struct CSeen {
        int group, first, count;
        bool isTruncating;
        friend bool operator==(const CSeen&, const CSeen&) = default;
    };
    void onUpdate(const CUpdateRecord* record) override {
        auto* update = static_cast<const CAudioParamUpdate*>(record);
        if (update->originator == this) return;
        const CAudioParamChange& change = *update->change;
        seen.push_back(
            {change.group, change.firstElement, change.elementCount, change.isTruncating});
        last = CValueList(change.values.begin(), change.values.end());
    }
    std::vector<CSeen> seen;
    CValueList last;
};

struct CUndo : CParamUndoRecord {
    void recordBefore(const CString&, int group, const CAudioParamStorage& storage, bool) override {
        log += "b" + std::to_string(group) + ":" + std::to_string(storage.getElementCount(group));
    }
    void recordAfter(const CString&, int group, const CAudioParamStorage& storage) override {
        log += " a" + std::to_string(group) + ":" + std::to_string(storage.getElementCount(group)) +
               " ";
    }
    std::string log;
};

class Param : public CParamFixture {
protected:
    void SetUp() override {
        param = &bound("plugin.x", infoOf({{"is-storable", "true"}, {"def-values", "1,2"}}));
        recorder.attach(collector, param);
    }
    void TearDown() override { recorder.attach(nullptr, nullptr); }
    void apply(int group, int first, const CValueList& values, bool isTruncating = false,
               const CChangeContext& context = {}) {
        param->applyChange(
            floatChange(param->getValues().getFormat(), group, first, values, isTruncating),
            context);
    }
    CAudioParam* param = nullptr;
    CRecorder recorder;
};

TEST_F(Param, aChangeBehindTheEndArrivesAsOneChangeFromTheEnd) {
    apply(0, 5, {9.0});
    EXPECT_EQ(recorder.seen, (std::vector<CRecorder::CSeen>{{0, 2, 4, false}}));
    EXPECT_EQ(recorder.last, (CValueList{1, 1, 1, 9}));
    EXPECT_EQ(groupOf(param->getValues(), 0), (CValueList{1, 2, 1, 1, 1, 9}));
    collector->takePendingChanges();
    EXPECT_EQ(groupOf(param->getAudioValues(), 0), (CValueList{1, 2, 1, 1, 1, 9}));
}

TEST_F(Param, anUnboundParameterTakesNothingAndIsTheOneThatIsBoundLater) {
    CAudioParam& unbound = collector->getParam("plugin.later");
    unbound.setValue(3.0, 0, nullptr);
    unbound.applyChange(floatChange({}, 0, 0, {3.0}), {});
    EXPECT_EQ(unbound.readValue(0, 0, -7.0), -7.0);
    EXPECT_EQ(&bound("plugin.later", infoOf({})), &unbound);
    EXPECT_EQ(unbound.readValue(0, 0, -7.0), 1.0);
}

TEST_F(Param, rebindingHappensOnlyForAnotherDefinition) {
    apply(0, 0, {5.0});
    param->bind(*param->getInfo(), {});
    EXPECT_EQ(param->readValue(0, 0), 5.0);
    bound("plugin.x", infoOf({{"is-single-group", "true"}, {"def-values", "4;6"}}));
    EXPECT_EQ(param->readValue(0, 0), 4.0);
    EXPECT_EQ(param->readValue(1, 0), 6.0);
    EXPECT_EQ(param->readValue(2, 0), 4.0);
    EXPECT_EQ(recorder.seen[1].group, kDefinitionGroup);
    EXPECT_EQ(recorder.seen[2].group, 1);
}

TEST_F(Param, resetGoesBackToTheResetValues) {
    apply(1, 0, {7, 7, 7});
    param->reset(1, 1, {});
    EXPECT_EQ(groupOf(param->getValues(), 1), (CValueList{7, 2, 7}));
    param->reset(1, 4, {}, true);
    EXPECT_EQ(groupOf(param->getValues(), 1), (CValueList{7, 2, 7, 1, 1}));
    param->reset(1, -1, {});
    EXPECT_EQ(param->getValues().getElementCount(1), 0);
    EXPECT_EQ(param->readValue(1, 1), 2.0);
    apply(0, 0, {8, 8, 8});
    size_t before = recorder.seen.size();
    param->reset(5, -1, {});
    EXPECT_EQ(recorder.seen.size(), before);
    param->reset(-1, -1, {});
    EXPECT_EQ(groupOf(param->getValues(), 0), (CValueList{1, 2}));
}

TEST_F(Param, undoSeesWholeGroupsAndOnlyOfStorableParameters) {
    CUndo undo;
    CChangeContext context;
    context.undo = &undo;
    apply(0, 3, {9.0}, false, context);
    apply(2, 0, {}, true, context);
    EXPECT_EQ(undo.log, "b0:2 a0:4 b2:0 a2:0 ");
    undo.log.clear();
    CAudioParam& transient = bound("plugin.transient", infoOf({}));
    transient.applyChange(floatChange(transient.getValues().getFormat(), 0, 0, {2.0}), context);
    EXPECT_EQ(undo.log, "");
}

TEST_F(Param, textsAndValuesOnlyGoWhereTheyBelong) {
    CAudioParam& text = bound("plugin.text", textInfo());
    text.setString(0, 1, "second", nullptr);
    text.setValue(3.0, 0, nullptr);
    text.setRaw(0, 0, {}, nullptr);
    EXPECT_EQ(text.getString(0, 0), "none");
    EXPECT_EQ(text.getString(0, 1), "second");
    param->setString(0, 0, "x", nullptr);
    param->setValue(6.0, 0, &recorder);
    EXPECT_EQ(groupOf(param->getValues(), 0), CValueList{6.0});
    EXPECT_TRUE(recorder.seen.empty()); // its own change, and nothing of the text
    collector->takePendingChanges();
    EXPECT_EQ(text.getAudioValues().readString(4, 1), "none");
}

TEST_F(Param, presetBlocksComeBackWholeOrNotAtAll) {
    apply(1, 0, {3, 4});
    CWriteSeqBuffer stream;
    ASSERT_FALSE(param->saveForPreset(stream));
    const CByteBuffer block = bytesOf(stream);
    apply(2, 0, {9});
    apply(0, 0, {9});

    CUndo undo;
    CChangeContext context;
    context.undo = &undo;
    for (size_t length = 0; length < block.size(); length++) {
        CMemoryReader cut(block.data(), static_cast<int32_t>(length));
        EXPECT_TRUE(param->loadFromPreset(cut, context, -1, -1));
    }
    EXPECT_EQ(param->readValue(0, 0), 9.0);
    EXPECT_EQ(undo.log, "");
    CMemoryReader whole(block);
    EXPECT_FALSE(param->loadFromPreset(whole, context, -1, -1));
    EXPECT_EQ(groupOf(param->getValues(), 0), (CValueList{1, 2}));
    EXPECT_EQ(groupOf(param->getValues(), 1), (CValueList{3, 4}));
    EXPECT_EQ(recorder.seen.back(), (CRecorder::CSeen{2, 0, 0, true}));
    EXPECT_EQ(undo.log, "b0:2b1:2b2:1 a0:2  a1:2  a2:0 ");
    collector->takePendingChanges();
    EXPECT_EQ(param->getAudioValues().getElementCount(2), 0);

    CMemoryReader single(block);
    EXPECT_FALSE(param->loadFromPreset(single, {}, 3, 5));
    EXPECT_EQ(groupOf(param->getValues(), 3), (CValueList{1, 2, 1, 1, 1, 1}));
    CMemoryReader asReset(block);
    EXPECT_FALSE(param->loadResetValues(asReset));
    EXPECT_EQ(groupOf(param->getResetValues(), 1), (CValueList{3, 4}));
}

} // namespace
