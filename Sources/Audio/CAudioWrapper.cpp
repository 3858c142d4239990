#include "Audio/CAudioWrapper.h"

#include "Audio/CAudioCCTable.h"
#include "Audio/CAudioExtParam.h"
#include "Audio/CAudioExtParamList.h"
#include "Audio/CAudioInterfaceBase.h"
#include "Audio/CAudioParamRegistry.h"
#include "Audio/CAudioProcessDef.h"
#include "Audio/CAudioVizCollector.h"
#include "Audio/CAudioWrapperRouting.h"
#include "Core/CAppData.h"
#include "Core/CApplication.h"
#include "Core/CLog.h"
#include "Core/CSystem.h"
#include "Core/CWorkerThreadPool.h"
#include "Platform/Clock.h"

#include <algorithm>

namespace lum {

namespace {

constexpr const char* kMainName = "plugin.modMain";
constexpr const char* kOutputName = "plugin.modOutput";
constexpr const char* kMainDefinition = "shared::audio.modMain";
constexpr const char* kOutputDefinition = "shared::audio.modOutput";
constexpr int kMostGroups = 8;
constexpr double kDefaultTail = 0.4;  // seconds, for a tail whose text is no number
constexpr size_t kQueuedEvents = 256; // events that a block may bring

CString hostParamName(const char* name) {
    return CString(kMainName) + "." + name;
}

/// A parameter and a place in it as one number: groups and elements are both below 256.
int32_t placeOf(int element, int group) {
    return (group << 8) | element;
}

} // namespace

/// Passes news to the host when no guard is open and no lock of the presets is held.
class CAudioWrapper::CHostNewsListener : public COwnedUpdateListener<CAudioWrapper>,
                                         public CDeferredCallTarget,
                                         public CLumMemAllocator {
public:
    using COwnedUpdateListener<CAudioWrapper>::COwnedUpdateListener;
    ~CHostNewsListener() override {
        attach(nullptr, nullptr);
        owner->collector->cancelDeferredCalls(*this);
    }

protected:
    void defer() { owner->collector->deferCall(*this, 0, 0.0); }
};

/// Shows the host what other hands did to the programs.
class CAudioWrapper::CProgramChangeListener : public CHostNewsListener {
public:
    using CHostNewsListener::CHostNewsListener;
    void onUpdate(const CUpdateRecord* record) override {
        if (static_cast<const CRegistryUpdate*>(record)->originator != owner) defer();
    }
    void onDeferredCall(int32_t, double) override {
        if (owner->isInitialised) owner->hostUpdateDisplay();
    }
};

class CAudioWrapper::CWinSizeParamListener : public CHostNewsListener {
public:
    using CHostNewsListener::CHostNewsListener;
    void onUpdate(const CUpdateRecord*) override { defer(); }
    void onDeferredCall(int32_t, double) override { owner->updateEditorSize(); }
};

/// A parameter that decides which processes there are and how they are linked.
class CAudioWrapper::CStructureListener : public COwnedUpdateListener<CAudioWrapper>,
                                          public CLumMemAllocator {
public:
    CStructureListener(CAudioWrapper& wrapper, CAudioParam& heard)
        : COwnedUpdateListener(wrapper), param(&heard) {}
    ~CStructureListener() override { attach(nullptr, nullptr); }
    void onUpdate(const CUpdateRecord*) override { owner->onStructureChanged(); }

    CAudioParam* const param;
};

CAudioWrapper::CAudioWrapper() = default;

CAudioWrapper::~CAudioWrapper() {
    disconnectHost();
    structureListeners.clear();
    if (collector) collector->cancelDeferredCalls(graphCall);
    firstGraph.reset();
    graphs.replace(nullptr);
    if (instanceRoot) CObject::destroyObject(instanceRoot);
    CPersistentThread::releaseIdle();
}

void CAudioWrapper::disconnectHost() {
    isInitialised = false;
    if (interfaceBase) {
        interfaceBase->disconnect();
        interfaceBase->setDataProvider(nullptr);
    }
    programListener.reset();
    windowSizeListener.reset();
    if (paramRegistry) paramRegistry->setRoutingProvider(nullptr);
    if (extParams)
        for (int i = 0; i < extParams->getCount(); i++) extParams->getParam(i)->setHost(i, nullptr);
    if (!collector) return;
    for (CDeferredCallTarget* target :
         {static_cast<CDeferredCallTarget*>(this), static_cast<CDeferredCallTarget*>(&editBegins),
          static_cast<CDeferredCallTarget*>(&editEnds)})
        collector->cancelDeferredCalls(*target);
}

CErrorResult CAudioWrapper::init() {
    const double started = platform::clockSeconds();
    if (!CApplication::get())
        return LUM_FAIL("@lumstr_CAudioWrapper_init_NoApp No application object created.");
    LUM_TRY(createInstanceTree());
    LUM_TRY(readProject());
    LUM_TRY(findInstanceObjects());
    findHostParams();
    LUM_TRY(createFirstGraph());
    findWindowParams();
    findRoutingParams();
    paramRegistry->setRoutingProvider(this);
    vizCollector->setControlWrites(&controlWrites);
    exposeParams();

    isDirty = true;
    inFormat.channels = 1;
    outFormat.channels = 1;
    forceTwoChannels = readFlag(CAppDataGroup::get(), "force-2ch", false);
    readOversamplingSettings();
    updateOversampling();
    events.reserve(kQueuedEvents);
    logFormat("CAudioWrapper init time: %.4f s @ %.4f s", platform::clockSeconds() - started,
              system::secondsSinceLoad());
    return nullptr;
}

CErrorResult CAudioWrapper::createInstanceTree() {
    LUM_TRY(CApplication::get()->initRootObject(instanceRoot, ""));
    CObject* audio = nullptr;
    LUM_TRY(instanceRoot->findObjectChecked(audio, "shared::audio"));
    const CString pluginTag = audio->getAttrString("plugin-tag");
    CObject* created = nullptr;
    LUM_TRY(instanceRoot->createChild<CObject>(created, pluginTag, "plugin", true));
    LUM_TRY(instanceRoot->findObjectChecked(plugin, "plugin"));
    LUM_TRY(instanceRoot->findObjectChecked(project, "shared::project"));
    return nullptr;
}

CErrorResult CAudioWrapper::readProject() {
    appName = project->getAttrString("app-name");
    if (appName.empty())
        return LUM_FAIL("@lumstr_CAudioWrapper_init_PluginNameEmpty Plug-in name is empty.");
    appVendor = project->getAttrString("app-vendor");
    if (appVendor.empty())
        return LUM_FAIL("@lumstr_CAudioWrapper_init_VendorNameEmpty Vendor name is empty.");
    intChannelCount = project->getAttrInt("plugin-intchannel-count");
    if (intChannelCount < 1 || intChannelCount > kMaxChannels)
        return LUM_FAIL("@lumstr_CAudioWrapper_init_InvalidIntChannelCount "
                        "Invalid 'plugin-intchannel-count' attribute value.");
    groupCount = project->getAttrInt("plugin-group-count");
    if (groupCount < 1 || groupCount > kMostGroups)
        return LUM_FAIL("@lumstr_CAudioWrapper_init_InvalidGroupCount "
                        "Invalid 'plugin-group-count' attribute value.");
    LUM_TRY(acquirePluginCode());
    LUM_TRY(parseVersion());

    const CString tail = project->getAttrString("plugin-tail");
    isTailDeclared = !tail.empty();
    if (isTailDeclared && !tail.parseReal(tailSeconds)) tailSeconds = kDefaultTail;
    autoOversamplingRtMode = project->getAttrInt("auto-oversampling-rtmode");
    isVizAlwaysActive = project->getAttrBool("is-viz-always-active");
    isSymmetricIo = project->getAttrBool("is-symmetric-io");
    useHostBpm = project->getAttrBool("use-host-bpm");
    useHostRecording = project->getAttrBool("use-host-recording");
    useSideChain = project->getAttrBool("use-sidechain");
    useRouting = project->getAttrBool("use-routing");
    useMidSide = project->getAttrBool("use-mid-side");
    return nullptr;
}

CErrorResult CAudioWrapper::acquirePluginCode() {
    const CString code = project->getAttrString("plugin-code");
    if (code.length() != 4)
        return LUM_FAIL("@lumstr_CAudioWrapper_acquirePluginCode_PluginCodeError "
                        "Invalid plug-in code in string '%1'.",
                        code);
    uint32_t value = 0;
    for (size_t i = 0; i < 4; i++) value = (value << 8) | (code.at(i) & 255U);
    pluginCode = static_cast<int32_t>(value);
    return nullptr;
}

CErrorResult CAudioWrapper::parseVersion() {
    const CString text = project->getAttrString("app-version");
    CVector<CString> parts;
    text.split(parts, u'.', false);
    bool isValid = parts.size() == 2 || parts.size() == 3;
    for (size_t i = 0; isValid && i < parts.size(); i++)
        isValid = parts[i].parseInt(version[i]) && version[i] >= 0;
    if (!isValid)
        return LUM_FAIL("@lumstr_CAudioWrapper_parseVersion_VersionError "
                        "Invalid version specification in string '%1'.",
                        text);
    return nullptr;
}

CErrorResult CAudioWrapper::findInstanceObjects() {
    LUM_TRY(instanceRoot->findObjectChecked(env, "plugin.audio-env"));
    LUM_TRY(instanceRoot->findObjectChecked(collector, "plugin.param-collector"));
    LUM_TRY(instanceRoot->findObjectChecked(vizCollector, "plugin.viz-collector"));
    LUM_TRY(instanceRoot->findObjectChecked(interfaceBase, "plugin.interface-base"));
    LUM_TRY(instanceRoot->findObjectChecked(extParams, "plugin.ext-param-list"));
    LUM_TRY(instanceRoot->findObjectChecked(ccTable, "plugin.cctable"));
    LUM_TRY(instanceRoot->findObjectChecked(paramRegistry, "plugin.param-registry"));
    return nullptr;
}

void CAudioWrapper::findHostParams() {
    const auto find = [&](const char* name) { return &collector->getParam(hostParamName(name)); };
    hostOversamplingMode = find("host-oversampling-mode");
    hostOffline = find("host-offline");
    hostLatencyChange = find("host-latency-change");
    hostTrackName = find("host-track-name");
    hostBypass = find("bypass-enable");
    if (useHostBpm) hostBpm = find("host-bpm");
    if (useHostRecording) hostRec = find("host-rec");
}

CErrorResult CAudioWrapper::createFirstGraph() {
    CAudioProcessDefBase* mainDefinition = nullptr;
    CAudioProcessDefBase* outputDefinition = nullptr;
    LUM_TRY(instanceRoot->findObjectChecked(mainDefinition, kMainDefinition));
    LUM_TRY(instanceRoot->findObjectChecked(outputDefinition, kOutputDefinition));
    graphDefinitions = {mainDefinition, outputDefinition, kMainName, kOutputName,
                        kOutputDefinition};
    firstGraph.reset(new CAudioGraph(*env, *collector, controlWrites));
    return firstGraph->create(graphDefinitions);
}

/// Behind each preparation, because processes below a stack come with its layers. Under graphLock.
void CAudioWrapper::listenToStructure(const CAudioGraph& graph) {
    bool isNew = false;
    for (CAudioParam* param : graph.getValues().getStructureParams()) {
        if (std::any_of(structureListeners.begin(), structureListeners.end(),
                        [param](const auto& listener) { return listener->param == param; }))
            continue;
        structureListeners
            .push_back(std::unique_ptr<CStructureListener>(new CStructureListener(*this, *param)))
            ->attach(collector, param);
        isNew = true;
    }
    // What changed before it was listened to asks for one more graph.
    if (isNew && !graph.getValues().isStructureCurrent())
        wantsGraph.store(true, std::memory_order_release);
}

void CAudioWrapper::findWindowParams() {
    mainWindowSize = &collector->getParam(hostParamName("main-window-size"));
    computeWindowSize(windowWidth, windowHeight);
    if (!project->getAttrBool("use-window-resizing")) return;
    updateEditorSize();
    windowSizeListener = std::make_unique<CWinSizeParamListener>(*this);
    windowSizeListener->attach(collector, mainWindowSize);
}

void CAudioWrapper::exposeParams() {
    for (int i = 0; i < extParams->getCount(); i++) {
        CAudioExtParam& param = *extParams->getParam(i);
        param.setHost(i, this);
        exposedIndices[{&param.getParam(), placeOf(param.getElement(), param.getGroup())}] = i;
    }
}

CErrorResult CAudioWrapper::finishInit() {
    interfaceBase->setDataProvider(this);
    programListener = std::make_unique<CProgramChangeListener>(*this);
    programListener->attach(paramRegistry, nullptr);
    collector->start();
    start();
    stop();
    isInitialised = true;
    return nullptr;
}

bool CAudioWrapper::readFlag(CAppData& store, const char* record, bool isStandard) {
    CString text;
    store.getString(text, record, isStandard ? "true" : "false");
    return text == "true" || text == "1";
}

int CAudioWrapper::findExposedIndex(CAudioParam& param, int element, int group) const {
    const auto found = exposedIndices.find({&param, placeOf(element, group)});
    return found == exposedIndices.end() ? -1 : found->second;
}

void CAudioWrapper::paramBeginEdit(CAudioParam& param, int element, int group) {
    const int index = findExposedIndex(param, element, group);
    if (index >= 0) collector->deferCall(editBegins, index, 0.0);
}

void CAudioWrapper::paramEndEdit(CAudioParam& param, int element, int group) {
    const int index = findExposedIndex(param, element, group);
    if (index >= 0) collector->deferCall(editEnds, index, 0.0);
}

void CAudioWrapper::onParamEvent(const CAudioEvent& event) {
    if (CAudioExtParam* param = extParams->getParam(event.param.index))
        param->setHostValue(event.param.value);
}

} // namespace lum
