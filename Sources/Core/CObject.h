#pragma once

#include "Core/CCheckedObject.h"
#include "Core/CClassInfo.h"

#include <memory>

namespace lum {

class CInputStream;
class CNotifyServer;
class CObjectEventBridge;
class CStringTable;
struct CTemplateData;

/// The node of every tree. A tree is declared by compiled data; an object is created under a tag,
/// fed its attributes and taken through three passes: init, initContent, then its children, then
/// initDone. Owned by its parent; destroyObject is the only way out. A tree is changed by one
/// thread at a time; whoever calls across threads goes through events.
class CObject : public virtual CCheckedObject, public CLumMemAllocator {
public:
    CObject();
    ~CObject() override;
    CObject(const CObject&) = delete;
    CObject& operator=(const CObject&) = delete;
    static void fillClass(CClassInfo& info);

    // The passes, base first in all overrides.
    virtual CErrorResult init();
    virtual CErrorResult initContent();
    virtual CErrorResult initDone();
    virtual CErrorResult onChildAdded(CObject* child);
    virtual CErrorResult onChildRemoved(CObject* child);
    /// Overriders stop their own activity first, then call the base.
    virtual void prepareDestroy();
    virtual void detachFromParent();
    /// A live link's source has changed: applies the value to this object's attribute at once.
    virtual CErrorResult onLinkedAttr(CObject& sender, const CString& name,
                                      const CAttrEntry& value);
    /// Event `release-child-bridged`: destroys the child that `sender` names.
    virtual CErrorResult releaseChildBridged(CAttrMap& arguments);

    // Attributes. Substitutions "{...}" in texts are resolved first.
    CErrorResult setAttr(const CString& name, const CString& text, bool immediate);
    CErrorResult setAttrValue(const CString& name, const CAttrEntry& value, bool immediate);
    CErrorResult setAttrs(const CAttrMap& values, bool flush);
    CErrorResult flushAttrs();
    /// This object's own entry or null.
    const CAttrEntry* findAttr(const CString& name) const;
    CString getAttrString(const CString& name, const CString& fallback = {}) const;
    int32_t getAttrInt(const CString& name, int32_t fallback = 0) const;
    double getAttrReal(const CString& name, double fallback = 0.0) const;
    bool getAttrBool(const CString& name, bool fallback = false) const;
    const CAttrMap& attrs() const { return attributes; }
    CString getFullName() const { return fullName ? fullName->text() : CString(); }
    /// The part of the full name behind its last ".".
    CString getName() const;
    const CString& getTag() const { return tag; }

    // Paths.
    CObject* findObject(const CString& path) const;
    CString getFullPath(const CString& path) const;
    CObject* findChild(const CString& nameWithIndex) const;
    template <class T>
    CErrorResult findObjectChecked(T*& out, const CString& path) const {
        CObject* found = findObject(path);
        out = dynamic_cast<T*>(found);
        return out ? nullptr : lookUpFailure(path, found != nullptr);
    }
    /// Takes this object's attribute as a path.
    template <class T>
    CErrorResult findObjectByAttr(T*& out, const CString& attribute) const {
        CString path = getAttrString(attribute);
        CObject* found = path.empty() ? nullptr : findObject(path);
        out = dynamic_cast<T*>(found);
        return out ? nullptr : attrLookUpFailure(attribute, path, found != nullptr);
    }
    template <class T>
    T* findAs(const CString& path) const {
        return dynamic_cast<T*>(findObject(path));
    }

    // Tree.
    const CVector<CObject*, 8>& getChildren() const { return children; }
    CObject* getParent() const { return parent; }
    CObject* getRoot() const { return root; }
    int32_t getObjectId() const { return objectId; }
    int getState() const { return state; }
    bool isReadOnly() const { return readOnly; }
    /// Raw creation: the child is neither given attributes nor initialised.
    CErrorResult createChild(CObject*& out, const CString& childTag, const CString& name,
                             bool useTemplates);
    /// Complete creation at run time, through all passes. On failure the object stays in the tree.
    template <class T>
    CErrorResult createChild(T*& out, const CString& childTag, const CString& name,
                             bool templateRequired, const CAttrMap* given = nullptr,
                             const CAttrMap* extra = nullptr) {
        out = nullptr;
        CObject* child = nullptr;
        CErrorResult failure = createChildRaw(child, childTag, name, templateRequired);
        out = dynamic_cast<T*>(child);
        LUM_TRY(std::move(failure));
        if (!out) return invalidClassFailure(child, childTag, name);
        return completeChild(*child, given, extra);
    }
    static void destroyObject(CObject* object);

    // Loading.
    /// Builds this object's subtree from a compiled resource or file.
    CErrorResult loadXMLData(const CString& resourceName, bool initialise);

    // Events.
    CErrorResult runEvent(const CString& event);
    CErrorResult runEvent(const CString& event, CAttrMap& arguments);
    void listenObject(const CString& senderPath, const CString& event, const CString& handler);
    void unlistenObject(const CString& senderPath, const CString& event);
    /// The key under which a sender is listened to: its full name, also of one that does not exist
    /// yet. What missed at the root comes without the "." of a nameless root.
    CString getListenName(const CString& senderPath) const;
    /// As unlistenObject, for a name that getListenName gave earlier.
    void unlistenName(const CString& senderName, const CString& event);
    CErrorResult fireEvent(const CString& event, bool forceBridge);
    CErrorResult fireEvent(const CString& event, CAttrMap& arguments, bool forceBridge);
    /// Asks for this object's own event to run on its bridge thread; nothing without a bridge.
    void postOwnEvent(const CString& senderText, const CString& event, CAttrMap arguments = {});
    /// Asks the parent to destroy this object later, on its bridge thread.
    void releaseBridged();
    CNotifyServer* getNotifyServer() const { return notifyServer; }

    static CObject* sharedRoot();

protected:
    CString traceName() const { return getFullName(); }
    friend class CApplication;
    friend class CNotifyServer;
    friend class CTreeLoader;

    /// Takes every attribute change of another object under the attribute's own name.
    void followAllAttrs(CObject& source);
    /// Bridge of the nearest object from here upward that has one, with its thread; null: none.
    CObjectEventBridge* findBridge(uint64_t& threadId) const;
    /// Names this object and one of its events as what a bridge has to call.
    void addressBridged(CAttrMap& arguments, const CString& handlerName) const;

    CObjectEventBridge* eventBridge = nullptr;
    uint64_t bridgeThread = 0;
    bool hasNoBridge = true;

private:
    CErrorResult createChildRaw(CObject*& out, const CString& childTag, const CString& name,
                                bool templateRequired);
    CErrorResult completeChild(CObject& child, const CAttrMap* given, const CAttrMap* extra);
    CErrorResult invalidClassFailure(CObject* child, const CString& childTag, const CString& name);
    CErrorResult lookUpFailure(const CString& path, bool isFound) const;
    CErrorResult attrLookUpFailure(const CString& attribute, const CString& path,
                                   bool isFound) const;
    CObject* startOfPath(const CString& path, size_t& position) const;
    CObject* walkPath(const CString& path, CString* fullPath) const;
    CObject* findTemplate(const CString& name) const;
    void enterChildName(CObject& child, const CString& name);
    void leaveChildName(CObject& child);
    CErrorResult storeAttr(const CString& name, const CAttrEntry& value, bool immediate);
    CErrorResult handleChange(const CString& name, CAttrEntry& entry, bool immediate);
    CErrorResult runAttrHandler(const CAttrEntry& entry);
    CErrorResult notifyDependents(const CString& name, const CAttrEntry& value);
    CString substitute(const CString& attribute, CString text);
    CString replacementFor(const CString& attribute, const CString& inner, const CString& fallback);
    CString resolveReference(const CString& attribute, const CString& reference,
                             const CString& fallback, bool isOwnOnly) const;
    CObject* findLinkSource(const CString& reference) const;
    CString linkAttribute(const CString& attribute, const CString& reference);
    void dropListenings();
    void dropAttrLinks();
    CErrorResult runTemplate(bool withAttributes);

    const CClassInfo& classTable() const;

    using CChildIndices = CMap<int32_t, CObject*>;
    const CClassInfo* classInfo = nullptr;
    CAttrMap attributes;
    CAttrEntry* pendingAttrs = nullptr; // last in, first out
    CVector<CObject*, 8> children;      // in creation order; owned
    CMap<CString, CChildIndices> childrenByName;
    CMap<CString, CMap<CString, CString>> listenings; // sender full name, event, handler name
    CMap<CString, CObject*> templates;
    CMap<CObject*, CMap<CString, CString>> attrDependents; // links going out: source name, target
    CSet<CObject*> attrSources;
    std::unique_ptr<CTemplateData> templateData; // set on an object that is a template
    const CAttrMap* givenAttrs = nullptr;  // during the passes of a complete creation; not owned
    CObject* templateObject = nullptr;     // the template this object was built from
    CNotifyServer* notifyServer = nullptr; // of the tree; the root of an instance tree owns it
    CObject* parent = nullptr;
    CObject* root = this;
    const CAttrEntry* fullName = nullptr; // the entry `full-name` of the store, once there is one
    CMap<CString, CChildIndices>::iterator nameInParent; // valid while the parent holds this object
    int32_t indexInParent = 0;
    CString tag;
    int32_t objectId = -1;
    int state = 0; // 0 created, 1 init, 2 content, 3 done, 4 loaded
    bool readOnly = false;
};

} // namespace lum
