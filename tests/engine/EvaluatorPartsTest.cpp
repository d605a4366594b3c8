// The evaluator's building blocks on their own: the thread pool, the lead
// thread, the result cache, the kept textures and the half-float conversion.
#include "EvaluatorFixtures.h"

#include "engine/evaluator/ImageCache.h"
#include "engine/evaluator/KeptTextures.h"
#include "engine/evaluator/LeadThread.h"
#include "engine/evaluator/ThreadPool.h"
#include "engine/evaluator/UnitBytes.h"
#include "engine/nodes/SimdTarget.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <limits>
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

TEST(LeadThread, RunsEveryTaskOnOneKeptThreadWhicheverThreadAsks) {
    LeadThread lead;
    std::thread::id first;
    lead.run([&] { first = std::this_thread::get_id(); });
    EXPECT_NE(first, std::this_thread::get_id());
    for (int i = 0; i < 20; ++i) {
        std::thread::id ranOn;
        int result = 0;
        std::thread caller([&] { lead.run([&] { ranOn = std::this_thread::get_id(), result = i * 2; }); });
        caller.join();
        EXPECT_EQ(ranOn, first);
        EXPECT_EQ(result, i * 2) << "run returns only once the task has finished";
    }
    EXPECT_THROW(lead.run([] { throw std::runtime_error("render failed"); }), std::runtime_error);
    bool ran = false;
    lead.run([&] { ran = true; });
    EXPECT_TRUE(ran) << "a task that threw leaves the thread usable";
    int depth = 0;
    lead.run([&] { lead.run([&] { depth = 2; }); });
    EXPECT_EQ(depth, 2) << "a task may run another";
}

std::shared_ptr<const Image> image(int side) {
    return std::make_shared<Image>(side, side, 1);
}

TEST(ImageCache, DropsTheLeastRecentlyUsedToStayWithinBudget) {
    const size_t one = Image::bytesFor(8, 8, 1);
    ImageCache cache(2 * one); // the cap, below a quarter over the working set
    cache.setWorkingSet(0, 10 * one);
    EXPECT_EQ(cache.budget(), 2 * one);
    cache.insert(1, 1, image(8));
    cache.insert(2, 2, image(8));
    EXPECT_NE(cache.find(1), nullptr); // 1 is now more recent than 2
    cache.insert(3, 3, image(8));
    EXPECT_NE(cache.find(1), nullptr);
    EXPECT_EQ(cache.find(2), nullptr);
    EXPECT_NE(cache.find(3), nullptr);
    cache.insert(4, 4, image(16)); // larger than the whole budget: not kept, nothing dropped
    EXPECT_EQ(cache.find(4), nullptr);
    EXPECT_NE(cache.find(1), nullptr);
    cache.clear();
    EXPECT_EQ(cache.find(1), nullptr);
}

TEST(ImageCache, ANodesSupersededResultGoesBeforeOlderValidOnes) {
    const size_t one = Image::bytesFor(8, 8, 1);
    ImageCache cache(2 * one);
    cache.setWorkingSet(0, 10 * one);
    cache.insert(10, /*slot*/ 1, image(8));
    cache.insert(20, /*slot*/ 2, image(8));
    ASSERT_NE(cache.find(20), nullptr); // node 1's result is now the least recent
    cache.makeRoom(2, one);             // node 2 is about to get a new result
    cache.insert(21, 2, image(8));
    EXPECT_NE(cache.find(10), nullptr); // still valid, kept
    EXPECT_EQ(cache.find(20), nullptr);
    EXPECT_NE(cache.find(21), nullptr);
}

TEST(ImageCache, BudgetIsAnEighthOverEveryGraphsCompleteRender) {
    const size_t one = Image::bytesFor(8, 8, 1);
    ImageCache cache(size_t(1) << 30);
    cache.setWorkingSet(0, 8 * one);
    cache.setWorkingSet(1, 8 * one);
    EXPECT_EQ(cache.budget(), 18 * one);
    for (uint64_t key = 1; key <= 18; ++key)
        cache.insert(key, key, image(8));
    EXPECT_EQ(cache.bytes(), 18 * one);
    // Graph 0 renders nothing from now on: its old results make room.
    cache.setWorkingSet(0, 0);
    cache.makeRoom(100, one);
    EXPECT_LE(cache.bytes() + one, cache.budget());
    EXPECT_NE(cache.find(18), nullptr); // the most recent survive
}

TEST(KeptTextures, WorthKeepingOnlyWhenDeliveredTwiceInARow) {
    KeptTextures kept;
    EXPECT_FALSE(kept.delivered(/*slot*/ 1, /*key*/ 10)); // first render
    EXPECT_TRUE(kept.delivered(1, 10));                   // asked again unchanged
    EXPECT_FALSE(kept.delivered(1, 11));                  // a host flipping between two values
    EXPECT_FALSE(kept.delivered(1, 10));
    EXPECT_FALSE(kept.delivered(2, 10)); // slots are apart
    kept.clear();
    EXPECT_FALSE(kept.delivered(1, 10));
}

TEST(KeptTextures, OneTexturePerSlotUnderItsKeyWithinTheBudget) {
    KeptTextures kept;
    const std::vector<unsigned char> a(1000, 1), b(1000, 2), c(600, 3);
    ASSERT_TRUE(kept.keep(/*slot*/ 1, /*key*/ 10, a.data(), a.size(), 2000));
    ASSERT_TRUE(kept.keep(2, 20, b.data(), b.size(), 2000));
    EXPECT_EQ(kept.find(1, 11).bytes, nullptr);           // another key: the output changed
    const KeptTextures::Texture first = kept.find(1, 10); // slot 1 is now the most recent
    ASSERT_NE(first.bytes, nullptr);
    EXPECT_EQ(first.size, a.size());
    EXPECT_EQ(static_cast<const unsigned char*>(first.bytes.get())[999], 1);
    // A third texture does not fit beside both: the least recent (slot 2) goes,
    // though a render that found it holds it until done.
    const KeptTextures::Texture held = kept.find(2, 20);
    kept.find(1, 10);
    ASSERT_TRUE(kept.keep(3, 30, c.data(), c.size(), 2000));
    EXPECT_EQ(kept.find(2, 20).bytes, nullptr);
    EXPECT_EQ(static_cast<const unsigned char*>(held.bytes.get())[999], 2);
    EXPECT_NE(kept.find(1, 10).bytes, nullptr);
    EXPECT_EQ(kept.bytes(), a.size() + c.size());
    // A new texture for a slot supersedes its old one even when it cannot be kept.
    EXPECT_FALSE(kept.keep(1, 12, a.data(), 3000, 2000));
    EXPECT_EQ(kept.find(1, 10).bytes, nullptr);
    EXPECT_EQ(kept.bytes(), c.size());
    kept.clear();
    EXPECT_EQ(kept.find(3, 30).bytes, nullptr);
    EXPECT_EQ(kept.bytes(), 0u);
}

TEST(PixelMemory, LargeBuffersAreRecycledAndTheFreeListIsBounded) {
    if (!kPixelBlocks)
        GTEST_SKIP() << "sanitizer builds take pixels from the C heap";
    const size_t bytes = kPixelBlockBytes * 3 / 2;
    void* first = acquirePixels(bytes);
    ASSERT_NE(first, nullptr);
    const size_t before = freePixelBytes();
    releasePixels(first, bytes);
    EXPECT_GE(freePixelBytes(), before + bytes);
    void* second = acquirePixels(bytes); // same rounded size: the same warm buffer
    EXPECT_EQ(second, first);
    releasePixels(second, bytes);
    // A working set announced raises the budget, up to its own cap.
    const size_t budget = freePixelBudget();
    EXPECT_GE(budget, kPixelFreeListBytes);
    keepFreePixelsFor(budget + kPixelBlockBytes);
    EXPECT_EQ(freePixelBudget(),
              std::min(budget + kPixelBlockBytes, std::max(budget, kPixelWorkingSetBytes)));
    keepFreePixelsFor(size_t(1) << 40);
    EXPECT_EQ(freePixelBudget(), std::max(budget, kPixelWorkingSetBytes));
    // Releasing far more than the budget keeps no more than the budget.
    std::vector<void*> many;
    for (size_t held = 0; held < 2 * freePixelBudget(); held += bytes)
        many.push_back(acquirePixels(bytes));
    for (void* buffer : many)
        releasePixels(buffer, bytes);
    EXPECT_LE(freePixelBytes(), freePixelBudget());
    // A size the free buffers cannot serve makes them give back at least as much as it maps.
    const size_t held = freePixelBytes();
    ASSERT_GE(held, 2 * kPixelBlockBytes);
    void* other = acquirePixels(3 * kPixelBlockBytes);
    EXPECT_LE(freePixelBytes(), held - 3 * kPixelBlockBytes);
    releasePixels(other, 3 * kPixelBlockBytes);
    // A shorter request than any free run takes the head of the shortest longer one.
    void* whole = acquirePixels(7 * kPixelBlockBytes);
    releasePixels(whole, 7 * kPixelBlockBytes);
    void* head = acquirePixels(5 * kPixelBlockBytes);
    EXPECT_EQ(head, whole);
    releasePixels(head, 5 * kPixelBlockBytes);
    // From a clean list (a request no run holds unmaps them all): a run split
    // for a short request joins its rest again once both parts are free.
    const size_t everything = freePixelBytes() + kPixelBlockBytes;
    void* all = acquirePixels(everything);
    ASSERT_NE(all, nullptr);
    EXPECT_EQ(freePixelBytes(), 0u);
    releasePixels(all, everything);
    EXPECT_EQ(freePixelRuns(), 1u);
    void* front = acquirePixels(kPixelBlockBytes);
    EXPECT_EQ(front, all);
    releasePixels(front, kPixelBlockBytes);
    EXPECT_EQ(freePixelRuns(), 1u);
    EXPECT_EQ(freePixelBytes(), everything);
    void* again = acquirePixels(everything);
    EXPECT_EQ(again, all);
    releasePixels(again, everything);
}

TEST(PixelMemory, SmallBuffersShareAlignedBlocksThatGoBackWhenManyAreEmpty) {
    if (!kPixelBlocks)
        GTEST_SKIP() << "sanitizer builds take pixels from the C heap";
    const size_t bytes = 200 << 10; // rounds up to 256 KiB pieces, eight to a block
    const size_t blockCount = kSparePixelBlocks + 4;
    std::vector<unsigned char*> pieces;
    for (size_t i = 0; i < 8 * blockCount; ++i) {
        auto* piece = static_cast<unsigned char*>(acquirePixels(bytes));
        ASSERT_NE(piece, nullptr);
        std::fill(piece, piece + bytes, static_cast<unsigned char>(i));
        pieces.push_back(piece);
    }
    for (size_t i = 0; i < pieces.size(); ++i) {
        EXPECT_EQ(reinterpret_cast<uintptr_t>(pieces[i]) % kPooledPixelBytes, 0u);
        EXPECT_EQ(pieces[i][0], static_cast<unsigned char>(i)) << "pieces overlap";
        EXPECT_EQ(pieces[i][bytes - 1], static_cast<unsigned char>(i)) << "pieces overlap";
    }
    std::vector<uintptr_t> blocks;
    for (unsigned char* piece : pieces)
        blocks.push_back(reinterpret_cast<uintptr_t>(piece) & ~uintptr_t(kPixelBlockBytes - 1));
    std::sort(blocks.begin(), blocks.end());
    EXPECT_EQ(static_cast<size_t>(std::unique(blocks.begin(), blocks.end()) - blocks.begin()), blockCount)
        << "pieces fill whole blocks";
    // Released, a piece is the next one handed out; past the spare blocks,
    // emptied blocks go back to the block free list.
    releasePixels(pieces.back(), bytes);
    EXPECT_EQ(acquirePixels(bytes), pieces.back());
    const size_t before = freePixelBytes();
    for (unsigned char* piece : pieces)
        releasePixels(piece, bytes);
    const size_t room = (kPixelFreeListBytes - before) / kPixelBlockBytes * kPixelBlockBytes;
    EXPECT_GE(freePixelBytes() - before, std::min((blockCount - kSparePixelBlocks) * kPixelBlockBytes, room));
}

TEST(PixelMemory, PiecesOfEverySizeShareBlocksAlignedToTheirOwnSize) {
    if (!kPixelBlocks)
        GTEST_SKIP() << "sanitizer builds take pixels from the C heap";
    // A request rounds up to the next power of two.
    const auto request = [](size_t size) { return size == kPooledPixelBytes ? size : size / 2 + 1; };
    std::vector<std::pair<unsigned char*, size_t>> pieces;
    for (int round = 0; round < 3; ++round) {
        for (size_t size = kPooledPixelBytes; size <= kPixelBlockBytes / 2; size *= 2) {
            auto* piece = static_cast<unsigned char*>(acquirePixels(request(size)));
            ASSERT_NE(piece, nullptr);
            EXPECT_EQ(reinterpret_cast<uintptr_t>(piece) % size, 0u) << size;
            std::fill(piece, piece + size, static_cast<unsigned char>(pieces.size()));
            pieces.emplace_back(piece, size);
        }
    }
    std::vector<uintptr_t> blocks;
    for (size_t i = 0; i < pieces.size(); ++i) {
        const auto& [piece, size] = pieces[i];
        EXPECT_EQ(piece[0], static_cast<unsigned char>(i)) << "pieces overlap";
        EXPECT_EQ(piece[size - 1], static_cast<unsigned char>(i)) << "pieces overlap";
        blocks.push_back(reinterpret_cast<uintptr_t>(piece) & ~uintptr_t(kPixelBlockBytes - 1));
    }
    std::sort(blocks.begin(), blocks.end());
    // Three rounds of 64 KiB to 1 MiB fill almost three blocks; a block per
    // size would take five.
    EXPECT_LE(static_cast<size_t>(std::unique(blocks.begin(), blocks.end()) - blocks.begin()), 4u);
    for (const auto& [piece, size] : pieces)
        releasePixels(piece, request(size));
}

// 8-bit conversion gives the bytes of the scalar rule on every SIMD target,
// whole vectors and the tail alike, for the values that clamping must catch.
TEST(EvaluatorFormats, EightBitTexelsFollowTheScalarRuleOnEveryTarget) {
    const float special[] = {std::nanf(""),
                             -std::numeric_limits<float>::infinity(),
                             std::numeric_limits<float>::infinity(),
                             -1.0f,
                             -0.0f,
                             0.0f,
                             1e-9f,
                             0.5f / 255.0f,
                             0.49999f / 255.0f,
                             127.5f / 255.0f,
                             0.999f,
                             1.0f,
                             1.0001f,
                             3e38f};
    const int width = 61; // several vectors and a tail at any width
    std::vector<float> planes[4];
    for (int c = 0; c < 4; ++c)
        for (int x = 0; x < width; ++x)
            planes[c].push_back(x % 3 == 0 ? special[(x / 3 + c) % std::size(special)]
                                           : static_cast<float>((x * 37 + c * 11) % 97) / 90.0f - 0.03f);
    const auto rule = [](float v) {
        const float clamped = std::isnan(v) ? 0.0f : std::min(std::max(v, 0.0f), 1.0f);
        return static_cast<uint8_t>(clamped * 255.0f + 0.5f);
    };
    for (int64_t target : simdTargets()) {
        useSimdTarget(target);
        SCOPED_TRACE(simdTargetName());
        for (const bool opaque : {false, true}) {
            const float* rows[4] = {planes[0].data(), planes[1].data(), planes[2].data(),
                                    opaque ? nullptr : planes[3].data()};
            std::vector<uint8_t> rgba(4 * width), gray(width);
            unitBytesRgba(rows, width, rgba.data());
            unitBytesGray(planes[1].data(), width, gray.data());
            for (int x = 0; x < width; ++x) {
                for (int c = 0; c < 4; ++c)
                    ASSERT_EQ(rgba[4 * x + c], c == 3 && opaque ? 255 : rule(planes[c][x]))
                        << "texel " << x << " channel " << c << " from " << planes[c][x];
                ASSERT_EQ(gray[x], rule(planes[1][x])) << "texel " << x;
            }
        }
    }
    useSimdTarget(0);
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
