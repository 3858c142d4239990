#pragma once

#include "Core/CError.h"

namespace lum {

class CObject;
class CAttrEntry;

/// Function of a class that takes a changed attribute.
using CAttrHandler = CErrorResult (CObject::*)(const CAttrEntry& value);

enum class AttrType : uint8_t { Boolean, Real, Integer, String, Pointer, Empty };

/// The value of one attribute: a small variant that remembers conversions. Conversions are computed
/// on demand, the numeric ones are cached; a failed one gives the value stated and false.
/// One thread at a time changes an entry. Several may read it: the shared tree's attributes are
/// read by every instance, so the cache is filled by atomic stores.
class CAttrEntry : public CLumMemAllocator {
public:
    CAttrEntry() noexcept = default; // Empty
    /// Copies take the value alone, not the place in a store.
    CAttrEntry(const CAttrEntry& other) { assign(other); }
    CAttrEntry& operator=(const CAttrEntry& other) {
        assign(other);
        return *this;
    }
    static CAttrEntry ofBool(bool value);
    static CAttrEntry ofInt(int32_t value);
    static CAttrEntry ofReal(double value);
    static CAttrEntry ofPointer(void* value);
    /// Text as it is, not typed.
    static CAttrEntry ofString(CString value);
    /// Text typed as the narrowest type that prints back the same: Integer, Boolean, String, Empty.
    static CAttrEntry ofText(const CString& value);

    AttrType type() const noexcept { return valueType; }
    bool toBool(bool& out) const;      // false on failure
    bool toInt(int32_t& out) const;    // 0 on failure
    bool toReal(double& out) const;    // 0.0 on failure
    bool toString(CString& out) const; // "" on failure
    bool toPointer(void*& out) const;  // null unless the type is Pointer

    bool boolOr(bool fallback) const;
    int32_t intOr(int32_t fallback) const;
    double realOr(double fallback) const;
    CString stringOr(const CString& fallback) const;
    CString text() const { return stringOr({}); }

    /// Takes another entry's value and keeps this entry's place in the store (handler, pending).
    void assign(const CAttrEntry& value);

private:
    friend class CObject;
    enum Flag : uint8_t {
        kBoolValid = 1,
        kRealValid = 2,
        kIntValid = 4,
        kTextValid = 8,
        kPointerValid = 16,
        kPending = 32,
        kHandlerKnown = 64,
    };
    static constexpr uint8_t kValueFlags = 31;

    void become(AttrType type, uint8_t validFlag);
    bool isValid(uint8_t flag) const noexcept;
    void markValid(uint8_t flag) const noexcept;
    bool convertToBool(bool& out) const;
    bool convertToInt(int32_t& out) const;
    bool convertToReal(double& out) const;

    CAttrEntry* nextPending = nullptr;
    CAttrHandler handler = nullptr; // once known; null: the class has none
    mutable double realValue = 0.0;
    void* pointerValue = nullptr;
    mutable int32_t intValue = 0;
    CString textValue; // as stored; a text that was typed keeps it
    mutable bool boolValue = false;
    AttrType valueType = AttrType::Empty;
    mutable uint8_t flags = 0;
};

/// Ordered attributes by name: the attribute store of an object and the argument of events.
using CAttrMap = CMap<CString, CAttrEntry>;

} // namespace lum
