// The render thread's request protocol (start, request, wait, stop) on the
// process-wide renderer, with the recording engine counting the runs that
// reached it. Meant to run under ThreadSanitizer as well.
#include "RecordingEngine.h"
#include "RenderPackage.h"

#include "framework/render/GraphInstance.h"
#include "framework/render/RenderGlobals.h"
#include "framework/render/RenderJob.h"
#include "framework/render/RenderThread.h"
#include "framework/render/RendererAccess.h"
#include "framework/render/RendererImpl.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

using namespace SubstanceAir;

namespace {

class RenderThreadTest : public ::testing::Test {
protected:
    void SetUp() override {
        kvtest::resetEngine();
        package = kvtest::loadRenderPackage();
        ASSERT_EQ(package->graphs().size(), 1u);
        graph.reset(new GraphInstance(package->graphs()[0]));
        for (const auto& output : graph->getOutputs()) {
            output->setDirty(false);
        }
    }

    void TearDown() override {
        stopRenderThread();
        kvtest::resetEngine();
        RendererAccess access;
        access->states.clear();
    }

    // Hands the renderer a job for output 1, as a render queue would.
    void pushJob() {
        graph->findOutput(1)->setDirty(true);
        RendererAccess access;
        access->pushJob(makeRenderJob(*graph));
    }

    static size_t starts() { return kvtest::engineCalls(kvtest::EngineCall::Start).size(); }

    int takeResults() {
        int count = 0;
        while (graph->findOutput(1)->grabResult()) {
            ++count;
        }
        return count;
    }

    std::unique_ptr<PackageDesc> package;
    std::unique_ptr<GraphInstance> graph;
};

TEST_F(RenderThreadTest, EachRequestRunsOnceAndIsOverWhenTheWaitReturns) {
    startRenderThread();
    const int cycles = 2000;
    int missing = 0;
    for (int i = 0; i < cycles; ++i) {
        pushJob();
        requestRender();
        waitRenderDone();
        missing += takeResults() == 1 ? 0 : 1;
    }
    stopRenderThread();
    EXPECT_EQ(missing, 0);
    EXPECT_EQ(starts(), static_cast<size_t>(cycles));
    EXPECT_EQ(kvtest::engineCalls(kvtest::EngineCall::Init).size(), 1u);
}

TEST_F(RenderThreadTest, StopWhileIdleEndsAtOnceWithoutRunning) {
    pushJob(); // never requested
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 200; ++i) {
        startRenderThread();
        stopRenderThread();
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    EXPECT_EQ(starts(), 0u);

    startRenderThread();
    requestRender();
    waitRenderDone();
    stopRenderThread();
    EXPECT_EQ(starts(), 1u);
    EXPECT_EQ(takeResults(), 1);
}

TEST_F(RenderThreadTest, ARequestBeforeStartRunsOnceStarted) {
    pushJob();
    requestRender();
    {
        boost::mutex::scoped_lock lock(renderGlobals().rendererMutex);
        EXPECT_TRUE(renderGlobals().pending);
    }
    EXPECT_EQ(starts(), 0u);
    startRenderThread();
    waitRenderDone();
    EXPECT_EQ(starts(), 1u);
    EXPECT_EQ(takeResults(), 1);
}

TEST_F(RenderThreadTest, ARequestDuringARunIsAbsorbedByIt) {
    std::mutex mutex;
    std::condition_variable changed;
    bool inRun = false;
    bool released = false;
    // The first start holds the worker inside the engine until released.
    kvtest::setStartHook([&](SubstanceHandle*) {
        std::unique_lock<std::mutex> lock(mutex);
        if (!released) {
            inRun = true;
            changed.notify_all();
            changed.wait(lock, [&] { return released; });
        }
    });
    startRenderThread();
    pushJob();
    requestRender();
    {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [&] { return inRun; });
    }
    pushJob();
    requestRender();
    {
        std::lock_guard<std::mutex> lock(mutex);
        released = true;
    }
    changed.notify_all();
    waitRenderDone();
    EXPECT_EQ(starts(), 1u);
    {
        RendererAccess access;
        ASSERT_EQ(access->states.size(), 1u);
        EXPECT_EQ(access->states[0]->pending.size(), 1u);
    }
    requestRender();
    waitRenderDone();
    EXPECT_EQ(starts(), 2u);
    EXPECT_EQ(takeResults(), 2);
}

} // namespace
