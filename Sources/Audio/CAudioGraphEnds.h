#pragma once

#include "Audio/CAudioProcessBase.h"

namespace lum {

/// The inner side of a composite's or a layer's input: the source that its children link to. Owned
/// by the process that it belongs to, which publishes and delivers through it.
class CGraphInlet : public CAudioProcessBase {
public:
    using CAudioProcessBase::deliver;
    using CAudioProcessBase::deliverEach;
    using CAudioProcessBase::publish;
    /// Starts a block: tells all targets its length, also when no channel exists.
    void beginBlock(int frames) LUM_REALTIME {
        blockLength = frames;
        deliverLength();
    }
};

/// The inner side of a composite's or a stack's output. What reaches its port p goes out on port p
/// of its owner: formats side by side, blocks by reference. It neither aligns nor merges; whoever
/// reads the owner does, with its own way to combine channels.
class CGraphOutlet : public CAudioProcessBase {
public:
    /// A process that lets an outlet speak for it.
    class COwner {
    public:
        virtual void publishInner(int port, const CPortFormat& format) LUM_REALTIME = 0;
        /// blocks: `count` of them, which are taken.
        virtual void deliverInner(int port, int firstSlot, CSampleBlockRef* blocks,
                                  int count) LUM_REALTIME = 0;

    protected:
        ~COwner() = default;
    };

    void setOwner(COwner& process) { owner = &process; }
    /// Publishes what has changed, then hands all blocks on.
    void process() LUM_REALTIME override;

private:
    void publishPort(CInputPort& port) LUM_REALTIME;
    COwner* owner = nullptr;
};

} // namespace lum
