#pragma once

#include "Core/CVector.h"

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

namespace lum {

/// Text in one of two forms: 8-bit, where a character is a code point from 0 to 255, and 16-bit.
/// Both are one type everywhere: comparison, maps and streams take both. Always terminated. Texts
/// of up to 26 8-bit (12 16-bit) characters need no memory beyond the object.
/// A `const char*` is 8-bit text, not UTF-8; see fromUtf8.
class CString : public CLumMemAllocator {
public:
    CString() noexcept;
    CString(const char* text);
    CString(const char* text, size_t count);
    CString(std::string_view text) : CString(text.data(), text.size()) {}
    CString(const char16_t* text);
    CString(const char16_t* text, size_t count);
    CString(const CString& other);
    CString(CString&& other) noexcept;
    ~CString();
    CString& operator=(const CString& other);
    CString& operator=(CString&& other) noexcept;
    CString& operator=(const char* text);     // narrows
    CString& operator=(const char16_t* text); // widens

    static CString fromUtf8(std::string_view bytes);
    /// UTF-8 form; a half of a surrogate pair is dropped.
    std::string toUtf8() const;
    static CString fromInt(int64_t value);

    size_t length() const noexcept { return count; }
    bool empty() const noexcept { return count == 0; }
    bool isWide() const noexcept { return wide; }
    bool isInline() const noexcept { return data == inlineBuffer; }
    /// Unit at a position; 0 at the terminator.
    char16_t at(size_t index) const noexcept {
        return wide ? text16()[index] : static_cast<unsigned char>(text8()[index]);
    }
    /// Terminated text; only for the form the string has.
    const char* text8() const noexcept { return static_cast<const char*>(data); }
    const char16_t* text16() const noexcept { return static_cast<const char16_t*>(data); }
    char* buffer8() noexcept { return static_cast<char*>(data); }
    char16_t* buffer16() noexcept { return static_cast<char16_t*>(data); }

    void clear() noexcept; // empty and 8-bit
    void resize(size_t length, bool keepContent);
    void widen();
    void narrow(); // keeps the low byte of each unit

    CString& append(const CString& other);
    CString& append(const char* text);
    CString& append(char16_t character);
    CString& operator+=(const CString& other) { return append(other); }
    CString& operator+=(const char* text) { return append(text); }

    /// Position of a character, -1 when there is none.
    int find(char16_t character, size_t from = 0) const noexcept;
    int findLast(char16_t character) const noexcept;
    /// Position of a text, -1 when there is none.
    int find(const CString& text, size_t from = 0) const noexcept;
    bool startsWith(const char* text) const noexcept;
    bool endsWith(const char* text) const noexcept;
    /// `length` of -1 means up to the end; both are cut to what there is.
    CString substring(size_t start, int length = -1) const;
    void split(CVector<CString>& out, char16_t separator, bool skipEmpties,
               bool clearFirst = true) const;
    CString trimmed() const;   // drops 9, 10, 13 and 32 on both ends
    CString upperCase() const; // of Latin letters up to 0xFF; others stay
    CString lowerCase() const;
    void replace(char16_t from, char16_t to);

    /// Optional "-"; then "0x", "0X", "#" or "$" and hexadecimal digits, or decimal digits. False,
    /// and 0 in `out`, on any other character.
    bool parseInt(int32_t& out) const noexcept;
    /// Optional sign, digits, optionally "." or "," and digits, optionally an exponent; the whole
    /// text, with at least one digit in the mantissa. False, and 0 in `out`, else. Independent of
    /// the locale.
    bool parseReal(double& out) const noexcept;

    /// Code unit order; less than 0, 0 or more, as strcmp.
    int compare(const CString& other) const noexcept;
    int compare(const char* other) const noexcept;
    friend bool operator==(const CString& a, const CString& b) noexcept {
        return a.count == b.count && a.compare(b) == 0;
    }
    friend bool operator==(const CString& a, const char* b) noexcept { return a.compare(b) == 0; }
    friend std::strong_ordering operator<=>(const CString& a, const CString& b) noexcept {
        return a.compare(b) <=> 0;
    }
    friend std::strong_ordering operator<=>(const CString& a, const char* b) noexcept {
        return a.compare(b) <=> 0;
    }
    friend CString operator+(CString a, const CString& b) { return std::move(a.append(b)); }
    friend CString operator+(CString a, const char* b) { return std::move(a.append(b)); }
    friend CString operator+(const char* a, const CString& b) {
        return std::move(CString(a).append(b));
    }

private:
    size_t unitBytes() const noexcept { return wide ? sizeof(char16_t) : 1; }
    void makeRoom(size_t need, bool asWide, bool keepContent);
    void terminate() noexcept;
    void put(size_t index, char16_t character) noexcept;
    bool matchesAt(size_t start, const char* text, size_t length) const noexcept;

    static constexpr size_t kInlineBytes = 27; // terminator included

    void* data;
    size_t capacity = 0; // bytes of the heap block
    size_t count = 0;    // characters
    alignas(2) char inlineBuffer[kInlineBytes];
    bool wide = false;
};

/// Copies a template and puts the arguments in: "%1" to "%9" by number, nothing for a missing one;
/// "%%" gives "%"; a "%" with any other character behind it gives nothing.
CString formatMessage(const CString& messageTemplate, const CVector<CString>& arguments);

} // namespace lum
