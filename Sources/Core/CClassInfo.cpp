#include "Core/CClassInfo.h"

namespace lum {

namespace {

/// The process's tags. Written at start-up only, and empty again before the module goes.
CMap<CString, CRegisteredTag> tagRegistry;

} // namespace

CErrorResult registerCreator(const CCreatorRow* table) {
    for (const CCreatorRow* row = table; row->tag; row++) {
        auto [place, isNew] = tagRegistry.try_emplace(row->tag);
        if (!isNew)
            return LUM_FAIL("@lumstr_CObject_registerCreator Creator for '%1' has already been "
                            "registered.",
                            row->tag);
        place->second.create = row->create;
        place->second.info = std::make_unique<CClassInfo>();
        row->fill(*place->second.info);
    }
    return nullptr;
}

const CRegisteredTag* findCreator(const CString& tag) {
    auto found = tagRegistry.find(tag);
    return found == tagRegistry.end() ? nullptr : &found->second;
}

void clearCreators() {
    tagRegistry.clear();
}

} // namespace lum
