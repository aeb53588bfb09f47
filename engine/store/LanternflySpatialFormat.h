// Which files may be dropped in as models.
// Threads: safe.
#pragma once

#include <array>
#include <filesystem>
#include <string_view>

namespace lanternfly::LanternflySpatialFormat {

inline constexpr std::array<std::string_view, 2> acceptedUTIs{
    "com.pixar.universal-scene-description", "com.pixar.universal-scene-description-mobile"};
inline constexpr std::array<std::string_view, 4> acceptedExtensions{"usdz", "usda", "usdc", "usd"};
// Known and not supported: refused with a message of their own instead of being ignored.
inline constexpr std::array<std::string_view, 7> rejectedExtensions{"obj", "fbx", "glb", "gltf",
                                                                    "stl", "dae", "ply"};

enum class Verdict { accepted, rejected, unknown };
// By the file's extension, in letters of either case.
Verdict verdict(const std::filesystem::path& file);

} // namespace lanternfly::LanternflySpatialFormat
