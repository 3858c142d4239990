#pragma once

#include "Audio/CAudioParam.h"
#include "Core/CObject.h"

namespace lum {

class CAudioParamFilter;

constexpr int kMostFilterParams = 9; // sources, and destinations

/// Declares a filter: which parameters it reads and which it computes. A subclass per kind of
/// filter creates the live one.
class CAudioParamFilterDef : public CObject {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;
    virtual std::unique_ptr<CAudioParamFilter> createFilter() const = 0;

    /// Makes the live filter of one process, attached to its parameters and already run. Set-up
    /// time: no block may be running. processName: what the parameter names are relative to.
    CErrorResult instantiate(std::unique_ptr<CAudioParamFilter>& out,
                             CAudioParamCollector& collector, const CString& processName) const;

    CVector<CString> sources; // names as declared
    CVector<CString> destinations;
};

/// Computes parameters from others whenever a source changes. Derived values never enter the undo
/// history. Owned by the collector; runs on control threads under the guards of all its parameters.
class CAudioParamFilter : public CCheckedObject, public CLumMemAllocator {
public:
    using CParamList = CVector<CAudioParam*, kMostFilterParams>;

    CAudioParamFilter() = default;
    ~CAudioParamFilter() override; // leaves all sources
    CAudioParamFilter(const CAudioParamFilter&) = delete;
    CAudioParamFilter& operator=(const CAudioParamFilter&) = delete;

    /// Looks the parameters up. Names are full names. Error: too few or too many of them.
    virtual CErrorResult init(const CAudioParamFilterDef& filterDefinition,
                              CAudioParamCollector& collector, const CVector<CString>& sourceNames,
                              const CVector<CString>& destinationNames);
    /// Joins the sources and computes the destinations from what they hold now, straight into the
    /// audio-side values.
    void attach();
    /// A source has changed; called under its guard.
    void run(const CAudioParamChange& change, const CChangeContext& context,
             CAudioParamGuard& guard);

protected:
    virtual int requiredSources() const { return 1; }
    virtual int requiredDestinations() const { return 1; }
    /// Computes the destinations. By default each element of the change goes through mapElement to
    /// the same place of destination 0.
    virtual void process(const CParamList& from, const CParamList& to,
                         const CAudioParamChange& change, const CChangeContext& context);
    virtual double mapElement(double value) const { return value; }
    /// Gives a group of a float parameter exactly these elements, in the name of who caused it.
    static void writeValues(CAudioParam& param, int group, const double* numbers, int count,
                            const CAudioParamChange& cause, const CChangeContext& context);
    const CAudioParamFilterDef& getDefinition() const { return *definition; }

private:
    bool isReady() const;
    void runAttached(CAudioParam& source);

    const CAudioParamFilterDef* definition = nullptr;
    CParamList sources;
    CParamList destinations;
    bool isActive = false;
};

} // namespace lum
