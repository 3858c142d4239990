#pragma once

#include "Audio/CAudioGraphEnds.h"
#include "Audio/CAudioProcessDef.h"

namespace lum {

/// Wraps a process so that each channel group that reaches it has an instance of its own, with its
/// own parameters: a layer. A layer is a chain of `depth` entries in series; an entry is one
/// instance, or one per channel. All instances have the stack's full name and differ in their
/// group.
///
/// A layer whose group goes sleeps and is taken up again when the group comes back. Audio thread,
/// or set-up.
class CAudioProcessStack : public CAudioProcessBase, private CGraphOutlet::COwner {
public:
    ~CAudioProcessStack() override;
    CErrorResult init() override;
    void reset() override;
    void update() LUM_REALTIME override;
    void process() LUM_REALTIME override;
    void disconnect() override;
    void sleep() override;
    bool isSettled() const override;

    /// Layers in use and their instances, for tests and diagnosis.
    int getLayerCount() const;
    CAudioProcessBase* findInstance(int group, int entry = 0, int channel = -1) const;

private:
    /// One strand of a layer: the channels that share an instance per entry of the chain. Without
    /// the channel stack a layer has one strand.
    struct CStrand : public CLumMemAllocator {
        int channel = -1; // -1: all of the group
        bool isInUse = false;
        int depth = 0; // entries linked
        CGraphInlet inlet;
        CVector<std::unique_ptr<CAudioProcessBase>, 1> entries; // linked ones first
    };
    struct CLayer : public CLumMemAllocator {
        int group = 0;
        CVector<std::unique_ptr<CStrand>, 1> strands;
    };
    struct CForward {
        CGraphInlet* inlet;
        int port;
        CChannelSlot* slot; // of the stack's input port
        int inletSlot;      // of the strand's part of it
    };

    void publishInner(int port, const CPortFormat& format) LUM_REALTIME override;
    void deliverInner(int port, int firstSlot, CSampleBlockRef* blocks,
                      int count) LUM_REALTIME override;
    CLayer& layerOf(int group) LUM_REALTIME;
    CStrand& strandOf(CLayer& layer, int channel) LUM_REALTIME;
    void assignSlots() LUM_REALTIME;
    void settleStrand(CLayer& layer, CStrand& strand) LUM_REALTIME;
    bool addEntry(CLayer& layer, CStrand& strand) LUM_REALTIME;
    void removeEntry(CStrand& strand) LUM_REALTIME;
    void sleepStrand(CStrand& strand) LUM_REALTIME;
    void sleepAll();
    int depthOf(int group) const LUM_REALTIME;
    void rebuildForwards() LUM_REALTIME;
    void forwardPort(CLayer& layer, CStrand& strand, CInputPort& port) LUM_REALTIME;
    void rebuildRunList() LUM_REALTIME;
    template <class Visit>
    void forEachEntry(Visit visit) {
        for (auto& layer : layers)
            for (auto& strand : layer->strands)
                for (int i = 0; i < strand->depth; i++) visit(*strand->entries[i]);
    }

    CVector<std::unique_ptr<CLayer>, kMaxGroups> layers; // by creation
    CVector<CForward, kMaxPortChannels> forwards;
    CVector<CAudioProcessBase*, 8> runList; // ended by null
    CGraphOutlet outlet;
    CParamSubscription* stackParam = nullptr;
};

} // namespace lum
