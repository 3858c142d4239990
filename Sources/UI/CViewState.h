#pragma once

#include "Core/CObject.h"

namespace lum {

/// `ui:view-state`: what a state of the view above it does to the view's attributes. Interface
/// thread.
class CViewState : public CObject {
public:
    CErrorResult initDone() override;
    void prepareDestroy() override;

    const CString& getStateName() const { return stateName; }
    double getDuration() const { return duration; }           // seconds, of entering
    double getMorphDuration() const { return morphDuration; } // seconds, of leaving
    const CVector<CString>& getAttrNames() const { return attrNames; }

private:
    CErrorResult readNames();

    CString stateName;
    double duration = 0.0;
    double morphDuration = 0.0;
    CVector<CString> attrNames;
};

} // namespace lum
