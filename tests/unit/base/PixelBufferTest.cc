#include "base/PixelBuffer.h"
#include "base/PixelBufferPool.h"

#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace lanternfly {

TEST(PixelBuffer, IsPageAlignedWithRowsOfWholeCacheLines) {
    const auto buffer = PixelBuffer::create(13, 7);
    ASSERT_TRUE(buffer);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(buffer->data()) % PixelBuffer::alignmentBytes, 0u);
    EXPECT_EQ(buffer->strideBytes() % 64, 0u);
    EXPECT_GE(buffer->strideBytes(), 13u * 4u);
}

TEST(PixelBuffer, RefusesSidesOutOfRange) {
    EXPECT_FALSE(PixelBuffer::create(0, 10));
    EXPECT_FALSE(PixelBuffer::create(10, -1));
    EXPECT_FALSE(PixelBuffer::create(PixelBuffer::maxSidePX + 1, 10));
}

TEST(PixelBufferPool, RecyclesAReturnedBuffer) {
    const auto pool = PixelBufferPool::create(64, 64, PixelFormat::bgra8, 2);
    const PixelBuffer* first = pool->take().buffer.get();
    EXPECT_EQ(pool->take().buffer.get(), first);
}

TEST(PixelBufferPool, IsExhaustedUntilABufferComesBack) {
    const auto pool = PixelBufferPool::create(64, 64, PixelFormat::bgra8, 1);
    auto taken = pool->take();
    EXPECT_EQ(pool->take().status, PixelBufferPool::Status::exhausted);
    taken.buffer.reset();
    EXPECT_EQ(pool->take().status, PixelBufferPool::Status::ok);
}

TEST(PixelBufferPool, BuffersOutliveThePool) {
    auto pool = PixelBufferPool::create(64, 64, PixelFormat::bgra8);
    const auto kept = pool->take().buffer;
    pool.reset();
    kept->row(63)[0] = 1;
    EXPECT_EQ(kept->row(63)[0], 1);
}

TEST(PixelBufferPool, HandsBuffersBetweenThreads) {
    const auto pool = PixelBufferPool::create(16, 16, PixelFormat::bgra8, 4);
    std::vector<std::jthread> threads;
    for (int t = 0; t < 2; ++t)
        threads.emplace_back([&pool, t] {
            for (int i = 0; i < 1000; ++i)
                pool->take().buffer->row(0)[0] = static_cast<uint8_t>(t);
        });
}

} // namespace lanternfly
