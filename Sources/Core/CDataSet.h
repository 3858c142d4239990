#pragma once

#include "Core/CStream.h"

namespace lum {

/// Base of resource sets that live in a file or an embedded resource, such as image sets and fonts.
/// Owned by whoever shows them; one user at a time while loading.
class CDataSet : public virtual CCheckedObject {
public:
    /// Four characters that tell the kind of set, as in blockId().
    virtual uint32_t getTypeCode() const = 0;
    virtual CErrorResult load(CPosInputStream& source) = 0;
    virtual CErrorResult save(COutputStream& target) = 0;
    /// Loads from an embedded resource, or a file where none of that name exists.
    CErrorResult loadFromResource(const CString& name);
};

} // namespace lum
