#pragma once

#include "Audio/CParamInterfaceBase.h"

namespace lum {

class CAudioInterfaceDataProvider;
class CAudioVizCollector;

/// `audio:interface-base`: the engine's side of the parameter interface of an audio plug-in: adds
/// the facts of the instance (channels, groups, rate), host edits, and visual data.
class CAudioInterfaceBase : public CParamInterfaceBase {
public:
    CAudioInterfaceBase();
    ~CAudioInterfaceBase() override;
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;
    void prepareDestroy() override;
    void onClientGone(int clientId) override;

    /// The instance that knows the facts; null when it goes.
    void setDataProvider(CAudioInterfaceDataProvider* dataProvider);

    // What the instance tells all clients. Control threads.
    void sendSampleRate();
    void sendChannelCounts();
    void sendStartViz();
    void sendStopViz();
    void sendClearClient();

    // Handlers of the clients' messages.
    CErrorResult onRequestInternalChannelCount();
    CErrorResult onRequestGroupCount();
    CErrorResult onRequestIoChannelCounts();
    CErrorResult onRequestSampleRate();
    CErrorResult onImportChannelLabels();
    CErrorResult onListenViz();
    CErrorResult onUnlistenViz();
    CErrorResult onRequestVizData();
    CErrorResult onRequestExportSlotNames();

protected:
    void editBegin(CAudioParam& param, int group, int element) override;
    void editEnd(CAudioParam& param, int group, int element) override;

private:
    class CExportNamesListener;
    struct CVizListener {
        int slot;
        CString source;
    };
    void sendSampleRateTo(int clientId);
    void sendIoChannelCountsTo(int clientId);
    void sendExportSlotNames(int clientId);

    CAudioVizCollector* vizCollector = nullptr;
    CAudioInterfaceDataProvider* provider = nullptr;
    std::atomic<int32_t> sampleRateNumber{0};
    CMap<int32_t, CVizListener> vizListeners; // by listener id
    std::unique_ptr<CExportNamesListener> exportNamesListener;
};

} // namespace lum
