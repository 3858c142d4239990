#pragma once

#include "Audio/CAudioParamCollector.h"
#include "Core/CAppData.h"

namespace lum {

/// Joins one parameter of an instance to one record of a data store. A number is kept as the text
/// that its converter makes of it. Owned by the collector. Runs on whatever control thread changes
/// the parameter or writes the record.
class CSharedParam : public CUpdateListener, public CLumMemAllocator {
public:
    /// Reads the record into the parameter and then follows both.
    CSharedParam(CAudioParamCollector& owner, const CString& paramName, CAppData& dataStore,
                 const CString& recordName);
    ~CSharedParam() override;

    void onUpdate(const CUpdateRecord* record) override;

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
    void store(const CAudioParamStorage& values);

    CAudioParam& param;
    CAppData& dataStore;
    CString recordName;
    CString defaultText;
    CStoreListener storeListener;
};

} // namespace lum
