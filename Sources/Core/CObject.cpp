#include "Core/CObject.h"

#include "Core/CApplication.h"
#include "Core/CLog.h"
#include "Core/CNotifyServer.h"
#include "Core/CTreeLoader.h"

namespace lum {

namespace {

constexpr CEventRow<CObject> kEvents[] = {
    {"release-child-bridged", &CObject::releaseChildBridged}, // sender: full name of the child
};

// Tags that product data uses for plain nodes on purpose.
bool isPlainTag(const CString& tag) {
    return tag == "template" || tag == "content";
}

/// Position of a child plus 1, 0 when it is not there. Trees go backward, so the search does too.
size_t placeOf(const CVector<CObject*, 8>& list, const CObject* child) {
    size_t place = list.size();
    while (place > 0 && list[place - 1] != child) place--;
    return place;
}

} // namespace

void CObject::fillClass(CClassInfo& info) {
    info.addEvents(kEvents);
}

const CClassInfo& CObject::classTable() const {
    return classInfo ? *classInfo : CApplication::defaultClassInfo();
}

CObject::CObject() = default;

CObject::~CObject() {
    if (root == this) delete notifyServer;
}

// ---- Passes

CErrorResult CObject::init() {
    LUM_TRY(runTemplate(true));
    if (givenAttrs && !readOnly)
        for (const auto& [name, value] : *givenAttrs) LUM_TRY(setAttrValue(name, value, false));
    state = 1;
    return nullptr;
}

CErrorResult CObject::initContent() {
    LUM_TRY(flushAttrs());
    state = 2;
    return runTemplate(false);
}

// The shared root exists from the beginning of its own loading, so only an object that is left over
// when it has gone becomes read-only.
CErrorResult CObject::initDone() {
    state = 3;
    readOnly = sharedRoot() == nullptr;
    return nullptr;
}

// A template's body runs twice: for its attributes, and later for its children.
CErrorResult CObject::runTemplate(bool withAttributes) {
    if (!templateObject) return nullptr;
    const CTemplateData& data = *templateObject->templateData;
    CTreeLoader loader(data.strings, data.isStatic);
    LUM_TRY(loader.runNode(
        *this, data.body,
        {.initialise = false, .attributes = withAttributes, .children = !withAttributes}));
    return nullptr;
}

// ---- Creation

CErrorResult CObject::createChild(CObject*& out, const CString& childTag, const CString& name,
                                  bool useTemplates) {
    out = nullptr;
    if (readOnly)
        return LUM_FAIL(
            "@lumstr_CObject_addChild_ReadOnly Error adding child to read-only object.");
    CObject* source = useTemplates ? findTemplate(childTag) : nullptr;
    const CString& usedTag = source ? source->templateData->classTag : childTag;
    const CRegisteredTag* creator = findCreator(usedTag);
    if (!creator && !isPlainTag(usedTag))
        logFormat("Creating CObject '%s' (tag '%s')", name.toUtf8().c_str(),
                  usedTag.toUtf8().c_str());

    CObject* child = creator ? creator->create() : new CObject;
    child->classInfo = creator ? creator->info.get() : &CApplication::defaultClassInfo();
    child->parent = this;
    child->root = root;
    child->notifyServer = notifyServer;
    child->objectId = notifyServer ? notifyServer->takeObjectId() : -1;
    child->tag = usedTag;
    child->templateObject = source;
    enterChildName(*child, name);
    children.push_back(child);
    out = child;
    LUM_TRY(onChildAdded(child));
    return nullptr;
}

CErrorResult CObject::createChildRaw(CObject*& out, const CString& childTag, const CString& name,
                                     bool templateRequired) {
    if (templateRequired && !findTemplate(childTag))
        return LUM_FAIL("@lumstr_CObject_createChild_NoTemplate Run-time template '%1' does not "
                        "exist.",
                        childTag);
    return createChild(out, childTag, name, true);
}

CErrorResult CObject::completeChild(CObject& child, const CAttrMap* given, const CAttrMap* extra) {
    child.givenAttrs = given;
    if (extra) LUM_TRY(child.setAttrs(*extra, false));
    CErrorResult error = child.init();
    child.givenAttrs = nullptr; // the map is the caller's
    LUM_TRY(std::move(error));
    LUM_TRY(child.initContent());
    LUM_TRY(child.initDone());
    return nullptr;
}

CErrorResult CObject::invalidClassFailure(CObject* child, const CString& childTag,
                                          const CString& name) {
    destroyObject(child);
    return LUM_FAIL("@lumstr_CObject_createChild_InvalidObjectClass Object of invalid class "
                    "created (child tag '%1', child name '%2').",
                    childTag, name);
}

// The nearest declaration wins: this object, its ancestors, then the shared root.
CObject* CObject::findTemplate(const CString& name) const {
    const auto lookUp = [&name](const CObject& holder) {
        auto found = holder.templates.find(name);
        return found == holder.templates.end() ? nullptr : found->second;
    };
    for (const CObject* holder = this; holder; holder = holder->parent)
        if (CObject* found = lookUp(*holder)) return found;
    return sharedRoot() ? lookUp(*sharedRoot()) : nullptr;
}

// "name" asks for index 0, "name#5" for 5; a taken index becomes the one behind the highest.
void CObject::enterChildName(CObject& child, const CString& name) {
    const int mark = name.find(u'#');
    const CString base = mark < 0 ? name : name.substring(0, mark);
    int32_t index = 0;
    if (mark >= 0) name.substring(static_cast<size_t>(mark) + 1).parseInt(index);

    child.nameInParent = childrenByName.try_emplace(base).first;
    CChildIndices& indices = child.nameInParent->second;
    if (indices.count(index)) index = indices.rbegin()->first + 1;
    indices[index] = &child;
    child.indexInParent = index;

    CString qualified = index == 0 ? base : base + "#" + CString::fromInt(index);
    const CString ownName = getFullName();
    if (!ownName.empty()) qualified = ownName + "." + qualified;
    CAttrEntry& entry = child.attributes["full-name"];
    entry.assign(CAttrEntry::ofText(qualified));
    child.fullName = &entry;
}

void CObject::leaveChildName(CObject& child) {
    CChildIndices& indices = child.nameInParent->second;
    indices.erase(child.indexInParent);
    if (indices.empty()) childrenByName.erase(child.nameInParent);
}

// ---- Destruction

void CObject::destroyObject(CObject* object) {
    if (!object) return;
    object->prepareDestroy();
    // A child's end may end siblings, so the copy only tells the order.
    const CVector<CObject*, 8> copy = object->children;
    for (size_t i = copy.size(); i-- > 0;)
        if (placeOf(object->children, copy[i]) > 0) destroyObject(copy[i]);
    object->detachFromParent();
    delete object;
}

CErrorResult CObject::onChildAdded(CObject*) {
    return nullptr;
}

CErrorResult CObject::onChildRemoved(CObject* child) {
    const size_t place = placeOf(children, child);
    if (place == 0) return nullptr;
    children.erase(place - 1);
    leaveChildName(*child);
    if (child->templateData)
        std::erase_if(templates, [child](const auto& item) { return item.second == child; });
    return nullptr;
}

void CObject::prepareDestroy() {
    dropListenings();
    dropAttrLinks();
}

void CObject::detachFromParent() {
    if (parent) logAndDropError(parent->onChildRemoved(this));
}

} // namespace lum
