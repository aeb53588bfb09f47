#include "platform/linux/vision/HandModelFolder.h"

#include <system_error>

#include "platform/linux/vision/HandModel.h"

namespace lanternfly {

std::filesystem::path defaultHandModelFolder() {
    const std::filesystem::path installed{LANTERNFLY_INSTALLED_MODELS};
    std::error_code ignored;
    const bool isInstalled =
        std::filesystem::is_regular_file(installed / HandModel::descriptionFile, ignored);
    return isInstalled ? installed : std::filesystem::path{LANTERNFLY_SOURCE_MODELS};
}

} // namespace lanternfly
