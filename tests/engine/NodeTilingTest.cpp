// Filters wrap at the edges pixel for pixel: what leaves one side comes back
// on the other. (That every kind tiles is NodeCatalogueTest's.)
#include "EvaluatorFixtures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

using namespace kvengine;
using kvtest::constantExpr;
using kvtest::GraphBuilder;

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
