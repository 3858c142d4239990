#include "Audio/CAudioParamRegistryBase.h"
#include "Audio/CAudioParamRemapDef.h"
#include "Audio/ParamFixture.h"

#include <atomic>
#include <functional>
#include <random>
#include <thread>

using namespace lum;

namespace {

using CValueList = std::vector<double>;

class Collector : public CParamFixture {
protected:
    static void apply(CAudioParam& param, int group, int first, const CValueList& values,
                      bool isTruncating = false, CAudioParamBatch* batch = nullptr) {
        CChangeContext context;
        context.batch = batch;
        param.applyChange(
            floatChange(param.getValues().getFormat(), group, first, values, isTruncating),
            context);
    }
    /// A group without elements is as good as none.
    static void expectSame(const CAudioParamStorage& a, const CAudioParamStorage& b) {
        for (int g = 0; g < std::max(a.getGroupCount(), b.getGroupCount()); g++) {
            ASSERT_EQ(a.getElementCount(g), b.getElementCount(g)) << g;
            for (int i = 0; i < a.getElementCount(g); i++) {
                ASSERT_EQ(a.readString(g, i), b.readString(g, i)) << g << " " << i;
                if (!a.getFormat().isFloat()) continue; // ids differ
                ASSERT_EQ(a.read(g, i), b.read(g, i)) << g << " " << i;
            }
        }
    }
};

TEST_F(Collector, namesResolveAgainstTheProcess) {
    const struct {
        const char *base, *name, *result;
    } cases[] = {{"a.b.c", "^^x", "a.x"}, {"a.b.c", "^", "a.b"},         {"a.b.c", ".x", "a.b.c.x"},
                 {"a.b.c", "/x", "x"},    {"a.b.c", "x.y", "a.b.c.x.y"}, {"a", "^", ""},
                 {"a.b", "", "a.b"},      {"a.b.c", "^.x", "a.b.x"}};
    for (const auto& c : cases) EXPECT_EQ(resolveParamName(c.base, c.name), c.result) << c.name;
}

TEST_F(Collector, remapsAreFollowedToTheEndAndRingsEnd) {
    collector->addRemap("a", "b");
    collector->addRemap("b", "c");
    collector->addRemap("self", "self");
    EXPECT_EQ(collector->getParam("a").getName(), "c");
    EXPECT_EQ(&collector->getParam("a"), &collector->getParamDirect("c"));
    EXPECT_EQ(collector->getParamDirect("a").getName(), "a");
    EXPECT_TRUE(collector->isRedirected("a"));
    EXPECT_FALSE(collector->isRedirected("c") || collector->isRedirected("self"));
    collector->addRemap("c", "a");
    collector->getParam("a"); // comes back
}

TEST_F(Collector, remapDefinitionsReadStatements) {
    const std::pair<const char*, const char*> cases[] = {
        {"fir.points = gains; fir.count = bands;\n", ""},
        {"a=b c=d", ""},
        {"enable", "Invalid remapping string 'enable' defined."}};
    for (const auto& [content, message] : cases) {
        CObject* child = nullptr;
        CObject* text = nullptr;
        ASSERT_FALSE(root->createChild(child, "audio:param-remap", "remap", false));
        ASSERT_FALSE(child->init());
        ASSERT_FALSE(create(*child, text, "content", "content", {{"value", content}}));
        EXPECT_EQ(child->initDone().line(0), message);
        const size_t pairs = *message ? 0 : 2;
        EXPECT_EQ(dynamic_cast<CAudioParamRemapDef*>(child)->pairs.size(), pairs);
    }
}

TEST_F(Collector, queuedChangesMergeOnlyWhileNothingRuns) {
    CAudioParam& param = bound("p", infoOf({}));
    CAudioParam& other = bound("q", infoOf({}));
    collector->takePendingChanges();
    apply(param, 0, 0, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
    apply(other, 0, 0, {5});
    apply(param, 0, 3, {0.5});
    apply(param, 0, 4, {0.5});
    EXPECT_EQ(collector->countPendingChanges(), 2);
    apply(param, 0, 0, {3, 4}, true);
    EXPECT_EQ(collector->countPendingChanges(), 2);
    collector->takePendingChanges();
    EXPECT_EQ(groupOf(param.getAudioValues(), 0), (CValueList{3, 4}));
    env->isActive = true;
    apply(param, 0, 0, {1});
    apply(param, 0, 1, {1});
    EXPECT_EQ(collector->countPendingChanges(), 2);
}

/// Whatever merges on the way, the audio side ends with the values of the control side.
TEST_F(Collector, randomChangesReachTheAudioSideWhateverMerges) {
    std::mt19937 random(77);
    CAudioParam& number = bound("number", infoOf({}));
    CAudioParam& text = bound("text", textInfo());
    for (int round = 0; round < 400; round++) {
        std::unique_ptr<CAudioParamBatch> batch;
        for (int i = 0; i < 8; i++) {
            if (random() % 4 == 0) batch = std::make_unique<CAudioParamBatch>(*collector);
            if (random() % 4 == 0) batch.reset();
            int group = static_cast<int>(random() % 2), first = static_cast<int>(random() % 10);
            CValueList values(random() % 5, round * 10.0 + i);
            apply(number, group, first, values, random() % 3 == 0, batch.get());
            text.setString(group, first, std::to_string(round * 10 + i).c_str(), nullptr);
            if (random() % 30 == 0)
                number.applyChange(
                    CAudioParamChange::ofDefaults(number.getInfo()->defaults, nullptr), {});
        }
        batch.reset();
        env->isActive = random() % 2 == 0;
        if (random() % 2 == 0) continue;
        collector->takePendingChanges();
        expectSame(number.getValues(), number.getAudioValues());
        expectSame(text.getValues(), text.getAudioValues());
    }
}

/// A batch holds older values back; what came past it meanwhile must not be undone by them.
TEST_F(Collector, aBatchDoesNotOvertakeWhatCameMeanwhile) {
    CAudioParam& param = bound("p", infoOf({}));
    const auto fromAnotherThread = [&](const CValueList& values) {
        std::thread([&] { apply(param, 0, 0, values, true); }).join();
    };
    for (const bool isActive : {false, true}) {
        env->isActive = isActive;
        {
            CAudioParamBatch batch(*collector); // the other one before the end
            apply(param, 0, 0, {1, 2, 3}, true, &batch);
            apply(param, 1, 0, {4}, false, &batch);
            fromAnotherThread({5});
        }
        collector->takePendingChanges();
        EXPECT_EQ(groupOf(param.getAudioValues(), 0), (CValueList{5}));
        {
            CAudioParamBatch batch(*collector); // and between two changes of the batch
            apply(param, 0, 0, {1, 2, 3}, true, &batch);
            fromAnotherThread({6, 7, 8, 9});
            apply(param, 0, 1, {4}, false, &batch);
        }
        collector->takePendingChanges();
        EXPECT_EQ(groupOf(param.getAudioValues(), 0), (CValueList{6, 4, 8, 9}));
    }
    {
        CAudioParamBatch batch(*collector);
        apply(param, 0, 0, {1}, true, &batch);
        collector->takePendingChanges();
        EXPECT_EQ(groupOf(param.getAudioValues(), 0), (CValueList{6, 4, 8, 9})); // as one
    }
    EXPECT_EQ(collector->countPendingChanges(), 1); // nobody came past: nothing behind it
}

TEST_F(Collector, listenersHearOfTheirGroupAndElement) {
    const struct {
        bool isSingleGroup, isSingleElement, isTruncating;
        int changeGroup, first, count, nodeGroup, nodeElement;
        bool isHeard;
        uint32_t mask;
    } cases[] = {
        {false, false, false, 1, 0, 1, 2, -1, false, 0},
        {false, false, false, 2, 0, 1, 2, -1, true, 4},
        {false, false, false, 2, 0, 1, -1, -1, true, 4},
        {true, false, false, 0, 0, 1, 2, -1, true, 1},
        {true, false, false, 1, 0, 1, 2, -1, false, 0},
        {false, false, false, 0, 0, 2, -1, 2, false, 0},
        {false, false, true, 0, 0, 2, -1, 2, true, 1},
        {false, false, true, 0, 3, 1, -1, 2, false, 0},
        {false, true, false, 0, 0, 1, -1, 7, true, 1},
        {false, false, false, kDefinitionGroup, 0, 1, 5, 9, true, 0xFFFFFFFF},
    };
    for (const auto& c : cases) {
        CAudioParam& param =
            bound("p", infoOf({{"is-single-group", c.isSingleGroup ? "1" : "0"},
                               {"is-single-element", c.isSingleElement ? "1" : "0"},
                               {"def-values", "1,1,1,1"}}));
        collector->takePendingChanges();
        uint8_t dirty = 0;
        uint32_t mask = 99;
        CAudioListenerNode node{&dirty, &mask, c.nodeGroup, c.nodeElement};
        collector->addAudioListener(param, node);
        EXPECT_EQ(mask, c.nodeGroup == -1 ? 1u : 0u); // one group is there
        mask = 0;
        apply(param, c.changeGroup, c.first, CValueList(static_cast<size_t>(c.count), 2.0),
              c.isTruncating);
        EXPECT_EQ(dirty, 0);
        collector->takePendingChanges();
        EXPECT_EQ(dirty, c.isHeard ? 1 : 0) << &c - cases;
        EXPECT_EQ(mask, c.mask) << &c - cases;
        collector->removeAudioListener(node);
    }
}

TEST_F(Collector, listenersComeAndGoInAnyNumber) {
    CAudioParam& param = bound("p", infoOf({}));
    std::vector<uint8_t> dirty(500);
    std::vector<uint32_t> masks(500);
    std::vector<CAudioListenerNode> nodes(500);
    for (size_t i = 0; i < dirty.size(); i++) {
        nodes[i].dirty = &dirty[i];
        nodes[i].groupMask = &masks[i];
        collector->addAudioListener(param, nodes[i]);
    }
    for (size_t i = 0; i < nodes.size(); i += 3) collector->removeAudioListener(nodes[i]);
    collector->takePendingChanges();
    for (size_t i = 0; i < dirty.size(); i++) EXPECT_EQ(dirty[i], i % 3 == 0 ? 0 : 1);
}

struct CCallLog : CDeferredCallTarget {
    void onDeferredCall(int32_t argument, double) override {
        log.push_back(argument);
        if (next) next();
    }
    std::vector<int32_t> log;
    std::function<void()> next;
};

TEST_F(Collector, deferredCallsWaitForTheLastGuardAndBatch) {
    CAudioParam& param = collector->getParam("p");
    CCallLog calls, gone;
    {
        CAudioParamBatch batch(*collector);
        {
            CAudioParamGuard outer(param);
            CAudioParamGuard inner(param);
            collector->deferCall(calls, 1, 0.0);
            collector->deferCall(gone, 9, 0.0);
            collector->deferCall(calls, 2, 0.0);
        }
        EXPECT_TRUE(calls.log.empty());
        collector->cancelDeferredCalls(gone);
        calls.next = [&] { CAudioParamGuard again(param); };
    }
    collector->deferCall(calls, 3, 0.0);
    EXPECT_EQ(calls.log, (std::vector<int32_t>{1, 2, 3}));
    EXPECT_TRUE(gone.log.empty());
    // What another thread defers meanwhile comes behind, or a host would hear the older value last.
    calls.next = [&] {
        calls.next = nullptr;
        std::thread([&] { collector->deferCall(calls, 5, 0.0); }).join();
        calls.log.push_back(-4);
    };
    collector->deferCall(calls, 4, 0.0);
    EXPECT_EQ(calls.log, (std::vector<int32_t>{1, 2, 3, 4, -4, 5}));
}

/// The host's audio thread may close the last guard at any time; it does nobody else's work.
TEST_F(Collector, workIsDoneByTheThreadThatOwesItOnceItHoldsNoGuard) {
    CAudioParam& mine = collector->getParam("mine");
    CAudioParam& theirs = collector->getParam("theirs");
    CCallLog works, calls, gone;
    std::atomic<int> step{0};
    const auto await = [&](int wanted) {
        while (step < wanted) std::this_thread::yield();
    };
    std::thread other([&] {
        CAudioParamGuard guard(theirs);
        step = 1;
        await(2);
    });
    await(1);
    {
        CAudioParamGuard outer(mine);
        CAudioParamGuard inner(mine);
        collector->deferWork(works);
        collector->deferWork(works); // one piece is enough
        collector->deferWork(gone);
        collector->deferCall(calls, 7, 0.0);
        EXPECT_TRUE(works.log.empty());
        collector->cancelDeferredCalls(gone);
    }
    EXPECT_EQ(works.log, (std::vector<int32_t>{0})) << "a guard of another thread holds nothing up";
    EXPECT_TRUE(calls.log.empty());
    {
        CAudioParamGuard guard(mine);
        collector->deferWork(works);
        step = 2;
        other.join();
        EXPECT_EQ(works.log.size(), 1u);
    }
    EXPECT_EQ(works.log.size(), 2u);
    EXPECT_EQ(calls.log, (std::vector<int32_t>{7}));
    works.next = [&] { collector->cancelDeferredCalls(works); }; // a target may end in its call
    collector->deferWork(works);
    EXPECT_EQ(works.log.size(), 3u);
    EXPECT_TRUE(gone.log.empty());
}

struct CFakeRegistry : CAudioParamRegistryBase {
    CFakeRegistry(const char* prefix, bool isSelecting, std::string& sharedLog)
        : hierarchy(prefix), enumerated(isSelecting), log(sharedLog) {}
    CString getRegistryName() const override { return hierarchy; }
    const CString& getHierarchy() const override { return hierarchy; }
    bool isEnumerated() const override { return enumerated; }
    bool offerParam(CAudioParam& param) override {
        bool isTaken = param.getName().startsWith(hierarchy.text8());
        if (isTaken) log += hierarchy.toUtf8() + "<" + param.getName().toUtf8() + " ";
        return isTaken;
    }
    void onCollectorStarted() override { log += "start "; }
    void onSelectingParamChanged(CAudioParam&, const CAudioParamChange& change,
                                 const CChangeContext&) override {
        log += "select" + std::to_string(change.group) + " ";
    }
    CString hierarchy;
    bool enumerated;
    std::string& log;
};

TEST_F(Collector, parametersAreOfferedToTheLongestHierarchyFirst) {
    std::string log;
    CFakeRegistry wide("p.", false, log), narrow("p.io.", false, log),
        enumerated("p.e.", true, log);
    for (auto* registry : {&wide, &narrow, &enumerated}) collector->addRegistry(*registry);
    collector->getParam("p.e.x");
    collector->getParam("p.io.y");
    EXPECT_EQ(log, "");
    collector->start();
    collector->start();
    EXPECT_EQ(log, "p.e.<p.e.x p.io.<p.io.y p.<p.io.y start start start ");
    log.clear();
    CAudioParam& selecting = collector->getParam("p.z");
    selecting.bind(infoOf({{"param-registry", "p.e."}}), {});
    EXPECT_EQ(log, "p.<p.z select9999 ");
}

/// Control threads write while the audio thread takes; in the end both sides agree.
TEST_F(Collector, threadsAgreeInTheEnd) {
    constexpr int kThreads = 3, kRounds = 1500;
    std::vector<const CAudioParamInfo*> infos{
        &infoOf({{"def-values", "1,2"}}), &textInfo(),
        &infoOf({{"data-type", "raw"}, {"converter", "shared::text"}})};
    for (const CAudioParamInfo* info : infos) bound(info->fullName.toUtf8().c_str(), *info);
    CByteBuffer palette;
    palette.resize(10000);
    std::memset(palette.data(), 7, palette.size());
    std::atomic<int> running{kThreads};
    std::vector<std::thread> writers;
    for (int t = 0; t < kThreads; t++)
        writers.emplace_back([&, t] {
            for (int i = 0; i < kRounds; i++) {
                std::string fresh = "fresh" + std::to_string((i * 7 + t) % 90);
                collector->getParam(fresh.c_str());
                CAudioParam& number = collector->getParam(infos[0]->fullName);
                CAudioParam& text = collector->getParam(infos[1]->fullName);
                CAudioParam& raw = collector->getParam(infos[2]->fullName);
                CAudioParamBatch batch(*collector);
                // Groups of their own, and one that all share.
                for (const int group : {t, kThreads})
                    apply(number, group, i % 7, {double(i)}, i % 11 == 0, i % 3 ? nullptr : &batch);
                text.setString(i % 2 ? t : kThreads, i % 3, fresh.c_str(), nullptr);
                if (i % 20 == 0) raw.setRaw(0, 0, palette, nullptr);
                if (i % 50 == 0) {
                    platform::CSpinGuard hold(env->lock);
                    env->isActive = !env->isActive;
                }
            }
            running--;
        });
    while (running > 0) collector->takePendingChanges();
    for (std::thread& writer : writers) writer.join();
    collector->takePendingChanges();
    for (size_t i = 0; i < 2; i++) {
        CAudioParam& param = collector->getParam(infos[i]->fullName);
        expectSame(param.getValues(), param.getAudioValues());
    }
    EXPECT_EQ(collector->getParam(infos[2]->fullName).getAudioValues().readRaw(0, 0), palette);
}

} // namespace
