#include "Core/CDataSet.h"

#include "Core/CResourceReader.h"

namespace lum {

CErrorResult CDataSet::loadFromResource(const CString& name) {
    CResourceReader reader;
    LUM_TRY(reader.open(name));
    LUM_TRY(load(reader));
    return {};
}

} // namespace lum
