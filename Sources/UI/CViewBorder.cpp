#include "UI/CViewBorder.h"

#include "Core/CLog.h"

namespace lum {

namespace {

bool isNumberPart(char16_t c) {
    return (c >= u'0' && c <= u'9') || c == u'.' || c == u'-';
}

/// One token taken apart.
struct CBorderToken {
    bool isLeft = false, isTop = false, isRight = false, isBottom = false;
    bool isAdding = false;
    double width = 0.0;

    /// 0, or the number of the fault.
    int parse(const CString& token) {
        size_t place = 0;
        while (place < token.length() && takeLetter(token.at(place))) place++;
        if (!(isLeft || isTop || isRight || isBottom)) isLeft = isTop = isRight = isBottom = true;
        if (token.at(place) == u'+') place++;
        const CString number = token.substring(place);
        for (size_t i = 0; i < number.length(); i++)
            if (!isNumberPart(number.at(i))) return 1;
        return number.parseReal(width) ? 0 : 2;
    }
    void apply(double& side, bool isNamed) const {
        if (isNamed) side = isAdding ? side + width : width;
    }

private:
    bool takeLetter(char16_t c) {
        switch (c) {
        case u'L':
        case u'l':
            return isLeft = true;
        case u'T':
        case u't':
            return isTop = true;
        case u'R':
        case u'r':
            return isRight = true;
        case u'B':
        case u'b':
            return isBottom = true;
        case u'*':
            return isAdding = true;
        default:
            return false;
        }
    }
};

} // namespace

bool CViewBorder::parse(const CString& text) {
    *this = {};
    CVector<CString> tokens;
    text.split(tokens, u' ', true);
    for (const CString& part : tokens) {
        CBorderToken token;
        if (const int fault = token.parse(part)) {
            logFormat("Invalid border syntax: '%s' (%i)", text.toUtf8().c_str(), fault);
            return false;
        }
        token.apply(left, token.isLeft);
        token.apply(top, token.isTop);
        token.apply(right, token.isRight);
        token.apply(bottom, token.isBottom);
    }
    return true;
}

} // namespace lum
