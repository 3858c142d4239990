#pragma once

#include "Audio/CAudioWrapper.h"
#include "Audio/VST/CVSTEffect.h"

#include <atomic>

namespace lum {

/// An instance behind the VST2 interface: maps the host's calls to the wrapper. Made by the entry,
/// destroyed by the host's close. suspend, resume and the process calls may come on any thread;
/// with the sync lock they wait for each other, without it a block that meets one of them is
/// silent.
class CAudioWrapperVST : public CVSTEffect, public CAudioWrapper {
public:
    explicit CAudioWrapperVST(vst::HostCallback hostCallback);
    ~CAudioWrapperVST() override;
    using CLumMemAllocator::operator new;
    using CLumMemAllocator::operator delete;

    CErrorResult init() override;
    /// Instances of this module that the host has not closed.
    static int countLive();

    // CAudioWrapper
    void hostParamChanged(int32_t index, double value) override;
    void hostUpdateDisplay() override;
    void hostBeginEdit(int32_t index) override;
    void hostEndEdit(int32_t index) override;
    bool hostResizeEditor(int width, int height) override;

protected:
    // CVSTEffect
    void suspend() override;
    void resume() override;
    void idle() override { drainControlWrites(); }
    void setParameter(int32_t index, float value) override;
    float getParameter(int32_t index) override;
    CString getParameterLabel(int32_t index) override;
    CString getParameterDisplay(int32_t index) override;
    CString getParameterName(int32_t index) override;
    int32_t getProgram() override;
    void setProgram(int32_t index) override;
    void setProgramName(const CString& name) override;
    bool getProgramName(int32_t index, CString& out) override;
    const void* getChunk(bool isPreset, size_t& size) override;
    bool setChunk(const void* data, size_t size, bool isPreset) override;
    bool setSpeakerArrangement(const vst::SpeakerArrangement& inputs,
                               const vst::SpeakerArrangement& outputs) override;
    const vst::SpeakerArrangement* getInputArrangement() override;
    const vst::SpeakerArrangement* getOutputArrangement() override;
    bool setProcessPrecision(int32_t value) override;
    void processEvents(const vst::Events& list) override;
    CString getEffectName() override { return appName; }
    CString getVendorString() override { return appVendor; }
    CString getProductString() override { return appVendor + " " + appName; }
    int32_t getVendorVersion() override;
    vst::Category getPlugCategory() override;
    intptr_t vendorSpecific(int32_t index, intptr_t value, void* ptr, float opt) override;
    intptr_t canDo(const char* text) override;
    void processReplacing(float** inputs, float** outputs, int32_t frames) override;
    void processDoubleReplacing(double** inputs, double** outputs, int32_t frames) override;

private:
    /// A copy of a host's arrangement; empty when none is set.
    class CArrangement {
    public:
        static CByteBuffer bytesOf(const vst::SpeakerArrangement& source);
        void assign(const CByteBuffer& newBytes);
        const vst::SpeakerArrangement* get() const;
        int channels() const { return get() ? get()->numChannels : 0; }
        CString speakerName(int channel) const;

    private:
        CByteBuffer bytes;
    };

    void readHost();
    void describeEffect();
    void refreshChannelNames();
    void applyFormats(bool isDouble) LUM_REALTIME;
    CAudioBusFormat inputBus(bool isDouble) const LUM_REALTIME;
    CAudioBusFormat outputBus(bool isDouble) const LUM_REALTIME;
    bool isHostOffline() LUM_REALTIME;
    void takeTimeInfo() LUM_REALTIME;
    void processBlock(const void* const* inputs, void* const* outputs, int32_t frames,
                      bool isDouble) LUM_REALTIME;
    void runBlock(const void* const* inputs, void* const* outputs, int32_t frames,
                  bool isDouble) LUM_REALTIME;
    void takeLatency();

    static std::atomic<int> liveCount;

    std::unique_ptr<platform::CLock> syncLock; // null: the host keeps its calls apart
    int inputChannels = 0;
    int outputChannels = 0;
    std::atomic<int> arrangedInputs{0}; // of the arrangement, else the above
    std::atomic<int> arrangedOutputs{0};
    std::atomic<int> inputBusChannels{0}; // the same, but not more than when it last resumed
    std::atomic<int> outputBusChannels{0};
    CArrangement inputArrangement; // written under routingLock; the host is shown it
    CArrangement outputArrangement;
    CByteBuffer chunk;              // what the host was given last
    bool isDoublePrecision = false; // the host's last request
    bool allowsLabelImport = true;
    bool hasResumed = false;
};

} // namespace lum
