#include "Host/StateSetup.h"

#include "Host/Failure.h"
#include "Host/WholeFile.h"

#include <charconv>
#include <strings.h>

namespace lum::host {

namespace {

constexpr int kMostProgramsNamed = 16; // in a message

std::string programList(const PluginInstance& plugin) {
    const int count = plugin.programCount();
    if (count == 0) return "; it has none";
    std::string text = "; it has ";
    for (int i = 0; i < std::min(count, kMostProgramsNamed); ++i) {
        text += (i == 0 ? "" : ", ") + std::to_string(i) + " \"" + plugin.programName(i) + "\"";
    }
    return count > kMostProgramsNamed ? text + " and more (\"sorrel-host info\" lists all)" : text;
}

std::string programWords(const PluginInstance& plugin, int index) {
    return "program " + std::to_string(index) + " \"" + plugin.programName(index) + "\"";
}

std::string give(PluginInstance& plugin, const PluginState& state) {
    if (!plugin.has(vst::kFlagProgramChunks)) {
        throw Failure("the plug-in does not take a state (" + quoted(state.path) + ")");
    }
    if (!plugin.setChunk(state.kind, state.chunk)) {
        throw Failure("the plug-in refuses the " + state.description + " of " + quoted(state.path) +
                      ": it is another plug-in's, or of a version unknown to this one");
    }
    return state.description + " of " + state.path.string();
}

} // namespace

StateSetup::StateSetup(const StateRequest& request) : program_(request.program) {
    if (!request.chunk.empty()) {
        PluginState state = readChunkFile(request.chunk);
        (state.kind == StateKind::Bank ? banks_ : presets_).push_back(std::move(state));
    }
    if (!request.bank.empty()) banks_.push_back(readBankFile(request.bank));
    if (!request.preset.empty()) presets_.push_back(readPresetFile(request.preset));
}

std::vector<std::string> StateSetup::apply(PluginInstance& plugin) const {
    std::vector<std::string> words;
    for (const PluginState& bank : banks_) words.push_back(give(plugin, bank));
    if (!program_.empty()) {
        const int index = findProgram(plugin, program_);
        plugin.setProgram(index);
        words.push_back(programWords(plugin, index));
    }
    for (const PluginState& preset : presets_) words.push_back(give(plugin, preset));
    return words;
}

int findProgram(const PluginInstance& plugin, const std::string& text) {
    const int count = plugin.programCount();
    int inOtherCase = -1;
    for (int i = 0; i < count; ++i) {
        const std::string name = plugin.programName(i);
        if (name == text) return i;
        if (inOtherCase < 0 && strcasecmp(name.c_str(), text.c_str()) == 0) inOtherCase = i;
    }
    if (inOtherCase >= 0) return inOtherCase;
    int index = -1;
    const char* end = text.c_str() + text.size();
    const auto [rest, error] = std::from_chars(text.c_str(), end, index);
    if (error == std::errc{} && rest == end && index >= 0 && index < count) return index;
    throw Failure("the plug-in has no program \"" + text + "\"" + programList(plugin));
}

std::vector<std::string> saveState(const PluginInstance& plugin, const SaveRequest& request) {
    std::vector<std::string> words;
    const auto save = [&](const std::filesystem::path& path, const std::string& bytes) {
        writeWholeFile(path, bytes);
        words.push_back(path.string());
    };
    const auto fileOf = [&](StateKind kind) { return fileOfChunk(plugin.chunk(kind), kind); };
    if (!request.preset.empty()) save(request.preset, fileOf(StateKind::Program));
    if (!request.bank.empty()) save(request.bank, fileOf(StateKind::Bank));
    if (!request.chunk.empty()) save(request.chunk, plugin.chunk(StateKind::Bank));
    return words;
}

} // namespace lum::host
