#include "Host/Failure.h"
#include "Validate/Check.h"
#include "Validate/Golden.h"
#include "Validate/Signals.h"
#include "Validate/Subject.h"

#include <algorithm>
#include <fstream>
#include <sstream>

// A golden chunk NAME.chunk has the bytes as the host stores them. NAME.txt tells line by line what
// they must load to: the kind, and of each program of a bank, or of the one,
// its name and every parameter's normalised value.

namespace lum::validate {

namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t kScrambled[] = {11, 12}; // seeds of states the host has made

Bytes readBytes(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

std::string readText(const fs::path& path) {
    const Bytes bytes = readBytes(path);
    return {bytes.begin(), bytes.end()};
}

void describeProgram(std::ostream& out, const Subject& subject) {
    out << "program \"" << subject.text(vst::kEffectGetProgramName) << "\"\n";
    for (int i = 0; i < subject.parameterCount(); i++)
        out << text("  %-3d %-8s %.6f\n", i, subject.text(vst::kEffectGetParameterName, i).c_str(),
                    static_cast<double>(subject.get(i)));
}

/// All that a host sees of the state.
std::string describe(Subject& subject, bool isProgram) {
    std::ostringstream out;
    out << (isProgram ? "kind program\n" : "kind bank\n");
    if (isProgram) {
        describeProgram(out, subject);
        return out.str();
    }
    const auto present = static_cast<int>(subject.send(vst::kEffectGetProgram));
    for (int i = 0; i < subject.effect().numPrograms; i++) {
        subject.send(vst::kEffectSetProgram, 0, i);
        describeProgram(out, subject);
    }
    subject.send(vst::kEffectSetProgram, 0, present);
    return out.str();
}

void write(const fs::path& folder, const std::string& name, Subject& subject, bool isProgram) {
    const Bytes bytes = subject.chunk(isProgram);
    if (bytes.empty()) throw host::Failure("the plug-in gives no chunk");
    std::ofstream(folder / (name + ".chunk"), std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    std::ofstream(folder / (name + ".txt")) << describe(subject, isProgram);
}

/// The first line in which two texts differ.
std::string firstDifference(const std::string& expected, const std::string& found) {
    std::istringstream a(expected);
    std::istringstream b(found);
    std::string lineA;
    std::string lineB;
    while (std::getline(a, lineA)) {
        if (!std::getline(b, lineB)) return "less than expected";
        if (lineA != lineB) return text("\"%s\" is now \"%s\"", lineA.c_str(), lineB.c_str());
    }
    return "more than expected";
}

Outcome goldenChunks(const Task& task) {
    if (task.goldenFolder.empty()) return skip("no folder given with --golden");
    const host::PluginModule module(task.plugin);
    Findings findings;
    int count = 0;
    for (const auto& entry : fs::directory_iterator(task.goldenFolder)) {
        if (entry.path().extension() != ".chunk") continue;
        const std::string name = entry.path().stem().string();
        const std::string expected = readText(fs::path(entry.path()).replace_extension(".txt"));
        const bool isProgram = expected.starts_with("kind program");
        Subject subject(module);
        subject.open();
        scramble(subject, 99); // nothing of the state before may remain
        if (!findings.expect(subject.load(isProgram, readBytes(entry.path())),
                             name + " is refused"))
            continue;
        const std::string found = describe(subject, isProgram);
        findings.expect(found == expected, name + ": " + firstDifference(expected, found));
        count++;
    }
    findings.expect(count > 0, "the folder has no chunks");
    return findings.outcome(text("%d chunks load to their values", count));
}

} // namespace

void writeGolden(const fs::path& plugin, const fs::path& folder) {
    const host::PluginModule module(plugin);
    fs::create_directories(folder);
    {
        Subject untouched(module);
        write(folder, "bank-untouched", untouched, false);
    }
    Subject subject(module);
    subject.open();
    for (int i = 0; i < subject.effect().numPrograms; i++) {
        subject.send(vst::kEffectSetProgram, 0, i);
        write(folder, text("program-%d", i), subject, true);
    }
    for (const std::uint32_t seed : kScrambled) {
        subject.send(vst::kEffectSetProgram, 0,
                     static_cast<int>(seed) % subject.effect().numPrograms);
        scramble(subject, seed);
        std::string name = text("Host's %u \xC3\xA4\xE2\x82\xAC", seed);
        subject.send(vst::kEffectSetProgramName, 0, 0, name.data());
        write(folder, text("program-host-%u", seed), subject, true);
        write(folder, text("bank-host-%u", seed), subject, false);
    }
}

std::vector<GoldenChunk> goldenPrograms(const fs::path& folder) {
    std::vector<GoldenChunk> chunks;
    if (folder.empty()) return chunks;
    for (const auto& entry : fs::directory_iterator(folder)) {
        const std::string name = entry.path().stem().string();
        if (entry.path().extension() == ".chunk" && name.starts_with("program"))
            chunks.push_back({name, readBytes(entry.path())});
    }
    std::ranges::sort(chunks, {}, &GoldenChunk::name);
    return chunks;
}

std::span<const Check> goldenChecks() {
    static constexpr Check kChecks[] = {
        {"State", "goldenChunksLoadToTheirValues", &goldenChunks, 30},
    };
    return kChecks;
}

} // namespace lum::validate
