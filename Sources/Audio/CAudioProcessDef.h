#pragma once

#include "Audio/CAudioProcessBase.h"
#include "Core/CObject.h"

namespace lum {

class CAudioParamAllocDef;
class CAudioParamDef;
class CAudioParamFilterDef;
class CAudioParamRemapDef;
class CAudioParamSharedStorage;

/// How several sources on one channel are combined.
enum class InputComboMode { Sum, Average, Maximum };

/// Sorts the children of a process definition by class, once, when they exist. Definitions are
/// immutable after loading and shared by all instances; any thread reads them.
class CAudioProcessDefBaseInit : public CObject {
public:
    /// A parameter, filter or storage with the dotted prefix that its group gives it.
    template <class T>
    struct CPrefixed {
        CString prefix; // empty, or the group's name and "."
        const T* item;
        /// What the group adds to the name of its process: nothing, or "." and its name.
        CString groupSuffix() const {
            if (prefix.empty()) return {};
            return "." + prefix.substring(0, static_cast<int>(prefix.length()) - 1);
        }
    };

    static void fillClass(CClassInfo& info);
    CErrorResult initDone() override;

    /// The allocation of an index, null when the definition declares none.
    const CAudioParamAllocDef* findAlloc(int index) const;
    const CMap<int, const CAudioParamAllocDef*>& getAllocs() const { return allocs; }
    const CVector<const CAudioParamRemapDef*>& getRemaps() const { return remaps; }
    const CVector<CPrefixed<CAudioParamDef>, 4>& getParams() const { return params; }
    const CVector<CPrefixed<CAudioParamFilterDef>, 1>& getFilters() const { return filters; }
    const CVector<CPrefixed<CAudioParamSharedStorage>, 1>& getStorages() const { return storages; }

private:
    void sortPrefixed(CObject& child, const CString& prefix);

    CMap<int, const CAudioParamAllocDef*> allocs;
    CVector<const CAudioParamRemapDef*> remaps;
    CVector<CPrefixed<CAudioParamDef>, 4> params;
    CVector<CPrefixed<CAudioParamFilterDef>, 1> filters;
    CVector<CPrefixed<CAudioParamSharedStorage>, 1> storages;
};

/// Which group a process serves, and its place in a stack.
struct CGroupPlace {
    int group;
    int stack;
};

/// The attributes that every process has, and the factory of live processes. A subclass fills
/// createProcess and, where it has attributes of its own, init.
class CAudioProcessDefBase : public CAudioProcessDefBaseInit {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;
    /// A new live process of the definition's own class.
    virtual CAudioProcessBase* createProcess() const = 0;

    /// Makes a live process, wrapped in a band splitter or a stack where the definition says so,
    /// enters its remaps, parameters and filters in the collector and initialises it. Control
    /// thread, or the audio thread when the routing asks for a new instance. It serves the
    /// parent's group unless `place` names another.
    CErrorResult instantiate(std::unique_ptr<CAudioProcessBase>& out, const CString& processName,
                             CAudioProcessContext& context, CAudioProcessBase* parentProcess,
                             bool skipStack = false, bool skipMultiband = false,
                             const CGroupPlace* place = nullptr) const;

    bool isSmoothUpdate = false;
    bool isStacked = false;
    CString stackParam;
    int stackIndexShift = 0;
    bool isChannelStack = false;
    bool isMultiband = false;
    CString multibandFreqParam;
    CString multibandCountParam;
    bool isTerminalWhole = false;
    bool isPrototype = false;
    bool isOutOfOrder = false;
    int bypassStateId = 0; // -1: none
    bool isCompInput = false;
    InputComboMode inputComboMode = InputComboMode::Sum;
    double xfadeLength = 0.0001; // seconds, at least 0.0001
};

/// `audio:process-link`: one explicit link of a composite.
class CAudioProcessLinkDef : public CObject {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;

    CString srcName; // "*": the composite's own input
    int srcPort = 0;
    CString dstName; // "*": the composite's own output
    int dstPort = 0;
    int stateId = -1; // -1: in every state
    CVector<int, 2> bypassStateIds;
};

/// A parameter whose value selects which links hold.
class CAudioProcessLinkStateDef : public CObject {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;
    CString param;
};

/// An interval with open or closed ends, compared in steps.
struct CStateRange {
    bool isMinIncluded = true;
    bool isMaxIncluded = true;
    bool hasMin = false;
    bool hasMax = false;
    double min = 0.0;
    double max = 0.0;
    double step = 0.01;

    /// Reads "[min;max]", "(min;max;step)" and their mixtures; "*" is no bound. False: malformed.
    bool parse(const CString& text);
    bool contains(double value) const noexcept;
};

/// What a parameter of a bypass state must match: the range if there is one, else the value.
struct CStateCondition {
    double value = 0.0;
    bool hasRange = false;
    CStateRange range;
    bool matches(double tested) const noexcept;
};

/// `audio:process-bypass-state`: a named condition under which processes drop out.
class CAudioProcessBypassStateDef : public CObject {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;

    int id = 0;
    CString param;
    CStateCondition condition;
    CString andParam; // empty: none
    CStateCondition andCondition;
    bool isInverted = false;
};

/// `audio:process-def`: a composite: children, links, bypass states.
class CAudioProcessDef : public CAudioProcessDefBase {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;
    CErrorResult initDone() override;
    CAudioProcessBase* createProcess() const override;

    bool isAutoLinks = false;
    CVector<const CAudioProcessDefBase*, 8> processes; // in tree order: the default signal order
    CMap<int, CVector<const CAudioProcessLinkDef*>> linksByState;
    CVector<const CAudioProcessLinkStateDef*> stateParams;
    CVector<const CAudioProcessBypassStateDef*> bypassStates;
};

} // namespace lum
