#pragma once

#include "Core/CCheckedObject.h"
#include "Core/CString.h"

namespace lum {

class CAudioParam;
struct CAudioParamChange;
struct CChangeContext;

/// What the collector and the parameters know of a registry: a view on the parameters below one
/// branch of names. Registries add themselves to the collector at set-up and take themselves out
/// before they go. Control threads.
class CAudioParamRegistryBase : public virtual CCheckedObject {
public:
    /// Full name of the registry's object, as `param-registry` of a definition names it.
    virtual CString getRegistryName() const = 0;
    /// The prefix of member names, "." at its end included.
    virtual const CString& getHierarchy() const = 0;
    /// Its presets are selected by the value of a parameter.
    virtual bool isEnumerated() const = 0;
    /// Offers a parameter; true when the registry takes it. May run on any thread that makes a
    /// parameter, so an implementation only puts it on a list under a short lock.
    virtual bool offerParam(CAudioParam& param) = 0;
    /// Runs once, after the collector has distributed the parameters.
    virtual void onCollectorStarted() = 0;
    /// A parameter that names this registry has changed. Under that parameter's guard.
    virtual void onSelectingParamChanged(CAudioParam& param, const CAudioParamChange& change,
                                         const CChangeContext& context) = 0;
};

} // namespace lum
