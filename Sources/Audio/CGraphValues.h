#pragma once

#include "Audio/CAudioProcessBase.h"

namespace lum {

/// The parameter values that the processes of one graph read. While a control thread builds the
/// graph they are copies of the control-side values. When the graph goes live, what makes its
/// structure stays as it was copied, for as long as the graph lives, and everything else is read
/// and heard live.
class CGraphValues {
public:
    /// For the processes of the graph: lets a new subscription read. Control thread.
    void add(CParamSubscription& subscription);
    /// Copies all values again. Control thread, before the graph is built.
    void refresh();
    /// Marks every value as new. Control thread.
    void markAll();
    /// True while the control-side values would make the same structure. Control thread, any time.
    bool isStructureCurrent() const;
    /// The parameters that make the structure.
    CVector<CAudioParam*, 8> getStructureParams() const;

    /// Listens from now on, and marks what has changed since it was copied.
    void goLive() LUM_REALTIME;
    /// Hears no more, and forgets what was marked.
    void leave() LUM_REALTIME;

private:
    struct CEntry : public CLumMemAllocator {
        CAudioParam* param;
        CAudioParamStorage copy;
        CVector<CParamSubscription*, 2> values;
        CVector<CParamSubscription*, 2> structure;
    };
    CEntry& entryOf(CAudioParam& param);

    CVector<std::unique_ptr<CEntry>, 0> entries;
};

} // namespace lum
