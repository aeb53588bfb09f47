#include "render/vulkan/PipelineCacheFile.h"

#include <cstring>

#include "base/FileBytes.h"
#include "base/UserFolders.h"

namespace lanternfly {

namespace {

constexpr size_t maxFileBytes = 64u << 20;
constexpr char magic[8] = {'L', 'F', 'P', 'I', 'P', 'E', '0', '1'};

// Drivers trust their cache; a file that was cut or changed must not reach them.
struct Header {
    char magic[8];
    uint64_t checksum;
};

uint64_t checksumOf(std::string_view bytes) {
    uint64_t hash = 0xcbf29ce484222325u;
    for (const char byte : bytes)
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3u;
    return hash;
}

bool isOfDevice(std::string_view data, const VkPhysicalDeviceProperties& properties) {
    VkPipelineCacheHeaderVersionOne header;
    if (data.size() < sizeof header) return false;
    std::memcpy(&header, data.data(), sizeof header);
    return header.headerVersion == VK_PIPELINE_CACHE_HEADER_VERSION_ONE &&
           header.vendorID == properties.vendorID && header.deviceID == properties.deviceID &&
           std::memcmp(header.pipelineCacheUUID, properties.pipelineCacheUUID, VK_UUID_SIZE) == 0;
}

std::string readCache(const std::filesystem::path& path,
                      const VkPhysicalDeviceProperties& properties) {
    std::string file;
    Header header;
    if (readFile(path, maxFileBytes, file) || file.size() < sizeof header) return {};
    std::memcpy(&header, file.data(), sizeof header);
    const auto data = std::string_view(file).substr(sizeof header);
    if (std::memcmp(header.magic, magic, sizeof magic) != 0 ||
        header.checksum != checksumOf(data) || !isOfDevice(data, properties))
        return {};
    return std::string(data);
}

} // namespace

PipelineCacheFile::PipelineCacheFile(const VulkanContext& context,
                                     std::optional<std::filesystem::path> path)
    : _context(context), _path(std::move(path)) {
    if (_path) _read = readCache(*_path, context.properties());
    VkPipelineCacheCreateInfo info{};
    info.sType = VK_STRUCTURE_TYPE_PIPELINE_CACHE_CREATE_INFO;
    info.initialDataSize = _read.size();
    info.pInitialData = _read.data();
    _cache = context.make<PipelineCacheHandle>(vkCreatePipelineCache, info, "lanternfly.pipelines");
}

void PipelineCacheFile::save() {
    if (!_path) return;
    size_t size = 0;
    const VkDevice device = _context.device();
    if (vkGetPipelineCacheData(device, get(), &size, nullptr) != VK_SUCCESS) return;
    std::string data(size, '\0');
    if (vkGetPipelineCacheData(device, get(), &size, data.data()) != VK_SUCCESS) return;
    data.resize(size);
    if (data == _read) return;
    Header header;
    std::memcpy(header.magic, magic, sizeof magic);
    header.checksum = checksumOf(data);
    std::string file(reinterpret_cast<const char*>(&header), sizeof header);
    file += data;
    std::error_code ignored;
    std::filesystem::create_directories(_path->parent_path(), ignored);
    if (!writeFileAtomically(*_path, file)) _read = std::move(data);
}

std::optional<std::filesystem::path> PipelineCacheFile::pathFor(const VulkanContext& context) {
    const auto folder = userCacheFolder();
    if (!folder) return std::nullopt;
    std::string name = "pipelines-";
    for (const uint8_t byte : context.properties().pipelineCacheUUID)
        name += fmt::format("{:02x}", byte);
    return *folder / "lanternfly" / (name + ".bin");
}

} // namespace lanternfly
