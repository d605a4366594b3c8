// Every generator tiles and every filter wraps: opposite edges of a render
// continue each other no worse than the roughest pair of neighbouring
// columns (rows) inside the texture.
#include "EvaluatorFixtures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

using namespace kvengine;
using kvtest::constantExpr;
using kvtest::GraphBuilder;

struct Seams {
    double acrossU = 0;        // mean step from the last column to the first
    double acrossV = 0;        // mean step from the last row to the first
    double roughestColumn = 0; // largest mean step between neighbouring columns
    double roughestRow = 0;
};

Seams measure(const std::vector<float>& v, int w, int h) {
    auto at = [&](int x, int y) { return static_cast<double>(v[static_cast<size_t>(y) * w + x]); };
    Seams s;
    for (int x = 0; x < w; ++x) {
        double sum = 0;
        for (int y = 0; y < h; ++y)
            sum += std::fabs(at((x + 1) % w, y) - at(x, y));
        (x == w - 1 ? s.acrossU : s.roughestColumn) =
            x == w - 1 ? sum / h : std::max(s.roughestColumn, sum / h);
    }
    for (int y = 0; y < h; ++y) {
        double sum = 0;
        for (int x = 0; x < w; ++x)
            sum += std::fabs(at(x, (y + 1) % h) - at(x, y));
        (y == h - 1 ? s.acrossV : s.roughestRow) = y == h - 1 ? sum / w : std::max(s.roughestRow, sum / w);
    }
    return s;
}

void expectSeamless(const GraphBuilder& builder, const std::string& name) {
    auto results = kvtest::renderAssembly(builder.assembly());
    ASSERT_EQ(results.count(0), 1u) << name;
    const kvtest::Rendered& r = results[0];
    const Seams s = measure(kvtest::floats(r), r.width, r.height);
    EXPECT_LE(s.acrossU, s.roughestColumn * 1.5 + 1e-4) << name;
    EXPECT_LE(s.acrossV, s.roughestRow * 1.5 + 1e-4) << name;
    // Not trivially flat: the measure would pass anything constant.
    EXPECT_GT(s.roughestColumn + s.roughestRow, 1e-3) << name;
}

GraphBuilder single(const std::string& kind,
                    std::initializer_list<std::pair<const char*, Expression>> params = {}) {
    GraphBuilder b(7, 6); // not square, to catch a mix-up of axes
    b.addOutput("out", b.addNode(kind, params), SubstancePixelFormat_L32F);
    return b;
}

TEST(NodeTiling, GeneratorsAreSeamless) {
    expectSeamless(single("noise.fbm", {{"scale", constantExpr(3)}, {"octaves", constantExpr(5)}}), "fbm");
    expectSeamless(single("noise.fbm", {{"scale", constantExpr(1)}, {"octaves", constantExpr(1)}}), "fbm-1");
    for (int mode = 0; mode < 4; ++mode)
        expectSeamless(
            single("noise.cellular", {{"scale", constantExpr(5)}, {"mode", constantExpr(float(mode))}}),
            "cellular-" + std::to_string(mode));
    expectSeamless(single("noise.cellular", {{"scale", constantExpr(1)}}), "cellular-1");
    expectSeamless(single("gradient.linear", {{"periods", constantExpr(2, 1)}, {"mirror", constantExpr(1)}}),
                   "gradient");
    expectSeamless(
        single("gradient.radial", {{"center", constantExpr(0.9f, 0.05f)}, {"radius", constantExpr(0.4f)}}),
        "radial-across-corner");
    expectSeamless(single("pattern.checker", {{"tiles", constantExpr(5)}}), "checker-odd");
    expectSeamless(single("pattern.bricks", {{"bricks", constantExpr(3, 5)}}), "bricks-odd");
}

TEST(NodeTiling, FiltersWrapAtTheEdges) {
    const char* filters[] = {
        "blur", "levels", "invert", "threshold", "transform2d", "normal.from_height", "occlusion.from_height",
        "hsl"};
    for (const char* filter : filters) {
        GraphBuilder b(6, 6);
        const int noise = b.addNode("noise.fbm", {{"scale", constantExpr(2)}, {"octaves", constantExpr(3)}});
        const int node = b.addNode(filter, {}, {noise});
        b.addOutput("out", node, SubstancePixelFormat_L32F);
        expectSeamless(b, filter);
    }
    GraphBuilder warp(6, 6);
    const int source = warp.addNode("noise.cellular", {{"scale", constantExpr(3)}});
    const int map =
        warp.addNode("gradient.linear", {{"periods", constantExpr(1, 1)}, {"mirror", constantExpr(1)}});
    warp.addOutput("out",
                   warp.addNode("warp.directional", {{"intensity", constantExpr(0.3f)}}, {source, map}),
                   SubstancePixelFormat_L32F);
    expectSeamless(warp, "warp");
}

TEST(NodeTiling, BlurWrapsAcrossTheBorder) {
    // A bright first column bleeds into the last column, not just into the second.
    GraphBuilder b(5, 5);
    const int ramp = b.addNode("gradient.linear", {{"periods", constantExpr(1, 0)}});
    const int edge =
        b.addNode("threshold", {{"level", constantExpr(0.96f)}}, {b.addNode("invert", {}, {ramp})});
    b.addOutput("out", b.addNode("blur", {{"radius", constantExpr(0.2f)}}, {edge}),
                SubstancePixelFormat_L32F);
    auto results = kvtest::renderAssembly(b.assembly());
    const std::vector<float> v = kvtest::floats(results[0]);
    EXPECT_NEAR(v[1], v[31], 1e-5);
    EXPECT_GT(v[31], v[16] + 0.05f);
}

TEST(NodeTiling, TransformOffsetShiftsWholePixelsWithWrap) {
    GraphBuilder b(5, 5);
    const int ramp = b.addNode("gradient.linear", {{"periods", constantExpr(1, 0)}});
    b.addOutput("ramp", ramp, SubstancePixelFormat_L32F);
    b.addOutput("moved", b.addNode("transform2d", {{"offset", constantExpr(0.25f, 0)}}, {ramp}),
                SubstancePixelFormat_L32F);
    auto results = kvtest::renderAssembly(b.assembly());
    const std::vector<float> ramp0 = kvtest::floats(results[0]);
    const std::vector<float> moved = kvtest::floats(results[1]);
    for (int x = 0; x < 32; ++x)
        EXPECT_NEAR(moved[static_cast<size_t>(x)], ramp0[static_cast<size_t>((x + 24) % 32)], 1e-4) << x;
}

} // namespace
