#include "platform/linux/vision/HandModelFolder.h"

#include "platform/linux/ProgramData.h"

namespace lanternfly {

std::filesystem::path defaultHandModelFolder() {
    return programData("models");
}

} // namespace lanternfly
