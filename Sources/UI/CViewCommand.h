#pragma once

#include "Core/CObject.h"

namespace lum {

class CViewBaseCtlEvents;

/// `ui:view-command`: what is done at an event of the view above it, told in attributes. A target
/// that is missing is logged and skipped. Interface thread.
class CViewCommand : public CObject {
public:
    CErrorResult init() override;
    CErrorResult initDone() override;
    void prepareDestroy() override;

    /// Does it all, if the conditions on the view's states hold. arguments: those of the event.
    CErrorResult run(CAttrMap& arguments);

private:
    bool isAllowed() const;
    bool areSet(const char* attribute, bool isWanted) const;
    CErrorResult runEvents(CAttrMap& arguments);
    CErrorResult collectArguments(CAttrMap& out, CAttrMap& incoming) const;
    CObject* paramsBlock() const;
    CErrorResult changeStates();
    CErrorResult changeAttributes();
    CErrorResult resetSharedAttribute();
    CObject* findTarget(const CString& path) const;
    /// The objects that the attribute names, the view itself if it names none.
    CVector<CObject*> targets(const char* attribute) const;

    CViewBaseCtlEvents* view = nullptr;
    CString event;
};

} // namespace lum
