#pragma once

#include "Audio/CParamInterfaceClient.h"

namespace lum {

/// A client's side of visual data. Interface thread.
class CAudioInterfaceVizProcessor : public virtual CCheckedObject {
public:
    virtual void startViz() = 0;
    virtual void stopViz() = 0;
    virtual void clearViz() = 0;
    /// Reads the body of a `viz-data` message.
    virtual CErrorResult onVizData(CInputStream& stream) = 0;
    /// Reads the body of an `export-slot-names` message.
    virtual CErrorResult onExportSlotNames(CInputStream& stream) = 0;
};

/// `audio:interface-client`: a client of an audio plug-in: keeps the facts of the instance and the
/// names of its groups, and passes visual data on. Fires the engine's events under their names.
class CAudioInterfaceClient : public CParamInterfaceClient {
public:
    CAudioInterfaceClient();
    ~CAudioInterfaceClient() override;
    static void fillClass(CClassInfo& info);
    /// Connects: asks for the facts, and follows the group names.
    CErrorResult initDone() override;
    void prepareDestroy() override;

    void setVizProcessor(CAudioInterfaceVizProcessor* processor) { vizProcessor = processor; }
    CErrorResult importChannelLabels();
    CErrorResult listenViz(int32_t& id, int slot, const CString& source);
    CErrorResult unlistenViz(int32_t id);
    CErrorResult requestVizData(double displayRate); // frames a second
    CErrorResult requestExportSlotNames();

    int getInternalChannelCount() const { return internalChannels; }
    int getGroupCount() const { return groups; }
    int getInChannelCount() const { return inChannels; }
    int getOutChannelCount() const { return outChannels; }
    int getSideChainChannelCount() const { return sideChainChannels; }
    double getSampleRate() const { return sampleRate; } // Hz
    /// The user's name of a group, empty while it is not known.
    CString getGroupName(int group) const;

    // Handlers of the engine's messages.
    CErrorResult onUpdateInternalChannelCount();
    CErrorResult onUpdateGroupCount();
    CErrorResult onUpdateIoChannelCounts();
    CErrorResult onUpdateSampleRate();
    CErrorResult onStartViz();
    CErrorResult onStopViz();
    CErrorResult onClearClient();
    CErrorResult onVizData();
    CErrorResult onExportSlotNames();

private:
    class CGroupNamesParamListener;

    CErrorResult request(const char* event);

    CAudioInterfaceVizProcessor* vizProcessor = nullptr;
    std::unique_ptr<CGroupNamesParamListener> groupNames;
    int internalChannels = 2;
    int groups = 2;
    int inChannels = 2;
    int outChannels = 2;
    int sideChainChannels = 0;
    double sampleRate = 44100.0;
    int32_t sampleRateNumber = 0;
    int32_t vizCounter = 0;
};

} // namespace lum
