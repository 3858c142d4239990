#pragma once

#include "UI/CViewBaseState.h"

namespace lum {

class CViewCommand;

/// The input events of a view and the commands that hang on its events. Third of the chain of view
/// classes. Each handler ends by firing the event of its name to listeners and running its
/// commands. Interface thread.
class CViewBaseCtlEvents : public CViewBaseState {
public:
    static void fillClass(CClassInfo& info);

    virtual CErrorResult onBlur(CAttrMap& arguments);
    virtual CErrorResult onFocus(CAttrMap& arguments);
    virtual CErrorResult onKeyPress(CAttrMap& arguments);
    virtual CErrorResult onKeyRelease(CAttrMap& arguments);
    virtual CErrorResult onMouseCancel(CAttrMap& arguments);
    virtual CErrorResult onMouseCancelR(CAttrMap& arguments);
    virtual CErrorResult onMouseEnter(CAttrMap& arguments);
    virtual CErrorResult onMouseEnterTop(CAttrMap& arguments);
    virtual CErrorResult onMouseExit(CAttrMap& arguments);
    virtual CErrorResult onMouseExitTop(CAttrMap& arguments);
    virtual CErrorResult onMouseMove(CAttrMap& arguments);
    virtual CErrorResult onMousePress(CAttrMap& arguments);
    virtual CErrorResult onMousePressR(CAttrMap& arguments);
    virtual CErrorResult onMouseRelease(CAttrMap& arguments);
    virtual CErrorResult onMouseReleaseR(CAttrMap& arguments);
    virtual CErrorResult onMouseWheel(CAttrMap& arguments);
    virtual CErrorResult onMouseXButtonPress(CAttrMap& arguments);
    virtual CErrorResult onMouseXButtonRelease(CAttrMap& arguments);
    CErrorResult onMouseTopExit(CAttrMap& arguments);

    /// Runs at the event, behind the commands that came before.
    void addCommand(CViewCommand& command, const CString& event);
    void removeCommand(CViewCommand& command, const CString& event);

protected:
    CErrorResult finishEvent(const char* event, CAttrMap& arguments) override;

private:
    CMap<CString, CVector<CViewCommand*, 2>> commands; // by event, in tree order
};

} // namespace lum
