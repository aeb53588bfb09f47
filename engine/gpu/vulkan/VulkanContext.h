// One logical device with its queue, and what every picture and pipeline on it shares. A lost
// device is replaced by a new context.
// Threads: safe.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "gpu/vulkan/VulkanHandle.h"
#include "gpu/vulkan/VulkanInstance.h"

namespace lanternfly {

class VulkanContext {
public:
    static bool isUsable(VkPhysicalDevice device);

    // Throws VulkanError.
    VulkanContext(std::shared_ptr<VulkanInstance> instance, VkPhysicalDevice physicalDevice,
                  bool allowHostImport);
    ~VulkanContext();
    VulkanContext(const VulkanContext&) = delete;
    VulkanContext& operator=(const VulkanContext&) = delete;

    VkDevice device() const { return _device; }
    uint32_t queueFamily() const { return _queueFamily; }
    const VkPhysicalDeviceProperties& properties() const { return _properties; }
    const VulkanInstance& instance() const { return *_instance; }
    // Whether pixel buffers may become buffers of the device without a copy.
    bool canImportHostMemory() const { return _hostPointerProperties != nullptr; }

    // Makes one object: `make<SamplerHandle>(vkCreateSampler, info, "label")`. Throws VulkanError.
    template <typename Handle, typename Create, typename Info>
    Handle make(Create create, const Info& info, const char* label) const {
        typename Handle::Object object = VK_NULL_HANDLE;
        check(create(_device, &info, nullptr, &object), label);
        ++_madeObjectCount;
        setLabel(Handle::objectType, reinterpret_cast<uint64_t>(object), label);
        return Handle(_device, object);
    }
    // How many objects were ever made; in steady state it stands still.
    int madeObjectCount() const { return _madeObjectCount; }

    // Memory of one of the types in `typeBits` with all `required` properties, rather one that has
    // the `preferred` ones as well. `importedPointer` makes it the host's own pages. Throws.
    MemoryHandle allocate(VkDeviceSize bytes, uint32_t typeBits, VkMemoryPropertyFlags required,
                          VkMemoryPropertyFlags preferred, void* importedPointer = nullptr) const;

    // One picture for a fragment function, sampled bilinearly with clamped edges.
    VkDescriptorSetLayout pictureLayout() const { return _pictureLayout.get(); }
    struct PictureSet {
        VkDescriptorSet set = VK_NULL_HANDLE;
        VkDescriptorPool pool = VK_NULL_HANDLE;
    };
    PictureSet makePictureSet(VkImageView view);
    void freePictureSet(const PictureSet& set);

    // Returns when the device has finished. Throws VulkanError; after VK_ERROR_DEVICE_LOST this
    // context is of no use any more.
    void submitAndWait(VkCommandBuffer commands, VkFence fence);
    bool isLost() const { return _isLost; }
    // For tests: what the next submission returns, instead of being submitted.
    void failNextSubmission(VkResult result) { _nextSubmissionResult = result; }

    void beginLabel(VkCommandBuffer commands, const char* label) const;
    void endLabel(VkCommandBuffer commands) const;

private:
    void setLabel(VkObjectType type, uint64_t object, const char* label) const;
    void makePictureLayout();

    const std::shared_ptr<VulkanInstance> _instance;
    VkPhysicalDeviceProperties _properties{};
    VkPhysicalDeviceMemoryProperties _memory{};
    VkDevice _device = VK_NULL_HANDLE;
    uint32_t _queueFamily = 0;
    VkQueue _queue = VK_NULL_HANDLE;
    PFN_vkGetMemoryHostPointerPropertiesEXT _hostPointerProperties = nullptr;
    PFN_vkSetDebugUtilsObjectNameEXT _setName = nullptr;
    PFN_vkCmdBeginDebugUtilsLabelEXT _beginLabel = nullptr;
    PFN_vkCmdEndDebugUtilsLabelEXT _endLabel = nullptr;

    SamplerHandle _sampler;
    SetLayoutHandle _pictureLayout;
    std::mutex _poolMutex;
    std::vector<DescriptorPoolHandle> _pools;

    std::mutex _queueMutex;
    mutable std::atomic<int> _madeObjectCount{0};
    std::atomic<bool> _isLost{false};
    std::atomic<VkResult> _nextSubmissionResult{VK_SUCCESS};
};

using VulkanContextRef = std::shared_ptr<VulkanContext>;

} // namespace lanternfly
