// Descriptions made to break the reader: they load as empty or partial
// packages, never crash, and never allocate what a count claims.
#include "TestPackages.h"
#include "framework/description/InputDesc.h"
#include "framework/description/Preset.h"

#include <gtest/gtest.h>

#include <chrono>
#include <vector>

using namespace SubstanceAir;
using kvtest::describe;
using kvtest::graphWithOutput;
using kvtest::loadDescription;

namespace {

TEST(HostileDescriptions, DeepNestingIsRefused) {
    std::string deep;
    for (int i = 0; i < 200000; ++i) {
        deep += "<a>";
    }
    auto package = loadDescription(describe(5001, graphWithOutput("pkg://a", deep)));
    EXPECT_TRUE(package->graphs().empty());
    EXPECT_FALSE(kvtest::isRegistered(5001));
}

TEST(HostileDescriptions, HugeOrNegativeCountsReserveOnlyWhatIsThere) {
    const std::string graphs =
        "<graph pkgurl=\"pkg://a\"><outputs count=\"2147483647\"><output uid=\"1\"/></outputs>"
        "<inputs count=\"2000000000\"><input uid=\"1\" type=\"0\"/></inputs>"
        "<sbspresets><sbspreset/></sbspresets></graph>";
    for (const char* count :
         {"count=\"2147483647\"", "count=\"-5\"", "count=\"99999999999999\"", "count=\"x\""}) {
        auto package = loadDescription(describe(5002, graphs, count));
        ASSERT_EQ(package->graphs().size(), 1u) << count;
        EXPECT_EQ(package->graphs()[0].inputs.size(), 1u);
        EXPECT_EQ(package->graphs()[0].presets.size(), 1u) << count;
    }
}

TEST(HostileDescriptions, GarbageAttributesReadAsZerosAndEmpties) {
    auto package = loadDescription(describe(
        5003, "<graph><outputs><output uid=\"-\" format=\"zz\" mipmaps=\"1e9\"><outputgui><channels/>"
              "</outputgui></output></outputs><inputs>"
              "<input type=\"0\" default=\"\x85\xbf\" min=\"nanx\" alteroutputs=\",,,\"/>"
              "<input type=\"4\" uid=\"99999999999\" default=\"99999999999\"/>"
              "<input type=\"3\" default=\",,,\"/></inputs></graph>"));
    ASSERT_EQ(package->graphs().size(), 1u);
    const GraphDesc& graph = package->graphs()[0];
    EXPECT_EQ(graph.packageUrl, "");
    ASSERT_EQ(graph.outputs.size(), 1u);
    EXPECT_EQ(graph.outputs[0].uid, 0u);
    EXPECT_EQ(graph.outputs[0].format, 0);
    EXPECT_EQ(graph.outputs[0].mipmaps, 0u);
    ASSERT_EQ(graph.inputs.size(), 3u);
    for (const auto& input : graph.inputs) {
        EXPECT_EQ(input->uid, 0u);
    }
    // Empty alteration tokens read as uid 0, which names the output.
    EXPECT_EQ(graph.outputs[0].alteringInputUids.size(), 4u);
    const auto& scalar = dynamic_cast<const InputDescNumerical<float>&>(*graph.inputs[0]);
    EXPECT_EQ(scalar.defaultValue, 0.0f);
    EXPECT_EQ(scalar.minValue, 0.0f);
    const auto& integer = dynamic_cast<const InputDescNumerical<int>&>(*graph.inputs[1]);
    EXPECT_EQ(integer.defaultValue, 0);
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) // gcc
constexpr bool kSanitized = true;
#elif defined(__has_feature) // clang
constexpr bool kSanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
constexpr bool kSanitized = false;
#endif

std::string withAttributes(const std::string& open, int count) {
    std::string element = open;
    for (int i = 0; i < count; ++i) {
        element += " a" + std::to_string(i) + "=\"\"";
    }
    return element + "/>";
}

// Every XML text the library reads passes the guard first: what would cost
// the parser seconds or gigabytes is refused at once, with the reason.
TEST(HostileDescriptions, CostlyXmlIsRefusedQuicklyWithItsReason) {
    std::string flood;
    for (int i = 0; i < 2000000; ++i) {
        flood += "<a/>";
    }
    const std::vector<char> widePackage =
        kvtest::makePackage(describe(5005, withAttributes("<graph", 40000)));
    const std::vector<char> floodPackage = kvtest::makePackage(describe(5006, flood));
    const auto start = std::chrono::steady_clock::now();
    const PackageDesc wide(widePackage.data(), widePackage.size(), nullptr);
    EXPECT_TRUE(wide.graphs().empty());
    EXPECT_EQ(wide.loadProblem(), "the description is refused: an XML element has more than 64 attributes");
    const PackageDesc flooded(floodPackage.data(), floodPackage.size(), nullptr);
    EXPECT_TRUE(flooded.graphs().empty());
    EXPECT_EQ(flooded.loadProblem(), "the description is refused: the XML holds more than 100000 nodes");
    // Unguarded, the wide element alone takes the parser about 9 s; sanitizer
    // builds run everything several times slower.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(kSanitized ? 5 : 1));

    Presets presets;
    EXPECT_TRUE(parsePresetsDocument(
        presets, ("<sbspresets>" + withAttributes("<sbspreset", 64) + "</sbspresets>").c_str()));
    EXPECT_FALSE(parsePresetsDocument(
        presets, ("<sbspresets>" + withAttributes("<sbspreset", 65) + "</sbspresets>").c_str()));

    InputDescNumerical<float> input;
    input.guiXml = withAttributes("<inputgui widget=\"slider\"", 63);
    EXPECT_EQ(widgetName(input), "slider");
    input.guiXml = withAttributes("<inputgui widget=\"slider\"", 64);
    EXPECT_EQ(widgetName(input), "");
}

TEST(HostileDescriptions, TruncatedDescriptionsNeverCrash) {
    const std::string full = describe(
        5004,
        graphWithOutput("pkg://a", "<inputs><input uid=\"3\" type=\"1\" default=\"1,2\" alteroutputs=\"1\">"
                                   "<inputgui label=\"x\"><guislider min=\"0\"/></inputgui></input></inputs>"
                                   "<sbspresets><sbspreset label=\"p\"><presetinput uid=\"3\" value=\"1\"/>"
                                   "</sbspreset></sbspresets>"));
    for (size_t length = 0; length < full.size(); length += 7) {
        auto package = loadDescription(full.substr(0, length));
        EXPECT_TRUE(package->graphs().empty()) << length;
    }
    EXPECT_EQ(loadDescription(full)->graphs().size(), 1u);
}

} // namespace
