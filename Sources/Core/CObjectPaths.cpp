#include "Core/CObject.h"

// Paths. A path is parts with "." between them; "^" steps to the parent. It starts at this object
// when it begins with one of these, at the shared root behind "shared::", else at the tree's root.

namespace lum {

namespace {

constexpr const char* kSharedPrefix = "shared::";
constexpr size_t kSharedPrefixLength = 8; // characters

} // namespace

CObject* CObject::findObject(const CString& path) const {
    return walkPath(path, nullptr);
}

CString CObject::getFullPath(const CString& path) const {
    CString fullPath;
    walkPath(path, &fullPath);
    return fullPath;
}

CObject* CObject::startOfPath(const CString& path, size_t& position) const {
    position = 0;
    const char16_t first = path.at(0);
    if (first == u'.' || first == u'^') return const_cast<CObject*>(this);
    if (path.startsWith(kSharedPrefix)) {
        position = kSharedPrefixLength;
        return sharedRoot();
    }
    if (first == u'/') position = 1;
    return root;
}

// The object that the path leads to, or null. fullPath, if given, takes the path as a full name: of
// the object, or of the last one reached with the rest of the path; it stays empty where the path
// leads above a root.
CObject* CObject::walkPath(const CString& path, CString* fullPath) const {
    if (path.empty()) return nullptr;
    size_t position = 0;
    CObject* object = startOfPath(path, position);
    size_t segment = position; // where the present part starts
    for (; object && position <= path.length(); position++) {
        const bool isEnd = position == path.length();
        const char16_t character = isEnd ? u'.' : path.at(position);
        if (character == u'^') {
            object = object->parent;
            segment = position + 1;
        } else if (character == u'.') {
            if (position > segment) {
                const CString part = path.substring(segment, static_cast<int>(position - segment));
                CObject* child = object->findChild(part);
                if (!child && fullPath)
                    *fullPath = object->getFullName() + "." + path.substring(segment);
                if (!child) return nullptr;
                object = child;
            }
            segment = position + 1;
        }
    }
    if (object && fullPath) *fullPath = object->getFullName();
    return object;
}

CObject* CObject::findChild(const CString& nameWithIndex) const {
    const int mark = nameWithIndex.find(u'#');
    auto found = mark < 0 ? childrenByName.find(nameWithIndex)
                          : childrenByName.find(nameWithIndex.substring(0, mark));
    if (found == childrenByName.end()) return nullptr;
    const CChildIndices& indices = found->second;
    if (mark < 0) return indices.begin()->second;
    const CString number = nameWithIndex.substring(static_cast<size_t>(mark) + 1);
    if (number.empty()) return indices.rbegin()->second;
    int32_t index = 0;
    if (!number.parseInt(index)) return nullptr;
    auto place = indices.find(index);
    return place == indices.end() ? nullptr : place->second;
}

CErrorResult CObject::lookUpFailure(const CString& path, bool isFound) const {
    return isFound ? LUM_FAIL("Incompatible type of object '%1' ('%2')", path, getFullPath(path))
                   : LUM_FAIL("Unable to find object '%1' ('%2')", path, getFullPath(path));
}

CErrorResult CObject::attrLookUpFailure(const CString& attribute, const CString& path,
                                        bool isFound) const {
    if (path.empty()) return LUM_FAIL("Object name attribute '%1' cannot be empty.", attribute);
    const CString full = getFullPath(path);
    return isFound ? LUM_FAIL("Name attribute '%1' refers to object '%2' ('%3') of incompatible "
                              "type.",
                              attribute, path, full)
                   : LUM_FAIL("Name attribute '%1' refers to a non-existent object '%2' ('%3')",
                              attribute, path, full);
}

} // namespace lum
