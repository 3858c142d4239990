#pragma once

#include "Audio/CAudioExtParamHostBridge.h"
#include "Audio/CAudioGraphSwitch.h"
#include "Audio/CAudioInterfaceDataProvider.h"
#include "Audio/CAudioRoutingInfoProvider.h"
#include "Audio/CPackedState.h"
#include "Core/CObject.h"

namespace lum {

class CAppData;
class CAudioCCTable;
class CAudioExtParamList;
class CAudioInterfaceBase;
class CAudioParamRegistry;
class CAudioVizCollector;

/// Kinds of a queued event.
enum class AudioEventKind : int32_t { Midi = 0, Param = 1 };

struct CAudioMidiEvent {
    int32_t status;  // upper half of the status byte
    int32_t channel; // lower half
    int32_t data1;   // 0 to 127
    int32_t data2;
};

struct CAudioParamEvent {
    double value;  // normalised
    int32_t index; // of the exposed parameter
};

/// An event of the next block.
struct CAudioEvent {
    int32_t sampleOffset; // from the start of the block
    AudioEventKind kind;
    union {
        CAudioMidiEvent midi;
        CAudioParamEvent param;
    };
};
static_assert(sizeof(CAudioEvent) == 24);

/// How the host lays out the samples of one bus. Not interleaved, a bus takes one pointer a
/// channel; interleaved, one pointer.
struct CAudioBusFormat {
    int channels = 0;
    bool isDouble = false; // 64-bit samples
    bool isInterleaved = false;
};

/// One loaded instance of the plug-in, independent of the host format: owns the instance's tree,
/// finds the objects that the product data declares, builds the audio graphs, and turns a host's
/// block into process calls. What it knows of the product it reads from the shared tree.
///
/// A format adapter derives from it. It calls init, adds its own, and ends with finishInit.
/// `process` belongs to the host's audio thread; everything else to control threads, or to whatever
/// thread the host likes. Hosts that break this order get silence for a block, never a torn graph:
/// start, stop and process exclude each other, and process never waits.
class CAudioWrapper : public CAudioExtParamHostBridge,
                      public CAudioInterfaceDataProvider,
                      public CAudioRoutingInfoProvider,
                      public CLumMemAllocator {
public:
    static constexpr int kMaxChannels = kMaxPortChannels;

    CAudioWrapper();
    ~CAudioWrapper() override;
    CAudioWrapper(const CAudioWrapper&) = delete;
    CAudioWrapper& operator=(const CAudioWrapper&) = delete;

    /// The creation sequence. Error: what the product data lacks; the object is then only good for
    /// deletion.
    virtual CErrorResult init();
    virtual void hostUpdateDisplay() = 0;
    virtual void hostBeginEdit(int32_t index) = 0;
    virtual void hostEndEdit(int32_t index) = 0;
    /// width, height: pixels. True when the host accepts.
    virtual bool hostResizeEditor(int width, int height);
    /// The latency has moved inside a block; audio thread.
    virtual void onLatencyChanged();
    virtual void onMidiEvent(const CAudioEvent&) {}
    /// Sets an exposed parameter at its sample.
    virtual void onParamEvent(const CAudioEvent& event);

    /// Activate and deactivate processing; idempotent. `start` does all allocation that blocks at
    /// this rate and layout need.
    void start();
    void stop();
    /// A layout or rate has been set that the next start or stop applies.
    bool isConfigurationDirty();
    bool isActive();

    void setSampleRate(double rate); // Hz
    void setOffline(bool isHostOffline);
    /// main, sideChain: the side chain's channels stand behind the main ones.
    void setInputFormat(const CAudioBusFormat& main, const CAudioBusFormat& sideChain);
    void setOutputFormat(const CAudioBusFormat& format);
    void setTempo(double bpm);
    void setRecording(bool isHostRecording);
    /// Reads the wanted size of the editor window; tells the host when it has changed.
    void updateEditorSize();

    /// Carries out what other threads have left for a control thread: parameter writes, another
    /// graph, graphs that have left. Control threads, whenever one comes by.
    void drainControlWrites();
    /// The state as one block of bytes: of the present program or of the whole bank, with or
    /// without the 16 reserved bytes that hosts store in front.
    CErrorResult getState(CByteBuffer& out, bool isPreset, bool withPrefix);
    /// Takes such a block. On failure nothing has changed.
    CErrorResult setState(const void* data, size_t size, bool isPreset, bool withPrefix);

    /// Queues an event for the next block; from the audio thread, between blocks. Drops it when the
    /// block has more than hosts ever send, as the queue does not grow.
    void addEvent(const CAudioEvent& event) LUM_REALTIME;
    /// True when a block may run: processing is started and nobody else is in a block, a start or a
    /// stop. Never waits. Then endBlock must follow, on this thread.
    bool beginBlock() LUM_REALTIME;
    void endBlock() LUM_REALTIME { blockLock.leave(); }
    /// Zeros for every channel of a bus.
    static void writeSilence(void* const* outputs, const CAudioBusFormat& format,
                             int frames) LUM_REALTIME;
    /// The block entry. inputs, outputs: pointers as the formats say, any of them null. In and out
    /// may be the same memory. Writes every output channel, with zeros when no block may run.
    void process(const void* const* inputs, void* const* outputs, int frames) LUM_REALTIME;

    // CAudioInterfaceDataProvider
    int getIntChannelCount() override { return intChannelCount; }
    int getGroupCount() override { return groupCount; }
    int getInChannelCount() override;
    int getOutChannelCount() override;
    int getSideChainChannelCount() override;
    double getSampleRate() override;
    void paramBeginEdit(CAudioParam& param, int element, int group) override;
    void paramEndEdit(CAudioParam& param, int element, int group) override;
    void importChannelLabels() override;
    // CAudioRoutingInfoProvider
    void applyRouting(CParamUndoRecord* undo, CAudioParamBatch* batch) override;

    int getLatency() const; // samples, of the last block
    bool hasTail() const { return isTailDeclared; }
    double getTail() const { return tailSeconds; }
    CAudioExtParamList& getExtParams() const { return *extParams; }
    CAudioParamRegistry& getRegistry() const { return *paramRegistry; }
    CAudioVizCollector& getVizCollector() const { return *vizCollector; }
    CAudioParamCollector& getCollector() const { return *collector; }
    CObject* getInstanceRoot() const { return instanceRoot; }

protected:
    /// Ends an adapter's own init: one activation, so that latency and buffers stand before the
    /// host asks, and from then on the host is told of changes.
    CErrorResult finishInit();
    /// Ends all news to the host and all questions of clients. An adapter's destructor begins with
    /// it, as its operations are gone behind that.
    void disconnectHost();

    /// Reads the settings that count when the host renders offline. Not in a block, nor where a
    /// block may be waiting, as this opens files.
    void readOversamplingSettings();
    /// A setting of the user that is on or off.
    static bool readFlag(CAppData& store, const char* record, bool isStandard);

    /// Adapts a routing that the user has not touched to the host's channels. With `isRequest` that
    /// becomes the standing wish. Under the routing lock.
    void updateDefaultRouting(bool isRequest, CParamUndoRecord* undo, CAudioParamBatch* batch);

    CObject* project = nullptr;
    CString appName;
    CString appVendor;
    int32_t pluginCode = 0; // four characters, the first one in the top byte
    int32_t version[3] = {};
    int intChannelCount = 0;
    int groupCount = 0;
    bool isSymmetricIo = false;
    bool useHostBpm = false;
    bool useHostRecording = false;
    bool forceTwoChannels = false;
    bool isLatencyChanged = false;          // audio thread, and set-up
    std::atomic<bool> isInitialised{false}; // the host is told nothing before
    CAudioParam* hostLatencyChange = nullptr;
    platform::CSpinLock blockLock; // held by start, stop and a block, which only tries it
    platform::CLock routingLock;
    CVector<CString> inputLabels;     // under routingLock
    CVector<CString> sideChainLabels; // under routingLock
    double visualScale = 1.0;
    int windowWidth = 0; // pixels
    int windowHeight = 0;

private:
    class CHostNewsListener;
    class CProgramChangeListener;
    class CWinSizeParamListener;
    struct CRoutingParams;
    class CStructureListener;
    /// Runs when the thread that has changed the structure holds no guard any more.
    class CGraphCall : public CDeferredCallTarget {
    public:
        explicit CGraphCall(CAudioWrapper& wrapper) : owner(wrapper) {}
        void onDeferredCall(int32_t, double) override { owner.drainControlWrites(); }

    private:
        CAudioWrapper& owner;
    };
    /// The begin or the end of an edit, which waits behind the values that came before it.
    class CEditCall : public CDeferredCallTarget {
    public:
        using CTell = void (CAudioWrapper::*)(int32_t index);
        CEditCall(CAudioWrapper& wrapper, CTell tellHost) : owner(wrapper), tell(tellHost) {}
        void onDeferredCall(int32_t index, double) override {
            if (owner.isInitialised) (owner.*tell)(index);
        }

    private:
        CAudioWrapper& owner;
        CTell tell;
    };

    // init, in its order
    CErrorResult createInstanceTree();
    CErrorResult readProject();
    CErrorResult acquirePluginCode();
    CErrorResult parseVersion();
    CErrorResult findInstanceObjects();
    void findHostParams();
    CErrorResult createFirstGraph();
    void findWindowParams();
    void findRoutingParams();
    void exposeParams();

    // Host state
    /// Leaves the write to a control thread, because this may be the audio thread.
    void writeHostParam(CAudioParam& param, double value) LUM_REALTIME;
    void updateOversampling();
    void computeWindowSize(int& width, int& height);
    int findExposedIndex(CAudioParam& param, int element, int group) const;

    // Activation
    bool applyConfiguration();
    void publishLayout();
    /// Replaces the graph by one of the present layout and structure.
    void layOut();
    std::unique_ptr<CAudioGraph> makeGraph();
    void listenToStructure(const CAudioGraph& graph);
    /// Offers another graph when the structure has changed. Any thread but a block's.
    void updateGraph();
    void onStructureChanged();

    // Blocks
    void exchange() LUM_REALTIME;
    /// Behind a graph's block, as only that tells.
    void noteLatency() LUM_REALTIME;
    void sortEvents() LUM_REALTIME;
    int dispatchEvents(int position, int frames, bool& wasDispatched) LUM_REALTIME;
    void runBlocks(const void* const* inputs, void* const* outputs, int frames) LUM_REALTIME;
    void runSubBlock(const void* const* inputs, void* const* outputs, int position,
                     int frames) LUM_REALTIME;
    void feedInputs(const void* const* inputs, int position, int frames) LUM_REALTIME;
    void collectOutputs(void* const* outputs, int position, int frames) LUM_REALTIME;

    // Routing
    bool isRoutingDefault() const;
    void writeDefaultRouting(const CChangeContext& change);

    CObject* instanceRoot = nullptr; // owned
    CObject* plugin = nullptr;
    CAudioEnv* env = nullptr;
    CAudioParamCollector* collector = nullptr;
    CAudioExtParamList* extParams = nullptr;
    CAudioParamRegistry* paramRegistry = nullptr; // the master
    CAudioVizCollector* vizCollector = nullptr;
    CAudioInterfaceBase* interfaceBase = nullptr;
    std::unique_ptr<CProgramChangeListener> programListener;
    CAudioCCTable* ccTable = nullptr;
    CControlWriteQueue controlWrites;
    CGraphDefinitions graphDefinitions;
    platform::CLock graphLock; // outside blockLock; held by whoever makes, offers or frees graphs
    CAudioGraphSwitch graphs;
    std::unique_ptr<CAudioGraph> firstGraph; // of init, until the first layout
    CVector<std::unique_ptr<CStructureListener>, 8> structureListeners; // under graphLock
    CGraphCall graphCall{*this};
    CEditCall editBegins{*this, &CAudioWrapper::hostBeginEdit};
    CEditCall editEnds{*this, &CAudioWrapper::hostEndEdit};
    std::atomic<bool> wantsGraph{false}; // the structure may have changed
    CMap<std::pair<const CAudioParam*, int32_t>, int32_t> exposedIndices; // by parameter and place

    CPackedState packedState;

    bool isTailDeclared = false;
    double tailSeconds = 0.0;
    bool useRouting = false;
    bool useMidSide = false;
    bool useSideChain = false;
    bool isVizAlwaysActive = false;
    int autoOversamplingRtMode = 0;

    // The configuration: written under blockLock and the env lock, so that either is enough to
    // read. The layout is what the graph has been given of it.
    CAudioBusFormat inFormat;
    CAudioBusFormat sideChainFormat;
    CAudioBusFormat outFormat;
    bool isDirty = false;
    CPortFormat layout; // written under graphLock and blockLock

    bool isRunning = false; // written under graphLock and blockLock
    CVector<CAudioEvent, 0> events;
    int eventReadIndex = 0;

    CAudioParam* hostOversamplingMode = nullptr;
    CAudioParam* hostOffline = nullptr;
    CAudioParam* hostTrackName = nullptr;
    CAudioParam* hostBypass = nullptr;
    CAudioParam* hostBpm = nullptr;
    CAudioParam* hostRec = nullptr;
    CAudioParam* mainWindowSize = nullptr;
    std::unique_ptr<CRoutingParams> routingParams;
    std::unique_ptr<CWinSizeParamListener> windowSizeListener;
    double lastTempo = -1.0;
    bool lastRecording = false;
    bool isOffline = false;
    int oversamplingMode = 0;
    std::atomic<int> oversamplingLevel{1}; // of the stores, and so is the next
    std::atomic<bool> forceAutoOversampling{false};
    bool isRoutingRequested = false; // sticky; under routingLock
};

} // namespace lum
