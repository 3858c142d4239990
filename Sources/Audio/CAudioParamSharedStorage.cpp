#include "Audio/CAudioParamSharedStorage.h"

#include "Audio/CSharedParam.h"

namespace lum {

void CAudioParamSharedStorage::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
}

CErrorResult CAudioParamSharedStorage::init() {
    LUM_TRY(CObject::init());
    paramName = getAttrString("param");
    if (paramName.empty())
        return LUM_FAIL(
            "@lumstr_CAudioParamSharedStorage_init_NoParam Invalid parameter name specified.");
    dataName = getAttrString("data-name");
    if (dataName.empty())
        return LUM_FAIL(
            "@lumstr_CAudioParamSharedStorage_init_NoData Invalid shared data name specified.");
    CString storageType = getAttrString("storage-type");
    store = CAppData::findStore(storageType);
    if (!store)
        return LUM_FAIL("@lumstr_CAudioParamSharedStorage_init_Storage Invalid storage type "
                        "\"%1\" specified.",
                        storageType);
    return nullptr;
}

void CAudioParamSharedStorage::instantiate(CAudioParamCollector& collector,
                                           const CString& processName) const {
    collector.addSharedParam(std::make_unique<CSharedParam>(
        collector, resolveParamName(processName, paramName), *store, dataName));
}

} // namespace lum
