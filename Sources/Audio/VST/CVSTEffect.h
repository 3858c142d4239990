#pragma once

#include "Audio/VST/VstAbi.h"
#include "Core/CCheckedObject.h"
#include "Core/CString.h"

namespace lum {

/// The plug-in's end of the host contract: owns the record that the host sees, takes its calls
/// apart, and puts questions to the host. A subclass fills the operations it has something to say
/// to; the others answer as an effect that does not support them. The dispatcher may be called on
/// any thread; which operation comes on which is told at the operation.
class CVSTEffect : public virtual CCheckedObject {
public:
    explicit CVSTEffect(vst::HostCallback hostCallback);
    CVSTEffect(const CVSTEffect&) = delete;
    CVSTEffect& operator=(const CVSTEffect&) = delete;

    vst::AEffect* getEffect() { return &effect; }
    /// The host's version, 1 when it does not tell.
    static int32_t askVersion(vst::HostCallback host, vst::AEffect* effect);

protected:
    // What a host does with an effect. Main thread, except where a host likes otherwise.
    virtual void suspend() {} // processing ends
    virtual void resume() {}  // processing begins; also repeated
    virtual void idle() {}
    virtual void setParameter(int32_t index, float value) = 0; // any thread
    virtual float getParameter(int32_t index) = 0;             // any thread
    virtual CString getParameterLabel(int32_t index) = 0;
    virtual CString getParameterDisplay(int32_t index) = 0;
    virtual CString getParameterName(int32_t index) = 0;
    virtual int32_t getProgram() { return 0; }
    virtual void setProgram(int32_t) {}
    virtual void setProgramName(const CString&) {}
    /// False: no such program.
    virtual bool getProgramName(int32_t index, CString& out) = 0;
    /// The state of the present program or of the bank; null: no state to be had. The bytes stay
    /// valid until the next call.
    virtual const void* getChunk(bool /*isPreset*/, size_t& /*size*/) { return nullptr; }
    virtual bool setChunk(const void* /*data*/, size_t /*size*/, bool /*isPreset*/) {
        return false;
    }
    virtual bool setSpeakerArrangement(const vst::SpeakerArrangement&,
                                       const vst::SpeakerArrangement&) {
        return false;
    }
    /// Null: none has been set.
    virtual const vst::SpeakerArrangement* getInputArrangement() { return nullptr; }
    virtual const vst::SpeakerArrangement* getOutputArrangement() { return nullptr; }
    virtual bool setProcessPrecision(int32_t) { return false; }
    virtual void processEvents(const vst::Events&) {} // audio thread
    virtual CString getEffectName() = 0;
    virtual CString getVendorString() = 0;
    virtual CString getProductString() = 0;
    virtual int32_t getVendorVersion() = 0;
    virtual vst::Category getPlugCategory() { return vst::Category::Unknown; }
    virtual intptr_t vendorSpecific(int32_t, intptr_t, void*, float) { return 0; }
    virtual intptr_t canDo(const char*) { return 0; }
    // The host's audio thread, also called its main thread by some.
    virtual void processReplacing(float** inputs, float** outputs, int32_t frames) = 0;
    virtual void processDoubleReplacing(double** inputs, double** outputs, int32_t frames) = 0;

    // Questions and news to the host. 0 without a host.
    intptr_t callHost(int32_t opcode, int32_t index = 0, intptr_t value = 0, void* ptr = nullptr,
                      float opt = 0.0F);
    /// A text of at most `longest` characters.
    CString askHostText(vst::HostOpcode opcode, size_t longest);

    double storedSampleRate = 44100.0; // Hz, as the host set it last
    int32_t storedBlockSize = 1024;    // frames, likewise

private:
    struct CHostCall;
    struct COpcodeRow;
    static const COpcodeRow kOpcodes[];

    static intptr_t LUM_VST_CALL onDispatch(vst::AEffect* target, int32_t opcode, int32_t index,
                                            intptr_t value, void* ptr, float opt);
    static void LUM_VST_CALL onProcess(vst::AEffect* target, float** inputs, float** outputs,
                                       int32_t frames);
    static void LUM_VST_CALL onProcessReplacing(vst::AEffect* target, float** inputs,
                                                float** outputs, int32_t frames);
    static void LUM_VST_CALL onProcessDouble(vst::AEffect* target, double** inputs,
                                             double** outputs, int32_t frames);
    static void LUM_VST_CALL onSetParameter(vst::AEffect* target, int32_t index, float value);
    static float LUM_VST_CALL onGetParameter(vst::AEffect* target, int32_t index);

    vst::AEffect effect = {};
    vst::HostCallback host;
};

/// Copies a text as UTF-8 and ends it with a zero: at most `longest` bytes, never a part of a
/// character, and nothing behind. A null target does nothing.
void copyHostText(void* target, const CString& text, size_t longest);

} // namespace lum
