/// The program's commands. Each adds itself, with its options and help, to the command line and
/// runs from there; a Failure thrown by it ends the program with its message.
#pragma once

namespace CLI {
class App;
}

namespace lum::host {

void addRenderCommand(CLI::App& program);
void addInfoCommand(CLI::App& program);
void addResponseCommand(CLI::App& program);
void addBenchCommand(CLI::App& program);
void addLevelsCommand(CLI::App& program);

} // namespace lum::host
