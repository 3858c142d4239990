#pragma once

namespace lum {

/// Root of all polymorphic classes of the system.
class CCheckedObject {
public:
    virtual ~CCheckedObject() = default;
};

} // namespace lum
