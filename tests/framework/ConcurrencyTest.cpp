// Shared state touched from several threads: result queues and the package
// registry with its serialised package construction.
#include "TestPackages.h"

#include "framework/render/GraphInstance.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using namespace SubstanceAir;

namespace {

TEST(Concurrency, ResultsPushedFromOtherThreadsArriveInOrderAndStayBounded) {
    auto package = kvtest::loadDescription(kvtest::describe(6001, kvtest::graphWithOutput("pkg://a")));
    GraphInstance graph(package->graphs().at(0));
    OutputInstance& output = *graph.getOutputs().at(0);
    const uint16_t perThread = 2000;
    std::atomic<int> running(3);
    std::vector<std::thread> producers;
    for (uint16_t t = 0; t < 3; ++t) {
        producers.emplace_back([&output, &running, t] {
            for (uint16_t i = 1; i <= perThread; ++i) {
                SubstanceTexture texture = {};
                texture.level0Width = t;
                texture.level0Height = i;
                output.pushResult(std::unique_ptr<RenderResult>(new RenderResult(texture, nullptr)));
            }
            --running;
        });
    }
    // Each producer's results come out in the order it pushed them, each at most once.
    int last[3] = {0, 0, 0};
    int outOfOrder = 0;
    while (running.load() > 0) {
        if (std::unique_ptr<RenderResult> result = output.grabResult()) {
            const SubstanceTexture& texture = result->getTexture();
            outOfOrder += texture.level0Height <= last[texture.level0Width] ? 1 : 0;
            last[texture.level0Width] = texture.level0Height;
        }
    }
    for (std::thread& producer : producers) {
        producer.join();
    }
    size_t left = 0;
    while (output.grabResult()) {
        ++left;
    }
    EXPECT_EQ(outOfOrder, 0);
    EXPECT_LE(left, OutputInstance::kMaxQueuedResults);
}

TEST(Concurrency, PackagesLoadedOnSeveralThreadsKeepTheirOwnDescriptions) {
    // Packages are written up front: the ZIP writer is not what is under test.
    std::vector<std::vector<char>> packages;
    for (unsigned int t = 0; t < 4; ++t) {
        packages.push_back(kvtest::makePackage(
            kvtest::describe(6100 + t, kvtest::graphWithOutput("pkg://thread" + std::to_string(t)))));
    }
    std::atomic<int> mismatches(0);
    std::vector<std::thread> loaders;
    for (unsigned int t = 0; t < 4; ++t) {
        loaders.emplace_back([t, &packages, &mismatches] {
            const unsigned int uid = 6100 + t;
            const std::string url = "pkg://thread" + std::to_string(t);
            const std::vector<char>& bytes = packages[t];
            for (int i = 0; i < 20; ++i) {
                PackageDesc package(bytes.data(), bytes.size(), nullptr);
                if (package.asmUid() != uid || package.graphs().size() != 1 ||
                    package.graphs()[0].packageUrl != url || !kvtest::isRegistered(uid)) {
                    ++mismatches;
                }
            }
        });
    }
    for (std::thread& loader : loaders) {
        loader.join();
    }
    EXPECT_EQ(mismatches.load(), 0);
    for (unsigned int t = 0; t < 4; ++t) {
        EXPECT_FALSE(kvtest::isRegistered(6100 + t));
    }
}

} // namespace
