#pragma once

#include "UI/CMorphChannel.h"
#include "UI/CViewBasePlacement.h"

namespace lum {

class CViewState;

/// The states of a view: a set of active names, each with blocks that set attributes. Merges what
/// the active ones say, and moves opacity, width, height and look there in time. Second of the
/// chain of view classes. Interface thread.
class CViewBaseState : public CViewBasePlacement {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult initDone() override;
    void prepareDestroy() override;

    CErrorResult attrColorState(const CAttrEntry& value);
    CErrorResult attrImageSetRange(const CAttrEntry& value);

    // Events: argument `state-name`, one name or several.
    virtual CErrorResult setStateFlag(CAttrMap& arguments);
    virtual CErrorResult clearStateFlag(CAttrMap& arguments);
    /// One step of what moves.
    virtual CErrorResult timer();
    /// Everything that moved has arrived.
    virtual CErrorResult stateReady(CAttrMap& arguments);

    virtual CErrorResult addViewState(CViewState& block);
    /// What the block has set stays until the next change of a state.
    void removeViewState(CViewState& block);
    /// Names without a block change nothing.
    CErrorResult setState(const CString& names) { return changeStates(names, true); }
    CErrorResult unsetState(const CString& names) { return changeStates(names, false); }
    /// Among the active ones; names without a block never are.
    bool isStateSet(const CString& name) const { return active.find(name) != active.end(); }
    bool hasState(const CString& name) const { return blocks.find(name) != blocks.end(); }
    bool isMorphing() const { return isMorphUnderway; }
    bool isInMorphStep() const { return isStepping; }
    const CLookCrossfade& getCrossfade() const { return crossfade; }
    /// True while this view or one below it moves by itself.
    bool isAnimated() const { return animationCount > 0; }

protected:
    virtual void onLookChanged() {}
    virtual void onCrossfadeStep() {}
    /// Fires an event of this view to its listeners and does what hangs on it.
    virtual CErrorResult finishEvent(const char* event, CAttrMap& arguments);
    /// Has `timer` called at the start of each frame, until as many releases. What holds frames
    /// moves by itself, and its ancestors with it.
    void holdFrames();
    void releaseFrames();

private:
    enum Channel { kOpacity, kWidth, kHeight, kChannelCount };
    struct CMergedState {
        double duration = 0.0;
        double morphDuration = 0.0;
        CAttrMap values;
    };

    void setOwnLook(const char* name, const CAttrEntry& value);
    CErrorResult changeStates(const CString& names, bool isSetting);
    CString stateKey() const;
    const CMergedState& mergedState(const CString& key);
    CMergedState merge() const;
    static void mergeBlock(CMergedState& result, const CViewState& block);
    CErrorResult apply(const CMergedState& target, double duration);
    CErrorResult unsetAttr(const CString& name);
    double clock() const;
    bool presentValue(double& out, int channel) const;
    bool startChannel(const CString& name, const CAttrEntry& value, double duration);
    CViewLook lookOf(const CMergedState& source) const;
    void addAnimations(int count);
    void startMoving();
    CErrorResult stepChannels(double now);
    void stepLook(double now);
    bool isMoving() const;
    CErrorResult endMorph();

    CMap<CString, CVector<CViewState*, 1>> blocks; // by state name, in tree order
    CAttrMap ownValues; // of the attributes that states set, as they were without them
    CSet<CString> active;
    CMap<CString, CMergedState> merged; // by the sorted names, joined by blanks
    CMorphChannel channels[kChannelCount];
    CLookCrossfade crossfade;
    bool hasLook = false; // some block, or `has-view-states`, makes looks of the states
    bool isMorphUnderway = false;
    bool isStepping = false;
    int frameHolds = 0;
    int animationCount = 0; // of this view and those below it
};

} // namespace lum
