#pragma once

#include "Audio/CAudioInterfaceBase.h"
#include "Audio/CAudioInterfaceClient.h"
#include "Audio/CAudioParamRegistry.h"
#include "Audio/WrapperFixture.h"
#include "Core/CEventBridge.h"
#include "Core/CMemoryReader.h"
#include "Core/StreamBytes.h"

#include <cstring>
#include <string>

namespace lum::test {

inline std::string messageOf(const CErrorResult& error) {
    return error ? error.line(0).toUtf8() : "";
}

/// What a client hears of one parameter.
struct ParamEar : CParamInterfaceParamListener {
    void onInfo(const CAudioParamInfo* info) override {
        infos++;
        isBound = info != nullptr;
    }
    void onChange(const CAudioParamChange& change) override {
        if (change.group == kDefinitionGroup) {
            storage.setFormat(change.format);
            definitions++;
        } else {
            changes++;
        }
        storage.apply(change);
    }
    double value(int group, int element) const { return storage.read(group, element, -99.0); }

    CAudioParamStorage storage;
    int infos = 0;
    int definitions = 0;
    int changes = 0;
    bool isBound = false;
};

/// What a client hears of one registry.
struct RegistryEar : CParamInterfaceRegistryListener {
    void update(bool isRom, const CString& registryId, const CVector<CString>& list,
                int current) override {
        updates++;
        id = registryId.toUtf8();
        auto& target = isRom ? romNames : names;
        target.clear();
        for (const CString& name : list) target.push_back(name.toUtf8());
        if (!isRom) currentProgram = current;
    }
    void onPreset(int32_t requestId, CAudioPreset& answer) override {
        lastRequest = requestId;
        preset = std::move(answer);
    }
    void onBank(int32_t requestId, CAudioPresetBank& answer) override {
        lastRequest = requestId;
        bank = std::move(answer);
    }

    int updates = 0;
    int currentProgram = -2;
    int32_t lastRequest = 0;
    std::string id;
    std::vector<std::string> names;
    std::vector<std::string> romNames;
    CAudioPreset preset;
    CAudioPresetBank bank;
};

/// A client in a tree of its own, as an editor is.
class TestClient {
public:
    explicit TestClient(TestWrapper& wrapper) {
        EXPECT_FALSE(CApplication::get()->initRootObject(root, ""));
        EXPECT_FALSE(root->setAttrValue("BaseConnectorRootPtr",
                                        CAttrEntry::ofPointer(wrapper.getInstanceRoot()), true));
        // What is below the bridge lives on this thread.
        EXPECT_FALSE(root->createChild(ui, "ui:ui-event-bridge", "ui", false));
        CParamInterfaceClientConnectorUni* connector = nullptr;
        EXPECT_FALSE(create(connector, "other:param-interface-client-connector-uni", "connector",
                            {{"base-connector", "plugin.interface-base-connector"}}));
        EXPECT_FALSE(create(client, "audio:interface-client", "client",
                            {{"client-connector", "^connector"},
                             {"group-names-param", "plugin.modMain.io-params.group-names"}}));
        drain();
    }
    ~TestClient() { CObject::destroyObject(root); }
    TestClient(const TestClient&) = delete;
    TestClient& operator=(const TestClient&) = delete;

    CAudioInterfaceClient* operator->() const { return client; }
    void drain() { EXPECT_FALSE(client->getConnector()->drain()); }
    CErrorResult sendRaw(const CParamMessage& message) {
        return client->getConnector()->sendToBase(message.bytes());
    }
    int32_t listen(const char* name, ParamEar& ear) {
        int32_t id = 0;
        EXPECT_FALSE(client->listenParam(id, CString("plugin.modMain.") + name, ear));
        drain();
        return id;
    }
    int32_t listen(const char* name, RegistryEar& ear) {
        int32_t id = 0;
        EXPECT_FALSE(client->listenRegistry(id, name, ear));
        drain();
        return id;
    }
    /// One edit in a record of its own.
    void edit(int32_t id, const CAudioParamFormat& format, int group, int element, double value,
              const char* name = "Edit", bool isMergeable = false, int32_t key = -1) {
        int32_t undo = 0;
        EXPECT_FALSE(client->createUndoData(undo, name, isMergeable, key));
        EXPECT_FALSE(client->changeParam(
            id, undo,
            CAudioParamChange::ofValues(format, group, element, &value, 1, false, nullptr)));
        EXPECT_FALSE(client->submitUndoData(undo, ""));
        drain();
    }
    std::vector<std::string> history() {
        drain();
        std::vector<std::string> names;
        for (const CString& name : client->getHistoryNames()) names.push_back(name.toUtf8());
        return names;
    }

private:
    template <class T>
    CErrorResult create(T*& out, const char* tag, const char* name,
                        std::initializer_list<std::pair<const char*, const char*>> texts) {
        CAttrMap given;
        for (const auto& [key, text] : texts) given[key] = CAttrEntry::ofText(text);
        return ui->createChild(out, tag, name, false, &given);
    }
    CObject* root = nullptr;
    CStdEventBridge* ui = nullptr;
    CAudioInterfaceClient* client = nullptr;
};

/// A running instance of the product, and its state as bytes.
class StateFixture : public WrapperFixture {
protected:
    void SetUp() override { initInstance(); }

    CAudioParamRegistry& registry(const char* name = "param-registry") {
        auto* found =
            wrapper->getInstanceRoot()->findAs<CAudioParamRegistry>(CString("plugin.") + name);
        EXPECT_NE(found, nullptr);
        return *found;
    }
    CByteBuffer chunk(bool isPreset, bool withPrefix = true) {
        CByteBuffer out;
        EXPECT_FALSE(wrapper->getState(out, isPreset, withPrefix));
        return out;
    }
    CAudioPreset capture(const char* registryName = "param-registry", int group = -1) {
        CWriteSeqBuffer stream;
        EXPECT_FALSE(registry(registryName).acquirePreset(false, -1, group, stream));
        return presetOf(stream);
    }
    static CAudioPreset presetOf(const CWriteSeqBuffer& stream) {
        const CByteBuffer bytes = bytesOf(stream);
        CMemoryReader reader(bytes);
        CAudioPreset preset;
        EXPECT_FALSE(preset.load(reader));
        return preset;
    }
    CErrorResult activate(const CAudioPreset& preset, int group = -1,
                          const char* registryName = "param-registry") {
        const CByteBuffer bytes = bytesOf(preset);
        CMemoryReader reader(bytes);
        return registry(registryName).activatePreset(reader, false, group);
    }
    void set(const char* name, double value, int element = 0, int group = 0) {
        CAudioParam& param = wrapper->param(name);
        param.applyChange(CAudioParamChange::ofValues(param.getInfo()->format, group, element,
                                                      &value, 1, false, nullptr),
                          {});
    }
    const CAudioParamFormat& formatOf(const char* name) {
        return wrapper->param(name).getInfo()->format;
    }
    std::string programName(int index) {
        CString name;
        EXPECT_TRUE(registry().getProgramName(index, name));
        return name.toUtf8();
    }
};

} // namespace lum::test
