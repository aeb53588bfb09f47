#include "platform/linux/ProgramData.h"

#include <system_error>

namespace lanternfly {

std::filesystem::path programData(const std::filesystem::path& name) {
    namespace fs = std::filesystem;
    std::error_code ignored;
    const fs::path prefix = fs::read_symlink("/proc/self/exe", ignored).parent_path().parent_path();
    const fs::path installed = prefix / "share" / "lanternfly" / name;
    return fs::exists(installed, ignored) ? installed : fs::path(LANTERNFLY_SOURCE_TREE) / name;
}

} // namespace lanternfly
