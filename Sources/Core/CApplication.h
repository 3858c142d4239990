#pragma once

#include "Core/CObject.h"
#include "Core/CResourceReader.h"

namespace lum {

/// What a product gives to the start-up sequence.
struct CProductTables {
    const CCreatorRow* const* creatorTables; // ended by null
    const CResourceRow* resources;
    CErrorResult (*initTransform)(); // may be null
};

/// Exists once per loaded module, from `start` to `finish`: registers classes and resources, builds
/// the shared tree, makes instance and editor trees. Control threads only; starts and finishes are
/// counted under a lock, and the last finish comes when no tree is left but the shared one.
class CApplication : public CLumMemAllocator {
public:
    /// The application object; null before start and after finish.
    static CApplication* get();
    /// The start-up sequence. A second call while started only counts.
    static CErrorResult start(const CProductTables& product);
    /// The counterpart of start; the last one tears everything down.
    static void finish();

    /// Makes the shared root; from compiled data, or empty with an empty name.
    CErrorResult initSharedObject(const CString& dataName);
    /// Makes a root with a notify server of its own; end it with CObject::destroyObject. On failure
    /// `out` is null.
    CErrorResult initRootObject(CObject*& out, const CString& dataName);
    /// Logs the end and destroys the shared tree.
    void finalize();

    /// Table of the plain objects whose tag has no creator. Filled by the start-up sequence.
    static const CClassInfo& defaultClassInfo();

private:
    CErrorResult init(const CProductTables& product);
    static void tearDown();
    static CErrorResult fillRoot(CObject& object, const CString& dataName);
};

} // namespace lum
