#include "Audio/CAudioCCTable.h"

#include "Audio/CAudioExtParam.h"
#include "Core/CMemoryReader.h"

#include <algorithm>

namespace lum {

namespace {
constexpr const char* kRecordName = "ccmap";
}

CAudioCCTable::CAudioCCTable() : listener(*this) {}

void CAudioCCTable::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
}

CErrorResult CAudioCCTable::init() {
    LUM_TRY(CObject::init());
    listener.attach(CAppDataLocal::get(), kRecordName);
    logAndDropError(load());
    return nullptr;
}

void CAudioCCTable::prepareDestroy() {
    listener.detach();
    CObject::prepareDestroy();
}

CErrorResult CAudioCCTable::load() {
    CByteBuffer record;
    CAppDataLocal::get().read(kRecordName, record, kDataBlock);
    return apply(record);
}

CErrorResult CAudioCCTable::apply(const CByteBuffer& record) {
    platform::CLockGuard hold(lock);
    std::fill(std::begin(table), std::end(table), nullptr);
    if (record.empty()) return nullptr;

    CMemoryReader reader(record);
    int32_t count = 0;
    LUM_TRY(reader.readValue(count));
    for (int32_t i = 0; i < count; i++) {
        int32_t controller = 0;
        CString path;
        LUM_TRY(reader.readValue(controller));
        LUM_TRY(reader.readString(path));
        if (controller < 0 || controller >= kControllerCount) continue;
        table[controller] = dynamic_cast<CAudioExtParam*>(findObject(path));
    }
    return nullptr;
}

CAudioExtParam* CAudioCCTable::getParam(int controller) const {
    platform::CLockGuard hold(lock);
    return controller >= 0 && controller < kControllerCount ? table[controller] : nullptr;
}

} // namespace lum
