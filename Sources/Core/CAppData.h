#pragma once

#include "Core/CByteBuffer.h"
#include "Core/CError.h"
#include "Core/CUpdateNotifier.h"

namespace lum {

/// What a store announces after a successful write. Its key is the number of the record.
struct CAppDataUpdate : public CUpdateRecord {
    const void* source = nullptr; // who wrote, as given to `write`
};

/// A store of small named records that outlive an instance: one file a record in the user's
/// configuration folder, behind it defaults embedded in the module. A record is read from disk at
/// most once per process, then the cache answers. A store never reports a failure: an unreadable
/// record is absent, an unwritable one stays in the cache, and the log tells why.
/// Threads: any but the audio thread; one lock is held over an operation with its file access, and
/// not over the notification that follows. Nothing is made on disk before the first `write`.
class CAppData : public CUpdateNotifier {
public:
    /// mainFolder: relative path under a root. sideFolder: relative path beside the module's file,
    /// or empty. Both end in "/". resourcePrefix: stands before a record's name in the name of its
    /// embedded default. No disk access.
    CAppData(const char* mainFolder, const char* sideFolder, const char* resourcePrefix);

    /// The store that a `storage-type` names: "local", "group" or "global"; null for any other.
    static CAppData* findStore(const CString& storageType);

    /// Reads a record whose block has the given id; an empty buffer means that it is absent.
    /// reload: looks at the disk again, and takes the cached bytes when that gives nothing.
    void read(const CString& name, CByteBuffer& out, uint32_t blockId, bool reload = false);
    /// Stores a record in the cache and on disk, then tells the listeners of the name on this
    /// thread. source: passed on to them. A failed disk write is logged and tells nobody.
    void write(const CString& name, const CByteBuffer& bytes, const void* source, uint32_t blockId);
    /// Reads a text; an absent record gives `defaultText`, a damaged text in a whole record "".
    void getString(CString& out, const CString& name, const CString& defaultText);
    void setString(const CString& name, const CString& text, const void* source);

    /// Number of a name, for the life of the process; the first one is 1.
    uint32_t getKey(const CString& name);
    /// userKey: address of a CString, the record's name. Gives the number as a key.
    const void* getUpdateKey(const void* userKey) override;

protected:
    /// Folder of the module's file with "/" at its end, empty when unknown. Tests give another.
    virtual CString findModuleFolder() const;

private:
    struct CCacheEntry {
        uint32_t blockId = 0;
        CByteBuffer bytes;
    };

    // All of these with the lock held.
    void resolveOnce();
    bool resolveFolders();
    bool findUserFolder(CString& out) const;
    void findPortableFolder(const CString& moduleFolder);
    bool createOnce();
    bool readFirstFound(const CString& name, CByteBuffer& out, uint32_t blockId);
    CErrorResult writeRecord(const CString& name, const CByteBuffer& bytes, uint32_t blockId);
    bool storeRecord(const CString& name, const CByteBuffer& bytes, uint32_t blockId,
                     uint32_t& key);
    uint32_t keyOf(const CString& name);

    const char* mainFolder;
    const char* sideFolder;
    const char* resourcePrefix;
    platform::CLock lock;
    CString firstFolder; // where records are written, and the first place read
    CString secondFolder;
    CString thirdFolder;
    bool isResolved = false;
    bool isCreated = false; // the first folder has been asked for
    bool createResult = false;
    uint32_t lastKey = 0;
    CMap<CString, uint32_t> keys;
    CMap<uint32_t, CCacheEntry> cache;
};

/// Records of all products of the maker. The stores live from their first use to the unloading of
/// the module.
class CAppDataGlobal : public CAppData {
public:
    static CAppDataGlobal& get();

protected:
    CAppDataGlobal();
};

/// Records of all audio plug-ins of the maker.
class CAppDataGroup : public CAppData {
public:
    static CAppDataGroup& get();

protected:
    CAppDataGroup();
};

/// Records of this product alone.
class CAppDataLocal : public CAppData {
public:
    static CAppDataLocal& get();

protected:
    CAppDataLocal();
};

/// A member listener of one record; the subclass gives `onUpdate`, whose record is a
/// CAppDataUpdate, on the thread of the writer.
template <class T>
class CAppDataListener : public COwnedUpdateListener<T> {
public:
    using COwnedUpdateListener<T>::COwnedUpdateListener;
    /// Leaves the present record and listens to one of the store's.
    void attach(CAppData& store, const CString& recordName) {
        CUpdateListener::attach(&store, &recordName);
    }
    void detach() { CUpdateListener::attach(nullptr, nullptr); }
};

} // namespace lum
