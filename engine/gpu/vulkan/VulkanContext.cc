#include "gpu/vulkan/VulkanContext.h"

#include <algorithm>
#include <cstring>

#include "base/PixelBuffer.h"

namespace lanternfly {

namespace {

constexpr uint32_t setsPerPool = 64;

// Drawn to, blended, copied and sampled bilinearly.
constexpr VkFormatFeatureFlags pictureFeatures = VK_FORMAT_FEATURE_SAMPLED_IMAGE_FILTER_LINEAR_BIT |
                                                 VK_FORMAT_FEATURE_COLOR_ATTACHMENT_BLEND_BIT |
                                                 VK_FORMAT_FEATURE_TRANSFER_SRC_BIT |
                                                 VK_FORMAT_FEATURE_TRANSFER_DST_BIT;

// Of a family that draws; absent when the device has none.
int drawingQueueFamily(VkPhysicalDevice device) {
    uint32_t count = 0;
    vkGetPhysicalDeviceQueueFamilyProperties(device, &count, nullptr);
    std::vector<VkQueueFamilyProperties> families(count);
    vkGetPhysicalDeviceQueueFamilyProperties(device, &count, families.data());
    for (uint32_t i = 0; i < count; ++i)
        if (families[i].queueFlags & VK_QUEUE_GRAPHICS_BIT) return static_cast<int>(i);
    return -1;
}

bool hasExtension(VkPhysicalDevice device, const char* name) {
    uint32_t count = 0;
    vkEnumerateDeviceExtensionProperties(device, nullptr, &count, nullptr);
    std::vector<VkExtensionProperties> extensions(count);
    vkEnumerateDeviceExtensionProperties(device, nullptr, &count, extensions.data());
    extensions.resize(count);
    return std::any_of(extensions.begin(), extensions.end(),
                       [&](const VkExtensionProperties& extension) {
                           return std::strcmp(extension.extensionName, name) == 0;
                       });
}

bool canImportPixelBuffers(VkPhysicalDevice device) {
    if (!hasExtension(device, VK_EXT_EXTERNAL_MEMORY_HOST_EXTENSION_NAME)) return false;
    VkPhysicalDeviceExternalMemoryHostPropertiesEXT host{};
    host.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_EXTERNAL_MEMORY_HOST_PROPERTIES_EXT;
    VkPhysicalDeviceProperties2 properties{};
    properties.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_PROPERTIES_2;
    properties.pNext = &host;
    vkGetPhysicalDeviceProperties2(device, &properties);
    return host.minImportedHostPointerAlignment <= PixelBuffer::alignmentBytes;
}

} // namespace

bool VulkanContext::isUsable(VkPhysicalDevice device) {
    VkPhysicalDeviceProperties properties;
    vkGetPhysicalDeviceProperties(device, &properties);
    if (properties.apiVersion < VK_API_VERSION_1_3 || drawingQueueFamily(device) < 0) return false;
    VkPhysicalDeviceVulkan13Features features13{};
    features13.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_3_FEATURES;
    VkPhysicalDeviceFeatures2 features{};
    features.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FEATURES_2;
    features.pNext = &features13;
    vkGetPhysicalDeviceFeatures2(device, &features);
    if (!features13.dynamicRendering || !features13.synchronization2) return false;
    VkFormatProperties format;
    vkGetPhysicalDeviceFormatProperties(device, VK_FORMAT_B8G8R8A8_UNORM, &format);
    return (format.optimalTilingFeatures & pictureFeatures) == pictureFeatures;
}

VulkanContext::VulkanContext(std::shared_ptr<VulkanInstance> instance,
                             VkPhysicalDevice physicalDevice, bool allowHostImport)
    : _instance(std::move(instance)) {
    vkGetPhysicalDeviceProperties(physicalDevice, &_properties);
    vkGetPhysicalDeviceMemoryProperties(physicalDevice, &_memory);
    _queueFamily = static_cast<uint32_t>(drawingQueueFamily(physicalDevice));

    const float priority = 1;
    VkDeviceQueueCreateInfo queue{};
    queue.sType = VK_STRUCTURE_TYPE_DEVICE_QUEUE_CREATE_INFO;
    queue.queueFamilyIndex = _queueFamily;
    queue.queueCount = 1;
    queue.pQueuePriorities = &priority;
    VkPhysicalDeviceVulkan13Features features{};
    features.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_3_FEATURES;
    features.dynamicRendering = VK_TRUE;
    features.synchronization2 = VK_TRUE;
    const bool importsHostMemory = allowHostImport && canImportPixelBuffers(physicalDevice);
    const char* extension = VK_EXT_EXTERNAL_MEMORY_HOST_EXTENSION_NAME;
    VkDeviceCreateInfo info{};
    info.sType = VK_STRUCTURE_TYPE_DEVICE_CREATE_INFO;
    info.pNext = &features;
    info.queueCreateInfoCount = 1;
    info.pQueueCreateInfos = &queue;
    info.enabledExtensionCount = importsHostMemory ? 1 : 0;
    info.ppEnabledExtensionNames = &extension;
    check(vkCreateDevice(physicalDevice, &info, nullptr, &_device), "vkCreateDevice");
    vkGetDeviceQueue(_device, _queueFamily, 0, &_queue);

    const auto function = [&](const char* name) { return vkGetDeviceProcAddr(_device, name); };
    if (importsHostMemory)
        _hostPointerProperties = reinterpret_cast<PFN_vkGetMemoryHostPointerPropertiesEXT>(
            function("vkGetMemoryHostPointerPropertiesEXT"));
    if (_instance->hasDebugUtils()) {
        _setName = reinterpret_cast<PFN_vkSetDebugUtilsObjectNameEXT>(
            function("vkSetDebugUtilsObjectNameEXT"));
        _beginLabel = reinterpret_cast<PFN_vkCmdBeginDebugUtilsLabelEXT>(
            function("vkCmdBeginDebugUtilsLabelEXT"));
        _endLabel = reinterpret_cast<PFN_vkCmdEndDebugUtilsLabelEXT>(
            function("vkCmdEndDebugUtilsLabelEXT"));
    }
    try {
        makePictureLayout();
    } catch (const VulkanError&) {
        _sampler = {};
        vkDestroyDevice(_device, nullptr);
        throw;
    }
}

VulkanContext::~VulkanContext() {
    _pools.clear();
    _pictureLayout = {};
    _sampler = {};
    vkDestroyDevice(_device, nullptr);
}

void VulkanContext::makePictureLayout() {
    VkSamplerCreateInfo sampler{};
    sampler.sType = VK_STRUCTURE_TYPE_SAMPLER_CREATE_INFO;
    sampler.magFilter = sampler.minFilter = VK_FILTER_LINEAR;
    sampler.addressModeU = sampler.addressModeV = sampler.addressModeW =
        VK_SAMPLER_ADDRESS_MODE_CLAMP_TO_EDGE;
    _sampler = make<SamplerHandle>(vkCreateSampler, sampler, "lanternfly.sampler");

    const VkSampler immutableSampler = _sampler.get();
    VkDescriptorSetLayoutBinding binding{};
    binding.descriptorType = VK_DESCRIPTOR_TYPE_COMBINED_IMAGE_SAMPLER;
    binding.descriptorCount = 1;
    binding.stageFlags = VK_SHADER_STAGE_FRAGMENT_BIT;
    binding.pImmutableSamplers = &immutableSampler;
    VkDescriptorSetLayoutCreateInfo layout{};
    layout.sType = VK_STRUCTURE_TYPE_DESCRIPTOR_SET_LAYOUT_CREATE_INFO;
    layout.bindingCount = 1;
    layout.pBindings = &binding;
    _pictureLayout =
        make<SetLayoutHandle>(vkCreateDescriptorSetLayout, layout, "lanternfly.pictureLayout");
}

MemoryHandle VulkanContext::allocate(VkDeviceSize bytes, uint32_t typeBits,
                                     VkMemoryPropertyFlags required,
                                     VkMemoryPropertyFlags preferred, void* importedPointer) const {
    VkImportMemoryHostPointerInfoEXT import{};
    import.sType = VK_STRUCTURE_TYPE_IMPORT_MEMORY_HOST_POINTER_INFO_EXT;
    import.handleType = VK_EXTERNAL_MEMORY_HANDLE_TYPE_HOST_ALLOCATION_BIT_EXT;
    import.pHostPointer = importedPointer;
    if (importedPointer) {
        VkMemoryHostPointerPropertiesEXT pointer{};
        pointer.sType = VK_STRUCTURE_TYPE_MEMORY_HOST_POINTER_PROPERTIES_EXT;
        check(_hostPointerProperties(_device, import.handleType, importedPointer, &pointer),
              "vkGetMemoryHostPointerPropertiesEXT");
        typeBits &= pointer.memoryTypeBits;
    }
    for (const VkMemoryPropertyFlags wanted : {required | preferred, required})
        for (uint32_t i = 0; i < _memory.memoryTypeCount; ++i) {
            const bool hasProperties = (_memory.memoryTypes[i].propertyFlags & wanted) == wanted;
            if (!(typeBits >> i & 1) || !hasProperties) continue;
            VkMemoryAllocateInfo info{};
            info.sType = VK_STRUCTURE_TYPE_MEMORY_ALLOCATE_INFO;
            info.pNext = importedPointer ? &import : nullptr;
            info.allocationSize = bytes;
            info.memoryTypeIndex = i;
            return make<MemoryHandle>(vkAllocateMemory, info, "lanternfly.memory");
        }
    throw VulkanError(VK_ERROR_FEATURE_NOT_PRESENT, "no fitting memory");
}

VulkanContext::PictureSet VulkanContext::makePictureSet(VkImageView view) {
    PictureSet result;
    const std::lock_guard guard(_poolMutex);
    const VkDescriptorSetLayout layout = _pictureLayout.get();
    const auto allocateFrom = [&](VkDescriptorPool pool) {
        VkDescriptorSetAllocateInfo info{};
        info.sType = VK_STRUCTURE_TYPE_DESCRIPTOR_SET_ALLOCATE_INFO;
        info.descriptorPool = pool;
        info.descriptorSetCount = 1;
        info.pSetLayouts = &layout;
        result.pool = pool;
        return vkAllocateDescriptorSets(_device, &info, &result.set) == VK_SUCCESS;
    };
    const bool isFound =
        std::any_of(_pools.begin(), _pools.end(),
                    [&](const DescriptorPoolHandle& pool) { return allocateFrom(pool.get()); });
    if (!isFound) {
        const VkDescriptorPoolSize size{VK_DESCRIPTOR_TYPE_COMBINED_IMAGE_SAMPLER, setsPerPool};
        VkDescriptorPoolCreateInfo info{};
        info.sType = VK_STRUCTURE_TYPE_DESCRIPTOR_POOL_CREATE_INFO;
        info.flags = VK_DESCRIPTOR_POOL_CREATE_FREE_DESCRIPTOR_SET_BIT;
        info.maxSets = setsPerPool;
        info.poolSizeCount = 1;
        info.pPoolSizes = &size;
        _pools.push_back(
            make<DescriptorPoolHandle>(vkCreateDescriptorPool, info, "lanternfly.pictures"));
        if (!allocateFrom(_pools.back().get()))
            throw VulkanError(VK_ERROR_OUT_OF_POOL_MEMORY, "vkAllocateDescriptorSets");
    }
    ++_madeObjectCount;
    VkDescriptorImageInfo image{};
    image.imageView = view;
    image.imageLayout = VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL;
    VkWriteDescriptorSet write{};
    write.sType = VK_STRUCTURE_TYPE_WRITE_DESCRIPTOR_SET;
    write.dstSet = result.set;
    write.descriptorCount = 1;
    write.descriptorType = VK_DESCRIPTOR_TYPE_COMBINED_IMAGE_SAMPLER;
    write.pImageInfo = &image;
    vkUpdateDescriptorSets(_device, 1, &write, 0, nullptr);
    return result;
}

void VulkanContext::freePictureSet(const PictureSet& set) {
    const std::lock_guard guard(_poolMutex);
    vkFreeDescriptorSets(_device, set.pool, 1, &set.set);
}

void VulkanContext::submitAndWait(VkCommandBuffer commands, VkFence fence) {
    VkResult result = _nextSubmissionResult.exchange(VK_SUCCESS);
    if (result == VK_SUCCESS && _isLost) result = VK_ERROR_DEVICE_LOST;
    if (result == VK_SUCCESS) {
        VkCommandBufferSubmitInfo buffer{};
        buffer.sType = VK_STRUCTURE_TYPE_COMMAND_BUFFER_SUBMIT_INFO;
        buffer.commandBuffer = commands;
        VkSubmitInfo2 info{};
        info.sType = VK_STRUCTURE_TYPE_SUBMIT_INFO_2;
        info.commandBufferInfoCount = 1;
        info.pCommandBufferInfos = &buffer;
        const std::lock_guard guard(_queueMutex);
        result = vkQueueSubmit2(_queue, 1, &info, fence);
    }
    if (result == VK_SUCCESS) result = vkWaitForFences(_device, 1, &fence, VK_TRUE, UINT64_MAX);
    if (result == VK_ERROR_DEVICE_LOST) _isLost = true;
    check(result, "vkQueueSubmit2");
    check(vkResetFences(_device, 1, &fence), "vkResetFences");
}

void VulkanContext::setLabel(VkObjectType type, uint64_t object, const char* label) const {
    if (!_setName) return;
    VkDebugUtilsObjectNameInfoEXT info{};
    info.sType = VK_STRUCTURE_TYPE_DEBUG_UTILS_OBJECT_NAME_INFO_EXT;
    info.objectType = type;
    info.objectHandle = object;
    info.pObjectName = label;
    _setName(_device, &info);
}

void VulkanContext::beginLabel(VkCommandBuffer commands, const char* label) const {
    if (!_beginLabel) return;
    VkDebugUtilsLabelEXT info{};
    info.sType = VK_STRUCTURE_TYPE_DEBUG_UTILS_LABEL_EXT;
    info.pLabelName = label;
    _beginLabel(commands, &info);
}

void VulkanContext::endLabel(VkCommandBuffer commands) const {
    if (_endLabel) _endLabel(commands);
}

} // namespace lanternfly
