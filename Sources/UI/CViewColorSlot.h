#pragma once

#include "Core/CObject.h"

namespace lum {

/// `ui:view-color-slot`: names one colour slot of the view above it. Interface thread.
class CViewColorSlot : public CObject {
public:
    CErrorResult initContent() override;
};

} // namespace lum
