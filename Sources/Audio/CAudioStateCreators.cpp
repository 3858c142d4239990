#include "Audio/CAudioStateCreators.h"

#include "Audio/CAudioInterfaceBase.h"
#include "Audio/CAudioInterfaceClient.h"
#include "Audio/CAudioParamRegistry.h"
#include "Audio/CAudioVizCollector.h"

namespace lum {

const CCreatorRow kAudioStateCreators[] = {
    creatorRow<CAudioParamRegistry>("audio:param-registry"),
    creatorRow<CAudioInterfaceBase>("audio:interface-base"),
    creatorRow<CAudioInterfaceClient>("audio:interface-client"),
    creatorRow<CAudioVizCollector>("audio:viz-collector"),
    creatorRow<CParamInterfaceBaseConnectorUni>("other:param-interface-base-connector-uni"),
    creatorRow<CParamInterfaceClientConnectorUni>("other:param-interface-client-connector-uni"),
    {nullptr, nullptr, nullptr},
};

} // namespace lum
