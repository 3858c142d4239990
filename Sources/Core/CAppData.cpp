#include "Core/CAppData.h"

#include "Core/CAtomicFileWriter.h"
#include "Core/CMemoryReader.h"
#include "Core/CResourceReader.h"
#include "Core/CSystem.h"
#include "Core/CWriteSeqBuffer.h"
#include "Platform/File.h"

namespace lum {

namespace {

const void* keyPointer(uint32_t key) {
    return reinterpret_cast<const void*>(static_cast<uintptr_t>(key));
}

bool isFolder(const CString& path) {
    return platform::isFolder(path.toUtf8());
}

} // namespace

CAppData::CAppData(const char* storeFolder, const char* folderBesideModule,
                   const char* prefixOfDefaults)
    : mainFolder(storeFolder), sideFolder(folderBesideModule), resourcePrefix(prefixOfDefaults) {}

CAppData* CAppData::findStore(const CString& storageType) {
    if (storageType == "local") return &CAppDataLocal::get();
    if (storageType == "group") return &CAppDataGroup::get();
    if (storageType == "global") return &CAppDataGlobal::get();
    return nullptr;
}

// Records

void CAppData::read(const CString& name, CByteBuffer& out, uint32_t blockId, bool reload) {
    platform::CLockGuard guard(lock);
    resolveOnce();
    const uint32_t key = keyOf(name);
    const auto cached = cache.find(key);
    if (cached != cache.end() && !reload) {
        if (cached->second.blockId == blockId)
            out = cached->second.bytes;
        else
            out.resize(0);
        return;
    }
    if (readFirstFound(name, out, blockId))
        cache[key] = {blockId, out};
    else if (cached != cache.end())
        out = cached->second.bytes;
    else
        out.resize(0);
}

/// The first place that opens wins: a damaged record there is absent, and hides those behind it.
bool CAppData::readFirstFound(const CString& name, CByteBuffer& out, uint32_t blockId) {
    CFileReader file;
    CResourceReader resource;
    CPosInputStream* found = nullptr;
    for (const CString* folder : {&firstFolder, &secondFolder, &thirdFolder}) {
        if (folder->empty()) continue;
        CErrorResult failure = file.open(*folder + name);
        if (!failure) {
            found = &file;
            break;
        }
        logAndDropError(std::move(failure));
    }
    if (!found) {
        if (CErrorResult failure = resource.open(resourcePrefix + name)) {
            logAndDropError(std::move(failure));
            return false;
        }
        found = &resource;
    }
    if (CErrorResult failure = found->readCompressedData(out, blockId)) {
        logAndDropError(std::move(failure));
        return false;
    }
    return true;
}

void CAppData::write(const CString& name, const CByteBuffer& bytes, const void* source,
                     uint32_t blockId) {
    uint32_t key = 0;
    if (!storeRecord(name, bytes, blockId, key)) return;
    CAppDataUpdate update;
    update.key = keyPointer(key);
    update.source = source;
    notify(&update);
}

bool CAppData::storeRecord(const CString& name, const CByteBuffer& bytes, uint32_t blockId,
                           uint32_t& key) {
    platform::CLockGuard guard(lock);
    resolveOnce();
    if (!createOnce()) return false;
    key = keyOf(name);
    cache[key] = {blockId, bytes}; // readers see it even if the disk refuses
    CErrorResult failure = writeRecord(name, bytes, blockId);
    const bool isWritten = !failure;
    logAndDropError(std::move(failure));
    return isWritten;
}

CErrorResult CAppData::writeRecord(const CString& name, const CByteBuffer& bytes,
                                   uint32_t blockId) {
    CAtomicFileWriter writer;
    LUM_TRY(writer.open(firstFolder + name));
    LUM_TRY(writer.writeCompressedData(bytes, blockId));
    LUM_TRY(writer.commit());
    return {};
}

void CAppData::getString(CString& out, const CString& name, const CString& defaultText) {
    CByteBuffer bytes;
    read(name, bytes, kStringBlock);
    if (bytes.empty()) {
        out = defaultText;
        return;
    }
    CMemoryReader reader(bytes);
    if (CErrorResult failure = reader.readString(out)) {
        logAndDropError(std::move(failure));
        out.clear();
    }
}

void CAppData::setString(const CString& name, const CString& text, const void* source) {
    CWriteSeqBuffer stream;
    logAndDropError(stream.writeString(text)); // memory takes everything
    CByteBuffer bytes;
    stream.getBytes(bytes);
    write(name, bytes, source, kStringBlock);
}

// Names

uint32_t CAppData::getKey(const CString& name) {
    platform::CLockGuard guard(lock);
    return keyOf(name);
}

const void* CAppData::getUpdateKey(const void* userKey) {
    return keyPointer(getKey(*static_cast<const CString*>(userKey)));
}

uint32_t CAppData::keyOf(const CString& name) {
    const auto found = keys.find(name);
    if (found != keys.end()) return found->second;
    return keys[name] = ++lastKey;
}

// Folders

void CAppData::resolveOnce() {
    if (isResolved) return;
    isResolved = true;
    if (resolveFolders()) return;
    isCreated = true; // with the result false: nothing is ever written
}

/// False when there is no place to write to.
bool CAppData::resolveFolders() {
    const CString moduleFolder = findModuleFolder();
    if (!moduleFolder.empty()) findPortableFolder(moduleFolder);
    CString userFolder;
    const bool isUserKnown = findUserFolder(userFolder);
    if (!firstFolder.empty()) {
        if (isUserKnown) secondFolder = userFolder + mainFolder;
        return true;
    }
    if (isUserKnown) firstFolder = userFolder + mainFolder;
    return isUserKnown;
}

/// A folder "<maker> Settings" beside the module takes over from the user's own.
void CAppData::findPortableFolder(const CString& moduleFolder) {
    const CString main(mainFolder);
    const CString side(sideFolder);
    if (!side.empty() && isFolder(moduleFolder + side)) thirdFolder = moduleFolder + side;
    const int slash = main.find('/');
    if (slash < 0) return;
    const CString portable = moduleFolder + main.substring(0, slash) + " Settings";
    if (isFolder(portable)) firstFolder = portable + main.substring(static_cast<size_t>(slash));
}

bool CAppData::findUserFolder(CString& out) const {
    out = system::textOfPath(platform::userConfigFolder());
    if (out.empty()) return false;
    out.replace('\\', '/');
    out += "/";
    return true;
}

CString CAppData::findModuleFolder() const {
    return system::getModuleDirectory();
}

bool CAppData::createOnce() {
    if (isCreated) return createResult;
    isCreated = true;
    const int code = platform::makeFolders(firstFolder.toUtf8());
    createResult = code == 0;
    if (code != 0)
        logAndDropError(LUM_FAIL("@lumstr_CAppData_write_CreateFolder "
                                 "Unable to create folder '%1' (error %2).",
                                 firstFolder, code));
    return createResult;
}

// The stores. Each is made on its first use and so outlives nothing that it stands on.

CAppDataGlobal::CAppDataGlobal() : CAppData("Lumeron/", "", "AppDataGlobal_") {}

CAppDataGlobal& CAppDataGlobal::get() {
    static CAppDataGlobal store;
    return store;
}

CAppDataGroup::CAppDataGroup() : CAppData("Lumeron/Audio Plug-Ins/", "", "AppDataGroup_") {}

CAppDataGroup& CAppDataGroup::get() {
    static CAppDataGroup store;
    return store;
}

CAppDataLocal::CAppDataLocal()
    : CAppData("Lumeron/Audio Plug-Ins/Sorrel GEQ/", "Sorrel GEQ/", "AppDataLocal_") {}

CAppDataLocal& CAppDataLocal::get() {
    static CAppDataLocal store;
    return store;
}

} // namespace lum
