#include "EngineCompare.h"

#include "AssemblyBuilder.h"

#include "engine/assembly/AssemblyIO.h"
#include "platform/engine/EngineInterface.h"

#include <chrono>
#include <cstring>
#include <vector>

namespace kvbench {

namespace {

using kvtest::constantExpr;

// One octave of the tileable gradient noise, the source of most rows.
int addNoise(kvtest::GraphBuilder& b) {
    return b.addNode("noise.fbm", {{"scale", constantExpr(kNoiseCells)}, {"octaves", constantExpr(1)}});
}

// The row's graph with its one output.
std::vector<char> assemblyFor(const CompareRow& row) {
    kvtest::GraphBuilder b("pkg://bench/gegl_compare", 1);
    b.addInput("$outputsize", kvengine::InputType::Integer2,
               kvtest::intValue(kCompareSideLog2, kCompareSideLog2));
    int result = -1;
    switch (row.work) {
    case CompareWork::PerlinNoise:
        result = addNoise(b);
        break;
    case CompareWork::CellNoise:
        result = b.addNode("noise.cellular", {{"scale", constantExpr(kCellNoiseCells)}});
        break;
    case CompareWork::GaussianBlur: {
        const float radius = static_cast<float>(kBlurHalfWidth * 3) / static_cast<float>(kCompareSide);
        result = b.addNode("blur", {{"radius", constantExpr(radius)}}, {addNoise(b)});
        break;
    }
    case CompareWork::NormalMap:
        result = b.addNode("normal.from_height", {}, {addNoise(b)});
        break;
    case CompareWork::LevelsMultiply: {
        const int levels = b.addNode(
            "levels", {{"in_low", constantExpr(kLevelsInLow)}, {"in_high", constantExpr(kLevelsInHigh)}},
            {addNoise(b)});
        const int ramp = b.addNode("gradient.linear", {{"periods", constantExpr(1, 0)}});
        constexpr int kMultiply = 3; // the blend kind's "multiply" choice
        result = b.addNode("blend", {{"mode", constantExpr(kMultiply)}}, {ramp, levels});
        break;
    }
    }
    b.addOutput("result", result, row.colour ? SubstancePixelFormat_RGBA32F : SubstancePixelFormat_L32F);
    return kvengine::writeAssembly(b.assembly(3));
}

} // namespace

EngineCompare::EngineCompare() {
    if (substanceContextInit(&context_, nullptr) != 0)
        context_ = nullptr;
}

EngineCompare::~EngineCompare() {
    if (context_)
        substanceContextRelease(context_);
}

CompareRender EngineCompare::render(const CompareRow& row) const {
    CompareRender render;
    if (!context_) {
        render.error = "no engine context";
        return render;
    }
    const std::vector<char> assembly = assemblyFor(row);
    SubstanceHardResources resources{};
    resources.threadCount = kCompareThreads;
    SubstanceHandle* handle = nullptr;
    if (substanceHandleInit(&handle, context_, assembly.data(), assembly.size(), &resources) != 0) {
        render.error = "the engine refused the assembly";
        return render;
    }
    const unsigned output = 0;
    substanceHandlePushOutputs(handle, 0, &output, 1, 0);

    const auto start = std::chrono::steady_clock::now();
    const int status = substanceHandleStart(handle, SubstanceStart_Synchronous);
    render.milliseconds =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();

    SubstanceTexture texture{};
    if (status != 0 || substanceHandleGetOutputs(handle, 0, 0, 1, &texture) != 0 || !texture.buffer) {
        render.error = "the engine rendered no texture";
    } else if (texture.level0Width != kCompareSide || texture.level0Height != kCompareSide) {
        render.error = "the engine rendered the wrong size";
    } else {
        render.channels = row.colour ? 4 : 1;
        render.texels.resize(static_cast<size_t>(kCompareSide) * kCompareSide *
                             static_cast<size_t>(render.channels));
        std::memcpy(render.texels.data(), texture.buffer, render.texels.size() * sizeof(float));
    }
    if (texture.buffer)
        substanceContextMemoryFree(context_, texture.buffer);
    substanceHandleRelease(handle);
    return render;
}

} // namespace kvbench
