#include "Fuzz/FuzzInstance.h"

#include "Audio/CAudioInterfaceBase.h"

using namespace lum;

/// The bytes are one message of a client that follows a parameter and the master registry.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    static CParamInterfaceBaseConnectorUni* connector = [] {
        CParamInterfaceBaseConnectorUni* found = nullptr;
        CObject* root = FuzzInstance::get().getInstanceRoot();
        if (root->findObjectChecked(found, "plugin.interface-base-connector")) std::abort();
        const int32_t id = found->registerClient() << 16 | 1;
        CParamMessage param("listen-param");
        param.add("plugin.modMain.modSorrelGEQ.gains").add(id);
        CParamMessage registry("listen-registry");
        registry.add("plugin.param-registry").add(id);
        for (const CParamMessage* message : {&param, &registry})
            if (found->processClientData(message->bytes())) std::abort();
        return found;
    }();
    logAndDropError(connector->processClientData(CByteBuffer(bytes, size)));
    CByteBuffer answer;
    while (connector->takeMessage(1, answer)) {
    }
    return 0;
}
