#include "store/LanternflySpatialFormat.h"

#include <algorithm>
#include <string>

namespace lanternfly::LanternflySpatialFormat {

Verdict verdict(const std::filesystem::path& file) {
    std::string extension = file.extension().string();
    if (!extension.empty()) extension.erase(0, 1);
    for (char& c : extension)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    const auto isIn = [&](const auto& list) {
        return std::find(list.begin(), list.end(), extension) != list.end();
    };
    if (isIn(acceptedExtensions)) return Verdict::accepted;
    return isIn(rejectedExtensions) ? Verdict::rejected : Verdict::unknown;
}

} // namespace lanternfly::LanternflySpatialFormat
