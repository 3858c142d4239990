#pragma once

#include "Audio/CAudioParamCollector.h"
#include "Core/CObject.h"

#include <atomic>

namespace lum {

class CAudioExtParamHostBridge;

/// `audio:ext-param`: shows one element of one group of a parameter to the host, under a short name
/// and as a normalised value. Lives in the instance's tree; the instance gives it its index and its
/// bridge. setHostValue runs on whatever thread the host likes, getHostValue without a lock.
class CAudioExtParam : public CObject, public CUpdateListener {
public:
    static constexpr size_t kLongestName = 7; // characters that a host shows

    static void fillClass(CClassInfo& info);
    CErrorResult init() override;
    void prepareDestroy() override;

    /// The place in the list, and whom to tell of changes; null when the instance goes.
    void setHost(int32_t listIndex, CAudioExtParamHostBridge* hostBridge);

    /// From the host to the engine. value: clamped to 0..1. The host is not told of it again.
    void setHostValue(double value);
    double getHostValue() const LUM_REALTIME { return hostValue.load(std::memory_order_relaxed); }
    const CString& getExtName() const { return extName; }
    /// Unit of the value, "" while the parameter has no definition.
    CString getLabel();
    CString getDisplayText() { return valueToText(getHostValue()); }
    /// Text of any normalised value, without the unit.
    CString valueToText(double value);
    /// Normalised value of a text; 0 while the parameter has no definition.
    double textToValue(const CString& text);

    CAudioParam& getParam() const { return *param; }
    int getGroup() const { return group; }
    int getElement() const { return element; }

private:
    void onUpdate(const CUpdateRecord* record) override;
    bool isTouchedBy(const CAudioParamChange& change) const;
    void refresh(); // under the parameter's guard

    CAudioParamCollector* collector = nullptr;
    CAudioParam* param = nullptr; // the collector's
    int group = 0;
    int element = 0;
    CString extName;
    int32_t index = -1;
    CAudioExtParamHostBridge* bridge = nullptr;
    std::atomic<double> hostValue{0.0};
};

} // namespace lum
