// The sample packages of the build, when they have been built.
#include "framework/description/PackageDesc.h"
#include "framework/render/GraphInstance.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

using namespace SubstanceAir;

namespace {

std::vector<std::filesystem::path> samplePackages() {
    std::vector<std::filesystem::path> paths;
    std::error_code error;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(KV_BINARY_DIR "/samples", error)) {
        if (entry.path().extension() == ".mpk") {
            paths.push_back(entry.path());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

TEST(SamplePackages, LoadInstantiateAndLink) {
    const std::vector<std::filesystem::path> paths = samplePackages();
    if (paths.empty()) {
        GTEST_SKIP() << "no sample packages built under " << KV_BINARY_DIR "/samples";
    }
    for (const std::filesystem::path& path : paths) {
        SCOPED_TRACE(path.string());
        std::ifstream file(path, std::ios::binary);
        const std::vector<char> bytes((std::istreambuf_iterator<char>(file)),
                                      std::istreambuf_iterator<char>());
        PackageDesc package(bytes.data(), bytes.size(), nullptr);
        ASSERT_FALSE(package.graphs().empty());
        for (const GraphDesc& graph : package.graphs()) {
            EXPECT_FALSE(graph.outputs.empty());
            EXPECT_TRUE(
                std::is_sorted(graph.outputs.begin(), graph.outputs.end(),
                               [](const OutputDesc& a, const OutputDesc& b) { return a.uid < b.uid; }));
            EXPECT_TRUE(
                std::is_sorted(graph.inputs.begin(), graph.inputs.end(),
                               [](const std::unique_ptr<InputDescBase>& a,
                                  const std::unique_ptr<InputDescBase>& b) { return a->uid < b->uid; }));
            for (const OutputDesc& output : graph.outputs) {
                EXPECT_NE(output.uid, 0u);
            }
        }
        std::vector<boost::shared_ptr<GraphInstance>> instances;
        instantiateGraphs(instances, package);
        EXPECT_EQ(instances.size(), package.graphs().size());

        SubstanceLinkerContext* context = nullptr;
        ASSERT_EQ(substanceLinkerContextInit(&context, SubstanceApiVersion, SubstanceCpuEngineId), 0);
        SubstanceLinkerHandle* handle = nullptr;
        ASSERT_EQ(substanceLinkerHandleInit(&handle, context), 0);
        EXPECT_TRUE(package.pushToLinker(handle));
        const char* data = nullptr;
        size_t size = 0;
        EXPECT_EQ(substanceLinkerHandleLink(handle, &data, &size), 0);
        substanceLinkerHandleRelease(handle);
        substanceLinkerContextRelease(context);
    }
}

} // namespace
