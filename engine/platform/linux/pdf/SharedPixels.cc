#include "platform/linux/pdf/SharedPixels.h"

#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace lanternfly {

std::optional<SharedPixels> SharedPixels::create(size_t sizeBytes) {
    SharedPixels pixels;
    pixels._descriptor.reset(memfd_create("lanternfly.pdf.page", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    const int descriptor = pixels.descriptor();
    if (descriptor < 0 || ftruncate(descriptor, static_cast<off_t>(sizeBytes)) != 0 ||
        fcntl(descriptor, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0)
        return std::nullopt;
    void* mapped = mmap(nullptr, sizeBytes, PROT_READ, MAP_SHARED, descriptor, 0);
    if (mapped == MAP_FAILED) return std::nullopt;
    pixels._bytes = static_cast<uint8_t*>(mapped);
    pixels._sizeBytes = sizeBytes;
    return pixels;
}

SharedPixels::SharedPixels(SharedPixels&& other) noexcept
    : _descriptor(std::move(other._descriptor)), _bytes(std::exchange(other._bytes, nullptr)),
      _sizeBytes(std::exchange(other._sizeBytes, 0)) {}

SharedPixels& SharedPixels::operator=(SharedPixels&& other) noexcept {
    std::swap(_descriptor, other._descriptor);
    std::swap(_bytes, other._bytes);
    std::swap(_sizeBytes, other._sizeBytes);
    return *this;
}

SharedPixels::~SharedPixels() {
    if (_bytes) munmap(_bytes, _sizeBytes);
}

} // namespace lanternfly
