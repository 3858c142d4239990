#pragma once

#include "Core/CAppData.h"
#include "Core/CObject.h"

namespace lum {

class CSharedAttribute;

/// Tells its owner, on the owner's bridge thread, that the record has changed.
class CSharedAttributeListener : public CAppDataListener<CSharedAttribute> {
public:
    using CAppDataListener::CAppDataListener;
    void onUpdate(const CUpdateRecord* record) override; // on the writer's thread
};

/// `core:shared-attribute`: an attribute whose value is a text record of a data store, so that all
/// instances, and later sessions, share it. Others follow it by a live link. Its own thread is that
/// of the bridge above it; without one it keeps the value it read at its start.
class CSharedAttribute : public CObject {
public:
    CSharedAttribute() : listener(*this) {}
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;
    void prepareDestroy() override;

    /// Event `update`: takes the stored value, or the default, into the attribute.
    virtual CErrorResult update();
    /// Changes the shared value; this object and all others hear of it from the store.
    void storeValue(const CString& text);

private:
    CSharedAttributeListener listener;
    CAppData* store = nullptr;
    CString dataName;
    CString attributeName;
    CString defaultValue;
};

} // namespace lum
