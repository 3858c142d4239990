#pragma once

#include "Audio/CAudioModule.h"
#include "Audio/CRaisedCosineFade.h"

namespace lum {

/// A process that holds modules, maps channels to them, and replaces a module smoothly: the new
/// one is built beside the old one, both run on the same input for the new one's latency, and then
/// the output crosses over by a raised cosine. Audio thread, or set-up.
///
/// With smooth updates a spare module per pair is built and retired at every change of format, so
/// that a later replacement finds its memory ready.
class CAudioProcessTerminalBase : public CAudioProcessBase {
public:
    CErrorResult init() override;
    void reset() override;
    void update() LUM_REALTIME override;
    void process() LUM_REALTIME override;
    void registerParams() override;
    void sleep() override;
    bool isSettled() const override;

    /// Modules that run now, one per pair; for tests and diagnosis.
    int getModuleCount() const { return pairs.ssize(); }
    CAudioModule& getModule(int pair) const { return *pairs[pair]->current; }
    bool isFading() const { return !fades.empty(); }

protected:
    virtual void runModule(CAudioModule& module, int frames) LUM_REALTIME = 0;
    /// The modules that run in this block, replaced ones that still sound among them; some are
    /// null.
    const CVector<CAudioModule*, 16>& getRunList() const LUM_REALTIME { return runList; }
    /// A new module of the terminal's class.
    virtual std::unique_ptr<CAudioModule> createModule() const = 0;

private:
    friend class CAudioModule;
    /// The states of a pair: idle; fading (preDelay, then fadeLength samples); done. A change while
    /// it fades sets pending, which leads from done straight into the next fade.
    struct CModulePair : public CLumMemAllocator {
        std::unique_ptr<CAudioModule> current;
        std::unique_ptr<CAudioModule> previous;
        bool isFading = false;
        bool isPending = false;
        uint8_t isDone = 0;                       // set by a timed event
        int preDelay = 0;                         // samples left in which only `previous` is heard
        int fadeLength = 0;                       // samples left of the crossfade
        CVector<CRaisedCosineFade, 2> fadeStates; // by channel
    };

    /// For modules: binds a handle and notes the binding.
    void bindParam(CAudioModule& module, int allocIndex, CParamHandle& handle,
                   ParamUse use) LUM_REALTIME;

    // A new format.
    void rebuildModules() LUM_REALTIME;
    void endFades() LUM_REALTIME;
    void makePairs(int wanted) LUM_REALTIME;
    void configure(CAudioModule& module, int pair) LUM_REALTIME;
    void bindModule(CAudioModule& module, int group, int channel) LUM_REALTIME;
    void buildModule(CAudioModule& module) LUM_REALTIME;
    void makeSpares() LUM_REALTIME;
    bool canBeSmooth() const LUM_REALTIME;
    // New values.
    bool markChanges() LUM_REALTIME;
    bool wantsSmooth() const LUM_REALTIME;
    void updateInPlace() LUM_REALTIME;
    void replaceDirty() LUM_REALTIME;
    void startReplacement(CModulePair& pair) LUM_REALTIME;
    void setUpLike(CAudioModule& module, const CAudioModule& model) LUM_REALTIME;
    void stepFades() LUM_REALTIME;
    void publishOutput() LUM_REALTIME;
    void rebuildRunList() LUM_REALTIME;
    // A block.
    void runFade(CModulePair& pair) LUM_REALTIME;
    void handOver() LUM_REALTIME;
    std::unique_ptr<CAudioModule> takeModule() LUM_REALTIME;
    void retire(std::unique_ptr<CAudioModule> module) LUM_REALTIME;

    CVector<std::unique_ptr<CModulePair>, 8> pairs;
    CVector<std::unique_ptr<CAudioModule>, 8> retired;
    CVector<CModulePair*, 8> fades;
    CVector<CAudioModule*, 16> runList; // ended by null
    int crossfadeLength = 1;            // samples
    bool isOutputChanged = false;
};

/// The terminal of a module class T, which has `void process(int frames)`.
template <class T>
class CAudioProcessTerminal : public CAudioProcessTerminalBase {
protected:
    std::unique_ptr<CAudioModule> createModule() const override {
        return std::unique_ptr<CAudioModule>(new T);
    }
    void runModule(CAudioModule& module, int frames) LUM_REALTIME override {
        static_cast<T&>(module).process(frames);
    }
};

} // namespace lum
