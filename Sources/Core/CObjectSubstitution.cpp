#include "Core/CObject.h"

// The language of "{...}" inside attribute values:
//   {name?default}        the attribute, from this object or the nearest ancestor that has it
//   {?default}            the same for the attribute that is being set
//   {/path name?default}  the same, from the object that the path leads to
//   {@...}                that one object alone, no ancestors
//   {*source name}        the value now, and a live link that brings every later change

namespace lum {

namespace {

// Replacements are taken from trusted data; values that feed each other endlessly end here.
constexpr int kMostReplacements = 10000;

CString tail(const CString& text, int start) {
    return text.substring(static_cast<size_t>(start));
}

CString cut(const CString& text, int start, int end) {
    return text.substring(static_cast<size_t>(start), end - start);
}

} // namespace

// The last "{" is taken first: so the innermost comes first, and a reference may be built from
// another one.
CString CObject::substitute(const CString& attribute, CString text) {
    for (int left = kMostReplacements; left > 0; left--) {
        const int open = text.findLast(u'{');
        if (open < 0) break;
        const auto behind = static_cast<size_t>(open) + 1;
        const int close = text.find(u'}', behind);
        if (close < 0) break;
        int mark = text.find(u'?', behind);
        if (mark < 0 || mark > close) mark = close;
        const CString inner = cut(text, open + 1, mark);
        const CString fallback = mark < close ? cut(text, mark + 1, close) : CString();
        text =
            cut(text, 0, open) + replacementFor(attribute, inner, fallback) + tail(text, close + 1);
    }
    return text;
}

CString CObject::replacementFor(const CString& attribute, const CString& inner,
                                const CString& fallback) {
    switch (inner.at(0)) {
    case 0:
        return resolveReference(attribute, attribute, fallback, false);
    case u'@':
        return resolveReference(attribute, tail(inner, 1), fallback, true);
    case u'*':
        return linkAttribute(attribute, tail(inner, 1));
    default:
        return resolveReference(attribute, inner, fallback, false);
    }
}

CString CObject::resolveReference(const CString& attribute, const CString& reference,
                                  const CString& fallback, bool isOwnOnly) const {
    const CObject* object = this;
    CString name = reference;
    if (reference.at(0) == u'/') {
        const int blank = reference.find(u' ');
        object = findObject(blank < 0 ? tail(reference, 1) : cut(reference, 1, blank));
        name = blank < 0 ? attribute : tail(reference, blank + 1);
    }
    for (; object; object = isOwnOnly ? nullptr : object->parent)
        if (const CAttrEntry* entry = object->findAttr(name)) return entry->text();
    return fallback;
}

// "/path" names an object; any other text a child of this object or of the nearest ancestor that
// has one of that name.
CObject* CObject::findLinkSource(const CString& reference) const {
    if (reference.at(0) == u'/') return findObject(tail(reference, 1));
    for (const CObject* object = this; object; object = object->parent) {
        auto found = object->childrenByName.find(reference);
        if (found != object->childrenByName.end()) return found->second.begin()->second;
    }
    return nullptr;
}

CString CObject::linkAttribute(const CString& attribute, const CString& reference) {
    CVector<CString> pieces; // source, name of its attribute
    reference.split(pieces, u' ', true);
    if (pieces.size() < 2) return {};
    CObject* source = findLinkSource(pieces[0]);
    if (!source || source->readOnly || source == this) return {};
    source->attrDependents[this][pieces[1]] = attribute;
    attrSources.insert(source);
    return pieces[1] == "scheme" ? CString() : source->getAttrString(pieces[1]);
}

} // namespace lum
