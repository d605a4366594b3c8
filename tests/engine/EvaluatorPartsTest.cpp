// The evaluator's building blocks on their own: the thread pool, the result
// cache and the half-float conversion.
#include "EvaluatorFixtures.h"

#include "engine/evaluator/ImageCache.h"
#include "engine/evaluator/ThreadPool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using namespace kvengine;

TEST(ThreadPool, CoversEveryIndexOnceForAnyCountAndThreads) {
    for (unsigned threads : {1u, 2u, 3u, 8u}) {
        ThreadPool pool(threads);
        EXPECT_EQ(pool.threadCount(), threads);
        for (int count : {0, 1, 2, 7, 64, 1000}) {
            std::vector<std::atomic<int>> hits(static_cast<size_t>(count));
            pool.run(count, [&](int begin, int end) {
                ASSERT_LE(0, begin);
                ASSERT_LT(begin, end);
                ASSERT_LE(end, count);
                for (int i = begin; i < end; ++i)
                    ++hits[static_cast<size_t>(i)];
            });
            for (int i = 0; i < count; ++i)
                ASSERT_EQ(hits[static_cast<size_t>(i)].load(), 1) << threads << " threads, count " << count;
        }
    }
}

TEST(ThreadPool, DefaultSizeFollowsTheEnvironmentWhenItHoldsACount) {
    const unsigned hardware = std::max(1u, std::thread::hardware_concurrency());
    const struct {
        const char* value;
        unsigned threads;
    } cases[] = {{"1", 1},         {"3", 3},          {"100000", 256},  {"0", hardware},
                 {"-2", hardware}, {"two", hardware}, {"2x", hardware}, {"", hardware}};
    for (const auto& c : cases) {
        setenv("KV_ENGINE_THREADS", c.value, 1);
        EXPECT_EQ(ThreadPool(0).threadCount(), c.threads) << '"' << c.value << '"';
        EXPECT_EQ(ThreadPool(2).threadCount(), 2u) << "an explicit count wins over " << c.value;
    }
    unsetenv("KV_ENGINE_THREADS");
    EXPECT_EQ(ThreadPool(0).threadCount(), hardware);
}

TEST(ThreadPool, RethrowsAfterEveryThreadStopped) {
    ThreadPool pool(3);
    std::atomic<int> ranges{0};
    EXPECT_THROW(pool.run(100,
                          [&](int begin, int) {
                              ++ranges;
                              if (begin == 0)
                                  throw std::runtime_error("node failed");
                          }),
                 std::runtime_error);
    EXPECT_GT(ranges.load(), 1); // the other ranges still ran
    // The pool stays usable.
    std::atomic<int> sum{0};
    pool.run(10, [&](int begin, int end) { sum += end - begin; });
    EXPECT_EQ(sum.load(), 10);
}

std::shared_ptr<const Image> image(int side) {
    return std::make_shared<Image>(side, side, 1);
}

TEST(ImageCache, DropsTheLeastRecentlyUsedToStayWithinBudget) {
    const size_t one = Image::bytesFor(8, 8, 1);
    ImageCache cache(2 * one);
    cache.insert(1, image(8));
    cache.insert(2, image(8));
    EXPECT_NE(cache.find(1), nullptr); // 1 is now more recent than 2
    cache.insert(3, image(8));
    EXPECT_NE(cache.find(1), nullptr);
    EXPECT_EQ(cache.find(2), nullptr);
    EXPECT_NE(cache.find(3), nullptr);
    cache.insert(4, image(16)); // larger than the whole budget: not kept, nothing dropped
    EXPECT_EQ(cache.find(4), nullptr);
    EXPECT_NE(cache.find(1), nullptr);
    cache.clear();
    EXPECT_EQ(cache.find(1), nullptr);
}

TEST(EvaluatorFormats, HalfFloatsRoundToNearestEven) {
    struct Case {
        float value;
        uint16_t half;
    };
    const Case cases[] = {
        {65504.0f, 0x7bff},           // largest half
        {65520.0f, 0x7c00},           // halfway to the next: rounds to infinity
        {1.0f + 1.0f / 2048, 0x3c00}, // halfway between 1 and its successor: to even
        {1.0f + 3.0f / 2048, 0x3c02}, // halfway, odd below: up
        {-2.5f, 0xc100},
        {1e-7f, 0x0002}, // subnormal half (units of 2^-24)
        {1e-9f, 0x0000}, // below half the smallest subnormal
        {-0.0f, 0x8000},
    };
    for (const Case& c : cases) {
        const std::vector<unsigned char> texel =
            kvtest::renderTexel({c.value, 0, 0, 1}, SubstancePixelFormat_RGBA16F).bytes;
        ASSERT_EQ(texel.size(), 8u);
        EXPECT_EQ(texel[0] | (texel[1] << 8), c.half) << c.value;
    }
}

} // namespace
