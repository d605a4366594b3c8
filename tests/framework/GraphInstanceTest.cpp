// Graph instances: defaults, dirty marking, state keys, result queues.
#include "TestPackages.h"

#include "framework/render/GraphInstance.h"
#include "framework/render/InputInstanceImage.h"
#include "framework/render/InputInstanceNumerical.h"
#include "framework/render/RendererAccess.h"
#include "framework/render/RendererImpl.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

using namespace SubstanceAir;

namespace {

// Outputs 1, 2, 3; $outputsize (uid 10) and $randomseed (uid 11) alter all of
// them, rough (uid 20) only output 2, tint (uid 30) outputs 1 and 3, and
// picture (uid 40) is an image input.
const char* const graphContent =
    "<graph pkgurl=\"pkg://g\"><outputs><output uid=\"3\"/><output uid=\"1\"/><output uid=\"2\"/></outputs>"
    "<inputs><input uid=\"30\" identifier=\"tint\" type=\"2\" default=\"1,0.5,0\" alteroutputs=\"1,3\"/>"
    "<input uid=\"20\" identifier=\"rough\" type=\"0\" default=\"0.5\" alteroutputs=\"2\"/>"
    "<input uid=\"10\" identifier=\"$outputsize\" type=\"8\" default=\"9,9\" alteroutputs=\"1,2,3\"/>"
    "<input uid=\"11\" identifier=\"$randomseed\" type=\"4\" default=\"0\" alteroutputs=\"1,2,3\"/>"
    "<input uid=\"40\" identifier=\"picture\" type=\"5\"/></inputs></graph>";

class GraphInstanceTest : public ::testing::Test {
protected:
    void SetUp() override {
        package = kvtest::loadDescription(kvtest::describe(4001, graphContent));
        ASSERT_EQ(package->graphs().size(), 1u);
        graph.reset(new GraphInstance(package->graphs()[0]));
    }

    void TearDown() override {
        // Drop the render states a test put into the process-wide renderer.
        RendererAccess access;
        access->states.clear();
    }

    template <typename T>
    InputInstanceNumerical<T>& numerical(unsigned int uid) {
        auto* input = dynamic_cast<InputInstanceNumerical<T>*>(graph->findInput(uid));
        EXPECT_NE(input, nullptr);
        return *input;
    }

    void cleanAll() {
        for (const auto& output : graph->getOutputs()) {
            output->setDirty(false);
        }
    }

    std::vector<bool> dirtyFlags() const {
        std::vector<bool> flags;
        for (const auto& output : graph->getOutputs()) {
            flags.push_back(output->isDirty());
        }
        return flags;
    }

    // A render state holding this graph (and `others`) under its current key.
    RenderState& addState(std::initializer_list<uint64_t> others = {}) {
        RendererAccess access;
        access->states.emplace_back(new RenderState);
        RenderState& state = *access->states.back();
        StateKey key;
        key.packageUid = 4001;
        key.bytes = graph->computeKeyBytes();
        state.keys.push_back(key);
        state.graphs.insert(graph->getIdentity());
        state.graphs.insert(others.begin(), others.end());
        return state;
    }

    std::unique_ptr<PackageDesc> package;
    std::unique_ptr<GraphInstance> graph;
};

TEST_F(GraphInstanceTest, StartsAtDefaultsWithEveryOutputEnabledAndDirty) {
    ASSERT_EQ(graph->getOutputs().size(), 3u);
    ASSERT_EQ(graph->getInputs().size(), 5u);
    for (const auto& output : graph->getOutputs()) {
        EXPECT_TRUE(output->isEnabled());
        EXPECT_TRUE(output->isDirty());
    }
    EXPECT_EQ(numerical<Math::Vector3<float>>(30).getValue(), (Math::Vector3<float>{1, 0.5f, 0}));
    EXPECT_EQ(numerical<Math::Vector2<int>>(10).getValue(), (Math::Vector2<int>{9, 9}));
    EXPECT_EQ(graph->findInput(99), nullptr);
    EXPECT_EQ(graph->findOutput(2), graph->getOutputs()[1].get());
    EXPECT_EQ(graph->findOutput(4), nullptr);
    EXPECT_TRUE(graph->findInput(10)->isStateKey());
    EXPECT_FALSE(graph->findInput(10)->isHintable());
    EXPECT_FALSE(graph->findInput(20)->isStateKey());
    EXPECT_TRUE(graph->findInput(20)->isHintable());
}

TEST_F(GraphInstanceTest, ChangesDirtyExactlyTheAlteredOutputs) {
    cleanAll();
    numerical<float>(20).setValue(0.5f);
    EXPECT_EQ(dirtyFlags(), (std::vector<bool>{false, false, false}));
    numerical<float>(20).setValue(0.75f);
    EXPECT_EQ(dirtyFlags(), (std::vector<bool>{false, true, false}));
    cleanAll();
    numerical<Math::Vector3<float>>(30).setValue({1, 0.5f, 0.25f});
    EXPECT_EQ(dirtyFlags(), (std::vector<bool>{true, false, true}));
    cleanAll();
    numerical<Math::Vector3<float>>(30).reset();
    EXPECT_EQ(numerical<Math::Vector3<float>>(30).getValue(), (Math::Vector3<float>{1, 0.5f, 0}));
    EXPECT_EQ(dirtyFlags(), (std::vector<bool>{true, false, true}));
}

TEST_F(GraphInstanceTest, ValuesRoundTripThroughText) {
    auto& tint = numerical<Math::Vector3<float>>(30);
    EXPECT_EQ(tint.getValueAsString(), "1,0.5,0");
    EXPECT_TRUE(tint.setValueFromString("0.25,2,-3"));
    EXPECT_EQ(tint.getValue(), (Math::Vector3<float>{0.25f, 2, -3}));
    EXPECT_FALSE(tint.setValueFromString("1,2"));
    EXPECT_FALSE(tint.setValueFromString("1, 2, 3"));
    EXPECT_EQ(tint.getValueAsString(), "0.25,2,-3");
    auto& seed = numerical<int>(11);
    EXPECT_FALSE(seed.setValueFromString("7.5"));
    EXPECT_TRUE(seed.setValueFromString("-12"));
    EXPECT_EQ(seed.getValueAsString(), "-12");
    EXPECT_EQ(seed.getRawSize(), 4u);
    EXPECT_EQ(tint.getRawSize(), 12u);
}

TEST_F(GraphInstanceTest, KeyBytesConcatenateSystemInputsInUidOrder) {
    const KeyBytes key = graph->computeKeyBytes();
    ASSERT_EQ(key.size(), 12u);
    int values[3];
    std::memcpy(values, key.data(), sizeof(values));
    EXPECT_EQ(values[0], 9);
    EXPECT_EQ(values[1], 9);
    EXPECT_EQ(values[2], 0);
}

TEST_F(GraphInstanceTest, SystemInputChangesUpdateTheStateHoldingTheGraphAlone) {
    RenderState& alone = addState();
    const KeyBytes sentinel = {0xAB};
    alone.keys[0].bytes = sentinel;
    numerical<float>(20).setValue(0.9f);
    numerical<Math::Vector3<float>>(30).setValue({0, 0, 0});
    EXPECT_EQ(alone.keys[0].bytes, sentinel);

    numerical<int>(11).setValue(42);
    EXPECT_EQ(alone.keys[0].bytes, graph->computeKeyBytes());
    EXPECT_EQ(alone.keys[0].packageUid, 4001u);
    alone.keys[0].bytes = sentinel;
    numerical<int>(11).setValue(42);
    EXPECT_EQ(alone.keys[0].bytes, sentinel);
}

TEST_F(GraphInstanceTest, SharedStatesKeepTheirKey) {
    RenderState& shared = addState({graph->getIdentity() + 1000});
    const KeyBytes before = shared.keys[0].bytes;
    numerical<Math::Vector2<int>>(10).setValue({10, 10});
    EXPECT_EQ(shared.keys[0].bytes, before);
    RenderState& alone = addState();
    numerical<Math::Vector2<int>>(10).setValue({11, 11});
    EXPECT_EQ(shared.keys[0].bytes, before);
    EXPECT_EQ(alone.keys[0].bytes, graph->computeKeyBytes());
}

TEST_F(GraphInstanceTest, UnchangedKeyBytesLeaveTheStateAlone) {
    // A NaN never equals itself, so it is stored again, with the same bytes.
    auto desc = std::unique_ptr<PackageDesc>(kvtest::loadDescription(kvtest::describe(
        4002, "<graph pkgurl=\"pkg://n\"><outputs><output uid=\"1\"/></outputs><inputs>"
              "<input uid=\"1\" identifier=\"$nan\" type=\"0\" default=\"nan\" alteroutputs=\"1\"/>"
              "</inputs></graph>")));
    ASSERT_EQ(desc->graphs().size(), 1u);
    GraphInstance nanGraph(desc->graphs()[0]);
    auto& input = dynamic_cast<InputInstanceNumerical<float>&>(*nanGraph.getInputs().at(0));
    ASSERT_TRUE(std::isnan(input.getValue()));
    RenderState* state;
    {
        RendererAccess access;
        access->states.emplace_back(new RenderState);
        state = access->states.back().get();
    }
    state->keys.push_back(StateKey());
    state->graphs.insert(nanGraph.getIdentity());
    nanGraph.getOutputs()[0]->setDirty(false);
    input.setValue(input.getValue());
    EXPECT_TRUE(state->keys[0].bytes.empty());
    EXPECT_TRUE(nanGraph.getOutputs()[0]->isDirty());
}

TEST_F(GraphInstanceTest, ImageInputsHoldOnePointerToATextureRecord) {
    auto& picture = dynamic_cast<InputInstanceImage&>(*graph->findInput(40));
    ASSERT_EQ(picture.getRawSize(), sizeof(void*));
    const SubstanceTextureInput* record = nullptr;
    std::memcpy(&record, picture.getRawData(), sizeof(record));
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->texture.buffer, nullptr);

    EXPECT_FALSE(InputImage::create(2, 2, SubstancePixelFormat_RGBA8, std::vector<unsigned char>(15)));
    EXPECT_FALSE(InputImage::create(0, 2, SubstancePixelFormat_L8, {}));
    EXPECT_FALSE(InputImage::create(1, 1, SubstancePixelFormat_L8 | SubstancePixelFormat_Flag, {0}));
    auto image = InputImage::create(2, 1, SubstancePixelFormat_RGB16, std::vector<unsigned char>(12, 7));
    ASSERT_TRUE(image);
    cleanAll();
    picture.setImage(image);
    std::memcpy(&record, picture.getRawData(), sizeof(record));
    EXPECT_EQ(record, &image->getTextureInput());
    EXPECT_EQ(record->texture.level0Width, 2);
    EXPECT_EQ(record->texture.pixelFormat, SubstancePixelFormat_RGB16);
    EXPECT_EQ(static_cast<const unsigned char*>(record->texture.buffer)[11], 7);
    EXPECT_EQ(picture.getImage(), image);
    picture.reset();
    EXPECT_FALSE(picture.getImage());
    EXPECT_EQ(image.use_count(), 1);
}

TEST_F(GraphInstanceTest, ResultQueueIsFirstInFirstOutAndBounded) {
    OutputInstance& output = *graph->getOutputs()[0];
    EXPECT_FALSE(output.grabResult());
    for (uint16_t width = 1; width <= 4; ++width) {
        SubstanceTexture texture = {};
        texture.level0Width = width;
        output.pushResult(std::unique_ptr<RenderResult>(new RenderResult(texture, nullptr)));
    }
    // Results nobody took make room for newer ones.
    for (uint16_t width = 3; width <= 4; ++width) {
        std::unique_ptr<RenderResult> result = output.grabResult();
        ASSERT_TRUE(result);
        EXPECT_EQ(result->getTexture().level0Width, width);
    }
    EXPECT_FALSE(output.grabResult());
}

} // namespace
