#include "Core/CString.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>

namespace lum {

namespace {

constexpr char16_t kLargestNarrow = 255;

bool isHighSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool isLowSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}
bool isBlank(char16_t unit) {
    return unit == 9 || unit == 10 || unit == 13 || unit == 32;
}
bool isDigit(char16_t unit) {
    return unit >= '0' && unit <= '9';
}

/// Lower case to upper case lies 32 below in ASCII and in the upper half of Latin-1, where the
/// division and multiplication signs stand in between.
bool isLatinLower(char16_t unit) {
    return (unit >= 'a' && unit <= 'z') || (unit >= 0xE0 && unit <= 0xFE && unit != 0xF7);
}
bool isLatinUpper(char16_t unit) {
    return (unit >= 'A' && unit <= 'Z') || (unit >= 0xC0 && unit <= 0xDE && unit != 0xD7);
}

/// Value of a hexadecimal digit, -1 for any other character.
int hexDigit(char16_t unit) {
    if (isDigit(unit)) return unit - '0';
    if (unit >= 'a' && unit <= 'f') return unit - 'a' + 10;
    if (unit >= 'A' && unit <= 'F') return unit - 'A' + 10;
    return -1;
}

/// Number of bytes of a sequence by its lead byte, 0 for a byte that leads none.
int sequenceLength(unsigned char lead) {
    if (lead < 0x80) return 1;
    if (lead >= 0xC0 && lead < 0xE0) return 2;
    if (lead >= 0xE0 && lead < 0xF0) return 3;
    if (lead >= 0xF0 && lead < 0xF8) return 4;
    return 0;
}

/// Reads one code point at `position` and moves past it. False: nothing valid starts here, and
/// `position` is one byte further.
bool decodeUtf8(std::string_view bytes, size_t& position, char32_t& out) {
    const auto lead = static_cast<unsigned char>(bytes[position++]);
    const int length = sequenceLength(lead);
    if (length <= 1) {
        out = lead;
        return length == 1;
    }
    out = lead & (0xFFU >> (length + 1));
    if (position + static_cast<size_t>(length) - 1 > bytes.size()) return false;
    for (int i = 1; i < length; i++) {
        const auto next = static_cast<unsigned char>(bytes[position + static_cast<size_t>(i) - 1]);
        if ((next & 0xC0) != 0x80) return false;
        out = (out << 6) | (next & 0x3FU);
    }
    position += static_cast<size_t>(length) - 1;
    return true;
}

void encodeUtf8(std::string& out, char32_t code) {
    const int more = code < 0x80 ? 0 : code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    constexpr char32_t kLeads[] = {0, 0xC0, 0xE0, 0xF0};
    out.push_back(static_cast<char>(kLeads[more] | code >> (6 * more)));
    for (int i = more - 1; i >= 0; i--)
        out.push_back(static_cast<char>(0x80U | (code >> (6 * i) & 0x3FU)));
}

size_t wideLength(const char16_t* text) {
    return text ? std::char_traits<char16_t>::length(text) : 0;
}

int sign(size_t a, size_t b) {
    return a < b ? -1 : a > b ? 1 : 0;
}

} // namespace

CString::CString() noexcept : data(inlineBuffer) {
    inlineBuffer[0] = 0;
}

CString::CString(const char* text) : CString(text, text ? std::strlen(text) : 0) {}

CString::CString(const char* text, size_t length) : CString() {
    resize(length, false);
    if (length > 0) std::memcpy(data, text, length);
}

CString::CString(const char16_t* text) : CString(text, wideLength(text)) {}

CString::CString(const char16_t* text, size_t length) : CString() {
    wide = true;
    resize(length, false);
    if (length > 0) std::memcpy(data, text, length * sizeof(char16_t));
}

CString::CString(const CString& other) : CString() {
    *this = other;
}

CString::CString(CString&& other) noexcept : CString() {
    *this = std::move(other);
}

CString::~CString() {
    if (!isInline()) pool::free(data);
}

CString& CString::operator=(const CString& other) {
    if (this == &other) return *this;
    wide = other.wide;
    resize(other.count, false);
    std::memcpy(data, other.data, other.count * unitBytes());
    return *this;
}

CString& CString::operator=(CString&& other) noexcept {
    if (this == &other) return *this;
    if (other.isInline()) {
        *this = static_cast<const CString&>(other); // fits, so that nothing is allocated
    } else {
        if (!isInline()) pool::free(data);
        data = std::exchange(other.data, other.inlineBuffer);
        capacity = std::exchange(other.capacity, 0);
        count = other.count;
        wide = other.wide;
    }
    other.clear();
    return *this;
}

CString& CString::operator=(const char* text) {
    return *this = CString(text); // the text may be a part of this string
}

CString& CString::operator=(const char16_t* text) {
    return *this = CString(text);
}

CString CString::fromUtf8(std::string_view bytes) {
    CString out;
    size_t position = 0;
    char32_t code = 0;
    while (position < bytes.size()) {
        if (!decodeUtf8(bytes, position, code)) continue;
        if (code > 0xFFFF && code <= 0x10FFFF) {
            out.append(static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10)));
            out.append(static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF)));
        } else if (code <= 0xFFFF) {
            out.append(static_cast<char16_t>(code));
        }
    }
    return out;
}

std::string CString::toUtf8() const {
    std::string out;
    out.reserve(count);
    for (size_t i = 0; i < count; i++) {
        char32_t code = at(i);
        if (isHighSurrogate(code) && isLowSurrogate(at(i + 1)))
            code = 0x10000 + ((code - 0xD800) << 10) + (at(++i) - 0xDC00U);
        else if (isHighSurrogate(code) || isLowSurrogate(code))
            continue;
        encodeUtf8(out, code);
    }
    return out;
}

CString CString::fromInt(int64_t value) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    return {digits, static_cast<size_t>(end - digits)};
}

void CString::clear() noexcept {
    count = 0;
    wide = false;
    buffer8()[0] = 0;
}

void CString::resize(size_t length, bool keepContent) {
    makeRoom((length + 1) * unitBytes(), wide, keepContent);
    count = length;
    terminate();
}

/// Room for `need` bytes, terminator included, in the form told. Length and text stay, or only the
/// length without `keepContent`.
void CString::makeRoom(size_t need, bool asWide, bool keepContent) {
    size_t target = need;
    if (isInline()) {
        if (need <= kInlineBytes) return;
    } else {
        if (need <= capacity) return;
        target = asWide ? need + ((capacity / 4) | 1) + 15 : need + capacity / 4 + 8;
    }
    void* fresh = pool::alloc(target);
    if (keepContent) std::memcpy(fresh, data, std::min((count + 1) * unitBytes(), target));
    if (!isInline()) pool::free(data);
    data = fresh;
    capacity = target;
}

void CString::terminate() noexcept {
    if (wide) {
        buffer16()[count] = 0;
    } else {
        buffer8()[count] = 0;
    }
}

void CString::widen() {
    if (wide) return;
    makeRoom((count + 1) * sizeof(char16_t), true, true);
    const auto* bytes = static_cast<const unsigned char*>(data);
    // From the end, because the units overtake the bytes. Through memcpy, as both lie in one place.
    for (size_t i = count + 1; i-- > 0;) {
        const char16_t unit = bytes[i];
        std::memcpy(static_cast<char*>(data) + i * sizeof unit, &unit, sizeof unit);
    }
    wide = true;
}

void CString::narrow() {
    if (!wide) return;
    for (size_t i = 0; i <= count; i++) {
        char16_t unit = 0;
        std::memcpy(&unit, static_cast<const char*>(data) + i * sizeof unit, sizeof unit);
        buffer8()[i] = static_cast<char>(unit & 0xFF);
    }
    wide = false;
}

CString& CString::append(const CString& other) {
    if (this == &other) return append(CString(other));
    if (other.wide) widen();
    const size_t before = count;
    resize(count + other.count, true);
    if (wide == other.wide) {
        std::memcpy(static_cast<char*>(data) + before * unitBytes(), other.data,
                    other.count * unitBytes());
    } else {
        for (size_t i = 0; i < other.count; i++) buffer16()[before + i] = other.at(i);
    }
    return *this;
}

CString& CString::append(const char* text) {
    return append(CString(text));
}

CString& CString::append(char16_t character) {
    if (character > kLargestNarrow) widen();
    resize(count + 1, true);
    put(count - 1, character);
    return *this;
}

void CString::put(size_t index, char16_t character) noexcept {
    if (wide) {
        buffer16()[index] = character;
    } else {
        buffer8()[index] = static_cast<char>(character);
    }
}

int CString::find(char16_t character, size_t from) const noexcept {
    for (size_t i = from; i < count; i++)
        if (at(i) == character) return static_cast<int>(i);
    return -1;
}

int CString::findLast(char16_t character) const noexcept {
    for (size_t i = count; i-- > 0;)
        if (at(i) == character) return static_cast<int>(i);
    return -1;
}

int CString::find(const CString& text, size_t from) const noexcept {
    for (size_t i = from; i + text.count <= count; i++) {
        size_t same = 0;
        while (same < text.count && at(i + same) == text.at(same)) same++;
        if (same == text.count) return static_cast<int>(i);
    }
    return -1;
}

bool CString::startsWith(const char* text) const noexcept {
    const size_t length = std::strlen(text);
    return length <= count && matchesAt(0, text, length);
}

bool CString::endsWith(const char* text) const noexcept {
    const size_t length = std::strlen(text);
    return length <= count && matchesAt(count - length, text, length);
}

bool CString::matchesAt(size_t start, const char* text, size_t length) const noexcept {
    for (size_t i = 0; i < length; i++)
        if (at(start + i) != static_cast<unsigned char>(text[i])) return false;
    return true;
}

CString CString::substring(size_t start, int length) const {
    const size_t first = std::min(start, count);
    const size_t most = count - first;
    const size_t n = length < 0 ? most : std::min(most, static_cast<size_t>(length));
    return wide ? CString(text16() + first, n) : CString(text8() + first, n);
}

void CString::split(CVector<CString>& out, char16_t separator, bool skipEmpties,
                    bool clearFirst) const {
    if (clearFirst) out.clear();
    for (size_t start = 0; start <= count;) {
        const int found = find(separator, start);
        const size_t end = found < 0 ? count : static_cast<size_t>(found);
        if (end > start || !skipEmpties)
            out.push_back(substring(start, static_cast<int>(end - start)));
        start = end + 1;
    }
}

CString CString::trimmed() const {
    size_t start = 0;
    size_t end = count;
    while (start < end && isBlank(at(start))) start++;
    while (end > start && isBlank(at(end - 1))) end--;
    return substring(start, static_cast<int>(end - start));
}

CString CString::upperCase() const {
    CString out(*this);
    for (size_t i = 0; i < count; i++)
        if (isLatinLower(at(i))) out.put(i, static_cast<char16_t>(at(i) - 32));
    return out;
}

CString CString::lowerCase() const {
    CString out(*this);
    for (size_t i = 0; i < count; i++)
        if (isLatinUpper(at(i))) out.put(i, static_cast<char16_t>(at(i) + 32));
    return out;
}

void CString::replace(char16_t from, char16_t to) {
    if (to > kLargestNarrow && find(from) >= 0) widen();
    for (size_t i = 0; i < count; i++)
        if (at(i) == from) put(i, to);
}

bool CString::parseInt(int32_t& out) const noexcept {
    out = 0;
    size_t i = at(0) == '-' ? 1 : 0;
    const bool isNegative = i == 1;
    const bool hasX = at(i) == '0' && (at(i + 1) == 'x' || at(i + 1) == 'X');
    const bool isHex = hasX || at(i) == '#' || at(i) == '$';
    i += hasX ? 2U : isHex ? 1U : 0U;
    if (i == count) return false;
    // Hexadecimal numbers fill all 32 bits, as colours do; decimal ones keep to the signed range.
    const int64_t base = isHex ? 16 : 10;
    const int64_t limit = isHex ? 0xFFFFFFFFLL : isNegative ? 0x80000000LL : 0x7FFFFFFFLL;
    int64_t value = 0;
    for (; i < count; i++) {
        const int digit = hexDigit(at(i));
        if (digit < 0 || digit >= base) return false;
        value = value * base + digit;
        if (value > limit) return false;
    }
    out = static_cast<int32_t>(static_cast<uint32_t>(isNegative ? -value : value));
    return true;
}

namespace {

/// Bounds of the parts of a number, as positions in its text.
struct CNumberShape {
    bool isNumber = false;
    bool hasPlus = false;
};

size_t skipDigits(const CString& text, size_t i) {
    while (isDigit(text.at(i))) i++;
    return i;
}

bool isSign(char16_t unit) {
    return unit == '+' || unit == '-';
}

CNumberShape shapeOf(const CString& text) {
    CNumberShape shape;
    shape.hasPlus = text.at(0) == '+';
    size_t i = isSign(text.at(0)) ? 1 : 0;
    size_t end = skipDigits(text, i);
    size_t digits = end - i;
    if (text.at(end) == '.' || text.at(end) == ',') {
        i = end + 1;
        end = skipDigits(text, i);
        digits += end - i;
    }
    if (digits == 0) return shape;
    if (text.at(end) == 'e' || text.at(end) == 'E') {
        i = end + 1;
        if (isSign(text.at(i))) i++;
        end = skipDigits(text, i);
        if (end == i) return shape;
    }
    shape.isNumber = end == text.length();
    return shape;
}

/// Written exponent of a number; one that no count of digits makes up for is cut.
int64_t exponentOf(const CString& number) {
    constexpr int64_t kMost = 1000000000000;
    const int mark = std::max(number.find('e'), number.find('E'));
    if (mark < 0) return 0;
    size_t i = static_cast<size_t>(mark) + 1;
    const bool isNegative = number.at(i) == '-';
    if (isSign(number.at(i))) i++;
    int64_t value = 0;
    for (; i < number.length(); i++) value = std::min(kMost, value * 10 + (number.at(i) - '0'));
    return isNegative ? -value : value;
}

/// Power of ten of the first digit that is not zero: 5 for "250e3", -3 for "0.002".
int64_t magnitudeOf(const CString& number) {
    const size_t start = isSign(number.at(0)) ? 1 : 0;
    const auto point = static_cast<int64_t>(skipDigits(number, start)); // where it is or would be
    size_t i = start;
    while (number.at(i) == '0' || number.at(i) == '.' || number.at(i) == ',') i++;
    const auto first = static_cast<int64_t>(i);
    return point - first - (first < point ? 1 : 0) + exponentOf(number);
}

} // namespace

bool CString::parseReal(double& out) const noexcept {
    out = 0.0;
    const CNumberShape shape = shapeOf(*this);
    if (!shape.isNumber) return false;
    CString plain(*this);
    plain.narrow();
    plain.replace(',', '.');
    const char* first = plain.text8() + (shape.hasPlus ? 1 : 0);
    const auto result = std::from_chars(first, plain.text8() + count, out);
    if (result.ec == std::errc::result_out_of_range) {
        // Too small is 0; too large is the largest number, as nobody expects an infinity here.
        const double largest = std::numeric_limits<double>::max();
        out = magnitudeOf(*this) < 0 ? 0.0 : at(0) == '-' ? -largest : largest;
    }
    return true;
}

int CString::compare(const CString& other) const noexcept {
    const size_t common = std::min(count, other.count);
    if (!wide && !other.wide) {
        const int order = std::memcmp(data, other.data, common);
        return order != 0 ? order : sign(count, other.count);
    }
    for (size_t i = 0; i < common; i++)
        if (at(i) != other.at(i)) return at(i) < other.at(i) ? -1 : 1;
    return sign(count, other.count);
}

int CString::compare(const char* other) const noexcept {
    const size_t length = std::strlen(other);
    const size_t common = std::min(count, length);
    for (size_t i = 0; i < common; i++) {
        const auto unit = static_cast<unsigned char>(other[i]);
        if (at(i) != unit) return at(i) < unit ? -1 : 1;
    }
    return sign(count, length);
}

CString formatMessage(const CString& messageTemplate, const CVector<CString>& arguments) {
    CString out;
    const size_t length = messageTemplate.length();
    for (size_t i = 0; i < length; i++) {
        const char16_t unit = messageTemplate.at(i);
        if (unit != '%') {
            out.append(unit);
            continue;
        }
        // Reads the terminator when the percent sign is the last character.
        const char16_t next = messageTemplate.at(++i);
        if (next == '%') out.append(next);
        if (next < '1' || next > '9') continue;
        const size_t index = static_cast<size_t>(next - '1');
        if (index < arguments.size()) out.append(arguments[index]);
    }
    return out;
}

} // namespace lum
