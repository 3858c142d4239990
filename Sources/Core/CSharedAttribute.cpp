#include "Core/CSharedAttribute.h"

namespace lum {

namespace {

// Read once by init: `storage-type`, "local", "group" or "global"; `attribute`, the attribute that
// takes the value; `data-name`, the record, by default the object's own name; `def-value`.
constexpr CEventRow<CSharedAttribute> kEvents[] = {
    {"update", &CSharedAttribute::update}, // the record has changed
};

} // namespace

void CSharedAttribute::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
    info.addEvents(kEvents);
}

CErrorResult CSharedAttribute::init() {
    LUM_TRY(CObject::init());
    const CString storageType = getAttrString("storage-type");
    store = CAppData::findStore(storageType);
    if (!store)
        return LUM_FAIL("@lumstr_CSharedAttribute_init_InvalidStorageType Invalid storage type "
                        "\"%1\" specified.",
                        storageType);
    attributeName = getAttrString("attribute");
    if (attributeName.empty())
        return LUM_FAIL("@lumstr_CSharedAttribute_init_NoAttribute No attached attribute name "
                        "specified.");
    dataName = getAttrString("data-name");
    if (dataName.empty()) dataName = getName();
    defaultValue = getAttrString("def-value");
    listener.attach(*store, dataName);
    LUM_TRY(update());
    return nullptr;
}

// After this no notification is running and none will come.
void CSharedAttribute::prepareDestroy() {
    listener.detach();
    CObject::prepareDestroy();
}

CErrorResult CSharedAttribute::update() {
    CString value;
    store->getString(value, dataName, defaultValue);
    LUM_TRY(setAttr(attributeName, value, true));
    return nullptr;
}

void CSharedAttribute::storeValue(const CString& text) {
    if (store) store->setString(dataName, text, this);
}

void CSharedAttributeListener::onUpdate(const CUpdateRecord*) {
    owner->postOwnEvent({}, "update");
}

} // namespace lum
