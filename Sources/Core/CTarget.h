#pragma once

#include "Core/CObject.h"

namespace lum {

/// A member of an object of class T that follows another object by path: it keeps the owner's
/// listenings on that object and moves them when the path changes. Used on the owner's thread; the
/// listenings themselves go with the owner.
template <class T>
class CTarget {
public:
    explicit CTarget(T& targetOwner) : owner(&targetOwner) {}
    CTarget(const CTarget&) = delete;
    CTarget& operator=(const CTarget&) = delete;

    /// Has the owner's event `handler` run on the target's event, now and after each new path.
    void addEvent(const CString& event, const CString& handler) {
        handlers[event] = handler;
        if (!path.empty()) owner->listenObject(path, event, handler);
    }
    /// Leaves the old target and follows another one, which need not exist yet. An empty path
    /// follows nothing.
    void setPath(const CString& newPath) {
        if (!path.empty())
            for (const auto& [event, handler] : handlers) owner->unlistenName(resolved, event);
        path = newPath;
        resolved = path.empty() ? CString() : owner->getListenName(path);
        if (!path.empty())
            for (const auto& [event, handler] : handlers) owner->listenObject(path, event, handler);
    }

    const CString& getPath() const { return path; }
    /// Full name of the target as it was resolved when the path was set.
    const CString& getResolved() const { return resolved; }
    CObject* getObject() const { return owner->findObject(path); }

private:
    T* owner;
    CString path; // as written
    CString resolved;
    CMap<CString, CString> handlers; // event of the target, handler of the owner
};

} // namespace lum
