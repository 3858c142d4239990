#include "View/ViewScene.h"

#include "../AuthoredTree.h"
#include "Audio/CAudioParamStorage.h"
#include "Audio/CAudioPreset.h"
#include "Core/CApplication.h"
#include "Core/CCoreCreators.h"
#include "Core/CMemoryReader.h"
#include "Core/CResourceReader.h"
#include "Graphics/GraphicsFile.h"
#include "Other/CDynamicPalette.h"
#include "Other/COtherCreators.h"
#include "UI/CUICreators.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <unistd.h>

namespace {

using lum::tools::CompiledNode;

constexpr const char* kSharedData = "View/Shared.xml";
constexpr const char* kRootData = "View/Root.xml";
constexpr double kSettled = 5.0; // seconds in which every change of state has ended
constexpr double kFrame = 0.025; // seconds

/// Records below a folder of the program's own.
class SceneRecords : public lum::CAppData {
public:
    explicit SceneRecords(const std::filesystem::path& path)
        : CAppData("Lumeron/View/", "View/", "View_"), folder((path.string() + "/").c_str()) {}

private:
    lum::CString findModuleFolder() const override { return folder; }
    lum::CString folder;
};

std::unique_ptr<SceneRecords> sceneRecords;

class ScenePalette : public lum::CDynamicPalette {
protected:
    lum::CAppData& records() const override { return *sceneRecords; }
};

const lum::CCreatorRow kSceneCreators[] = {
    lum::creatorRow<ScenePalette>("ui:dynamic-palette"),
    {nullptr, nullptr, nullptr},
};

// The scene's palette stands in front of the room's.
const lum::CCreatorRow* const kCreators[] = {kSceneCreators, lum::kCoreCreators,
                                             lum::kOtherCreators, lum::kUICreators, nullptr};

/// A family, and the file of each of its styles.
struct FamilyRow {
    const char* name;
    const char* style;
    const char* file;
};
constexpr FamilyRow kFamilies[] = {
    {"base", "regular", "base"},         {"base", "bold", "base_b"},
    {"base", "superscript", "small"},    {"micro", "regular", "micro"},
    {"micro-sm", "regular", "micro-sm"}, {"small", "regular", "small"},
    {"compact", "regular", "compact"},   {"compact", "superscript", "compact-small"},
    {"title", "regular", "title"},
};

CompiledNode makeNode(const char* tag, const std::string& name,
                      std::vector<std::pair<std::string, std::string>> attributes = {}) {
    CompiledNode node;
    node.tag = tag;
    node.name = name;
    node.attributes = std::move(attributes);
    return node;
}

/// The embedded form of a resource: its size, then its bytes.
std::string asResource(const CompiledNode& tree) {
    const std::string bytes = lum::tools::writeTree(tree);
    const auto size = static_cast<uint32_t>(bytes.size());
    std::string whole(sizeof size, '\0');
    std::memcpy(whole.data(), &size, sizeof size);
    return whole + bytes;
}

lum::CAudioPresetBank readBank(const std::string& folder) {
    const std::string path = folder + "/AppDataGlobal_uicolor-presets";
    lum::CResourceReader file;
    throwOnError(file.open(lum::CString::fromUtf8(path)), path);
    lum::CByteBuffer bytes;
    throwOnError(file.readCompressedData(bytes, lum::kListBlock), path);
    lum::CMemoryReader reader(bytes);
    lum::CVector<lum::CAudioPresetBank, 1> banks;
    throwOnError(loadBankList(reader, banks), path);
    if (banks.empty()) throw std::runtime_error(path + ": no bank");
    return banks[0];
}

lum::CByteBuffer blobOf(const lum::CAudioPreset& preset) {
    const lum::CByteBuffer* entry = preset.findEntry("palette");
    if (!entry) throw std::runtime_error("the preset has no palette");
    lum::CMemoryReader reader(*entry);
    lum::CString name;
    throwOnError(reader.readString(name), "palette");
    lum::CAudioParamStorage storage;
    lum::CAudioParamFormat format;
    format.dataType = lum::ParamDataType::Raw;
    storage.setFormat(format);
    throwOnError(storage.load(reader), "palette");
    return storage.readRaw(0, 0);
}

} // namespace

ViewScene::ViewScene(const CompiledNode& view, const SceneFolders& where) : folders(where) {
    records = std::filesystem::temp_directory_path() /
              ("sorrel-view-" + std::to_string(static_cast<long>(getpid())));
    std::filesystem::create_directories(records / "Lumeron Settings");
    sceneRecords = std::make_unique<SceneRecords>(records);
    start(view);
}

ViewScene::~ViewScene() {
    lum::CObject::destroyObject(root);
    lum::CApplication::finish();
    sceneRecords.reset();
    std::error_code ignored;
    std::filesystem::remove_all(records, ignored);
}

void ViewScene::start(const CompiledNode& view) {
    data[0] = asResource(makeShared());
    data[1] = asResource(makeRoot(view));
    const lum::CResourceRow resources[] = {
        {reinterpret_cast<const uint8_t*>(data[0].data()), kSharedData},
        {reinterpret_cast<const uint8_t*>(data[1].data()), kRootData},
        {nullptr, nullptr},
    };
    throwOnError(lum::CApplication::start({kCreators, resources, nullptr}), "start");
    throwOnError(lum::CApplication::get()->initSharedObject(kSharedData), "images and fonts");
    throwOnError(lum::CApplication::get()->initRootObject(root, kRootData), "view");
    theWindow = root->findAs<lum::CHeadlessWindow>("win");
    if (!theWindow || !theWindow->getRootView())
        throw std::runtime_error("the tree's root is no view");
}

CompiledNode ViewScene::makeShared() const {
    CompiledNode shared = makeNode("core:object", "shared");
    CompiledNode sets = makeNode("core:object", "is");
    for (const auto& entry : std::filesystem::directory_iterator(folders.graphics))
        if (entry.path().extension() == ".is")
            sets.children.push_back(makeNode("imageset", entry.path().stem().string(),
                                             {{"file", entry.path().string()}}));
    CompiledNode fonts = makeNode("core:object", "font");
    for (const FamilyRow& row : kFamilies) {
        if (fonts.children.empty() || fonts.children.back().name != row.name)
            fonts.children.push_back(makeNode("font", row.name));
        fonts.children.back().children.push_back(makeNode(
            "core:object", row.style,
            {{"is-font-style", "true"}, {"file", folders.graphics + "/" + row.file + ".fnt"}}));
    }
    shared.children = {sets, fonts};
    return shared;
}

CompiledNode ViewScene::makeRoot(const CompiledNode& view) const {
    const std::string path = folders.palettes + "/Palette.xml";
    CompiledNode palette = lum::tools::readAuthoredTree(lum::tools::readFile(path), path);
    CompiledNode interface = makeNode("core:object", "ui");
    interface.children = {
        palette, makeNode("ui:style", "style", {{"ui-shadows", "true"}, {"ui-textures", "true"}})};
    CompiledNode shown = makeNode("ui:headless-window", "win");
    shown.children = {view};
    shown.children[0].attributes.emplace_back("is-root-view", "true");
    CompiledNode all = makeNode("core:object", "");
    all.children = {interface, shown};
    return all;
}

std::vector<std::string> ViewScene::listPalettes() const {
    std::vector<std::string> names;
    for (const lum::CAudioPreset& preset : readBank(folders.palettes).presets)
        names.push_back(lum::CAudioPreset::nameOf(preset.name).toUtf8());
    return names;
}

void ViewScene::setPalette(const std::string& name) {
    auto* palette = root->findAs<lum::CDynamicPalette>("ui.palette");
    for (const lum::CAudioPreset& preset : readBank(folders.palettes).presets)
        if (lum::CAudioPreset::nameOf(preset.name).toUtf8() == name) {
            throwOnError(palette->applyBlob(blobOf(preset)), name);
            return;
        }
    throw std::runtime_error("there is no palette \"" + name + "\"");
}

void ViewScene::setState(const std::string& state, const std::string& path) {
    auto* view = theWindow->getRootView()->findAs<lum::CView>(lum::CString::fromUtf8(path));
    if (!view) throw std::runtime_error("there is no view at \"" + path + "\"");
    throwOnError(view->setState(lum::CString::fromUtf8(state)), path);
}

void ViewScene::paint(lum::CLinearBitmap& target) {
    const double end = theWindow->clock() + kSettled;
    while (theWindow->clock() < end) {
        throwOnError(theWindow->advanceTo(theWindow->clock() + kFrame), "clock");
        throwOnError(theWindow->frame(), "frame");
    }
    throwOnError(theWindow->paintAll(target), "painting");
}
