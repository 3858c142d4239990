#include "Host/RenderPlan.h"

#include "Host/Failure.h"
#include "Host/WholeFile.h"

#include <map>

namespace lum::host {

namespace {

/// One spelling for each file, whether it exists or not.
std::filesystem::path identityOf(const std::filesystem::path& path) {
    std::error_code error;
    auto identity = std::filesystem::weakly_canonical(std::filesystem::absolute(path), error);
    return error ? path : identity;
}

std::filesystem::path outputName(const std::filesystem::path& input, std::string extension) {
    if (extension.empty()) return input.filename();
    if (extension.front() != '.') extension.insert(0, ".");
    return input.stem().string() + extension;
}

void makeFolder(const std::filesystem::path& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error || !std::filesystem::is_directory(folder)) {
        throw Failure("cannot make the folder " + quoted(folder) +
                      (error ? ": " + error.message() : ": a file of this name exists"));
    }
}

} // namespace

std::vector<RenderFile> planFolder(const std::vector<std::filesystem::path>& inputs,
                                   const std::filesystem::path& folder,
                                   const std::string& extension) {
    makeFolder(folder);
    std::map<std::filesystem::path, std::filesystem::path> taken; // identity to the input it is of
    std::map<std::filesystem::path, std::filesystem::path> sources;
    for (const auto& input : inputs) sources.emplace(identityOf(input), input);
    std::vector<RenderFile> plan;
    for (const auto& input : inputs) {
        RenderFile file{input, folder / outputName(input, extension), {}};
        const auto identity = identityOf(file.output);
        if (const auto found = sources.find(identity); found != sources.end()) {
            file.refusal = "its output would replace the input " + quoted(found->second);
        } else if (const auto [entry, isNew] = taken.emplace(identity, input); !isNew) {
            file.refusal = "its output would replace that of " + quoted(entry->second);
        }
        plan.push_back(std::move(file));
    }
    return plan;
}

} // namespace lum::host
