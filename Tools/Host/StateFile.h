/// The plug-in's state as files hold it: a preset (.cpf), a bank (.cbf), or a chunk as a host keeps
/// it. The byte forms stand in Docs/FORMATS.md; this is a reader of its own, so that the program
/// tells what is wrong with a file without a line of the engine.
#pragma once

#include <filesystem>
#include <string>

namespace lum::host {

/// What a state is the state of; the numbers are those of the host interface.
enum class StateKind { Bank = 0, Program = 1 };

/// A state that can be given to a plug-in.
struct PluginState {
    StateKind kind = StateKind::Bank;
    std::string chunk;       // as the plug-in takes it
    std::string description; // "preset "168a:Presence", 13 entries" for the user
    std::filesystem::path path;
};

/// Read a preset file, a bank file or a chunk. Throw Failure when the file is missing, of another
/// kind or damaged. A chunk in no form known here is taken as it is, for a bank.
PluginState readPresetFile(const std::filesystem::path& path);
PluginState readBankFile(const std::filesystem::path& path);
PluginState readChunkFile(const std::filesystem::path& path);

/// The preset or bank file inside of a plug-in's chunk. Throws Failure when the chunk has not that
/// form.
std::string fileOfChunk(const std::string& chunk, StateKind kind);

} // namespace lum::host
