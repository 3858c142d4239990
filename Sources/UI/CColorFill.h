#pragma once

#include "UI/CView.h"

namespace lum {

/// `ui:color-fill`: an area of the view's colour, unaltered. Interface thread.
class CColorFill : public CView {
protected:
    void prepareLook(CPreparedDraw& out, const CViewLook& look) override;
};

} // namespace lum
