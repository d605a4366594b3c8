// The host's budget given with a handle: a render past the texture side or
// the memory it allows is refused before anything is allocated, with a
// reason naming the outputs, their size and the budget; a render just
// within it goes through.
#include "TestAssemblies.h"

#include "engine/api/FailureReason.h"
#include "engine/assembly/AssemblyIO.h"
#include "platform/engine/EngineInterface.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct Outcome {
    int status;
    std::string reason;
    unsigned delivered; // textures handed over
};

// Renders both outputs of the base graph at 2^log2Side under the budget.
Outcome renderBase(int log2Side, unsigned maxSide, size_t maxBytes) {
    const std::vector<char> assembly =
        kvengine::writeAssembly(kvtest::singleGraphAssembly(11, kvtest::baseGraph(0)));
    SubstanceContext* context = nullptr;
    EXPECT_EQ(substanceContextInit(&context, nullptr), 0);
    const SubstanceHardResources resources = {1, maxSide, maxBytes};
    SubstanceHandle* handle = nullptr;
    EXPECT_EQ(substanceHandleInit(&handle, context, assembly.data(), assembly.size(), &resources), 0);
    const int size[2] = {log2Side, log2Side};
    EXPECT_EQ(substanceHandlePushSetInput(handle, 0, 0, SubstanceInputType_Integer2, size, 0), 0);
    const unsigned outputs[2] = {0, 1};
    EXPECT_EQ(substanceHandlePushOutputs(handle, 0, outputs, 2, 0), 0);
    kvengineClearFailure();
    Outcome outcome{substanceHandleStart(handle, SubstanceStart_Synchronous), kvengine::lastFailure(), 0};
    SubstanceTexture textures[2] = {};
    EXPECT_EQ(substanceHandleGetOutputs(handle, 0, 0, 2, textures), 0);
    for (const SubstanceTexture& texture : textures) {
        if (texture.buffer) {
            ++outcome.delivered;
            substanceContextMemoryFree(context, texture.buffer);
        }
    }
    substanceHandleRelease(handle);
    substanceContextRelease(context);
    return outcome;
}

TEST(RenderBudget, TextureSideAtItsBoundary) {
    const Outcome within = renderBase(8, 256, 0);
    EXPECT_EQ(within.status, SubstanceStatus_Ok) << within.reason;
    EXPECT_EQ(within.delivered, 2u);

    const Outcome over = renderBase(9, 256, 0);
    EXPECT_EQ(over.status, SubstanceStatus_LimitExceeded);
    EXPECT_EQ(over.reason,
              "engine: graph 'pkg://base': outputs 'basecolor', 'mask' at 512x512 exceeds the budget of 256 "
              "texels per side");
    EXPECT_EQ(over.delivered, 0u);
}

TEST(RenderBudget, WorkingMemoryAtItsBoundary) {
    const Outcome tiny = renderBase(6, 0, 1);
    EXPECT_EQ(tiny.status, SubstanceStatus_LimitExceeded);
    const std::string prefix =
        "engine: graph 'pkg://base': the render of outputs 'basecolor', 'mask' at 64x64 needs ";
    ASSERT_EQ(tiny.reason.rfind(prefix, 0), 0u) << tiny.reason;
    const size_t needed = std::stoull(tiny.reason.substr(prefix.size()));
    EXPECT_EQ(tiny.reason,
              prefix + std::to_string(needed) + " bytes of images at its peak, past the budget of 1");
    // Three 64x64 images at least: two colour nodes and the blend.
    EXPECT_GE(needed, 3u * 64 * 64);

    const Outcome exact = renderBase(6, 0, needed);
    EXPECT_EQ(exact.status, SubstanceStatus_Ok) << exact.reason;
    EXPECT_EQ(exact.delivered, 2u);
    EXPECT_EQ(renderBase(6, 0, needed - 1).status, SubstanceStatus_LimitExceeded);
}

} // namespace
