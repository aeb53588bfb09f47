#include "app/cli/OutputNames.h"

#include <fmt/format.h>

#include "app/CommandError.h"

namespace lanternfly {
namespace {

namespace fs = std::filesystem;

bool isSameFile(const fs::path& a, const fs::path& b) {
    std::error_code failure;
    if (fs::equivalent(a, b, failure)) return true;
    // Files that do not exist yet have only their names.
    const auto first = fs::weakly_canonical(a, failure);
    const auto second = fs::weakly_canonical(b, failure);
    return !first.empty() && first == second;
}

} // namespace

void refuseOverwriting(const std::vector<NamedFile>& inputs,
                       const std::vector<NamedFile>& outputs) {
    std::vector<NamedFile> taken = inputs;
    for (const NamedFile& output : outputs) {
        if (output.path.empty()) continue;
        for (const NamedFile& other : taken)
            if (isSameFile(output.path, other.path))
                throw CommandError(fmt::format("{} and {} are the same file, {}: choose another "
                                               "name for {}",
                                               other.option, output.option, output.path.string(),
                                               output.option));
        taken.push_back(output);
    }
}

} // namespace lanternfly
