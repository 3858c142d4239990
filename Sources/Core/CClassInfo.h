#pragma once

#include "Core/CAttrEntry.h"

#include <memory>

namespace lum {

/// Handler of an event, with or without an argument map.
using CEventHandler = CErrorResult (CObject::*)();
using CEventHandlerArgs = CErrorResult (CObject::*)(CAttrMap& arguments);

struct CEventEntry {
    CEventHandler plain = nullptr;
    CEventHandlerArgs withArguments = nullptr;
    bool takesArguments = false;

    CErrorResult call(CObject& object, CAttrMap& arguments) const {
        return takesArguments ? (object.*withArguments)(arguments) : (object.*plain)();
    }
};

/// A row of a class's attribute table, shown at the top of its .cpp.
template <class T>
struct CAttrRow {
    const char* name;
    CErrorResult (T::*handler)(const CAttrEntry& value);
};

/// A row of a class's event table.
template <class T>
struct CEventRow {
    constexpr CEventRow(const char* eventName, CErrorResult (T::*handler)())
        : name(eventName), plain(handler) {}
    constexpr CEventRow(const char* eventName, CErrorResult (T::*handler)(CAttrMap&))
        : name(eventName), withArguments(handler) {}
    const char* name;
    CErrorResult (T::*plain)() = nullptr;
    CErrorResult (T::*withArguments)(CAttrMap&) = nullptr;
};

/// What all objects of one tag share: its attribute and event handlers, those of the base classes
/// included. Filled once at start, read-only afterwards.
class CClassInfo : public CLumMemAllocator {
public:
    /// Enters rows; a row of a subclass replaces one of the same name.
    template <class T, size_t N>
    void addAttrs(const CAttrRow<T> (&rows)[N]) {
        for (const CAttrRow<T>& row : rows)
            attributes[row.name] = static_cast<CAttrHandler>(row.handler);
    }
    template <class T, size_t N>
    void addEvents(const CEventRow<T> (&rows)[N]) {
        for (const CEventRow<T>& row : rows) {
            CEventEntry& entry = events[row.name];
            entry.plain = static_cast<CEventHandler>(row.plain);
            entry.withArguments = static_cast<CEventHandlerArgs>(row.withArguments);
            entry.takesArguments = row.withArguments != nullptr;
        }
    }

    CMap<CString, CAttrHandler> attributes;
    CMap<CString, CEventEntry> events;
};

/// A row of a creator table: which class a tag makes. `fill` calls its base class's filling
/// function first and then adds the class's own rows.
struct CCreatorRow {
    const char* tag; // null ends a table
    CObject* (*create)();
    void (*fill)(CClassInfo& info);
};

/// Row of the class T, which has a `static void fillClass(CClassInfo&)`.
template <class T>
constexpr CCreatorRow creatorRow(const char* tag) {
    return {tag, []() -> CObject* { return new T; }, &T::fillClass};
}

/// Enters a table that ends with a null tag. Start-up only. Error: a tag that stands twice.
CErrorResult registerCreator(const CCreatorRow* table);

/// What a tag makes.
struct CRegisteredTag {
    CObject* (*create)();
    std::unique_ptr<CClassInfo> info;
};

/// The registered tag, or null. Any thread after start-up.
const CRegisteredTag* findCreator(const CString& tag);
/// Empties the registry. For the end of the application, when no object is left.
void clearCreators();

} // namespace lum
