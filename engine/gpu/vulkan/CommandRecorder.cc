#include "gpu/vulkan/CommandRecorder.h"

namespace lanternfly {

CommandRecorder::CommandRecorder(VulkanContextRef context, const char* label)
    : _context(std::move(context)), _label(label) {
    VkCommandPoolCreateInfo pool{};
    pool.sType = VK_STRUCTURE_TYPE_COMMAND_POOL_CREATE_INFO;
    pool.flags = VK_COMMAND_POOL_CREATE_TRANSIENT_BIT;
    pool.queueFamilyIndex = _context->queueFamily();
    _pool = _context->make<CommandPoolHandle>(vkCreateCommandPool, pool, label);
    VkFenceCreateInfo fence{};
    fence.sType = VK_STRUCTURE_TYPE_FENCE_CREATE_INFO;
    _fence = _context->make<FenceHandle>(vkCreateFence, fence, label);
    VkCommandBufferAllocateInfo buffer{};
    buffer.sType = VK_STRUCTURE_TYPE_COMMAND_BUFFER_ALLOCATE_INFO;
    buffer.commandPool = _pool.get();
    buffer.level = VK_COMMAND_BUFFER_LEVEL_PRIMARY;
    buffer.commandBufferCount = 1;
    check(vkAllocateCommandBuffers(_context->device(), &buffer, &_commands),
          "vkAllocateCommandBuffers");
}

VkCommandBuffer CommandRecorder::begin() {
    check(vkResetCommandPool(_context->device(), _pool.get(), 0), "vkResetCommandPool");
    VkCommandBufferBeginInfo info{};
    info.sType = VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO;
    info.flags = VK_COMMAND_BUFFER_USAGE_ONE_TIME_SUBMIT_BIT;
    check(vkBeginCommandBuffer(_commands, &info), "vkBeginCommandBuffer");
    _context->beginLabel(_commands, _label);
    return _commands;
}

void CommandRecorder::submitAndWait() {
    _context->endLabel(_commands);
    check(vkEndCommandBuffer(_commands), "vkEndCommandBuffer");
    _context->submitAndWait(_commands, _fence.get());
}

} // namespace lanternfly
