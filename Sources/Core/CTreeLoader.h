#pragma once

#include "Core/CByteBuffer.h"
#include "Core/CObject.h"

#include <cstdint>

namespace lum {

/// The decoded texts of a compiled tree. Shared by the loader, for the time of a load, and by every
/// template record that holds indices into it. Read-only once made; any thread.
class CStringTable : public CLumMemAllocator {
public:
    /// image: the file's bytes behind the two header words. count: number of texts.
    CStringTable(const uint8_t* image, uint32_t count);
    static std::shared_ptr<CStringTable> create(const uint8_t* image, uint32_t count);

    const CString& operator[](uint16_t index) const { return strings[index]; }

private:
    CVector<CString, 0> strings;
};

/// What an object that is a template holds: which class it makes, and its body unparsed.
struct CTemplateData : public CLumMemAllocator {
    CString classTag;
    uint32_t bodySize = 0;         // bytes
    const uint8_t* body = nullptr; // one node
    bool isStatic = false;         // the body lies in an image that outlives the process's objects
    CByteBuffer ownedBody;         // otherwise
    std::shared_ptr<CStringTable> strings;
};

/// Which parts of a node a run takes.
struct CNodeParts {
    bool initialise = true; // the passes of the object itself; children always go through theirs
    bool attributes = true;
    bool children = true;
};

/// Turns nodes of a compiled tree into objects. Compiled data is part of the product and trusted:
/// neither counts nor indices are checked. One load on one thread; see CObject for the trees.
class CTreeLoader {
public:
    /// isStatic: the image stays in place for good, so that template bodies need no copy.
    CTreeLoader(std::shared_ptr<CStringTable> table, bool isStaticImage)
        : strings(std::move(table)), isStatic(isStaticImage) {}

    /// Applies the whole node at `position` to an object; the node's tag and name are not used.
    CErrorResult runNode(CObject& object, const uint8_t* position, const CNodeParts& parts);

private:
    CErrorResult processNode(CObject& object, const uint8_t*& position, const CNodeParts& parts);
    CErrorResult setAttributes(CObject& object, const uint8_t*& position);
    CErrorResult makeChildren(CObject& object, const uint8_t*& position);
    CErrorResult makeTemplate(CObject& object, const uint8_t*& position);

    std::shared_ptr<CStringTable> strings;
    bool isStatic;
};

} // namespace lum
