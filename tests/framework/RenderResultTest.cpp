// A render result owns the engine's texture buffer and gives it back.
#include "TestPackages.h"

#include "framework/render/RenderResult.h"

#include <gtest/gtest.h>

using namespace SubstanceAir;

namespace {

// Renders output 1 of the test package once; the result owns its buffer. A
// result that did not free it shows up as a leak under the sanitizers.
TEST(RenderResults, FreeTheirTextureThroughTheirContext) {
    auto package = kvtest::loadDescription(kvtest::describe(7001, kvtest::graphWithOutput("pkg://a")));
    SubstanceLinkerContext* linker = nullptr;
    ASSERT_EQ(substanceLinkerContextInit(&linker, SubstanceApiVersion, SubstanceCpuEngineId), 0);
    SubstanceLinkerHandle* linking = nullptr;
    ASSERT_EQ(substanceLinkerHandleInit(&linking, linker), 0);
    ASSERT_TRUE(package->pushToLinker(linking));
    const char* data = nullptr;
    size_t size = 0;
    ASSERT_EQ(substanceLinkerHandleLink(linking, &data, &size), 0);

    SubstanceContext* context = nullptr;
    ASSERT_EQ(substanceContextInit(&context, nullptr), 0);
    SubstanceHandle* handle = nullptr;
    ASSERT_EQ(substanceHandleInit(&handle, context, data, size, nullptr), 0);
    const unsigned int outputUid = 1;
    ASSERT_EQ(substanceHandlePushOutputs(handle, SubstancePush_OutputsByUid, &outputUid, 1, 0), 0);
    ASSERT_EQ(substanceHandleStart(handle, SubstanceStart_Synchronous), 0);
    SubstanceTexture texture = {};
    ASSERT_EQ(substanceHandleGetOutputs(handle, 0, 0, 1, &texture), 0);
    ASSERT_NE(texture.buffer, nullptr);
    SubstanceContext* parent = nullptr;
    ASSERT_EQ(substanceHandleGetParentContext(handle, &parent), 0);
    {
        RenderResult result(texture, parent);
        EXPECT_EQ(result.getContext(), context);
        EXPECT_EQ(result.getTexture().buffer, texture.buffer);
        EXPECT_GT(result.getTexture().level0Width, 0);
    }
    substanceHandleRelease(handle);
    substanceContextRelease(context);
    substanceLinkerHandleRelease(linking);
    substanceLinkerContextRelease(linker);
}

} // namespace
