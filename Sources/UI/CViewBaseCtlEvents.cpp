#include "UI/CViewBaseCtlEvents.h"

#include "UI/CViewCommand.h"

#include <algorithm>

namespace lum {

namespace {

using C = CViewBaseCtlEvents;
constexpr CEventRow<C> kEvents[] = {
    {"blur", &C::onBlur},
    {"focus", &C::onFocus},
    {"key-press", &C::onKeyPress},
    {"key-release", &C::onKeyRelease},
    {"mouse-cancel", &C::onMouseCancel},
    {"mouse-cancel-r", &C::onMouseCancelR},
    {"mouse-enter", &C::onMouseEnter},
    {"mouse-enter-top", &C::onMouseEnterTop},
    {"mouse-exit", &C::onMouseExit},
    {"mouse-exit-top", &C::onMouseExitTop},
    {"mouse-move", &C::onMouseMove},
    {"mouse-press", &C::onMousePress},
    {"mouse-press-r", &C::onMousePressR},
    {"mouse-release", &C::onMouseRelease},
    {"mouse-release-r", &C::onMouseReleaseR},
    {"mouse-wheel", &C::onMouseWheel},
    {"mouse-xbutton-press", &C::onMouseXButtonPress},
    {"mouse-xbutton-release", &C::onMouseXButtonRelease},
    {"mouse-top-exit", &C::onMouseTopExit},
};

constexpr const char* kHover = "hover";

} // namespace

void CViewBaseCtlEvents::fillClass(CClassInfo& info) {
    CViewBaseState::fillClass(info);
    info.addEvents(kEvents);
}

// ---- Commands

void CViewBaseCtlEvents::addCommand(CViewCommand& command, const CString& event) {
    commands[event].push_back(&command);
}

void CViewBaseCtlEvents::removeCommand(CViewCommand& command, const CString& event) {
    const auto found = commands.find(event);
    if (found == commands.end()) return;
    auto& list = found->second;
    CViewCommand** place = std::find(list.begin(), list.end(), &command);
    if (place != list.end()) list.erase(static_cast<size_t>(place - list.begin()));
}

// A command may end others of the list, and commands that it adds wait for the next event.
CErrorResult CViewBaseCtlEvents::finishEvent(const char* event, CAttrMap& arguments) {
    LUM_TRY(CViewBaseState::finishEvent(event, arguments));
    const auto found = commands.find(event);
    if (found == commands.end()) return nullptr;
    const CVector<CViewCommand*, 2> list = found->second;
    for (CViewCommand* command : list) {
        const auto& present = found->second;
        if (std::find(present.begin(), present.end(), command) == present.end()) continue;
        LUM_TRY(command->run(arguments));
    }
    return nullptr;
}

// ---- Input

CErrorResult CViewBaseCtlEvents::onMouseEnter(CAttrMap& arguments) {
    LUM_TRY(setState(kHover)); // nothing without a block of that name
    return finishEvent("mouse-enter", arguments);
}

CErrorResult CViewBaseCtlEvents::onMouseExit(CAttrMap& arguments) {
    LUM_TRY(unsetState(kHover));
    return finishEvent("mouse-exit", arguments);
}

CErrorResult CViewBaseCtlEvents::onBlur(CAttrMap& arguments) {
    return finishEvent("blur", arguments);
}

CErrorResult CViewBaseCtlEvents::onFocus(CAttrMap& arguments) {
    return finishEvent("focus", arguments);
}

CErrorResult CViewBaseCtlEvents::onKeyPress(CAttrMap& arguments) {
    return finishEvent("key-press", arguments);
}

CErrorResult CViewBaseCtlEvents::onKeyRelease(CAttrMap& arguments) {
    return finishEvent("key-release", arguments);
}

CErrorResult CViewBaseCtlEvents::onMouseCancel(CAttrMap& arguments) {
    return finishEvent("mouse-cancel", arguments);
}

CErrorResult CViewBaseCtlEvents::onMouseCancelR(CAttrMap& arguments) {
    return finishEvent("mouse-cancel-r", arguments);
}

CErrorResult CViewBaseCtlEvents::onMouseEnterTop(CAttrMap& arguments) {
    return finishEvent("mouse-enter-top", arguments);
}

CErrorResult CViewBaseCtlEvents::onMouseExitTop(CAttrMap& arguments) {
    return finishEvent("mouse-exit-top", arguments);
}

CErrorResult CViewBaseCtlEvents::onMouseMove(CAttrMap& arguments) {
    return finishEvent("mouse-move", arguments);
}

CErrorResult CViewBaseCtlEvents::onMousePress(CAttrMap& arguments) {
    return finishEvent("mouse-press", arguments);
}

CErrorResult CViewBaseCtlEvents::onMousePressR(CAttrMap& arguments) {
    return finishEvent("mouse-press-r", arguments);
}

CErrorResult CViewBaseCtlEvents::onMouseRelease(CAttrMap& arguments) {
    return finishEvent("mouse-release", arguments);
}

CErrorResult CViewBaseCtlEvents::onMouseReleaseR(CAttrMap& arguments) {
    return finishEvent("mouse-release-r", arguments);
}

CErrorResult CViewBaseCtlEvents::onMouseWheel(CAttrMap& arguments) {
    return finishEvent("mouse-wheel", arguments);
}

CErrorResult CViewBaseCtlEvents::onMouseXButtonPress(CAttrMap& arguments) {
    return finishEvent("mouse-xbutton-press", arguments);
}

CErrorResult CViewBaseCtlEvents::onMouseXButtonRelease(CAttrMap& arguments) {
    return finishEvent("mouse-xbutton-release", arguments);
}

CErrorResult CViewBaseCtlEvents::onMouseTopExit(CAttrMap& arguments) {
    return finishEvent("mouse-top-exit", arguments);
}

} // namespace lum
