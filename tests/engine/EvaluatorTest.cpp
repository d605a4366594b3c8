// The evaluator through its C++ interface: determinism, resolution, pixel
// formats and mip chains, limits and hostile assemblies, the result cache.
#include "EvaluatorFixtures.h"

#include "engine/evaluator/PixelFormats.h"
#include "engine/formats/TextureLayout.h"
#include "engine/nodes/NodeCatalog.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace {

using namespace kvengine;
using kvtest::constantExpr;
using kvtest::GraphBuilder;
using kvtest::inputExpr;

// A small material touching most kinds: bricks warped by noise, coloured,
// with a normal map, cellular detail and a blurred mask.
GraphBuilder material(int log2Size) {
    GraphBuilder b(log2Size, log2Size);
    const int fbm = b.addNode("noise.fbm", {{"scale", constantExpr(4)}, {"octaves", constantExpr(7)}});
    const int cells = b.addNode("noise.cellular", {{"scale", constantExpr(6)}, {"mode", constantExpr(2)}});
    const int bricks = b.addNode("pattern.bricks", {{"seed", constantExpr(3)}});
    const int warped = b.addNode("warp.directional", {{"intensity", constantExpr(0.02f)}}, {bricks, fbm});
    const int colour = b.addNode(
        "gradient.map",
        {{"low", constantExpr(0.2f, 0.18f, 0.15f, 1)}, {"high", constantExpr(0.7f, 0.65f, 0.6f, 1)}}, {fbm});
    const int mask =
        b.addNode("blur", {{"radius", constantExpr(0.02f)}}, {b.addNode("threshold", {}, {cells})});
    const int base = b.addNode("blend", {{"mode", constantExpr(3)}, {"opacity", constantExpr(0.8f)}},
                               {warped, colour, mask});
    const int tilted = b.addNode(
        "transform2d", {{"offset", constantExpr(0.1f, 0.3f)}, {"scale", constantExpr(2, 1)}}, {base});
    b.addOutput("basecolor", b.addNode("levels", {{"gamma", constantExpr(1.2f)}}, {tilted}));
    b.addOutput("normal", b.addNode("normal.from_height", {}, {warped}));
    b.addOutput("height", warped, SubstancePixelFormat_L16);
    b.addOutput("checker", b.addNode("invert", {}, {b.addNode("pattern.checker")}), SubstancePixelFormat_L8);
    return b;
}

TEST(EvaluatorDeterminism, SameBytesForEveryThreadCountAndRun) {
    const Assembly assembly = material(7).assembly();
    auto one = kvtest::renderAssembly(assembly, 1);
    auto two = kvtest::renderAssembly(assembly, 2);
    auto five = kvtest::renderAssembly(assembly, 5);
    ASSERT_EQ(one.size(), 4u);
    for (const auto& [index, rendered] : one) {
        EXPECT_EQ(rendered.bytes, two[index].bytes) << index;
        EXPECT_EQ(rendered.bytes, five[index].bytes) << index;
    }
}

TEST(EvaluatorDeterminism, GoldenChecksums) {
    // Any change to a kernel's output shows here; update only on purpose.
    auto results = kvtest::renderAssembly(material(6).assembly(), 2);
    const char* names[] = {"basecolor", "normal", "height", "checker"};
    for (const auto& [index, rendered] : results)
        kvtest::dumpPng(names[index], rendered);
    EXPECT_EQ(kvtest::checksum(results[0].bytes), 6250708425927467759ull);
    EXPECT_EQ(kvtest::checksum(results[1].bytes), 4660940084444882521ull);
    EXPECT_EQ(kvtest::checksum(results[2].bytes), 2203345560516193812ull);
    EXPECT_EQ(kvtest::checksum(results[3].bytes), 2751143016862681987ull);
}

TEST(EvaluatorDeterminism, RandomSeedVariesTheNoiseAndNothingElse) {
    GraphBuilder b(5, 5);
    b.addOutput("noise", b.addNode("noise.fbm"));
    b.addOutput("flat", b.addNode("color.uniform"));
    std::unique_ptr<Evaluator> evaluator;
    ASSERT_EQ(Evaluator::create(b.assembly(), {}, evaluator), SubstanceStatus_Ok);
    auto first = kvtest::renderOutputs(*evaluator);
    const int seed[1] = {42};
    ASSERT_EQ(evaluator->setInput(1, SubstanceInputType_Integer, seed, false), SubstanceStatus_Ok);
    auto reseeded = kvtest::renderOutputs(*evaluator);
    EXPECT_NE(first[0].bytes, reseeded[0].bytes);
    EXPECT_EQ(first[1].bytes, reseeded[1].bytes);
    const int back[1] = {0};
    ASSERT_EQ(evaluator->setInput(1, SubstanceInputType_Integer, back, false), SubstanceStatus_Ok);
    EXPECT_EQ(kvtest::renderOutputs(*evaluator)[0].bytes, first[0].bytes);
}

TEST(EvaluatorResolution, OutputSizeSetsWidthAndHeight) {
    GraphBuilder b(5, 3);
    b.addOutput("out", b.addNode("noise.fbm"));
    auto results = kvtest::renderAssembly(b.assembly());
    EXPECT_EQ(results[0].width, 32);
    EXPECT_EQ(results[0].height, 8);
    EXPECT_EQ(results[0].bytes.size(), 32u * 8u * 4u);

    GraphBuilder noSize;
    noSize.graph.inputs.clear(); // no $outputsize: 512 x 512
    noSize.addOutput("out", noSize.addNode("color.uniform"));
    auto defaults = kvtest::renderAssembly(noSize.assembly());
    EXPECT_EQ(defaults[0].width, 512);
    EXPECT_EQ(defaults[0].height, 512);
}

TEST(EvaluatorResolution, SidesBeyond8192AreRejectedBeforeRendering) {
    for (auto size : {std::pair{14, 1}, std::pair{1, 14}, std::pair{-1, 4}, std::pair{1000000, 1000000}}) {
        GraphBuilder b(size.first, size.second);
        b.addOutput("out", b.addNode("color.uniform"));
        std::unique_ptr<Evaluator> evaluator;
        ASSERT_EQ(Evaluator::create(b.assembly(), {}, evaluator), SubstanceStatus_Ok);
        Status status;
        EXPECT_TRUE(kvtest::renderOutputs(*evaluator, {}, &status).empty());
        EXPECT_EQ(status, SubstanceStatus_LimitExceeded);
    }
}

TEST(EvaluatorResolution, LooksAlikeAtEveryResolution) {
    // Relative units: a 64 render matches a 256 render box-reduced to 64.
    auto render = [](int log2) {
        GraphBuilder b(log2, log2);
        const int bricks = b.addNode("pattern.bricks", {{"bevel", constantExpr(0.3f)}});
        const int noise = b.addNode("noise.fbm", {{"octaves", constantExpr(3)}});
        b.addOutput("out", b.addNode("blend", {{"mode", constantExpr(3)}}, {bricks, noise}),
                    SubstancePixelFormat_L32F, 0);
        return kvtest::renderAssembly(b.assembly())[0];
    };
    const kvtest::Rendered small = render(6), large = render(8);
    // Level 2 of the large chain is 64 x 64.
    std::vector<float> level2(64 * 64);
    const size_t offset = (256 * 256 + 128 * 128) * sizeof(float);
    std::memcpy(level2.data(), large.bytes.data() + offset, level2.size() * sizeof(float));
    const std::vector<float> reference = kvtest::floats(small);
    double error = 0;
    for (size_t i = 0; i < level2.size(); ++i)
        error += std::fabs(level2[i] - reference[i]);
    EXPECT_LT(error / static_cast<double>(level2.size()), 0.03);
}

struct FormatCase {
    int format;
    std::vector<unsigned char> texel;
};

std::vector<unsigned char> bytesOf(std::initializer_list<uint16_t> values) {
    std::vector<unsigned char> out;
    for (uint16_t v : values) {
        out.push_back(static_cast<unsigned char>(v & 0xff));
        out.push_back(static_cast<unsigned char>(v >> 8));
    }
    return out;
}

std::vector<unsigned char> bytesOf(std::initializer_list<float> values) {
    std::vector<unsigned char> out(values.size() * 4);
    std::memcpy(out.data(), values.begin(), out.size());
    return out;
}

TEST(EvaluatorFormats, ColourTexelsInEveryFormat) {
    // Luminance of (0.25, 0.5, 0.75) is 0.2126 * 0.25 + 0.7152 * 0.5 + 0.0722 * 0.75 = 0.4649.
    const FormatCase cases[] = {
        {SubstancePixelFormat_RGBA8, {64, 128, 191, 128}},
        {SubstancePixelFormat_RGBA8 | SubstancePixelFormat_Flag, {64, 128, 191, 128}},
        {SubstancePixelFormat_RGBx8, {64, 128, 191, 255}},
        {SubstancePixelFormat_RGB8, {64, 128, 191}},
        {SubstancePixelFormat_L8, {119}},
        {SubstancePixelFormat_RGBA16,
         bytesOf({uint16_t(16384), uint16_t(32768), uint16_t(49151), uint16_t(32768)})},
        {SubstancePixelFormat_RGBx16,
         bytesOf({uint16_t(16384), uint16_t(32768), uint16_t(49151), uint16_t(65535)})},
        {SubstancePixelFormat_RGB16, bytesOf({uint16_t(16384), uint16_t(32768), uint16_t(49151)})},
        {SubstancePixelFormat_L16, bytesOf({uint16_t(30467)})},
        {SubstancePixelFormat_RGBA32F, bytesOf({0.25f, 0.5f, 0.75f, 0.5f})},
        {SubstancePixelFormat_RGBA16F,
         bytesOf({uint16_t(0x3400), uint16_t(0x3800), uint16_t(0x3a00), uint16_t(0x3800)})},
        {SubstancePixelFormat_RGB16F, bytesOf({uint16_t(0x3400), uint16_t(0x3800), uint16_t(0x3a00)})},
        {SubstancePixelFormat_L16F, bytesOf({uint16_t(0x3770)})},
        {SubstancePixelFormat_L32F, bytesOf({0.2126f * 0.25f + 0.7152f * 0.5f + 0.0722f * 0.75f})},
    };
    for (const FormatCase& c : cases) {
        GraphBuilder b(1, 0);
        b.addOutput("out", b.addNode("color.uniform", {{"color", constantExpr(0.25f, 0.5f, 0.75f, 0.5f)}}),
                    c.format);
        auto results = kvtest::renderAssembly(b.assembly());
        const kvtest::Rendered& r = results[0];
        EXPECT_EQ(r.format, c.format);
        ASSERT_EQ(r.bytes.size(), 2 * c.texel.size()) << c.format;
        EXPECT_EQ(
            std::vector<unsigned char>(r.bytes.begin(), r.bytes.begin() + static_cast<long>(c.texel.size())),
            c.texel)
            << "format " << c.format;
    }
}

TEST(EvaluatorFormats, GrayBroadcastsToRgbWithOpaqueAlpha) {
    GraphBuilder b(0, 0);
    const int image = b.addInput("picture", InputType::Image);
    b.addOutput("rgba", b.addNode("input.image", {}, {}, image)); // unset: mid grey
    b.addOutput("half", b.addNode("input.image", {}, {}, image), SubstancePixelFormat_RGBA16F);
    auto results = kvtest::renderAssembly(b.assembly());
    EXPECT_EQ(results[0].bytes, (std::vector<unsigned char>{128, 128, 128, 255}));
    EXPECT_EQ(results[1].bytes,
              bytesOf({uint16_t(0x3800), uint16_t(0x3800), uint16_t(0x3800), uint16_t(0x3c00)}));
}

TEST(EvaluatorFormats, IntegerFormatsClampOutOfRangeValues) {
    EXPECT_EQ(kvtest::renderTexel({-3.0f, 7.0f, 0.5f, 1.0f}, SubstancePixelFormat_RGBA8).bytes,
              (std::vector<unsigned char>{0, 255, 128, 255}));
    EXPECT_EQ(kvtest::floats(kvtest::renderTexel({-3.0f, 7.0f, 0.5f, 1.0f}, SubstancePixelFormat_RGBA32F))[1],
              7.0f);
}

TEST(EvaluatorMipmaps, ChainSizesAndBoxFilter) {
    EXPECT_EQ(mipLevelCount(64, 16, 0), 7);
    EXPECT_EQ(mipLevelCount(64, 16, 3), 3);
    EXPECT_EQ(mipLevelCount(64, 16, 100), 7);
    EXPECT_EQ(mipLevelCount(1, 1, 0), 1);
    EXPECT_EQ(textureBytes(texelFormat(SubstancePixelFormat_RGBA8), 64, 16, 7),
              4u * (64 * 16 + 32 * 8 + 16 * 4 + 8 * 2 + 4 * 1 + 2 * 1 + 1 * 1));

    GraphBuilder b(6, 6);
    const int checker = b.addNode("pattern.checker", {{"tiles", constantExpr(16)}});
    b.addOutput("full", checker, SubstancePixelFormat_L8, 0);
    b.addOutput("three", checker, SubstancePixelFormat_L8, 3);
    auto results = kvtest::renderAssembly(b.assembly());
    const kvtest::Rendered& full = results[0];
    EXPECT_EQ(full.levels, 7);
    EXPECT_EQ(full.bytes.size(), 64u * 64 + 32 * 32 + 16 * 16 + 8 * 8 + 4 * 4 + 2 * 2 + 1);
    // 4 x 4 squares: level 2 has one texel per square, level 3 averages 2 x 2 squares.
    const size_t level2 = 64 * 64 + 32 * 32, level3 = level2 + 16 * 16;
    EXPECT_EQ(full.bytes[level2], 0);
    EXPECT_EQ(full.bytes[level2 + 1], 255);
    for (size_t i = level3; i < full.bytes.size(); ++i)
        EXPECT_EQ(full.bytes[i], 128) << i;
    EXPECT_EQ(results[1].levels, 3);
    EXPECT_EQ(results[1].bytes.size(), 64u * 64 + 32 * 32 + 16 * 16);
}

Status createStatus(const Assembly& assembly) {
    std::unique_ptr<Evaluator> evaluator;
    Status status = Evaluator::create(assembly, {}, evaluator);
    EXPECT_EQ(status == SubstanceStatus_Ok, evaluator != nullptr);
    return status;
}

TEST(EvaluatorHostile, InvalidAssembliesGetAStatus) {
    GraphBuilder unknown;
    unknown.addOutput("out", unknown.addNode("noise.nonexistent"));
    EXPECT_EQ(createStatus(unknown.assembly()), SubstanceStatus_InvalidData);

    GraphBuilder tooManyParams;
    tooManyParams.addOutput("out", tooManyParams.addNode("invert"));
    tooManyParams.graph.nodes[0].params.resize(3);
    EXPECT_EQ(createStatus(tooManyParams.assembly()), SubstanceStatus_InvalidData);

    GraphBuilder tooManyImages;
    tooManyImages.addOutput("out", tooManyImages.addNode("color.uniform", {}, {-1}));
    EXPECT_EQ(createStatus(tooManyImages.assembly()), SubstanceStatus_InvalidData);

    GraphBuilder notAnImage; // input.image reading the Integer2 $outputsize
    notAnImage.addOutput("out", notAnImage.addNode("input.image", {}, {}, 0));
    EXPECT_EQ(createStatus(notAnImage.assembly()), SubstanceStatus_InvalidData);

    GraphBuilder badFormat;
    badFormat.addOutput("out", badFormat.addNode("color.uniform"), 2);
    EXPECT_EQ(createStatus(badFormat.assembly()), SubstanceStatus_InvalidData);

    GraphBuilder cycle;
    const int a = cycle.addNode("invert", {}, {1});
    cycle.addNode("invert", {}, {a});
    cycle.addOutput("out", a);
    EXPECT_EQ(createStatus(cycle.assembly()), SubstanceStatus_Cycle);

    GraphBuilder badExpression; // pops more than it pushed
    badExpression.addOutput("out", badExpression.addNode("invert"));
    badExpression.graph.nodes[0].op = "levels";
    badExpression.graph.nodes[0].params = {Expression{{Instruction{}}}};
    badExpression.graph.nodes[0].params[0].code.push_back(Instruction{});
    badExpression.graph.nodes[0].params[0].code[1].op = Op::Add;
    badExpression.graph.nodes[0].params[0].code.push_back(badExpression.graph.nodes[0].params[0].code[1]);
    EXPECT_NE(createStatus(badExpression.assembly()), SubstanceStatus_Ok);
}

TEST(EvaluatorHostile, HugeNodeCountsAreRejected) {
    GraphBuilder b;
    int previous = b.addNode("color.uniform");
    for (int i = 0; i < 5000; ++i)
        previous = b.addNode("invert", {}, {previous});
    b.addOutput("out", previous);
    EXPECT_EQ(createStatus(b.assembly()), SubstanceStatus_LimitExceeded);

    Assembly many;
    GraphBuilder small;
    for (int i = 0; i < 3000; ++i)
        small.addNode("color.uniform");
    for (int g = 0; g < 6; ++g)
        many.graphs.push_back(small.graph);
    EXPECT_EQ(createStatus(many), SubstanceStatus_LimitExceeded);
}

TEST(EvaluatorHostile, MemoryAndWorkLimitsAreCheckedBeforeAllocating) {
    GraphBuilder b(13, 13); // 8192 x 8192: 1 GiB per colour image
    int previous = b.addNode("color.uniform");
    for (int i = 0; i < 40; ++i)
        previous = b.addNode("blend", {}, {previous, b.addNode("color.uniform")});
    b.addOutput("out", previous, SubstancePixelFormat_RGBA32F, 0);
    EvaluatorOptions options;
    options.limits.maxIntermediateBytes = size_t(1) << 30;
    std::unique_ptr<Evaluator> evaluator;
    ASSERT_EQ(Evaluator::create(b.assembly(), options, evaluator), SubstanceStatus_Ok);
    Status status;
    EXPECT_TRUE(kvtest::renderOutputs(*evaluator, {}, &status).empty());
    EXPECT_EQ(status, SubstanceStatus_LimitExceeded);

    GraphBuilder chain(8, 8);
    int last = chain.addNode("color.uniform");
    for (int i = 0; i < 100; ++i)
        last = chain.addNode("invert", {}, {last});
    chain.addOutput("out", last);
    options = EvaluatorOptions{};
    options.limits.maxNodePixels = 50u * 256 * 256;
    ASSERT_EQ(Evaluator::create(chain.assembly(), options, evaluator), SubstanceStatus_Ok);
    kvtest::renderOutputs(*evaluator, {}, &status);
    EXPECT_EQ(status, SubstanceStatus_LimitExceeded);
}

TEST(EvaluatorHostile, ExtremeParametersStayFinite) {
    GraphBuilder b(4, 4);
    const float huge = 3.0e38f;
    const int noise = b.addNode(
        "noise.fbm",
        {{"scale", constantExpr(huge)}, {"octaves", constantExpr(huge)}, {"seed", constantExpr(-huge)}});
    const int moved = b.addNode(
        "transform2d", {{"offset", constantExpr(huge, -huge)}, {"scale", constantExpr(huge, 0)}}, {noise});
    const int normal = b.addNode("normal.from_height", {{"intensity", constantExpr(huge)}}, {moved});
    const int bricks =
        b.addNode("pattern.bricks", {{"bricks", constantExpr(-huge, huge)}, {"offset", constantExpr(huge)}});
    const int blurred = b.addNode("blur", {{"radius", constantExpr(huge)}}, {bricks});
    const int warped = b.addNode("warp.directional", {{"intensity", constantExpr(huge)}}, {blurred, normal});
    b.addOutput("out", b.addNode("blend", {{"mode", constantExpr(-huge)}}, {warped, normal}));
    auto results = kvtest::renderAssembly(b.assembly());
    EXPECT_EQ(results[0].bytes.size(), 16u * 16u * 4u);
}

TEST(NodeKinds, HslRotatesHueAndKeepsAlpha) {
    GraphBuilder b(0, 0);
    const int red = b.addNode("color.uniform", {{"color", constantExpr(0.8f, 0.2f, 0.2f, 0.5f)}});
    b.addOutput("green", b.addNode("hsl", {{"hue", constantExpr(1.0f / 3.0f)}}, {red}),
                SubstancePixelFormat_RGBA32F);
    b.addOutput("gray", b.addNode("hsl", {{"saturation", constantExpr(0)}}, {red}),
                SubstancePixelFormat_RGBA32F);
    b.addOutput("lighter",
                b.addNode("hsl", {{"lightness", constantExpr(0.1f)}}, {b.addNode("pattern.checker")}),
                SubstancePixelFormat_L32F);
    auto results = kvtest::renderAssembly(b.assembly());
    const std::vector<float> green = kvtest::floats(results[0]);
    EXPECT_NEAR(green[0], 0.2f, 1e-5);
    EXPECT_NEAR(green[1], 0.8f, 1e-5);
    EXPECT_NEAR(green[2], 0.2f, 1e-5);
    EXPECT_EQ(green[3], 0.5f);
    const std::vector<float> gray = kvtest::floats(results[1]);
    EXPECT_NEAR(gray[0], 0.5f, 1e-5);
    EXPECT_NEAR(gray[1], 0.5f, 1e-5);
    EXPECT_NEAR(kvtest::floats(results[2])[0], 0.1f, 1e-6); // the black square, lifted
}

TEST(NodeKinds, OcclusionDarkensCavitiesOnly) {
    GraphBuilder b(7, 7);
    const int bricks =
        b.addNode("pattern.bricks", {{"bricks", constantExpr(2, 2)}, {"variation", constantExpr(0)}});
    b.addOutput("ao", b.addNode("occlusion.from_height", {{"radius", constantExpr(0.1f)}}, {bricks}),
                SubstancePixelFormat_L32F);
    b.addOutput("flat", b.addNode("occlusion.from_height", {}, {b.addNode("color.uniform")}),
                SubstancePixelFormat_L32F);
    auto results = kvtest::renderAssembly(b.assembly());
    const std::vector<float> ao = kvtest::floats(results[0]);
    const float mortar = ao[0];             // corner: mortar between four bricks
    const float centre = ao[32 * 128 + 32]; // middle of a brick, flat further than the radius
    EXPECT_LT(mortar, 0.95f);
    EXPECT_FLOAT_EQ(centre, 1.0f);
    for (float v : kvtest::floats(results[1]))
        ASSERT_FLOAT_EQ(v, 1.0f);
}

TEST(NodeKinds, CatalogueIsSortedAndFindsKindsAndParamsByName) {
    const std::vector<NodeKindInfo>& catalog = nodeCatalog();
    for (size_t i = 1; i < catalog.size(); ++i)
        EXPECT_LT(std::string(catalog[i - 1].name), catalog[i].name);
    for (const NodeKindInfo& kind : catalog)
        EXPECT_EQ(findNodeKind(kind.name)->params.size(), kind.params.size()) << kind.name;
    EXPECT_EQ(findNodeKind("noise"), nullptr);
    const NodeKindInfo& fbm = *findNodeKind("noise.fbm");
    EXPECT_EQ(findParam(fbm, "octaves"), 1);
    EXPECT_EQ(findParam(fbm, "frequency"), -1);
    EXPECT_TRUE(findNodeKind("input.image")->readsGraphInput());
    EXPECT_EQ(findNodeKind("blend")->imageInputs.size(), 3u);
}

TEST(EvaluatorInputs, ExpressionsReadInputValues) {
    GraphBuilder b(0, 0);
    const uint32_t tint = b.addInput("tint", InputType::Float3);
    const uint32_t amount = b.addInput("amount", InputType::Integer);
    // tint * broadcast(amount) * 0.25
    Instruction component, multiply;
    component.op = Op::Component; // index 0: broadcast the integer's one component
    multiply.op = Op::Multiply;
    Expression scaled = inputExpr(tint);
    scaled.code.push_back(inputExpr(amount).code[0]);
    scaled.code.push_back(component);
    scaled.code.push_back(multiply);
    scaled.code.push_back(constantExpr(0.25f, 0.25f, 0.25f, 0.25f).code[0]);
    scaled.code.push_back(multiply);
    b.addOutput("out", b.addNode("color.uniform", {{"color", scaled}}), SubstancePixelFormat_RGBA32F);
    std::unique_ptr<Evaluator> evaluator;
    ASSERT_EQ(Evaluator::create(b.assembly(), {}, evaluator), SubstanceStatus_Ok);
    const float colour[3] = {0.4f, 0.8f, 1.0f};
    const int two[1] = {2};
    ASSERT_EQ(evaluator->setInput(tint, SubstanceInputType_Float3, colour, false), SubstanceStatus_Ok);
    ASSERT_EQ(evaluator->setInput(amount, SubstanceInputType_Integer, two, false), SubstanceStatus_Ok);
    EXPECT_EQ(evaluator->setInput(amount, SubstanceInputType_Float, two, false),
              SubstanceStatus_Incompatible);
    const std::vector<float> texel = kvtest::floats(kvtest::renderOutputs(*evaluator)[0]);
    EXPECT_FLOAT_EQ(texel[0], 0.2f);
    EXPECT_FLOAT_EQ(texel[1], 0.4f);
    EXPECT_FLOAT_EQ(texel[2], 0.5f);
    EXPECT_FLOAT_EQ(texel[3], 0.0f); // the Float3 input's fourth slot is never set
}

TEST(EvaluatorInputs, PushedImagesAreResampledAndCopied) {
    GraphBuilder b(2, 2);
    const uint32_t picture = b.addInput("picture", InputType::Image);
    b.addOutput("out", b.addNode("input.image", {}, {}, picture), SubstancePixelFormat_RGBA8);
    std::unique_ptr<Evaluator> evaluator;
    ASSERT_EQ(Evaluator::create(b.assembly(), {}, evaluator), SubstanceStatus_Ok);

    std::vector<unsigned char> texels(4 * 4 * 4);
    for (size_t i = 0; i < texels.size(); ++i)
        texels[i] = static_cast<unsigned char>(i * 3);
    SubstanceTextureInput input{};
    input.texture.buffer = texels.data();
    input.texture.level0Width = 4;
    input.texture.level0Height = 4;
    input.texture.pixelFormat = SubstancePixelFormat_RGBA8;
    ASSERT_EQ(evaluator->setInput(picture, SubstanceInputType_Image, &input, false), SubstanceStatus_Ok);
    std::fill(texels.begin(), texels.end(), 0); // the engine keeps its own copy
    auto same = kvtest::renderOutputs(*evaluator);
    for (size_t i = 0; i < 64; ++i)
        EXPECT_EQ(same[0].bytes[i], static_cast<unsigned char>(i * 3)) << i;

    std::vector<uint16_t> gray = {0, 65535}; // 2 x 1 L16, stretched over 4 x 4
    input.texture.buffer = gray.data();
    input.texture.level0Width = 2;
    input.texture.level0Height = 1;
    input.texture.pixelFormat = SubstancePixelFormat_L16;
    ASSERT_EQ(evaluator->setInput(picture, SubstanceInputType_Image, &input, false), SubstanceStatus_Ok);
    auto stretched = kvtest::renderOutputs(*evaluator);
    // Bilinear with wrap-around: 0.25, 0.25, 0.75, 0.75 along every row, gray broadcast, opaque.
    const std::vector<unsigned char> row = {64,  64,  64,  255, 64,  64,  64,  255,
                                            191, 191, 191, 255, 191, 191, 191, 255};
    EXPECT_EQ(std::vector<unsigned char>(stretched[0].bytes.begin(), stretched[0].bytes.begin() + 16), row);

    std::vector<unsigned char> wide(8193);
    input.texture.buffer = wide.data();
    input.texture.level0Width = 8193;
    input.texture.pixelFormat = SubstancePixelFormat_L8;
    EXPECT_EQ(evaluator->setInput(picture, SubstanceInputType_Image, &input, false),
              SubstanceStatus_LimitExceeded);
    input.texture.pixelFormat = 2; // no such format
    EXPECT_NE(evaluator->setInput(picture, SubstanceInputType_Image, &input, false), SubstanceStatus_Ok);
    // A record without texels (what a host pushes for an image input it never set) unsets it, like null.
    ASSERT_EQ(evaluator->setInput(picture, SubstanceInputType_Image, nullptr, false), SubstanceStatus_Ok);
    EXPECT_EQ(kvtest::renderOutputs(*evaluator)[0].bytes[0], 128); // unset again: mid grey
    input.texture.buffer = wide.data();                            // black
    input.texture.level0Width = 2;
    input.texture.pixelFormat = SubstancePixelFormat_L8;
    ASSERT_EQ(evaluator->setInput(picture, SubstanceInputType_Image, &input, false), SubstanceStatus_Ok);
    const SubstanceTextureInput empty = {};
    ASSERT_EQ(evaluator->setInput(picture, SubstanceInputType_Image, &empty, false), SubstanceStatus_Ok);
    EXPECT_EQ(kvtest::renderOutputs(*evaluator)[0].bytes[0], 128);
}

TEST(EvaluatorCache, ResultsMatchAFreshEvaluatorAfterEveryChange) {
    GraphBuilder b = material(6);
    const uint32_t offset = b.addInput("offset", InputType::Float2);
    b.graph.nodes[7].params[0] = inputExpr(offset); // the transform2d's offset
    std::unique_ptr<Evaluator> cached;
    ASSERT_EQ(Evaluator::create(b.assembly(), {}, cached), SubstanceStatus_Ok);
    // Seed changes too: only the nodes that read the seed may be taken from the cache as they were.
    const std::pair<float, int> changes[] = {{0.0f, 0}, {0.25f, 0}, {0.25f, 7}, {0.0f, 7}, {0.5f, 0}};
    for (const auto& [shift, seed] : changes) {
        const float value[2] = {shift, shift * 2};
        ASSERT_EQ(cached->setInput(offset, SubstanceInputType_Float2, value, false), SubstanceStatus_Ok);
        ASSERT_EQ(cached->setInput(1, SubstanceInputType_Integer, &seed, false), SubstanceStatus_Ok);
        GraphBuilder fresh = b;
        fresh.graph.inputs[offset].defaultValue.f = {shift, shift * 2, 0, 0};
        fresh.graph.inputs[1].defaultValue.i[0] = seed;
        auto expected = kvtest::renderAssembly(fresh.assembly());
        // Rendered again unchanged, outputs come from the kept textures: never stale ones.
        for (int again = 0; again < 3; ++again) {
            auto actual = kvtest::renderOutputs(*cached);
            for (const auto& [index, rendered] : expected)
                EXPECT_EQ(actual[index].bytes, rendered.bytes)
                    << shift << " seed " << seed << " output " << index << " render " << again;
        }
    }
}

} // namespace
