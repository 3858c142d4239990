#include "Core/CCoreCreators.h"

#include "Core/CAttrDoubler.h"
#include "Core/CEventBridge.h"
#include "Core/CSharedAttribute.h"
#include "Core/CTimerQueued.h"

namespace lum {

const CCreatorRow kCoreCreators[] = {
    creatorRow<CObject>("core:object"),
    creatorRow<CAttrDoubler>("core:attr-doubler"),
    creatorRow<CSharedAttribute>("core:shared-attribute"),
    creatorRow<CTimerQueued>("core:timer"),
    creatorRow<CObject>("ui:param-data"),
    creatorRow<CObject>("ui:state-data"),
    creatorRow<CObject>("ui:textview-p"),
    creatorRow<CStdEventBridge>("ui:ui-event-bridge"),
    {nullptr, nullptr, nullptr},
};

} // namespace lum
