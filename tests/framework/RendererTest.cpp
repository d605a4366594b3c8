// The renderer against the recording engine: which state a job joins, how
// pending jobs merge, and what a run says to the engine (links, pushes,
// hints, starts) and hands back to the output instances.
#include "RecordingEngine.h"
#include "RenderPackage.h"

#include "framework/render/GraphInstance.h"
#include "framework/render/InputInstanceNumerical.h"
#include "framework/render/RenderJob.h"
#include "framework/render/RendererImpl.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <sstream>

using namespace SubstanceAir;
using kvtest::EngineCall;

namespace {

// A job of no graph in particular, for state matching.
std::unique_ptr<RenderJob> bareJob(unsigned int packageUid, const KeyBytes& key, uint64_t graphIdentity) {
    std::unique_ptr<RenderJob> job(new RenderJob);
    job->packageUid = packageUid;
    job->keyBytes = key;
    job->graphIdentity = graphIdentity;
    return job;
}

std::vector<unsigned int> outputUids(const RenderJob& job) {
    std::vector<unsigned int> uids;
    for (const OutputInstance* output : job.outputs) {
        uids.push_back(output->getDesc().uid);
    }
    return uids;
}

// The engine calls since the last reset, one word each: "set<index>:<type>"
// and "hint<index>:<type>" for input pushes, "out<flags>[<uids>]", "init",
// "start". The package's engine indices are tint 0, $outputsize 1, rough 2.
std::string trace() {
    std::ostringstream out;
    for (const EngineCall& call : kvtest::engineCalls()) {
        out << (out.tellp() > 0 ? " " : "");
        switch (call.kind) {
        case EngineCall::Init:
            out << "init";
            break;
        case EngineCall::SetInput:
            out << (call.flags == 0                    ? "set"
                    : call.flags == SubstancePush_Hint ? "hint"
                                                       : "flags?")
                << call.index << ':' << call.type;
            break;
        case EngineCall::Outputs:
            out << "out" << call.flags << '[';
            for (size_t i = 0; i < call.outputs.size(); ++i) {
                out << (i > 0 ? "," : "") << call.outputs[i];
            }
            out << ']';
            break;
        case EngineCall::Start:
            out << "start";
            break;
        }
    }
    return out.str();
}

// The value of the last non-hint push to engine input `index`, as a float.
float lastPushedFloat(unsigned int index) {
    float value = -1;
    for (const EngineCall& call : kvtest::engineCalls(EngineCall::SetInput)) {
        if (call.flags == 0 && call.index == index && call.value.size() == sizeof value) {
            std::memcpy(&value, call.value.data(), sizeof value);
        }
    }
    return value;
}

class RendererTest : public ::testing::Test {
protected:
    void SetUp() override {
        kvtest::resetEngine();
        texturesBefore = kvtest::liveTextures();
        package = kvtest::loadRenderPackage();
        ASSERT_EQ(package->graphs().size(), 1u);
        graph.reset(new GraphInstance(package->graphs()[0]));
        renderer.reset(new RendererImpl);
        renderer->registerPackage(*package);
    }

    // A job for exactly these outputs of the graph, with its current values.
    std::unique_ptr<RenderJob> jobFor(std::initializer_list<unsigned int> uids) {
        for (const auto& output : graph->getOutputs()) {
            output->setDirty(false);
        }
        graph->markOutputsDirty(uids);
        return makeRenderJob(*graph);
    }

    void render(std::initializer_list<unsigned int> uids) {
        renderer->pushJob(jobFor(uids));
        renderer->runAll();
    }

    void setRough(float value) {
        dynamic_cast<InputInstanceNumerical<float>&>(*graph->findInput(kvtest::kRoughUid)).setValue(value);
    }

    // Takes every result of the output, checking that each is that output's texture.
    int takeResults(unsigned int uid) {
        int count = 0;
        while (std::unique_ptr<RenderResult> result = graph->findOutput(uid)->grabResult()) {
            EXPECT_EQ(*static_cast<const unsigned char*>(result->getTexture().buffer),
                      kvtest::textureByte(uid))
                << "output " << uid;
            ++count;
        }
        return count;
    }

    RenderState& onlyState() {
        EXPECT_EQ(renderer->states.size(), 1u);
        return *renderer->states.front();
    }

    long texturesBefore = 0;
    std::unique_ptr<PackageDesc> package;
    std::unique_ptr<GraphInstance> graph;
    std::unique_ptr<RendererImpl> renderer;
};

TEST_F(RendererTest, JobsShareAStateOnlyUnderTheSameKey) {
    RenderState fresh;
    EXPECT_TRUE(fresh.matches(*bareJob(9, {1, 2}, 1)));

    renderer->pushJob(bareJob(7, {}, 1));
    renderer->pushJob(bareJob(7, {}, 2)); // graphs without system inputs: one state
    renderer->pushJob(bareJob(7, {4}, 3));
    renderer->pushJob(bareJob(8, {}, 4));
    renderer->pushJob(bareJob(7, {4}, 5));
    ASSERT_EQ(renderer->states.size(), 3u);
    const RenderState& first = *renderer->states[0];
    EXPECT_EQ(first.graphs, (std::set<uint64_t>{1, 2}));
    ASSERT_EQ(first.keys.size(), 1u);
    EXPECT_EQ(first.keys[0].packageUid, 7u);
    EXPECT_TRUE(first.keys[0].bytes.empty());
    EXPECT_EQ(first.pending.size(), 1u);
    EXPECT_EQ(renderer->states[1]->graphs, (std::set<uint64_t>{3, 5}));
    EXPECT_EQ(renderer->states[1]->keys.size(), 1u);
    EXPECT_EQ(renderer->states[2]->keys[0].packageUid, 8u);

    EXPECT_FALSE(renderer->states[1]->push(bareJob(7, {5}, 6)));
    EXPECT_FALSE(renderer->states[1]->push(bareJob(8, {4}, 6)));
    EXPECT_EQ(renderer->states[1]->graphs.count(6), 0u);
}

TEST_F(RendererTest, PendingJobsOfOnePackageMergeWithTheNewerValuesWinning) {
    RenderState state;
    std::unique_ptr<RenderJob> older = jobFor({2, 3});
    std::swap(older->outputs[0], older->outputs[1]); // push sorts before merging
    setRough(0.75f);
    std::unique_ptr<RenderJob> newer = jobFor({1});
    newer->inputs.pop_back(); // ghost: the older job's value stays
    ASSERT_TRUE(state.push(std::move(older)));
    ASSERT_TRUE(state.push(std::move(newer)));

    ASSERT_EQ(state.pending.size(), 1u);
    const RenderJob& merged = *state.pending[0];
    EXPECT_EQ(outputUids(merged), (std::vector<unsigned int>{1, 2, 3}));
    std::vector<unsigned int> inputUids;
    for (const InputValueSnapshot& input : merged.inputs) {
        inputUids.push_back(input.uid);
    }
    EXPECT_EQ(inputUids, (std::vector<unsigned int>{10, 20, 30, 40}));
    float rough = 0;
    std::memcpy(&rough, merged.inputs[1].bytes.data(), sizeof rough);
    EXPECT_EQ(rough, 0.75f);
    EXPECT_EQ(state.keys.size(), 1u);
    EXPECT_EQ(state.graphs, (std::set<uint64_t>{graph->getIdentity()}));
}

TEST_F(RendererTest, FirstRunLinksPushesEveryKnownInputThenHintsAndStarts) {
    render({1, 2, 3});
    // By uid: $outputsize, rough, tint; ghost has no engine index. Hints skip $outputsize.
    EXPECT_EQ(trace(), "init set1:8 set2:0 set0:2 out2[1,2,3] hint2:0 hint0:2 out2050[1,2,3] start");
    const std::vector<EngineCall> sets = kvtest::engineCalls(EngineCall::SetInput);
    ASSERT_EQ(sets.size(), 5u);
    EXPECT_EQ(sets[0].value, (std::vector<unsigned char>{8, 0, 0, 0, 8, 0, 0, 0}));
    EXPECT_EQ(lastPushedFloat(2), 0.5f);
    const std::vector<EngineCall> outputs = kvtest::engineCalls(EngineCall::Outputs);
    EXPECT_NE(outputs[0].job, 0u);
    EXPECT_EQ(outputs[1].job, outputs[0].job);
    for (unsigned int uid : {1u, 2u, 3u}) {
        EXPECT_EQ(takeResults(uid), 1);
    }
    EXPECT_TRUE(onlyState().pending.empty());
    EXPECT_TRUE(onlyState().current.empty());

    // Nothing pending: the engine hears nothing, not even a start.
    kvtest::resetEngine();
    renderer->runAll();
    EXPECT_EQ(trace(), "");
}

TEST_F(RendererTest, OnlyChangedValuesArePushedAndForcedJobsRenderAnyway) {
    render({1, 2, 3});
    kvtest::resetEngine();
    setRough(0.25f);
    render({1});
    EXPECT_EQ(trace(), "set2:0 out2[1] hint2:0 hint0:2 out2050[1] start");
    EXPECT_EQ(lastPushedFloat(2), 0.25f);

    kvtest::resetEngine();
    render({2});
    EXPECT_EQ(trace(), "out2[2] hint2:0 hint0:2 out2050[2] start");

    // Unforced with nothing new: neither pushed nor hinted, and no start.
    kvtest::resetEngine();
    std::unique_ptr<RenderJob> job = jobFor({3});
    job->forced = false;
    renderer->pushJob(std::move(job));
    renderer->runAll();
    EXPECT_EQ(trace(), "");
    EXPECT_TRUE(onlyState().pending.empty());

    // Unforced but without inputs: always pushed.
    job = jobFor({3});
    job->forced = false;
    job->inputs.clear();
    renderer->pushJob(std::move(job));
    renderer->runAll();
    EXPECT_EQ(trace(), "out2[3] out2050[3] start");
    EXPECT_EQ(takeResults(1), 2);
    EXPECT_EQ(takeResults(2), 2);
    EXPECT_EQ(takeResults(3), 2);
}

TEST_F(RendererTest, PendingJobsRunNewestFirst) {
    render({1});
    kvtest::resetEngine();
    std::unique_ptr<RenderJob> older = jobFor({1});
    std::unique_ptr<RenderJob> newer = jobFor({2});
    const size_t olderAddress = reinterpret_cast<size_t>(older.get());
    const size_t newerAddress = reinterpret_cast<size_t>(newer.get());
    // Straight into pending: push would merge them.
    onlyState().pending.push_back(std::move(older));
    onlyState().pending.push_back(std::move(newer));
    renderer->runAll();
    EXPECT_EQ(trace(), "out2[2] out2[1] hint2:0 hint0:2 out2050[2] hint2:0 hint0:2 out2050[1] start");
    std::vector<size_t> jobs;
    for (const EngineCall& call : kvtest::engineCalls(EngineCall::Outputs)) {
        jobs.push_back(call.job);
    }
    EXPECT_EQ(jobs, (std::vector<size_t>{newerAddress, olderAddress, newerAddress, olderAddress}));
    EXPECT_EQ(takeResults(1), 2);
    EXPECT_EQ(takeResults(2), 1);
}

TEST_F(RendererTest, FailedLinkKeepsTheJobsPendingUntilALaterRunLinks) {
    renderer->unregisterPackage(kvtest::kRenderAsmUid);
    render({1});
    EXPECT_EQ(trace(), "");
    EXPECT_EQ(onlyState().pending.size(), 1u);
    EXPECT_EQ(onlyState().handle, nullptr);
    EXPECT_NE(onlyState().failedLink, nullptr);

    renderer->registerPackage(*package);
    renderer->runAll();
    EXPECT_EQ(trace(), "init set1:8 set2:0 set0:2 out2[1] hint2:0 hint0:2 out2050[1] start");
    EXPECT_TRUE(onlyState().pending.empty());
    EXPECT_EQ(onlyState().failedLink, nullptr);
    EXPECT_EQ(takeResults(1), 1);
}

TEST_F(RendererTest, ResultsDeliveredOnEngineThreadsReachTheirOutputs) {
    kvtest::setDeliveryOnThread(true);
    render({1, 3});
    const std::vector<std::thread::id> threads = kvtest::deliveryThreads();
    ASSERT_EQ(threads.size(), 2u);
    for (const std::thread::id& thread : threads) {
        EXPECT_NE(thread, std::this_thread::get_id());
    }
    EXPECT_EQ(takeResults(1), 1);
    EXPECT_EQ(takeResults(2), 0);
    EXPECT_EQ(takeResults(3), 1);
    EXPECT_EQ(kvtest::liveTextures(), texturesBefore);
}

TEST_F(RendererTest, OutputsNoJobAskedForGetNoResult) {
    // Output 1 sorts just before the one output the job holds.
    kvtest::setStartHook([](SubstanceHandle* handle) {
        const size_t job = kvtest::engineCalls(EngineCall::Outputs).front().job;
        EXPECT_TRUE(kvtest::deliverOutput(handle, 1, job));
        EXPECT_TRUE(kvtest::deliverOutput(handle, 3, job));
        EXPECT_TRUE(kvtest::deliverOutput(handle, 2, 0));
    });
    render({2});
    EXPECT_EQ(takeResults(1), 0);
    EXPECT_EQ(takeResults(2), 1);
    EXPECT_EQ(takeResults(3), 0);
    // What nobody took stays with the engine and goes with its handle.
    renderer.reset();
    EXPECT_EQ(kvtest::liveTextures(), texturesBefore);
}

TEST_F(RendererTest, StateKeyUpdatesGoToTheFirstStateHoldingTheGraphAlone) {
    const KeyBytes oldKey = {1};
    const KeyBytes newKey = {2};
    const auto addState = [this, &oldKey](std::set<uint64_t> graphs) -> RenderState& {
        renderer->states.emplace_back(new RenderState);
        RenderState& state = *renderer->states.back();
        state.graphs = graphs;
        state.keys.push_back(StateKey{7, oldKey});
        state.keys.push_back(StateKey{7, {9}});
        return state;
    };
    RenderState& shared = addState({1, 2});
    RenderState& alone = addState({1});
    RenderState& later = addState({1});
    RenderState& other = addState({2});
    renderer->updateStateKey(1, oldKey, newKey);
    EXPECT_EQ(shared.keys[0].bytes, oldKey);
    EXPECT_EQ(alone.keys[0].bytes, newKey);
    EXPECT_EQ(alone.keys[1].bytes, KeyBytes{9});
    EXPECT_EQ(later.keys[0].bytes, oldKey);
    EXPECT_EQ(other.keys[0].bytes, oldKey);

    renderer->pushJob(bareJob(7, newKey, 1));
    EXPECT_EQ(alone.pending.size(), 1u);
    EXPECT_EQ(renderer->states.size(), 4u);
}

TEST_F(RendererTest, AStateNoLivingGraphUsesReleasesItsHandleAndLoadsAgainForANewGraph) {
    render({1, 2, 3});
    // A second graph in the state keeps it loaded while it lives.
    std::unique_ptr<GraphInstance> second(new GraphInstance(package->graphs()[0]));
    std::swap(graph, second);
    render({1});
    std::swap(graph, second);
    graph.reset();
    renderer->runAll();
    EXPECT_NE(onlyState().handle, nullptr);

    second.reset();
    kvtest::resetEngine();
    renderer->runAll();
    EXPECT_EQ(onlyState().handle, nullptr);
    EXPECT_FALSE(onlyState().assembly.empty());
    EXPECT_EQ(trace(), "");

    // A new graph of the same package and key loads the kept assembly again,
    // unlinked (the package is gone too), and every value is pushed anew.
    graph.reset(new GraphInstance(package->graphs()[0]));
    renderer->unregisterPackage(package->asmUid());
    render({3});
    EXPECT_EQ(trace(), "init set1:8 set2:0 set0:2 out2[3] hint2:0 hint0:2 out2050[3] start");
    EXPECT_EQ(takeResults(3), 1);
    EXPECT_EQ(renderer->states.size(), 1u);
}

} // namespace
