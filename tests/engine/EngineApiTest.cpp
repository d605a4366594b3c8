// The engine's C interface driven the way the renderer drives it: context,
// callback, handle from assembly bytes, descriptors, input pushes with and
// without hint, outputs by UID with a job value, start, hand-over and free.
#include "EvaluatorFixtures.h"

#include "engine/api/FailureReason.h"
#include "engine/assembly/AssemblyIO.h"
#include "platform/engine/EngineInterface.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <vector>

namespace {

using namespace kvengine;
using kvtest::constantExpr;
using kvtest::GraphBuilder;
using kvtest::inputExpr;

struct Delivery {
    SubstanceHandle* handle;
    unsigned index;
    size_t job;
    SubstanceTexture texture;
    SubstanceContext* parent;
    int status;
};

std::mutex deliveriesMutex;
std::vector<Delivery> deliveries;

// What the renderer does in its callback: describe, take the texture, find the context.
void onOutputCompleted(SubstanceHandle* handle, unsigned int index, size_t job) {
    Delivery d{handle, index, job, {}, nullptr, 0};
    SubstanceOutputDesc desc{};
    d.status = substanceHandleGetOutputDesc(handle, index, &desc);
    d.status |= substanceHandleGetOutputs(handle, 0, index, 1, &d.texture);
    d.status |= substanceHandleGetParentContext(handle, &d.parent);
    std::lock_guard<std::mutex> lock(deliveriesMutex);
    deliveries.push_back(d);
}

// $outputsize, $randomseed, tint (Float4), picture (Image); outputs "Output"
// (tinted noise over the picture, RGBA8) and "height" (noise, L16, full chain).
std::vector<char> sampleAssembly() {
    GraphBuilder b(4, 4);
    const uint32_t tint = b.addInput("tint", InputType::Float4);
    b.graph.inputs[tint].defaultValue.f = {1, 0.5f, 0.25f, 1};
    const uint32_t picture = b.addInput("picture", InputType::Image);
    const int noise = b.addNode("noise.fbm", {{"octaves", constantExpr(3)}});
    const int colour = b.addNode("color.uniform", {{"color", inputExpr(tint)}});
    const int image = b.addNode("input.image", {}, {}, picture);
    const int mixed = b.addNode("blend", {{"mode", constantExpr(3)}}, {colour, image});
    b.addOutput("Output", b.addNode("blend", {{"mode", constantExpr(3)}}, {noise, mixed}));
    b.addOutput("height", noise, SubstancePixelFormat_L16, 0);
    return writeAssembly(b.assembly());
}

class EngineApi : public ::testing::Test {
protected:
    void SetUp() override {
        deliveries.clear();
        ASSERT_EQ(substanceContextInit(&context, nullptr), SubstanceStatus_Ok);
        ASSERT_EQ(substanceContextSetCallback(context, SubstanceCallback_OutputCompleted,
                                              reinterpret_cast<SubstanceCallback>(&onOutputCompleted)),
                  SubstanceStatus_Ok);
        bytes = sampleAssembly();
        SubstanceHardResources resources{2, 0, 0};
        ASSERT_EQ(substanceHandleInit(&handle, context, bytes.data(), bytes.size(), &resources),
                  SubstanceStatus_Ok);
    }

    void TearDown() override {
        for (const Delivery& d : deliveries) {
            if (d.texture.buffer) {
                EXPECT_EQ(substanceContextMemoryFree(context, d.texture.buffer), SubstanceStatus_Ok);
            }
        }
        EXPECT_EQ(substanceHandleRelease(handle), SubstanceStatus_Ok);
        EXPECT_EQ(substanceContextRelease(context), SubstanceStatus_Ok);
    }

    unsigned uidOf(unsigned index) {
        SubstanceOutputDesc desc{};
        EXPECT_EQ(substanceHandleGetOutputDesc(handle, index, &desc), SubstanceStatus_Ok);
        return desc.outputId;
    }

    // Renders "Output" and returns its bytes.
    std::vector<unsigned char> renderOutput() {
        deliveries.clear();
        const unsigned uid = uidOf(0);
        EXPECT_EQ(substanceHandlePushOutputs(handle, SubstancePush_OutputsByUid, &uid, 1, 7),
                  SubstanceStatus_Ok);
        EXPECT_EQ(substanceHandleStart(handle, SubstanceStart_Synchronous), SubstanceStatus_Ok);
        if (deliveries.size() != 1 || !deliveries[0].texture.buffer)
            return {};
        const auto* p = static_cast<const unsigned char*>(deliveries[0].texture.buffer);
        std::vector<unsigned char> out(p, p + 16 * 16 * 4);
        EXPECT_EQ(substanceContextMemoryFree(context, deliveries[0].texture.buffer), SubstanceStatus_Ok);
        deliveries.clear();
        return out;
    }

    SubstanceContext* context = nullptr;
    SubstanceHandle* handle = nullptr;
    std::vector<char> bytes;
};

TEST_F(EngineApi, DescriptorsExposeInputsAndOutputsInGraphOrder) {
    SubstanceDataDesc desc{};
    ASSERT_EQ(substanceHandleGetDesc(handle, &desc), SubstanceStatus_Ok);
    EXPECT_EQ(desc.inputsCount, 4u);
    EXPECT_EQ(desc.outputsCount, 2u);
    EXPECT_EQ(desc.formatVersion, kAssemblyFormatVersion);

    SubstanceInputDesc input{};
    ASSERT_EQ(substanceHandleGetInputDesc(handle, 0, &input), SubstanceStatus_Ok);
    EXPECT_STREQ(input.identifier, "$outputsize");
    EXPECT_EQ(input.inputType, unsigned(SubstanceInputType_Integer2));
    EXPECT_EQ(input.index, 0u);
    EXPECT_EQ(input.defaultValue.i[0], 4);
    ASSERT_EQ(substanceHandleGetInputDesc(handle, 2, &input), SubstanceStatus_Ok);
    EXPECT_STREQ(input.identifier, "tint");
    EXPECT_EQ(input.inputId, 1002u);
    EXPECT_FLOAT_EQ(input.defaultValue.f[1], 0.5f);
    EXPECT_EQ(substanceHandleGetInputDesc(handle, 4, &input), SubstanceStatus_InvalidArgument);

    SubstanceOutputDesc output{};
    ASSERT_EQ(substanceHandleGetOutputDesc(handle, 1, &output), SubstanceStatus_Ok);
    EXPECT_STREQ(output.identifier, "height");
    EXPECT_EQ(output.outputId, 1101u);
    EXPECT_EQ(output.index, 1u);
    EXPECT_EQ(output.format, SubstancePixelFormat_L16);
    EXPECT_EQ(output.mipmaps, 0u);
    EXPECT_EQ(substanceHandleGetOutputDesc(handle, 2, &output), SubstanceStatus_InvalidArgument);
}

TEST_F(EngineApi, RenderDeliversEachOutputWithItsJobThroughTheCallback) {
    const int size[2] = {5, 3};
    ASSERT_EQ(substanceHandlePushSetInput(handle, 0, 0, SubstanceInputType_Integer2, size, 0),
              SubstanceStatus_Ok);
    const unsigned uids[2] = {uidOf(0), uidOf(1)};
    ASSERT_EQ(substanceHandlePushOutputs(handle, SubstancePush_OutputsByUid, uids, 2, 1234),
              SubstanceStatus_Ok);
    ASSERT_EQ(
        substanceHandlePushOutputs(handle, SubstancePush_OutputsByUid | SubstancePush_Hint, uids, 2, 99),
        SubstanceStatus_Ok);
    ASSERT_EQ(substanceHandleStart(handle, SubstanceStart_Synchronous), SubstanceStatus_Ok);

    ASSERT_EQ(deliveries.size(), 2u); // the hinted outputs are not rendered again
    std::vector<unsigned> indices;
    for (const Delivery& d : deliveries) {
        EXPECT_EQ(d.status, SubstanceStatus_Ok);
        EXPECT_EQ(d.handle, handle);
        EXPECT_EQ(d.job, 1234u);
        EXPECT_EQ(d.parent, context);
        ASSERT_NE(d.texture.buffer, nullptr);
        EXPECT_EQ(d.texture.level0Width, 32);
        EXPECT_EQ(d.texture.level0Height, 8);
        EXPECT_EQ(d.texture.channelsOrder, SubstanceChannelOrder_RGBA);
        indices.push_back(d.index);
    }
    std::sort(indices.begin(), indices.end());
    EXPECT_EQ(indices, (std::vector<unsigned>{0, 1}));
    for (const Delivery& d : deliveries) {
        EXPECT_EQ(d.texture.pixelFormat,
                  d.index == 0 ? SubstancePixelFormat_RGBA8 : SubstancePixelFormat_L16);
        EXPECT_EQ(d.texture.mipmapCount, d.index == 0 ? 1 : 6);
    }

    // Handed over: asking again gives an empty record.
    SubstanceTexture again{};
    ASSERT_EQ(substanceHandleGetOutputs(handle, 0, 0, 1, &again), SubstanceStatus_Ok);
    EXPECT_EQ(again.buffer, nullptr);

    // The queue is empty after a start.
    const size_t before = deliveries.size();
    ASSERT_EQ(substanceHandleStart(handle, SubstanceStart_Synchronous), SubstanceStatus_Ok);
    EXPECT_EQ(deliveries.size(), before);
}

TEST_F(EngineApi, HintsNeverChangeTheRender) {
    const std::vector<unsigned char> plain = renderOutput();
    ASSERT_FALSE(plain.empty());
    const float red[4] = {1, 0, 0, 1};
    const int seed[1] = {99};
    ASSERT_EQ(substanceHandlePushSetInput(handle, SubstancePush_Hint, 2, SubstanceInputType_Float4, red, 0),
              SubstanceStatus_Ok);
    ASSERT_EQ(substanceHandlePushSetInput(handle, SubstancePush_Hint, 1, SubstanceInputType_Integer, seed, 0),
              SubstanceStatus_Ok);
    EXPECT_EQ(renderOutput(), plain);
    // The same value pushed for real does change it.
    ASSERT_EQ(substanceHandlePushSetInput(handle, 0, 2, SubstanceInputType_Float4, red, 0),
              SubstanceStatus_Ok);
    EXPECT_NE(renderOutput(), plain);
}

TEST_F(EngineApi, ImageInputsTakeTheTextureRecordItself) {
    const std::vector<unsigned char> unset = renderOutput();
    std::vector<unsigned char> white(4 * 4 * 4, 255);
    SubstanceTextureInput record{};
    record.texture.buffer = white.data();
    record.texture.level0Width = 4;
    record.texture.level0Height = 4;
    record.texture.pixelFormat = SubstancePixelFormat_RGBA8;
    ASSERT_EQ(substanceHandlePushSetInput(handle, 0, 3, SubstanceInputType_Image, &record, 0),
              SubstanceStatus_Ok);
    const std::vector<unsigned char> lit = renderOutput();
    ASSERT_EQ(lit.size(), unset.size());
    EXPECT_GT(lit[0], unset[0]); // multiplied by white instead of mid grey
    ASSERT_EQ(substanceHandlePushSetInput(handle, 0, 3, SubstanceInputType_Image, nullptr, 0),
              SubstanceStatus_Ok);
    EXPECT_EQ(renderOutput(), unset);
}

TEST_F(EngineApi, OutputsByEngineIndexAndUnknownUids) {
    const unsigned index = 1;
    ASSERT_EQ(substanceHandlePushOutputs(handle, 0, &index, 1, 5), SubstanceStatus_Ok);
    const unsigned missingUid = 424242;
    EXPECT_EQ(substanceHandlePushOutputs(handle, SubstancePush_OutputsByUid, &missingUid, 1, 5),
              SubstanceStatus_UnknownUid);
    const unsigned badIndex = 2;
    EXPECT_EQ(substanceHandlePushOutputs(handle, 0, &badIndex, 1, 5), SubstanceStatus_InvalidArgument);
    ASSERT_EQ(substanceHandleStart(handle, SubstanceStart_Synchronous), SubstanceStatus_Ok);
    ASSERT_EQ(deliveries.size(), 1u);
    EXPECT_EQ(deliveries[0].index, 1u);
}

TEST_F(EngineApi, UncollectedTexturesWaitAndAreReplaced) {
    ASSERT_EQ(substanceContextSetCallback(context, SubstanceCallback_OutputCompleted, nullptr),
              SubstanceStatus_Ok);
    const unsigned index = 0;
    for (int run = 0; run < 2; ++run) {
        ASSERT_EQ(substanceHandlePushOutputs(handle, 0, &index, 1, 0), SubstanceStatus_Ok);
        ASSERT_EQ(substanceHandleStart(handle, SubstanceStart_Synchronous), SubstanceStatus_Ok);
    }
    EXPECT_TRUE(deliveries.empty());
    SubstanceTexture textures[2]{};
    ASSERT_EQ(substanceHandleGetOutputs(handle, 0, 0, 2, textures), SubstanceStatus_Ok);
    ASSERT_NE(textures[0].buffer, nullptr);
    EXPECT_EQ(textures[1].buffer, nullptr);
    EXPECT_EQ(substanceContextMemoryFree(context, textures[0].buffer), SubstanceStatus_Ok);
    EXPECT_EQ(substanceContextMemoryFree(context, textures[0].buffer), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceHandleGetOutputs(handle, 0, 1, 2, textures), SubstanceStatus_InvalidArgument);
    // A texture still pending when the handle goes is freed with it (checked by the sanitizers).
    ASSERT_EQ(substanceHandlePushOutputs(handle, 0, &index, 1, 0), SubstanceStatus_Ok);
    ASSERT_EQ(substanceHandleStart(handle, SubstanceStart_Synchronous), SubstanceStatus_Ok);
}

TEST_F(EngineApi, BadCallsGetAStatus) {
    const float value[4] = {0, 0, 0, 0};
    EXPECT_EQ(substanceHandlePushSetInput(handle, 0, 2, SubstanceInputType_Float, value, 0),
              SubstanceStatus_Incompatible);
    EXPECT_EQ(substanceHandlePushSetInput(handle, 0, 9, SubstanceInputType_Float4, value, 0),
              SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceHandlePushSetInput(handle, 1, 2, SubstanceInputType_Float4, value, 0),
              SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceHandlePushSetInput(handle, 0, 2, SubstanceInputType_Float4, value, 1),
              SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceHandlePushSetInput(handle, 0, 2, SubstanceInputType_Float4, nullptr, 0),
              SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceHandlePushSetInput(nullptr, 0, 2, SubstanceInputType_Float4, value, 0),
              SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceHandlePushOutputs(handle, 4, nullptr, 0, 0), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceHandlePushOutputs(handle, 0, nullptr, 1, 0), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceHandleStart(handle, 1), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceHandleStart(nullptr, 0), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceHandleGetOutputs(handle, 1, 0, 1, nullptr), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceHandleGetDesc(handle, nullptr), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceHandleGetParentContext(handle, nullptr), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceContextSetCallback(context, 3, nullptr), SubstanceStatus_InvalidArgument);
    int local = 0;
    EXPECT_EQ(substanceContextMemoryFree(context, &local), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceContextMemoryFree(context, nullptr), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceContextRelease(context), SubstanceStatus_InvalidState); // a handle is alive
    EXPECT_EQ(substanceContextInit(nullptr, nullptr), SubstanceStatus_InvalidArgument);

    // A size beyond 8192 fails the start, not the push; nothing is delivered.
    const int tooBig[2] = {14, 4};
    ASSERT_EQ(substanceHandlePushSetInput(handle, 0, 0, SubstanceInputType_Integer2, tooBig, 0),
              SubstanceStatus_Ok);
    const unsigned index = 0;
    ASSERT_EQ(substanceHandlePushOutputs(handle, 0, &index, 1, 0), SubstanceStatus_Ok);
    EXPECT_EQ(substanceHandleStart(handle, 0), SubstanceStatus_LimitExceeded);
    EXPECT_TRUE(deliveries.empty());
}

TEST(EngineApiInit, HostileAssembliesAreRejected) {
    SubstanceContext* context = nullptr;
    ASSERT_EQ(substanceContextInit(&context, nullptr), SubstanceStatus_Ok);
    SubstanceHandle* handle = reinterpret_cast<SubstanceHandle*>(1);
    const char garbage[] = "definitely not an assembly";
    EXPECT_NE(substanceHandleInit(&handle, context, garbage, sizeof garbage, nullptr), SubstanceStatus_Ok);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(substanceHandleInit(&handle, context, nullptr, 10, nullptr), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceHandleInit(&handle, nullptr, garbage, sizeof garbage, nullptr),
              SubstanceStatus_InvalidArgument);

    GraphBuilder unknown;
    unknown.addOutput("out", unknown.addNode("noise.unheard_of"));
    const std::vector<char> unknownBytes = writeAssembly(unknown.assembly());
    EXPECT_EQ(substanceHandleInit(&handle, context, unknownBytes.data(), unknownBytes.size(), nullptr),
              SubstanceStatus_InvalidData);

    // Every truncation of a valid assembly fails cleanly.
    const std::vector<char> valid = sampleAssembly();
    for (size_t size = 1; size < valid.size(); size += 7) {
        EXPECT_NE(substanceHandleInit(&handle, context, valid.data(), size, nullptr), SubstanceStatus_Ok)
            << size;
        EXPECT_EQ(handle, nullptr);
    }
    EXPECT_EQ(substanceContextRelease(context), SubstanceStatus_Ok);
}

TEST(EngineApiInit, MutatedAssembliesNeverCrash) {
    // Whatever the reader accepts must render (or fail) cleanly, at any parameter values.
    SubstanceContext* context = nullptr;
    ASSERT_EQ(substanceContextInit(&context, nullptr), SubstanceStatus_Ok);
    ASSERT_EQ(substanceContextSetCallback(context, SubstanceCallback_OutputCompleted,
                                          reinterpret_cast<SubstanceCallback>(&onOutputCompleted)),
              SubstanceStatus_Ok);
    const std::vector<char> valid = sampleAssembly();
    uint32_t state = 12345;
    auto next = [&] { return state = state * 1664525u + 1013904223u; };
    int rendered = 0;
    for (int round = 0; round < 400; ++round) {
        std::vector<char> bytes = valid;
        for (int flips = 1 + static_cast<int>(next() % 4); flips > 0; --flips)
            bytes[next() % bytes.size()] = static_cast<char>(next() >> 24);
        SubstanceHandle* handle = nullptr;
        kvengineClearFailure();
        if (substanceHandleInit(&handle, context, bytes.data(), bytes.size(), nullptr) != SubstanceStatus_Ok) {
            EXPECT_NE(kvengine::lastFailure(), "") << "a refusal without a reason, round " << round;
            continue;
        }
        SubstanceDataDesc desc{};
        ASSERT_EQ(substanceHandleGetDesc(handle, &desc), SubstanceStatus_Ok);
        for (unsigned i = 0; i < desc.inputsCount; ++i) {
            SubstanceInputDesc input{};
            ASSERT_EQ(substanceHandleGetInputDesc(handle, i, &input), SubstanceStatus_Ok);
            const int small[2] = {3, 3};
            if (input.inputType == SubstanceInputType_Integer2)
                substanceHandlePushSetInput(handle, 0, i, SubstanceInputType_Integer2, small, 0);
        }
        std::vector<unsigned> outputs(desc.outputsCount);
        for (unsigned i = 0; i < desc.outputsCount; ++i)
            outputs[i] = i;
        deliveries.clear();
        ASSERT_EQ(substanceHandlePushOutputs(handle, 0, outputs.data(), desc.outputsCount, 0),
                  SubstanceStatus_Ok);
        kvengineClearFailure();
        if (substanceHandleStart(handle, SubstanceStart_Synchronous) == SubstanceStatus_Ok)
            ++rendered;
        else
            EXPECT_NE(kvengine::lastFailure(), "") << "a refusal without a reason, round " << round;
        for (const Delivery& d : deliveries)
            substanceContextMemoryFree(context, d.texture.buffer);
        deliveries.clear();
        ASSERT_EQ(substanceHandleRelease(handle), SubstanceStatus_Ok);
    }
    EXPECT_GT(rendered, 0); // the mutations reached the evaluator, not only the reader
    EXPECT_EQ(substanceContextRelease(context), SubstanceStatus_Ok);
}

} // namespace
