#include "gpu/vulkan/VulkanInstance.h"

#include <algorithm>
#include <cstring>

#include "gpu/vulkan/VulkanContext.h"

namespace lanternfly {

namespace {

constexpr const char* validationLayer = "VK_LAYER_KHRONOS_validation";

template <typename Property, typename Fetch>
std::vector<Property> fetchAll(Fetch fetch) {
    uint32_t count = 0;
    std::vector<Property> all;
    if (fetch(&count, nullptr) < 0) return all;
    all.resize(count);
    if (fetch(&count, all.data()) < 0) count = 0;
    all.resize(count);
    return all;
}

bool isLayerInstalled(const char* name) {
    const auto layers = fetchAll<VkLayerProperties>(vkEnumerateInstanceLayerProperties);
    return std::any_of(layers.begin(), layers.end(), [&](const VkLayerProperties& layer) {
        return std::strcmp(layer.layerName, name) == 0;
    });
}

bool isExtensionInstalled(const char* layer, const char* name) {
    const auto extensions =
        fetchAll<VkExtensionProperties>([&](uint32_t* count, VkExtensionProperties* all) {
            return vkEnumerateInstanceExtensionProperties(layer, count, all);
        });
    return std::any_of(extensions.begin(), extensions.end(),
                       [&](const VkExtensionProperties& extension) {
                           return std::strcmp(extension.extensionName, name) == 0;
                       });
}

VulkanCandidate::Kind kindOf(VkPhysicalDeviceType type) {
    switch (static_cast<int>(type)) {
    case VK_PHYSICAL_DEVICE_TYPE_DISCRETE_GPU:
        return VulkanCandidate::Kind::discrete;
    case VK_PHYSICAL_DEVICE_TYPE_INTEGRATED_GPU:
        return VulkanCandidate::Kind::integrated;
    case VK_PHYSICAL_DEVICE_TYPE_VIRTUAL_GPU:
        return VulkanCandidate::Kind::virtualised;
    case VK_PHYSICAL_DEVICE_TYPE_CPU:
        return VulkanCandidate::Kind::cpu;
    default:
        return VulkanCandidate::Kind::other;
    }
}

} // namespace

VulkanInstance::VulkanInstance(bool validate) {
    VkApplicationInfo application{};
    application.sType = VK_STRUCTURE_TYPE_APPLICATION_INFO;
    application.pApplicationName = "Lanternfly";
    application.apiVersion = VK_API_VERSION_1_3;

    const bool isValidated = validate && isLayerInstalled(validationLayer);
    if (validate && !isValidated) _log.warning("{} is not installed", validationLayer);
    _hasDebugUtils =
        isExtensionInstalled(nullptr, VK_EXT_DEBUG_UTILS_EXTENSION_NAME) ||
        (isValidated && isExtensionInstalled(validationLayer, VK_EXT_DEBUG_UTILS_EXTENSION_NAME));
    const char* extensions[] = {VK_EXT_DEBUG_UTILS_EXTENSION_NAME,
                                VK_EXT_VALIDATION_FEATURES_EXTENSION_NAME};

    VkDebugUtilsMessengerCreateInfoEXT messages{};
    messages.sType = VK_STRUCTURE_TYPE_DEBUG_UTILS_MESSENGER_CREATE_INFO_EXT;
    messages.messageSeverity = VK_DEBUG_UTILS_MESSAGE_SEVERITY_WARNING_BIT_EXT |
                               VK_DEBUG_UTILS_MESSAGE_SEVERITY_ERROR_BIT_EXT;
    messages.messageType = VK_DEBUG_UTILS_MESSAGE_TYPE_VALIDATION_BIT_EXT |
                           VK_DEBUG_UTILS_MESSAGE_TYPE_PERFORMANCE_BIT_EXT;
    messages.pfnUserCallback = onMessage;
    messages.pUserData = this;
    const VkValidationFeatureEnableEXT synchronization =
        VK_VALIDATION_FEATURE_ENABLE_SYNCHRONIZATION_VALIDATION_EXT;
    VkValidationFeaturesEXT features{};
    features.sType = VK_STRUCTURE_TYPE_VALIDATION_FEATURES_EXT;
    features.pNext = &messages;
    features.enabledValidationFeatureCount = 1;
    features.pEnabledValidationFeatures = &synchronization;

    VkInstanceCreateInfo info{};
    info.sType = VK_STRUCTURE_TYPE_INSTANCE_CREATE_INFO;
    info.pNext = isValidated ? &features : nullptr;
    info.pApplicationInfo = &application;
    info.enabledLayerCount = isValidated ? 1 : 0;
    info.ppEnabledLayerNames = &validationLayer;
    info.enabledExtensionCount = isValidated ? 2 : _hasDebugUtils ? 1 : 0;
    info.ppEnabledExtensionNames = extensions;
    check(vkCreateInstance(&info, nullptr, &_instance), "vkCreateInstance");

    if (isValidated) {
        const auto create = reinterpret_cast<PFN_vkCreateDebugUtilsMessengerEXT>(
            vkGetInstanceProcAddr(_instance, "vkCreateDebugUtilsMessengerEXT"));
        if (create) create(_instance, &messages, nullptr, &_messenger);
    }
    _physicalDevices = fetchAll<VkPhysicalDevice>([&](uint32_t* count, VkPhysicalDevice* devices) {
        return vkEnumeratePhysicalDevices(_instance, count, devices);
    });
    for (VkPhysicalDevice device : _physicalDevices) {
        VkPhysicalDeviceProperties properties;
        vkGetPhysicalDeviceProperties(device, &properties);
        _candidates.push_back({properties.deviceName, kindOf(properties.deviceType),
                               VulkanContext::isUsable(device)});
    }
}

VulkanInstance::~VulkanInstance() {
    if (_messenger != VK_NULL_HANDLE) {
        const auto destroy = reinterpret_cast<PFN_vkDestroyDebugUtilsMessengerEXT>(
            vkGetInstanceProcAddr(_instance, "vkDestroyDebugUtilsMessengerEXT"));
        destroy(_instance, _messenger, nullptr);
    }
    if (_instance != VK_NULL_HANDLE) vkDestroyInstance(_instance, nullptr);
}

VkBool32 VulkanInstance::onMessage(VkDebugUtilsMessageSeverityFlagBitsEXT,
                                   VkDebugUtilsMessageTypeFlagsEXT,
                                   const VkDebugUtilsMessengerCallbackDataEXT* data, void* self) {
    auto& instance = *static_cast<VulkanInstance*>(self);
    ++instance._messageCount;
    instance._log.warning("validation: {}", data->pMessage);
    return VK_FALSE;
}

} // namespace lanternfly
