// Counts heap allocations of the program. Include in one source of a test program: it replaces
// operator new.
// Threads: safe.
#pragma once

#include <atomic>
#include <cstdlib>
#include <new>

namespace lanternfly::test {
inline std::atomic<size_t> allocationCount{0};
} // namespace lanternfly::test

void* operator new(size_t size) {
    ++lanternfly::test::allocationCount;
    if (void* block = std::malloc(size > 0 ? size : 1)) return block;
    throw std::bad_alloc();
}
void* operator new[](size_t size) {
    return operator new(size);
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    ++lanternfly::test::allocationCount;
    return std::malloc(size > 0 ? size : 1);
}
void* operator new[](size_t size, const std::nothrow_t& nothrow) noexcept {
    return operator new(size, nothrow);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, size_t) noexcept {
    std::free(block);
}
void operator delete[](void* block, size_t) noexcept {
    std::free(block);
}
