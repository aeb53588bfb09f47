#include "platform/linux/vision/HandModelFolder.h"

#include <algorithm>
#include <array>
#include <system_error>

#include "platform/linux/vision/HandNetworks.h"

namespace lanternfly {

std::filesystem::path defaultHandModelFolder() {
    const std::filesystem::path installed{LANTERNFLY_INSTALLED_MODELS};
    const std::array files{HandNetworks::detectorFile, HandNetworks::landmarksFile};
    const bool isInstalled = std::all_of(files.begin(), files.end(), [&](const char* file) {
        std::error_code ignored;
        return std::filesystem::is_regular_file(installed / file, ignored);
    });
    return isInstalled ? installed : std::filesystem::path{LANTERNFLY_SOURCE_MODELS};
}

} // namespace lanternfly
