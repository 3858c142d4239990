#include "Audio/CAudioParamCreators.h"

#include "Audio/CAudioEnv.h"
#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioParamDef.h"
#include "Audio/CAudioParamFilterBypassGroupSolo.h"
#include "Audio/CAudioParamFilterBypassMS.h"
#include "Audio/CAudioParamFilterMB.h"
#include "Audio/CAudioParamRemapDef.h"
#include "Audio/CAudioParamSharedStorage.h"
#include "Audio/Converters/CAudioParamConverterEnum.h"
#include "Audio/Converters/CAudioParamConverterFreq.h"
#include "Audio/Converters/CAudioParamConverterGain.h"
#include "Audio/Converters/CAudioParamConverterReal.h"
#include "Audio/Converters/CAudioParamConverterText.h"
#include "Audio/Converters/CAudioParamConverterTime.h"

namespace lum {

const CCreatorRow kAudioParamCreators[] = {
    creatorRow<CAudioEnv>("audio:audio-env"),
    creatorRow<CAudioParamDef>("audio:param"),
    creatorRow<CAudioParamAllocDef>("audio:param-alloc"),
    creatorRow<CAudioParamCollector>("audio:param-collector"),
    creatorRow<CAudioParamRemapDef>("audio:param-remap"),
    creatorRow<CAudioParamSharedStorage>("audio:param-shared-storage"),
    creatorRow<CAudioParamFilterBypassGroupSoloDef>("audio:param-filter-bypass-group-solo"),
    creatorRow<CAudioParamFilterBypassMSDef>("audio:param-filter-bypass-ms"),
    creatorRow<CAudioParamFilterMBDef>("audio:param-filter-mb"),
    creatorRow<CAudioParamConverterEnum>("audio:cvt-enum"),
    creatorRow<CAudioParamConverterFreq>("audio:cvt-freq"),
    creatorRow<CAudioParamConverterGain>("audio:cvt-gain"),
    creatorRow<CAudioParamConverterReal>("audio:cvt-real"),
    creatorRow<CAudioParamConverterText>("audio:cvt-text"),
    creatorRow<CAudioParamConverterTime>("audio:cvt-time"),
    {nullptr, nullptr, nullptr},
};

} // namespace lum
