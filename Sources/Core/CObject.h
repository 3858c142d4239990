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
    virtual CErrorResult onLinkedAttr(CObject& sender, const CString& name, const CAttrEntry& value);
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
    CString getFullName() const { return getAttrString("full-name"); }
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
        LUM_TRY(createChildRaw(child, childTag, name, templateRequired));
        out = dynamic_cast<T*>(child);
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
    friend class CStdEventBridge;
    friend class CTreeLoader;

    /// Bridge of the nearest object from here upward that has one, with its thread; null: none.
    CObjectEventBridge* findBridge(uint64_t& threadId) const;

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
    const CObject* walkPath(const CString& path, CString* fullPath) const;
    CObject* findTemplate(const CString& name) const;
    CErrorResult storeAttr(const CString& name, const CAttrEntry& value, bool immediate);
    CString substitute(const CString& attribute, const CString& text);
    CString resolveReference(const CString& attribute, const CString& inner,
                             const CString& fallback);
    CString linkAttribute(const CString& attribute, const CString& reference);
    CErrorResult notifyDependents(const CString& name, const CAttrEntry& value);
    void dropAttrLinks();

    const CClassInfo* classInfo = nullptr;
    CAttrMap attributes;
    CAttrEntry* pendingAttrs = nullptr; // last in, first out
    CVector<CObject*, 8> children;      // in creation order; owned
    CMap<CString, CMap<int32_t, CObject*>> childrenByName;
    CMap<CString, CMap<CString, CString>> listenings; // sender full name, event, handler name
    CMap<CString, CObject*> templates;
    CMap<CObject*, CMap<CString, CString>> attrDependents; // links going out: source name, target
    CSet<CObject*> attrSources;
    std::unique_ptr<CTemplateData> templateData; // set on an object that is a template
    const CAttrMap* givenAttrs = nullptr;
    CObject* templateObject = nullptr; // the template this object was built from
    CNotifyServer* notifyServer = nullptr; // of the tree; the root of an instance tree owns it
    CObject* parent = nullptr;
    CObject* root = this;
    CString tag;
    int32_t objectId = -1;
    int state = 0; // 0 created, 1 init, 2 content, 3 done, 4 loaded
    bool readOnly = false;
};

} // namespace lum
