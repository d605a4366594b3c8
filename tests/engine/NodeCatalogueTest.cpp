// Every registered kind, from the catalogue rather than a hand list: at its
// defaults, with nothing connected, and at each edge of each parameter's range
// (every value of an enumeration or a flag), a render is finite and within
// [0, 1], tiles, and has the same bytes at 1 and 4 threads. A kind's renders
// together must match the checksum kept for it in NodeReferences.txt, so a
// change says which kind moved; a kind without a reference fails. Every kind
// also survives images holding NaN and infinities, and renders the same bytes
// on every SIMD target the kernels were built for and this CPU runs.
#include "EvaluatorFixtures.h"

#include "engine/nodes/NodeKind.h"
#include "engine/nodes/SimdTarget.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <sstream>

namespace {

using namespace kvengine;
using kvtest::constantExpr;
using kvtest::GraphBuilder;

constexpr int kLog2Width = 6, kLog2Height = 5; // not square, to catch a mix-up of axes
constexpr int kWidth = 1 << kLog2Width, kHeight = 1 << kLog2Height;
const char* const kReferenceFile = KV_SOURCE_DIR "/tests/engine/NodeReferences.txt";

struct Case {
    std::string name;
    int param = -1; // the parameter moved off its default, -1 for none
    float value = 0.0f;
    bool connected = true;
};

std::vector<Case> casesOf(const NodeKindInfo& kind) {
    std::vector<Case> cases{{"defaults"}};
    if (!kind.imageInputs.empty())
        cases.push_back({"unconnected", -1, 0.0f, false});
    for (size_t p = 0; p < kind.params.size(); ++p) {
        const ParamSpec& spec = kind.params[p];
        std::vector<float> edges{spec.min, spec.max};
        if (spec.type == ParamType::Enumeration)
            for (float v = spec.min + 1; v < spec.max; ++v)
                edges.push_back(v);
        for (float v : edges) {
            char text[32];
            std::snprintf(text, sizeof text, "%g", static_cast<double>(v));
            cases.push_back({std::string(spec.name) + "=" + text, static_cast<int>(p), v});
        }
    }
    return cases;
}

// Images the inputs read: tileable (whole periods), colour with varying alpha, and gray.
const std::vector<float>& colourTexels() {
    static const std::vector<float> texels = [] {
        std::vector<float> t(static_cast<size_t>(kWidth) * kHeight * 4);
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                for (int c = 0; c < 4; ++c) {
                    const double phase = double(c + 1) * x / kWidth + double(2 - c % 2) * y / kHeight;
                    t[(static_cast<size_t>(y) * kWidth + x) * 4 + c] =
                        static_cast<float>(0.55 + 0.35 * std::sin(6.283185307179586 * phase));
                }
        return t;
    }();
    return texels;
}

const std::vector<float>& grayTexels() {
    static const std::vector<float> texels = [] {
        std::vector<float> t(static_cast<size_t>(kWidth) * kHeight);
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                t[static_cast<size_t>(y) * kWidth + x] = static_cast<float>(
                    0.5 + 0.25 * std::sin(6.283185307179586 * 3 * x / kWidth) +
                    0.2 * std::cos(6.283185307179586 * (2.0 * y / kHeight + 1.0 * x / kWidth)));
        return t;
    }();
    return texels;
}

// Texels no render makes but a host may push: NaN and both infinities among
// values outside [0, 1], for kernels that turn a level into an index.
const std::vector<float>& hostileTexels() {
    static const std::vector<float> texels = [] {
        const float specials[] = {std::numeric_limits<float>::quiet_NaN(),
                                  std::numeric_limits<float>::infinity(),
                                  -std::numeric_limits<float>::infinity(),
                                  2.0f,
                                  -1.0f,
                                  0.5f};
        std::vector<float> t(static_cast<size_t>(kWidth) * kHeight * 4);
        for (size_t i = 0; i < t.size(); ++i)
            t[i] = specials[(i * 7 + i / 5) % 6];
        return t;
    }();
    return texels;
}

void pushImage(Evaluator& evaluator, unsigned index, const std::vector<float>& texels, int format) {
    SubstanceTextureInput input{};
    input.texture.buffer = const_cast<float*>(texels.data());
    input.texture.level0Width = kWidth;
    input.texture.level0Height = kHeight;
    input.texture.pixelFormat = static_cast<unsigned char>(format);
    ASSERT_EQ(evaluator.setInput(index, SubstanceInputType_Image, &input, false), SubstanceStatus_Ok);
}

// The kind's node fed by "colour" (even slots) and "gray" (odd slots), output
// as RGBA32F; with hostile, both images hold hostileTexels().
std::vector<unsigned char> render(const NodeKindInfo& kind, const Case& c, unsigned threads,
                                  bool hostile = false) {
    GraphBuilder b(kLog2Width, kLog2Height);
    const uint32_t colour = b.addInput("colour", InputType::Image);
    const uint32_t gray = b.addInput("gray", InputType::Image);
    std::vector<int32_t> slots;
    if (c.connected) {
        const int colourNode = b.addNode("input.image", {}, {}, colour);
        const int grayNode = b.addNode("input.image", {}, {}, gray);
        for (size_t slot = 0; slot < kind.imageInputs.size(); ++slot)
            slots.push_back(slot % 2 ? grayNode : colourNode);
    }
    const int node = b.addNode(kind.name, {}, slots, colour);
    if (c.param >= 0)
        b.graph.nodes[static_cast<size_t>(node)].params[static_cast<size_t>(c.param)] =
            constantExpr(c.value, c.value, c.value, c.value);
    b.addOutput("out", node, SubstancePixelFormat_RGBA32F);

    EvaluatorOptions options;
    options.threadCount = threads;
    std::unique_ptr<Evaluator> evaluator;
    EXPECT_EQ(Evaluator::create(b.assembly(), options, evaluator), SubstanceStatus_Ok);
    if (!evaluator)
        return {};
    pushImage(*evaluator, colour, hostile ? hostileTexels() : colourTexels(), SubstancePixelFormat_RGBA32F);
    pushImage(*evaluator, gray, hostile ? hostileTexels() : grayTexels(), SubstancePixelFormat_L32F);
    return kvtest::renderOutputs(*evaluator)[0].bytes;
}

std::map<std::string, uint64_t> references() {
    std::map<std::string, uint64_t> table;
    std::ifstream file(kReferenceFile);
    std::string line;
    while (std::getline(file, line)) {
        std::istringstream fields(line);
        std::string kind, hex;
        if (line.empty() || line[0] == '#' || !(fields >> kind >> hex))
            continue;
        table[kind] = std::stoull(hex, nullptr, 16);
    }
    return table;
}

std::string hexText(uint64_t value) {
    char text[24];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(value));
    return text;
}

class EveryKind : public ::testing::TestWithParam<std::string> {};

TEST_P(EveryKind, RendersCleanlyTilesAndMatchesItsReference) {
    const NodeKindInfo& kind = *findNodeKind(GetParam());
    uint64_t hash = kvtest::checksum({});
    for (const Case& c : casesOf(kind)) {
        SCOPED_TRACE(c.name);
        const std::vector<unsigned char> bytes = render(kind, c, 1);
        ASSERT_EQ(bytes.size(), static_cast<size_t>(kWidth) * kHeight * 4 * sizeof(float));
        EXPECT_EQ(bytes, render(kind, c, 4)) << "differs between 1 and 4 threads";
        kvtest::Rendered rendered;
        rendered.width = kWidth;
        rendered.height = kHeight;
        rendered.format = SubstancePixelFormat_RGBA32F;
        rendered.bytes = bytes;
        const std::vector<float> texels = kvtest::floats(rendered);
        const auto bad = std::find_if(texels.begin(), texels.end(),
                                      [](float v) { return !(v >= -1e-6f && v <= 1.0f + 1e-6f); });
        EXPECT_EQ(bad, texels.end()) << "texel " << (bad - texels.begin()) << " is " << *bad;
        for (int channel = 0; channel < 4; ++channel)
            EXPECT_EQ(kvtest::seamFault(texels, kWidth, kHeight, 4, channel), "") << "channel " << channel;
        hash = kvtest::checksum(bytes, hash);
    }
    const auto table = references();
    const auto reference = table.find(kind.name);
    ASSERT_NE(reference, table.end()) << kind.name << " has no reference in " << kReferenceFile
                                      << "; its renders hash to " << hexText(hash);
    EXPECT_EQ(hexText(hash), hexText(reference->second))
        << kind.name << " moved; update its line in " << kReferenceFile << " only if that was the intent";
}

TEST_P(EveryKind, SurvivesNonFiniteTexels) {
    const NodeKindInfo& kind = *findNodeKind(GetParam());
    EXPECT_EQ(render(kind, Case{"defaults"}, 2, true).size(),
              static_cast<size_t>(kWidth) * kHeight * 4 * sizeof(float));
}

// Restricts the kernels to one SIMD target while it lives.
class OnlySimdTarget {
public:
    explicit OnlySimdTarget(int64_t target) { useSimdTarget(target); }
    ~OnlySimdTarget() { useSimdTarget(0); }
    OnlySimdTarget(const OnlySimdTarget&) = delete;
    OnlySimdTarget& operator=(const OnlySimdTarget&) = delete;
};

TEST_P(EveryKind, RendersTheSameBytesOnEverySimdTarget) {
    const NodeKindInfo& kind = *findNodeKind(GetParam());
    const std::vector<int64_t> targets = simdTargets();
    ASSERT_FALSE(targets.empty());
    std::vector<std::vector<unsigned char>> baseline; // per case, on the least capable target
    std::string baselineName;
    {
        OnlySimdTarget only(targets.back());
        baselineName = simdTargetName();
        for (const Case& c : casesOf(kind))
            baseline.push_back(render(kind, c, 2));
    }
    for (size_t t = 0; t + 1 < targets.size(); ++t) {
        OnlySimdTarget only(targets[t]);
        const std::string name = simdTargetName();
        ASSERT_NE(name, baselineName) << "the kernels did not switch target";
        const std::vector<Case> cases = casesOf(kind);
        for (size_t i = 0; i < cases.size(); ++i)
            EXPECT_EQ(render(kind, cases[i], 2), baseline[i])
                << cases[i].name << ": " << name << " differs from " << baselineName;
    }
}

std::vector<std::string> kindNames() {
    std::vector<std::string> names;
    for (const NodeKindInfo& kind : nodeCatalog())
        names.push_back(kind.name);
    return names;
}

INSTANTIATE_TEST_SUITE_P(Catalogue, EveryKind, ::testing::ValuesIn(kindNames()),
                         [](const ::testing::TestParamInfo<std::string>& kind) {
                             std::string name = kind.param;
                             std::replace(name.begin(), name.end(), '.', '_');
                             return name;
                         });

TEST(NodeCatalogue, EveryKindFileRegistersAndEveryReferenceNamesAKind) {
    // A kind the linker dropped, or a file that forgot its registration, shows here.
    size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(KV_SOURCE_DIR "/engine/nodes/kinds"))
        files += entry.path().extension() == ".cpp";
    EXPECT_EQ(nodeKinds().size(), files);
    for (const auto& [kind, hash] : references())
        EXPECT_NE(findNodeKind(kind), nullptr) << "stale reference " << kind;
}

} // namespace
