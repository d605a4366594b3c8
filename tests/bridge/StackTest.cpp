// Package stacks: which bottom output feeds which top image input, how
// system inputs fuse, and how the dependency lists describe the pair as one
// graph.
#include "../framework/TestPackages.h"

#include "framework/render/GraphInstance.h"
#include "framework/render/InputInstanceNumerical.h"
#include "framework/render/PackageStackDesc.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace SubstanceAir;

namespace {

std::string output(unsigned int uid, const std::string& identifier, const std::string& usage,
                   const std::string& label = "") {
    return "<output uid=\"" + std::to_string(uid) + "\" identifier=\"" + identifier +
           "\"><outputgui label=\"" + label + "\"><channels><channel names=\"" + usage +
           "\"/></channels></outputgui></output>";
}

std::string input(unsigned int uid, const std::string& identifier, int type, const std::string& alters,
                  const std::string& label = "") {
    return "<input uid=\"" + std::to_string(uid) + "\" identifier=\"" + identifier + "\" type=\"" +
           std::to_string(type) + "\" alteroutputs=\"" + alters + "\"><inputgui widget=\"image\" label=\"" +
           (label.empty() ? identifier : label) + "\"/></input>";
}

std::unique_ptr<PackageDesc> package(unsigned int asmUid, const std::string& outputs,
                                     const std::string& inputs) {
    return kvtest::loadDescription(kvtest::describe(
        asmUid, "<graph pkgurl=\"pkg://" + std::to_string(asmUid) + "\" label=\"G\"><outputs>" + outputs +
                    "</outputs><inputs>" + inputs + "</inputs></graph>"));
}

std::vector<OutputToInput> connectionsOf(const PackageDesc& bottom, const PackageDesc& top) {
    return PackageStackDesc(&bottom.graphs().at(0), &top.graphs().at(0)).connections();
}

const std::string kBottomOutputs = output(101, "Output", "diffuse", "Base colour") +
                                   output(102, "h", "height", "Relief") + output(103, "n", "normal");

TEST(StackMatching, UsageNamesAnswerForOneAnother) {
    auto bottom = package(21, kBottomOutputs, "");
    // "Bump" in any case takes the bottom's height output.
    auto bump = package(22, output(501, "Output", "diffuse"), input(201, "Bump", 5, "501"));
    EXPECT_EQ(connectionsOf(*bottom, *bump), (std::vector<OutputToInput>{{102, 201}}));
    // ... unless the top graph has an input of its own called height.
    auto both = package(23, output(501, "Output", "diffuse"),
                        input(201, "bump", 5, "501") + input(202, "height", 5, "501"));
    EXPECT_EQ(connectionsOf(*bottom, *both), (std::vector<OutputToInput>{{102, 202}}));
    // Labels and identifiers match too, lower-cased.
    auto byLabel = package(24, output(501, "Output", "diffuse"), input(201, "src", 5, "501", "RELIEF"));
    EXPECT_EQ(connectionsOf(*bottom, *byLabel), (std::vector<OutputToInput>{{102, 201}}));
}

TEST(StackMatching, ASingleUnmatchedInputTakesTheDiffuseOutput) {
    auto bottom = package(25, kBottomOutputs, "");
    auto effect = package(26, output(501, "Output", "diffuse"), input(201, "input", 5, "501"));
    EXPECT_EQ(connectionsOf(*bottom, *effect), (std::vector<OutputToInput>{{101, 201}}));

    auto noDiffuse = package(27, output(102, "h", "height") + output(103, "n", "normal"), "");
    EXPECT_TRUE(connectionsOf(*noDiffuse, *effect).empty());
    // A bottom with one output name needs no diffuse.
    auto single = package(28, output(104, "mask", "mask", "mask"), "");
    EXPECT_EQ(connectionsOf(*single, *effect), (std::vector<OutputToInput>{{104, 201}}));
    // An input whose label differs from its identifier has two names: no fallback.
    auto twoNames = package(29, output(501, "Output", "diffuse"), input(201, "input", 5, "501", "Source"));
    EXPECT_TRUE(connectionsOf(*bottom, *twoNames).empty());
}

TEST(StackMatching, ExplicitConnectionsAreKeptOnlyWhenBothEndsExist) {
    auto bottom = package(30, kBottomOutputs, "");
    auto effect = package(31, output(501, "Output", "diffuse"), input(201, "input", 5, "501"));
    StackConnections options;
    options.connections = {{999, 201}, {103, 999}, {103, 201}};
    options.bottomOutputs = 1;
    PackageStackDesc stack(&bottom->graphs().at(0), &effect->graphs().at(0), options);
    EXPECT_EQ(stack.connections(), (std::vector<OutputToInput>{{103, 201}}));
    // Kept bottom outputs join the stack's outputs instead of being dropped.
    EXPECT_TRUE(stack.selectedOutputs().empty());
    std::vector<unsigned int> uids;
    for (const OutputDesc& out : stack.graphs().at(0).outputs) {
        uids.push_back(out.uid);
    }
    EXPECT_EQ(uids, (std::vector<unsigned int>{101, 102, 501}));
}

class StackGraphTest : public ::testing::Test {
protected:
    void SetUp() override {
        bottom = package(40, kBottomOutputs + output(900, "mask", "mask"),
                         input(301, "$outputsize", 8, "101,102,103,900") + input(302, "wear", 0, "101") +
                             input(303, "grain", 0, "102") + input(304, "edge", 0, "900"));
        top = package(41, output(501, "Output", "diffuse"),
                      input(401, "input", 5, "501") + input(402, "$outputsize", 8, "501") +
                          input(403, "amount", 0, "501"));
        stack.reset(new PackageStackDesc(&bottom->graphs().at(0), &top->graphs().at(0)));
    }
    const GraphDesc& graph() const { return stack->graphs().at(0); }

    std::unique_ptr<PackageDesc> bottom, top;
    std::unique_ptr<PackageStackDesc> stack;
};

TEST_F(StackGraphTest, IsOneGraphOfBothInterfaces) {
    EXPECT_EQ(graph().packageUrl, "pkg://40/pkg://41");
    EXPECT_EQ(graph().parent, stack.get());
    ASSERT_EQ(graph().outputs.size(), 1u);
    EXPECT_EQ(graph().outputs[0].uid, 501u);
    EXPECT_EQ(stack->selectedOutputs(), (std::vector<unsigned int>{102, 103, 900}));
    EXPECT_EQ(stack->fusedInputs(), (std::vector<std::pair<unsigned int, unsigned int>>{{301, 402}}));
    std::vector<unsigned int> inputs;
    for (const auto& in : graph().inputs) {
        inputs.push_back(in->uid);
    }
    // The fed image input and the fused system input are gone.
    EXPECT_EQ(inputs, (std::vector<unsigned int>{301, 302, 303, 304, 403}));
}

TEST_F(StackGraphTest, DependenciesRunThroughTheConnection) {
    // The top output now depends on the inputs behind the bottom output that feeds it.
    EXPECT_EQ(graph().outputs[0].alteringInputUids, (std::vector<unsigned int>{301, 302, 403}));
    EXPECT_EQ(graph().findInput(302)->alteredOutputUids, (std::vector<unsigned int>{501}));
    // The fused system input alters what both of its halves altered.
    EXPECT_EQ(graph().findInput(301)->alteredOutputUids, (std::vector<unsigned int>{102, 103, 501, 900}));
}

TEST_F(StackGraphTest, InputsAlteringOnlyDroppedOutputsMarkNothing) {
    GraphInstance instance(graph());
    OutputInstance& result = *instance.getOutputs().at(0);
    for (unsigned int uid : {303u, 304u}) { // dropped outputs below and above the kept one
        result.setDirty(false);
        auto* value = static_cast<InputInstanceNumerical<float>*>(instance.findInput(uid));
        ASSERT_NE(value, nullptr);
        value->setValue(0.75f);
        EXPECT_FALSE(result.isDirty()) << uid;
    }
    static_cast<InputInstanceNumerical<float>*>(instance.findInput(302))->setValue(0.25f);
    EXPECT_TRUE(result.isDirty());
}

TEST(StackRegistry, EveryStackHasItsOwnRegisteredUid) {
    auto graphOnly = package(50, output(101, "Output", "diffuse"), "");
    std::unique_ptr<PackageStackDesc> first(
        new PackageStackDesc(&graphOnly->graphs()[0], &graphOnly->graphs()[0]));
    std::unique_ptr<PackageStackDesc> second(
        new PackageStackDesc(&graphOnly->graphs()[0], &graphOnly->graphs()[0]));
    EXPECT_NE(first->asmUid(), second->asmUid());
    EXPECT_TRUE(kvtest::isRegistered(first->asmUid()));
    const unsigned int uid = first->asmUid();
    first.reset();
    EXPECT_FALSE(kvtest::isRegistered(uid));
    EXPECT_TRUE(kvtest::isRegistered(second->asmUid()));

    // Without a graph on one side the stack stays empty and cannot be linked.
    PackageStackDesc empty(&graphOnly->graphs()[0], nullptr);
    EXPECT_TRUE(empty.graphs().empty());
    EXPECT_FALSE(empty.pushToLinker(nullptr));
}

} // namespace
