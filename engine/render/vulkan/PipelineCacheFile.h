// What the driver compiled before, kept on disk from one run to the next.
// Threads: bound.
#pragma once

#include <filesystem>
#include <optional>

#include "gpu/vulkan/VulkanContext.h"

namespace lanternfly {

class PipelineCacheFile {
public:
    // Starts from the file if it is whole and of this device and driver, else empty. Throws
    // VulkanError.
    PipelineCacheFile(const VulkanContext& context, std::optional<std::filesystem::path> path);

    VkPipelineCache get() const { return _cache.get(); }
    // Replaces the file if the cache has changed since it was read. A file that cannot be written
    // only costs the next start some time.
    void save();

    // $XDG_CACHE_HOME/lanternfly/, one file a device and driver; absent without a home.
    static std::optional<std::filesystem::path> pathFor(const VulkanContext& context);

private:
    const VulkanContext& _context;
    const std::optional<std::filesystem::path> _path;
    std::string _read; // what the file held
    PipelineCacheHandle _cache;
};

} // namespace lanternfly
