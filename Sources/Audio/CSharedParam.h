#pragma once

#include "Audio/CAudioParamCollector.h"
#include "Core/CAppData.h"

#include <atomic>

namespace lum {

/// Joins one parameter of an instance to one record of a data store. A number is kept as the text
/// that its converter makes of it. Owned by the collector. Runs on whatever control thread changes
/// the parameter or writes the record. The record is written when no parameter's guard is open, as
/// the record's listeners take the guards of other instances' parameters.
class CSharedParam : public CUpdateListener, public CDeferredCallTarget, public CLumMemAllocator {
public:
    /// Reads the record into the parameter and then follows both.
    CSharedParam(CAudioParamCollector& owner, const CString& paramName, CAppData& dataStore,
                 const CString& recordName);
    ~CSharedParam() override;

    void onUpdate(const CUpdateRecord* record) override;
    void onDeferredCall(int32_t argument, double value) override;

private:
    class CStoreListener : public CAppDataListener<CSharedParam> {
    public:
        using CAppDataListener<CSharedParam>::CAppDataListener;
        void onUpdate(const CUpdateRecord* record) override;
    };

    CString makeDefaultText() const;
    void load();
    void loadFloat(const CAudioParamInfo& info, const CString& text);
    void loadRaw();
    void store();

    CAudioParamCollector& collector;
    CAudioParam& param;
    CAppData& dataStore;
    CString recordName;
    CString defaultText;
    CStoreListener storeListener;
    std::atomic<bool> isStoreDue{false}; // a call is on its way
};

} // namespace lum
