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
    load();
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

void CSharedParam::CStoreListener::onUpdate(const CUpdateRecord* record) {
    auto* update = static_cast<const CAppDataUpdate*>(record);
    if (update && update->source == owner) return;
    owner->load();
}

void CSharedParam::load() {
    const CAudioParamInfo* info = param.getInfo();
    if (!info) return;
    if (info->format.dataType == ParamDataType::Raw) {
        loadRaw();
        return;
    }
    CString text;
    dataStore.getString(text, recordName, defaultText);
    if (info->format.isFloat())
        loadFloat(*info, text);
    else
        param.setString(0, 0, text, this);
}

void CSharedParam::loadFloat(const CAudioParamInfo& info, const CString& text) {
    if (!info.converter()) return;
    bool isOk = false;
    double value = info.converter()->parseText(info, 0, text, isOk);
    if (isOk) param.setValue(value, 0, this);
}

void CSharedParam::loadRaw() {
    CByteBuffer bytes;
    dataStore.read(recordName, bytes, kDataBlock);
    if (!bytes.empty()) param.setRaw(0, 0, bytes, this);
}

// From the parameter to the store

/// The parameter's guard is held.
void CSharedParam::onUpdate(const CUpdateRecord* record) {
    auto* update = static_cast<const CAudioParamUpdate*>(record);
    if (!update || update->originator == this) return;
    if (update->change->group == kDefinitionGroup) { // only now known: the record goes first
        defaultText = makeDefaultText();
        load();
    } else {
        if (!isStoreDue.exchange(true)) collector.deferCall(*this, 0, 0.0);
    }
}

/// Calls run one at a time, so the record ends with the value that the parameter has.
void CSharedParam::onDeferredCall(int32_t, double) {
    isStoreDue = false;
    store();
}

void CSharedParam::store() {
    const CAudioParamInfo* info = param.getInfo();
    if (!info) return;
    CByteBuffer bytes;
    CString text;
    {
        CAudioParamGuard guard(param);
        const CAudioParamStorage& values = param.getValues();
        if (values.getElementCount(0) == 0) return;
        if (info->format.dataType == ParamDataType::Raw)
            bytes = values.readRaw(0, 0);
        else if (info->format.dataType == ParamDataType::String)
            text = values.readString(0, 0);
        else if (info->converter())
            text = info->converter()->formatValue(*info, 0, values.read(0, 0), nullptr,
                                                  FormatMode::Normal);
        else
            return;
    }
    if (info->format.dataType == ParamDataType::Raw)
        dataStore.write(recordName, bytes, this, kDataBlock);
    else
        dataStore.setString(recordName, text, this);
}

} // namespace lum
