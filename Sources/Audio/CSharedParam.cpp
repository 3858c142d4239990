#include "Audio/CSharedParam.h"

#include "Audio/CAudioParamConverter.h"

namespace lum {

CSharedParam::CSharedParam(CAudioParamCollector& owner, const CString& paramName,
                           CAppData& dataStore_, const CString& recordName_)
    : collector(owner),
      param(owner.getParam(paramName)),
      dataStore(dataStore_),
      recordName(recordName_),
      storeListener(*this) {
    {
        CAudioParamGuard guard(param);
        defaultText = makeDefaultText();
    }
    CUpdateListener::attach(&owner, &param);
    load(CAudioParamGuard::Kind::Usual);
    storeListener.attach(dataStore, recordName);
}

CSharedParam::~CSharedParam() {
    storeListener.detach();
    CUpdateListener::attach(nullptr, nullptr);
    collector.cancelDeferredCalls(*this);
}

CString CSharedParam::makeDefaultText() const {
    const CAudioParamStorage& values = param.getValues();
    const CAudioParamInfo* info = param.getInfo();
    if (!info || !values.isInitialised()) return {};
    const CAudioParamStorage& defaults = info->defaults;
    if (values.getFormat().dataType == ParamDataType::String) return defaults.readString(0, 0);
    if (!values.getFormat().isFloat() || !info->converter()) return {};
    return info->converter()->formatValue(*info, 0, defaults.read(0, 0), nullptr,
                                          FormatMode::Normal);
}

// From the store to the parameter

/// The store's notifier is locked, and its listeners are of all instances.
void CSharedParam::CStoreListener::onUpdate(const CUpdateRecord* record) {
    auto* update = static_cast<const CAppDataUpdate*>(record);
    if (update && update->source == owner) return;
    owner->load(CAudioParamGuard::Kind::Quiet);
}

void CSharedParam::load(CAudioParamGuard::Kind kind) {
    const CAudioParamInfo* info = param.getInfo();
    if (!info) return;
    const CContent content = readRecord(*info);
    CAudioParamGuard guard(param, kind);
    take(*info, content, guard);
}

CSharedParam::CContent CSharedParam::readRecord(const CAudioParamInfo& info) const {
    CContent content;
    if (info.format.dataType == ParamDataType::Raw)
        dataStore.read(recordName, content.bytes, kDataBlock);
    else
        dataStore.getString(content.text, recordName, defaultText);
    return content;
}

void CSharedParam::take(const CAudioParamInfo& info, const CContent& content,
                        CAudioParamGuard& guard) {
    if (info.format.dataType == ParamDataType::Raw) {
        if (!content.bytes.empty()) param.setRaw(0, 0, content.bytes, this, &guard);
    } else if (!info.format.isFloat()) {
        param.setString(0, 0, content.text, this, &guard);
    } else if (info.converter()) {
        bool isOk = false;
        const double value = info.converter()->parseText(info, 0, content.text, isOk);
        if (isOk) param.setValue(value, 0, this, &guard);
    }
}

// From the parameter to the store

/// The parameter's guard is held.
void CSharedParam::onUpdate(const CUpdateRecord* record) {
    auto* update = static_cast<const CAudioParamUpdate*>(record);
    if (!update || update->originator == this) return;
    if (update->change->group == kDefinitionGroup) { // only now known: the record goes first
        defaultText = makeDefaultText();
        load(CAudioParamGuard::Kind::Usual);
    } else {
        collector.deferWork(*this);
    }
}

/// Writes until the record has what the parameter has: another instance's value may have come in
/// between, and that instance has then been told of ours.
void CSharedParam::onDeferredCall(int32_t, double) {
    const CAudioParamInfo* info = param.getInfo();
    if (!info) return;
    platform::CLockGuard hold(storeLock);
    CContent content = readParam(*info);
    for (bool isStored = false; !isStored;) {
        write(*info, content);
        const CContent present = readParam(*info);
        isStored = present == content;
        content = present;
    }
}

CSharedParam::CContent CSharedParam::readParam(const CAudioParamInfo& info) {
    CContent content;
    CAudioParamGuard guard(param);
    const CAudioParamStorage& values = param.getValues();
    if (values.getElementCount(0) == 0) return content;
    content.isPresent = true;
    if (info.format.dataType == ParamDataType::Raw)
        content.bytes = values.readRaw(0, 0);
    else if (info.format.dataType == ParamDataType::String)
        content.text = values.readString(0, 0);
    else if (info.converter())
        content.text =
            info.converter()->formatValue(info, 0, values.read(0, 0), nullptr, FormatMode::Normal);
    else
        content.isPresent = false;
    return content;
}

void CSharedParam::write(const CAudioParamInfo& info, const CContent& content) {
    if (!content.isPresent) return;
    if (info.format.dataType == ParamDataType::Raw)
        dataStore.write(recordName, content.bytes, this, kDataBlock);
    else
        dataStore.setString(recordName, content.text, this);
}

} // namespace lum
