#include "Audio/CAudioProcessCreators.h"

#include "Audio/CAudioProcessDef.h"
#include "Audio/Processes/CModBypass.h"
#include "Audio/Processes/CModGain.h"
#include "Audio/Processes/CModMSCoder.h"
#include "Audio/Processes/CModNode.h"
#include "Audio/Processes/CModOutput.h"
#include "Audio/Processes/CModRouter.h"

namespace lum {

const CCreatorRow kAudioProcessCreators[] = {
    creatorRow<CAudioProcessDef>("audio:process-def"),
    creatorRow<CAudioProcessLinkDef>("audio:process-link"),
    creatorRow<CAudioProcessBypassStateDef>("audio:process-bypass-state"),
    creatorRow<CModNodeDef>("audio:modNode"),
    creatorRow<CModOutputDef>("audio:modOutput"),
    creatorRow<CModRouterDef>("audio:modRouter"),
    creatorRow<CModMSCoderDef>("audio:modMSCoder"),
    creatorRow<CModGainDef>("audio:modGain"),
    creatorRow<CModBypassDef>("audio:modBypass"),
    {nullptr, nullptr, nullptr},
};

} // namespace lum
