#include "Audio/CAudioHostCreators.h"

#include "Audio/CAudioCCTable.h"
#include "Audio/CAudioExtParam.h"
#include "Audio/CAudioExtParamList.h"

namespace lum {

const CCreatorRow kAudioHostCreators[] = {
    creatorRow<CAudioExtParam>("audio:ext-param"),
    creatorRow<CAudioExtParamList>("audio:ext-param-list"),
    creatorRow<CAudioCCTable>("audio:cctable"),
    {nullptr, nullptr, nullptr},
};

} // namespace lum
