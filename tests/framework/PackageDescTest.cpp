// Packages: graph list rules, output adjustments, registration, linking.
#include "TestPackages.h"

#include "framework/description/FormatFallback.h"
#include "framework/render/GraphInstance.h"
#include "framework/render/RendererAccess.h"
#include "framework/render/RendererImpl.h"

#include <gtest/gtest.h>

using namespace SubstanceAir;
using kvtest::describe;
using kvtest::graphWithOutput;
using kvtest::loadDescription;

namespace {

const std::string presetsOf(const std::string& label) {
    return "<sbspresets><sbspreset label=\"" + label + "\"/></sbspresets>";
}

TEST(PackageGraphs, ReservationTooSmallCostsEarlierGraphsTheirPresetsAndParent) {
    const std::string graphs =
        graphWithOutput("pkg://a", "<inputs><input uid=\"4\" type=\"0\"/></inputs>" + presetsOf("first")) +
        graphWithOutput("pkg://b", presetsOf("second"));
    auto package = loadDescription(describe(2001, graphs, "count=\"1\""));
    ASSERT_EQ(package->graphs().size(), 2u);
    const GraphDesc& first = package->graphs()[0];
    const GraphDesc& second = package->graphs()[1];
    EXPECT_EQ(first.packageUrl, "pkg://a");
    EXPECT_TRUE(first.presets.empty());
    EXPECT_EQ(first.parent, nullptr);
    EXPECT_EQ(first.outputs.size(), 1u);
    EXPECT_EQ(first.inputs.size(), 1u);
    ASSERT_EQ(second.presets.size(), 1u);
    EXPECT_EQ(second.presets[0].label, "second");
    EXPECT_EQ(second.parent, package.get());

    auto counted = loadDescription(describe(2001, graphs, "count=\"2\""));
    ASSERT_EQ(counted->graphs().size(), 2u);
    for (const GraphDesc& graph : counted->graphs()) {
        EXPECT_EQ(graph.presets.size(), 1u);
        EXPECT_EQ(graph.parent, counted.get());
    }
}

TEST(PackageGraphs, GraphCopiesCloneInputsButNotPresetsOrParent) {
    auto package = loadDescription(describe(
        2002, graphWithOutput("pkg://a", "<inputs><input uid=\"4\" type=\"0\"/></inputs>" + presetsOf("p")),
        "count=\"1\""));
    const GraphDesc& source = package->graphs().at(0);
    GraphDesc copy(source);
    EXPECT_EQ(copy.packageUrl, "pkg://a");
    ASSERT_EQ(copy.inputs.size(), 1u);
    EXPECT_NE(copy.inputs[0].get(), source.inputs[0].get());
    EXPECT_TRUE(copy.presets.empty());
    EXPECT_EQ(copy.parent, nullptr);

    GraphDesc target;
    target.presets.emplace_back();
    target.parent = package.get();
    target = source;
    EXPECT_EQ(target.inputs.size(), 1u);
    EXPECT_EQ(target.presets.size(), 1u);
    EXPECT_EQ(target.presets[0].label, "");
    EXPECT_EQ(target.parent, package.get());
}

TEST(PackageGraphs, GraphsWithoutOutputsAreDroppedInPlace) {
    auto package =
        loadDescription(describe(2003, graphWithOutput("pkg://a") + "<graph pkgurl=\"pkg://none\"/>" +
                                           "<graph pkgurl=\"pkg://empty\"><outputs count=\"3\"/>"
                                           "<inputs><input uid=\"1\" type=\"0\"/></inputs></graph>" +
                                           graphWithOutput("pkg://b")));
    ASSERT_EQ(package->graphs().size(), 2u);
    EXPECT_EQ(package->graphs()[0].packageUrl, "pkg://a");
    EXPECT_EQ(package->graphs()[1].packageUrl, "pkg://b");
    EXPECT_EQ(package->graphs()[1].label, "pkg://b");
}

TEST(PackageGraphs, InvalidRootsYieldNoGraphsNoRegistrationAndAReason) {
    const std::string graph = graphWithOutput("pkg://a");
    const std::vector<std::pair<std::string, std::string>> descriptions = {
        {"<sbsdescription><graphs>" + graph + "</graphs></sbsdescription>", "no asmuid"},
        {"<sbsdescription asmuid=\"2004\">" + graph + "</sbsdescription>", "no graphs element"},
        {"<description asmuid=\"2004\"><graphs>" + graph + "</graphs></description>",
         "root element is 'description', not sbsdescription"},
        {"<sbsdescription asmuid=\"2004\"><graphs>" + graph + "</graphs>", "not well-formed XML"},
        {"not xml at all", "not well-formed XML"},
        {"", "empty"},
        {"<sbsdescription asmuid=\"2010\"><graphs><graph pkgurl=\"pkg://x\"/></graphs></sbsdescription>",
         "no graph with outputs"}};
    for (const auto& description : descriptions) {
        auto package = loadDescription(description.first);
        EXPECT_TRUE(package->graphs().empty()) << description.first;
        EXPECT_NE(package->loadProblem().find(description.second), std::string::npos)
            << description.first << " -> " << package->loadProblem();
    }
    EXPECT_FALSE(kvtest::isRegistered(2004));
    EXPECT_EQ(loadDescription(describe(2003, graph))->loadProblem(), "");
}

TEST(PackageGraphs, AsmUidIsConvertedWhole) {
    auto package = loadDescription("<sbsdescription asmuid=\"12abc\"><graphs>" + graphWithOutput("pkg://a") +
                                   "</graphs></sbsdescription>");
    EXPECT_EQ(package->asmUid(), 0u);
    EXPECT_EQ(package->graphs().size(), 1u);
    auto spaced = loadDescription("<sbsdescription asmuid=\" 2005\"><graphs/></sbsdescription>");
    EXPECT_EQ(spaced->asmUid(), 0u);
}

TEST(PackageGraphs, KeepsTheAssemblyTheLinkerDelivered) {
    const std::string description = describe(2006, graphWithOutput("pkg://a"));
    const std::vector<char> packageBytes = kvtest::makePackage(description);
    PackageDesc package(packageBytes.data(), packageBytes.size(), nullptr);
    EXPECT_FALSE(package.assembly().empty());
    EXPECT_NE(package.assembly(), packageBytes);
}

TEST(PackageGraphs, PushThatDeliversNothingReusesThePreviousPackagesContent) {
    auto first = loadDescription(describe(2008, graphWithOutput("pkg://kept")));
    const char garbage[] = "not a package";
    PackageDesc second(garbage, sizeof garbage, nullptr);
    ASSERT_EQ(second.graphs().size(), 1u);
    EXPECT_EQ(second.graphs()[0].packageUrl, "pkg://kept");
    EXPECT_NE(second.loadProblem().find("not a package the linker can read"), std::string::npos);
    EXPECT_EQ(second.assembly(), first->assembly());
}

TEST(FormatFallback, FollowsEachClassPreferenceList) {
    for (int format : {0, 1, 4, 5, 8, 9, 12, 13, 16, 17, 20, 24, 28, 2, 32, 99, -1}) {
        EXPECT_EQ(applyFormatFallback(format, AllFormatClasses), format);
        EXPECT_EQ(applyFormatFallback(format, 0), format);
    }
    EXPECT_EQ(applyFormatFallback(12, 1u << 0), 0);
    EXPECT_EQ(applyFormatFallback(28, 1u << 0), 0);
    EXPECT_EQ(applyFormatFallback(28, 1u << 1 | 1u << 0), 12);
    EXPECT_EQ(applyFormatFallback(8, 1u << 3 | 1u << 5), 9);
    EXPECT_EQ(applyFormatFallback(20, 1u << 3), 28);
    EXPECT_EQ(applyFormatFallback(1, 1u << 2 | 1u << 6), 17);
    EXPECT_EQ(applyFormatFallback(9, 1u << 4 | 1u << 0), 1);
    EXPECT_EQ(applyFormatFallback(13, 1u << 1), 12);
    EXPECT_EQ(applyFormatFallback(2, 1u << 0), 2);
    EXPECT_EQ(applyFormatFallback(16, 1u << 7), 16);
}

TEST(OutputOptions, ApplyFormatFallbackAndMipmapMode) {
    const std::string description =
        describe(2007, "<graph pkgurl=\"pkg://a\"><outputs><output uid=\"1\" format=\"12\" mipmaps=\"5\"/>"
                       "<output uid=\"2\" format=\"28\" mipmaps=\"3\"/><output uid=\"3\" format=\"9\"/>"
                       "</outputs></graph>");
    struct Case {
        OutputFormatOptions options;
        int formats[3];
        unsigned int mipmaps[3];
    };
    const Case cases[] = {{{127, 0}, {12, 28, 9}, {5, 3, 0}},
                          {{1, 0}, {0, 0, 0}, {5, 3, 0}},
                          {{0, 2}, {12, 28, 9}, {1, 1, 1}},
                          {{127, 1}, {12, 28, 9}, {0, 0, 0}},
                          {{127, 7}, {12, 28, 9}, {0, 0, 0}}};
    for (const Case& c : cases) {
        auto package = loadDescription(description, &c.options);
        const OutputDescs& outputs = package->graphs().at(0).outputs;
        for (size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(outputs[i].format, c.formats[i])
                << "mask " << c.options.formatClassMask << " output " << i;
            EXPECT_EQ(outputs[i].mipmaps, c.mipmaps[i]) << "mode " << c.options.mipmapMode << " output " << i;
        }
    }
}

TEST(PackageRegistry, RegistersWhileAliveAndLeavesZeroGraphPackagesBehind) {
    {
        auto package = loadDescription(describe(2101, graphWithOutput("pkg://a")));
        SubstanceAir::RendererAccess access;
        ASSERT_EQ(access->packages.count(2101), 1u);
        EXPECT_EQ(access->packages.at(2101), package.get());
    }
    EXPECT_FALSE(kvtest::isRegistered(2101));

    // Parsed, but every graph was dropped: registered, and never removed.
    loadDescription(describe(2102, "<graph pkgurl=\"pkg://none\"/>")).reset();
    EXPECT_TRUE(kvtest::isRegistered(2102));
    loadDescription(describe(2103, "")).reset();
    EXPECT_TRUE(kvtest::isRegistered(2103));
}

TEST(PackageRegistry, FirstRegistrationOfAnAsmUidStays) {
    auto first = loadDescription(describe(2104, graphWithOutput("pkg://a")));
    auto second = loadDescription(describe(2104, graphWithOutput("pkg://b")));
    {
        SubstanceAir::RendererAccess access;
        EXPECT_EQ(access->packages.at(2104), first.get());
    }
    second.reset();
    EXPECT_FALSE(kvtest::isRegistered(2104));
}

TEST(PackageLinking, PushesAssemblyAndOutputFormats) {
    auto package = loadDescription(describe(2201, graphWithOutput("pkg://a")));
    SubstanceLinkerContext* context = nullptr;
    ASSERT_EQ(substanceLinkerContextInit(&context, SubstanceApiVersion, SubstanceCpuEngineId), 0);
    SubstanceLinkerHandle* handle = nullptr;
    ASSERT_EQ(substanceLinkerHandleInit(&handle, context), 0);
    EXPECT_TRUE(package->pushToLinker(handle));
    const char* data = nullptr;
    size_t size = 0;
    EXPECT_EQ(substanceLinkerHandleLink(handle, &data, &size), 0);
    EXPECT_GT(size, 0u);
    substanceLinkerHandleRelease(handle);
    substanceLinkerContextRelease(context);
}

struct EmptyPackage : PackageDesc {};

TEST(PackageLinking, FailedPushReportsFalse) {
    EmptyPackage empty;
    SubstanceLinkerContext* context = nullptr;
    ASSERT_EQ(substanceLinkerContextInit(&context, SubstanceApiVersion, SubstanceCpuEngineId), 0);
    SubstanceLinkerHandle* handle = nullptr;
    ASSERT_EQ(substanceLinkerHandleInit(&handle, context), 0);
    EXPECT_FALSE(empty.pushToLinker(handle));
    substanceLinkerHandleRelease(handle);
    substanceLinkerContextRelease(context);
}

TEST(PackageInstances, InstantiateGraphsAppendsOnePerGraphInOrder) {
    auto package = loadDescription(describe(2301, graphWithOutput("pkg://a") + graphWithOutput("pkg://b")));
    std::vector<boost::shared_ptr<GraphInstance>> instances(1);
    instantiateGraphs(instances, *package);
    ASSERT_EQ(instances.size(), 3u);
    EXPECT_EQ(&instances[1]->getDesc(), &package->graphs()[0]);
    EXPECT_EQ(&instances[2]->getDesc(), &package->graphs()[1]);
    EXPECT_NE(instances[1]->getIdentity(), instances[2]->getIdentity());
}

} // namespace
