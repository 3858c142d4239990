#include "Core/CTreeLoader.h"

#include "Core/CLog.h"
#include "Core/CResourceReader.h"
#include "Core/CSystem.h"
#include "Platform/Clock.h"

#include <cstring>

namespace lum {

namespace {

constexpr uint64_t kHeaderSize = 8;            // bytes: number of texts, offset of the root node
constexpr ptrdiff_t kNodeHeaderSize = 4;       // bytes: tag and name
constexpr ptrdiff_t kAttributeSize = 4;        // bytes: key and value
constexpr const char* kIgnoredValue = "false"; // in compiled data; it never reaches an object

/// Reads a little-endian number and steps over it.
template <class T>
T take(const uint8_t*& position) {
    T value;
    std::memcpy(&value, position, sizeof value);
    position += sizeof value;
    return value;
}

/// A compiled file on its way into objects.
struct CTreeImage {
    const uint8_t* content = nullptr; // behind the header
    uint32_t stringCount = 0;
    uint32_t rootOffset = 0;
    bool isStatic = false;
    CByteBuffer copy; // of a file that is not in memory

    CErrorResult open(CResourceReader& reader);
    CErrorResult readCopy(CResourceReader& reader);
};

CErrorResult CTreeImage::open(CResourceReader& reader) {
    const auto* bytes = static_cast<const uint8_t*>(reader.getMemoryPointer());
    if (!bytes) return readCopy(reader);
    stringCount = take<uint32_t>(bytes);
    rootOffset = take<uint32_t>(bytes);
    content = bytes;
    isStatic = true;
    return nullptr;
}

CErrorResult CTreeImage::readCopy(CResourceReader& reader) {
    uint64_t size = 0;
    LUM_TRY(reader.readValue(stringCount));
    LUM_TRY(reader.readValue(rootOffset));
    LUM_TRY(reader.getSize(size));
    copy.resize(size - kHeaderSize);
    LUM_TRY(reader.read(copy.data(), static_cast<int64_t>(copy.size())));
    content = copy.data();
    return nullptr;
}

} // namespace

CStringTable::CStringTable(const uint8_t* image, uint32_t count) {
    strings.reserve(count);
    const uint8_t* position = image;
    for (uint32_t i = 0; i < count; i++) {
        const auto offset = take<uint32_t>(position);
        strings.push_back(CString::fromUtf8(reinterpret_cast<const char*>(image + offset)));
    }
}

std::shared_ptr<CStringTable> CStringTable::create(const uint8_t* image, uint32_t count) {
    return std::allocate_shared<CStringTable>(CPoolAllocator<CStringTable>(), image, count);
}

CErrorResult CObject::loadXMLData(const CString& resourceName, bool initialise) {
    const double start = platform::clockSeconds();
    auto reader = std::make_unique<CResourceReader>();
    LUM_TRY(reader->open(resourceName));
    CTreeImage image;
    if (CErrorResult error = image.open(*reader))
        return addError(std::move(error), __FILE__, __LINE__, traceName(), "%1", {resourceName});

    CTreeLoader loader(CStringTable::create(image.content, image.stringCount), image.isStatic);
    LUM_TRY(loader.runNode(*this, image.content + image.rootOffset, {.initialise = initialise}));
    reader.reset();
    logFormat("loadXMLData \"%s\" init time: %.4f s @ %.4f s", resourceName.toUtf8().c_str(),
              platform::clockSeconds() - start, system::secondsSinceLoad());
    return nullptr;
}

CErrorResult CTreeLoader::runNode(CObject& object, const uint8_t* position,
                                  const CNodeParts& parts) {
    position += kNodeHeaderSize;
    return processNode(object, position, parts);
}

// On entry the position stands at the node's form; on exit, if all parts were taken, behind it.
CErrorResult CTreeLoader::processNode(CObject& object, const uint8_t*& position,
                                      const CNodeParts& parts) {
    const auto traceName = [&object] { return object.getFullName(); };
    const bool isTemplate = take<uint8_t>(position) != 0;
    if (isTemplate) return makeTemplate(object, position);

    if (parts.attributes) {
        LUM_TRY(setAttributes(object, position));
    } else {
        const ptrdiff_t count = take<uint16_t>(position);
        position += count * kAttributeSize;
    }
    if (parts.initialise) {
        LUM_TRY(object.init());
        LUM_TRY(object.initContent());
    }
    if (parts.children) LUM_TRY(makeChildren(object, position));
    if (parts.initialise) {
        LUM_TRY(object.initDone());
        object.state = 4;
    }
    return nullptr;
}

// Empty and "false" values are dropped here and nowhere else, so that they do not hide a value of
// the same name on an ancestor.
CErrorResult CTreeLoader::setAttributes(CObject& object, const uint8_t*& position) {
    const auto traceName = [&object] { return object.getFullName(); };
    for (int left = take<uint16_t>(position); left > 0; left--) {
        const CString& key = (*strings)[take<uint16_t>(position)];
        const CString& value = (*strings)[take<uint16_t>(position)];
        if (value.empty() || value == kIgnoredValue) continue;
        LUM_TRY(object.setAttr(key, value, false));
    }
    return nullptr;
}

CErrorResult CTreeLoader::makeChildren(CObject& object, const uint8_t*& position) {
    const auto traceName = [&object] { return object.getFullName(); };
    for (int left = take<uint16_t>(position); left > 0; left--) {
        const CString& tag = (*strings)[take<uint16_t>(position)];
        const CString& name = (*strings)[take<uint16_t>(position)];
        CObject* child = nullptr;
        LUM_TRY(object.createChild(child, tag, name, false));
        LUM_TRY(processNode(*child, position, {}));
        if (child->templateData) object.templates.try_emplace(name, child);
    }
    return nullptr;
}

// A template is a passive child: it keeps its body for createChild and never runs it itself.
CErrorResult CTreeLoader::makeTemplate(CObject& object, const uint8_t*& position) {
    const auto traceName = [&object] { return object.getFullName(); };
    auto data = std::make_unique<CTemplateData>();
    data->strings = strings;
    data->classTag = (*strings)[take<uint16_t>(position)];
    data->bodySize = take<uint32_t>(position);
    data->isStatic = isStatic;
    if (!isStatic) data->ownedBody.assign(position, data->bodySize);
    data->body = isStatic ? position : data->ownedBody.data();
    position += data->bodySize;
    object.templateData = std::move(data);

    LUM_TRY(object.initContent());
    LUM_TRY(object.initDone());
    object.state = 4;
    return nullptr;
}

} // namespace lum
