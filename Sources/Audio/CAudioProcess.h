#pragma once

#include "Audio/CAudioGraphEnds.h"
#include "Audio/CAudioProcessDef.h"

namespace lum {

/// A composite: a graph of processes inside a process. At the head of a block it decides, when a
/// watched parameter changed, which children are linked and in which order they run.
///
/// Deciding the links. Every entry of every destination carries a wanted count, cleared first.
/// Automatic links chain the active children in tree order. A child of tag `audio:modNode` is a
/// fixed point of that chain: it receives links, but whoever follows it is linked to its sources
/// instead; an explicit link may name it, and then it forwards. One that nobody reads is not fed
/// either, so it costs nothing. Explicit links of all active states come on top. Entries that
/// nobody wants any more are dropped, new ones connected, and the run order is computed from what
/// is connected.
///
/// A child's live process is made once, at init, so that its failures stop the construction; it
/// sleeps while no link reaches it. Audio thread, or set-up.
class CAudioProcess : public CAudioProcessBase, private CGraphOutlet::COwner {
public:
    ~CAudioProcess() override;
    CErrorResult init() override;
    void reset() override;
    void update() LUM_REALTIME override;
    void process() LUM_REALTIME override;
    void disconnect() override;
    void sleep() override;
    bool isSettled() const override;
    int countBlocks() const override;
    CErrorResult addProcess(const CAudioProcessDefBase& processDef, const CString& name);

    /// The live process of a child that links reach, else null. For tests and diagnosis.
    CAudioProcessBase* findActive(const CString& name);
    /// Children in run order.
    const CVector<CAudioProcessBase*, 16>& getRunOrder() const { return runOrder; }

private:
    struct CNode;
    struct CLinkEntry {
        CNode* source; // null: the composite's input
        int sourcePort;
        int targetPort;
        int wanted;
        bool isConnected;
    };
    using CLinks = CVector<CLinkEntry, 2>;
    struct CNode : public CLumMemAllocator {
        CString name;
        const CAudioProcessDefBase* definition = nullptr;
        bool isPassive = false; // of tag audio:modNode
        bool isAwake = false;
        bool isPlaced = false; // of the run order under construction
        int references = 0;    // links to and from the instance
        std::unique_ptr<CAudioProcessBase> instance;
        CLinks links; // what feeds it
    };
    struct CStateWatcher {
        CParamSubscription* param;
        int lastValue;
    };
    struct CBypassState {
        const CAudioProcessBypassStateDef* definition;
        CParamSubscription* param;
        CParamSubscription* andParam; // null: none
        bool isTrue;
    };

    void publishInner(int port, const CPortFormat& format) LUM_REALTIME override;
    void deliverInner(int port, int firstSlot, CSampleBlockRef* blocks,
                      int count) LUM_REALTIME override;

    void createWatchers();
    void publishInput() LUM_REALTIME;
    bool takeStateChanges() LUM_REALTIME;
    bool testBypass(const CBypassState& state) const LUM_REALTIME;
    bool isBypassed(int stateId) const LUM_REALTIME;
    void decideLinks() LUM_REALTIME;
    void clearWanted() LUM_REALTIME;
    void addAutoLinks() LUM_REALTIME;
    void linkSourcesOf(CNode& node, CLinks& links) LUM_REALTIME;
    void linkChainStep(CNode* from, CLinks& links) LUM_REALTIME;
    void addStateLinks(int state) LUM_REALTIME;
    void addExplicitLink(const CAudioProcessLinkDef& link) LUM_REALTIME;
    void addLink(CLinks& links, CNode* source, int sourcePort, int targetPort) LUM_REALTIME;
    bool dropUnreadNode() LUM_REALTIME;
    bool isRead(const CNode& source) const LUM_REALTIME;
    void synchronise() LUM_REALTIME;
    void sleepUnlinked() LUM_REALTIME;
    void dropAllLinks();
    void dropUnwanted(CLinks& links, CNode* target) LUM_REALTIME;
    void connectNew(CLinks& links, CNode* target) LUM_REALTIME;
    void computeRunOrder() LUM_REALTIME;
    bool isReady(const CNode& node) const LUM_REALTIME;
    CNode* findNode(const CString& name) LUM_REALTIME;
    CAudioProcessBase& sourceProcess(CNode* node) LUM_REALTIME;

    const CAudioProcessDef* compositeDef = nullptr;
    CGraphInlet inlet;
    CGraphOutlet outlet;
    CVector<std::unique_ptr<CNode>, 8> nodes; // in tree order
    CMap<CString, CNode*> nodesByName;
    CLinks outputLinks; // what feeds the composite's output
    CVector<CStateWatcher, 1> stateWatchers;
    CVector<CBypassState, 2> bypassStates;
    CMap<int, int> bypassById; // id, index in bypassStates
    CVector<CNode*, 16> chain; // of the automatic links under construction
    CVector<CAudioProcessBase*, 16> runOrder;
    bool isSequenceDirty = false;
};

} // namespace lum
