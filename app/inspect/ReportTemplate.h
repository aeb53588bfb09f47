// The page of report.html, with %DATA% where the data go.
// Threads: safe.
#pragma once

#include <string_view>

namespace lanternfly {

std::string_view reportTemplate();

} // namespace lanternfly
