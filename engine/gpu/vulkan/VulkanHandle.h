// Owns one object of a Vulkan device.
// Threads: value. The device must outlive it.
#pragma once

#include <utility>

#include "gpu/vulkan/Vulkan.h"

namespace lanternfly {

template <typename T, auto destroy, VkObjectType type>
class VulkanHandle {
public:
    using Object = T;
    static constexpr VkObjectType objectType = type;

    VulkanHandle() = default;
    VulkanHandle(VkDevice device, T object) : _device(device), _object(object) {}
    VulkanHandle(VulkanHandle&& other) noexcept
        : _device(other._device), _object(std::exchange(other._object, VK_NULL_HANDLE)) {}
    VulkanHandle& operator=(VulkanHandle&& other) noexcept {
        std::swap(_device, other._device);
        std::swap(_object, other._object);
        return *this;
    }
    ~VulkanHandle() {
        if (_object != VK_NULL_HANDLE) destroy(_device, _object, nullptr);
    }

    T get() const { return _object; }
    explicit operator bool() const { return _object != VK_NULL_HANDLE; }

private:
    VkDevice _device = VK_NULL_HANDLE;
    T _object = VK_NULL_HANDLE;
};

using MemoryHandle = VulkanHandle<VkDeviceMemory, vkFreeMemory, VK_OBJECT_TYPE_DEVICE_MEMORY>;
using BufferHandle = VulkanHandle<VkBuffer, vkDestroyBuffer, VK_OBJECT_TYPE_BUFFER>;
using ImageHandle = VulkanHandle<VkImage, vkDestroyImage, VK_OBJECT_TYPE_IMAGE>;
using ImageViewHandle = VulkanHandle<VkImageView, vkDestroyImageView, VK_OBJECT_TYPE_IMAGE_VIEW>;
using SamplerHandle = VulkanHandle<VkSampler, vkDestroySampler, VK_OBJECT_TYPE_SAMPLER>;
using SetLayoutHandle = VulkanHandle<VkDescriptorSetLayout, vkDestroyDescriptorSetLayout,
                                     VK_OBJECT_TYPE_DESCRIPTOR_SET_LAYOUT>;
using DescriptorPoolHandle =
    VulkanHandle<VkDescriptorPool, vkDestroyDescriptorPool, VK_OBJECT_TYPE_DESCRIPTOR_POOL>;
using PipelineLayoutHandle =
    VulkanHandle<VkPipelineLayout, vkDestroyPipelineLayout, VK_OBJECT_TYPE_PIPELINE_LAYOUT>;
using PipelineCacheHandle =
    VulkanHandle<VkPipelineCache, vkDestroyPipelineCache, VK_OBJECT_TYPE_PIPELINE_CACHE>;
using PipelineHandle = VulkanHandle<VkPipeline, vkDestroyPipeline, VK_OBJECT_TYPE_PIPELINE>;
using ShaderModuleHandle =
    VulkanHandle<VkShaderModule, vkDestroyShaderModule, VK_OBJECT_TYPE_SHADER_MODULE>;
using CommandPoolHandle =
    VulkanHandle<VkCommandPool, vkDestroyCommandPool, VK_OBJECT_TYPE_COMMAND_POOL>;
using FenceHandle = VulkanHandle<VkFence, vkDestroyFence, VK_OBJECT_TYPE_FENCE>;

} // namespace lanternfly
