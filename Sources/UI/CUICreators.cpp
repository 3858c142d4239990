#include "UI/CUICreators.h"

#include "UI/CCaption.h"
#include "UI/CColorFill.h"
#include "UI/CFrame.h"
#include "UI/CHeadlessWindow.h"
#include "UI/CIntervalTimer.h"
#include "UI/CPicture.h"
#include "UI/CUpdateTimer.h"
#include "UI/CUpdateTimerGroup.h"
#include "UI/CViewColorSlot.h"
#include "UI/CViewCommand.h"
#include "UI/CViewState.h"

namespace lum {

const CCreatorRow kUICreators[] = {
    creatorRow<CCaption>("ui:caption"),
    creatorRow<CColorFill>("ui:color-fill"),
    creatorRow<CFrame>("ui:frame-base"),
    creatorRow<CHeadlessWindow>("ui:headless-window"),
    creatorRow<CIntervalTimer>("ui:interval-timer"),
    creatorRow<CPicture>("ui:picture"),
    creatorRow<CFrame>("ui:shadow"),
    creatorRow<CUpdateTimer>("ui:update-timer"),
    creatorRow<CUpdateTimerGroup>("ui:update-timer-group"),
    creatorRow<CView>("ui:view"),
    creatorRow<CViewColorSlot>("ui:view-color-slot"),
    creatorRow<CViewCommand>("ui:view-command"),
    creatorRow<CViewState>("ui:view-state"),
    {nullptr, nullptr, nullptr},
};

} // namespace lum
