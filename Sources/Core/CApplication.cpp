#include "Core/CApplication.h"

#include "Core/CLog.h"
#include "Core/CNotifyServer.h"
#include "Core/CSystem.h"
#include "Platform/Lock.h"

namespace lum {

namespace {

constexpr const char* kSharedDataName = "SharedData.xml";

/// What exists once per module. Hosts may make instances on several threads at once, so the count
/// has a lock; the rest is written by the first start and the last finish alone.
struct CProcessState {
    platform::CSpinLock lock;
    int startCount = 0;
    CApplication* application = nullptr;
    CObject* sharedRoot = nullptr;
    CClassInfo defaultInfo;
} process;

} // namespace

CObject* CObject::sharedRoot() {
    return process.sharedRoot;
}

CApplication* CApplication::get() {
    return process.application;
}

const CClassInfo& CApplication::defaultClassInfo() {
    return process.defaultInfo;
}

CErrorResult CApplication::start(const CProductTables& product) {
    platform::CSpinGuard guard(process.lock);
    if (process.application) {
        process.startCount++;
        return nullptr;
    }
    system::noteStart();
    if (product.initTransform) LUM_TRY(product.initTransform());
    process.application = new CApplication;
    process.startCount = 1;
    CErrorResult error = process.application->init(product);
    if (error) tearDown();
    LUM_TRY(std::move(error));
    return nullptr;
}

void CApplication::finish() {
    platform::CSpinGuard guard(process.lock);
    if (process.startCount > 0 && --process.startCount == 0) tearDown();
}

void CApplication::tearDown() {
    process.application->finalize();
    delete std::exchange(process.application, nullptr);
    process.startCount = 0;
    clearCreators();
    clearResources();
    process.defaultInfo = {};
}

// What fails here is reported by whoever misses it later: a tag makes plain objects, and no
// instance comes into being without the shared tree.
CErrorResult CApplication::init(const CProductTables& product) {
    logLine("Initializing application...");
    CObject::fillClass(process.defaultInfo);
    for (auto table = product.creatorTables; table && *table; table++)
        logAndDropError(registerCreator(*table));
    if (product.resources) registerResources(product.resources);
    logAndDropError(initSharedObject(kSharedDataName));
    return nullptr;
}

void CApplication::finalize() {
    logLine("Finalizing application...");
    CObject::destroyObject(process.sharedRoot);
    process.sharedRoot = nullptr;
}

CErrorResult CApplication::initSharedObject(const CString& dataName) {
    if (process.sharedRoot)
        return LUM_FAIL("@lumstr_CApplication_initSharedObject Shared object already exists.");
    process.sharedRoot = new CObject; // exists from the beginning of its own loading
    CErrorResult error = fillRoot(*process.sharedRoot, dataName);
    if (error) CObject::destroyObject(std::exchange(process.sharedRoot, nullptr));
    LUM_TRY(std::move(error));
    return nullptr;
}

CErrorResult CApplication::initRootObject(CObject*& out, const CString& dataName) {
    out = nullptr;
    if (!process.sharedRoot)
        return LUM_FAIL("@lumstr_CApplication_initRootObject No shared object created.");
    auto* root = new CObject;
    root->notifyServer = new CNotifyServer;
    root->objectId = root->notifyServer->takeObjectId();
    CErrorResult error = fillRoot(*root, dataName);
    if (error) CObject::destroyObject(std::exchange(root, nullptr));
    LUM_TRY(std::move(error));
    out = root;
    return nullptr;
}

CErrorResult CApplication::fillRoot(CObject& object, const CString& dataName) {
    if (!dataName.empty()) {
        LUM_TRY(object.loadXMLData(dataName, true));
        return nullptr;
    }
    LUM_TRY(object.init());
    LUM_TRY(object.initContent());
    LUM_TRY(object.initDone());
    return nullptr;
}

} // namespace lum
