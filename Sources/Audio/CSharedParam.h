#pragma once

#include "Audio/CAudioParamCollector.h"
#include "Core/CAppData.h"

namespace lum {

/// Joins one parameter of an instance to one record of a data store. A number is kept as the text
/// that its converter makes of it. Owned by the collector. Runs on whatever control thread changes
/// the parameter or writes the record. The record is written by the thread that has changed the
/// parameter when it holds no guard any more, as the record's listeners take the guards of other
/// instances' parameters; and never by another thread, which may be the host's audio thread.
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
    /// One value, as text or as bytes.
    struct CContent {
        CString text;
        CByteBuffer bytes;
        bool isPresent = false;
        bool operator==(const CContent&) const = default;
    };

    void load(CAudioParamGuard::Kind kind);
    void take(const CAudioParamInfo& info, const CContent& content, CAudioParamGuard& guard);
    CContent readRecord(const CAudioParamInfo& info) const;
    CContent readParam(const CAudioParamInfo& info);
    void write(const CAudioParamInfo& info, const CContent& content);

    CAudioParamCollector& collector;
    CAudioParam& param;
    CAppData& dataStore;
    CString recordName;
    CString defaultText;
    CStoreListener storeListener;
    platform::CLock storeLock; // outside the guards; one thread reads the value and writes it
};

} // namespace lum
