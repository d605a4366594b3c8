// Properties of filter kinds worth pinning beyond the catalogue-wide checks:
// exact distances across the wrap, identities of the normal combination, a
// tone curve that never overshoots, a blur that keeps what it spreads, the
// sides that the emboss light, the height blend and the vector warp pick, and
// where each shuffled channel comes from.
#include "EvaluatorFixtures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace {

using namespace kvengine;
using kvtest::constantExpr;
using kvtest::GraphBuilder;

constexpr int kSide = 32;

// The gray level of pixel (x, y) of an L32F render of a kSide square.
float at(const std::vector<float>& v, int x, int y) {
    return v[static_cast<size_t>(y) * kSide + static_cast<size_t>(x)];
}

// Grows (or shrinks the complement of) a mask of the single pixel (31, 31),
// cut from two ramps, by `pixels`.
std::vector<float> distanceAroundCorner(float pixels, bool complement, const char* mode = "mask") {
    GraphBuilder b(5, 5);
    const int across = b.addNode("gradient.linear", {{"periods", constantExpr(1, 0)}});
    const int down = b.addNode("gradient.linear", {{"periods", constantExpr(0, 1)}});
    const int lastColumn = b.addNode("threshold", {{"level", constantExpr(0.97f)}}, {across});
    const int lastRow = b.addNode("threshold", {{"level", constantExpr(0.97f)}}, {down});
    int mask = b.addNode("blend", {{"mode", constantExpr(3)}}, {lastColumn, lastRow}); // multiply
    if (complement)
        mask = b.addNode("invert", {}, {mask});
    const float modeValue = std::string(mode) == "falloff" ? 1.0f : 0.0f;
    const float distance = (complement ? -pixels : pixels) / kSide;
    b.addOutput("out",
                b.addNode("distance",
                          {{"distance", constantExpr(distance)}, {"mode", constantExpr(modeValue)}}, {mask}),
                SubstancePixelFormat_L32F);
    return kvtest::floats(kvtest::renderAssembly(b.assembly())[0]);
}

// Distance from (x, y) to (31, 31) on the 32 x 32 torus.
float wrappedDistanceToCorner(int x, int y) {
    const int dx = std::min(std::abs(x - 31), kSide - std::abs(x - 31));
    const int dy = std::min(std::abs(y - 31), kSide - std::abs(y - 31));
    return std::sqrt(static_cast<float>(dx * dx + dy * dy));
}

TEST(FilterProperties, DistanceGrowsAndShrinksByExactlyTheRequestedPixelsAcrossTheWrap) {
    for (float pixels : {0.0f, 1.0f, 3.0f, 5.0f}) {
        SCOPED_TRACE(pixels);
        const std::vector<float> grown = distanceAroundCorner(pixels, false);
        const std::vector<float> shrunk = distanceAroundCorner(pixels, true);
        for (int y = 0; y < kSide; ++y)
            for (int x = 0; x < kSide; ++x) {
                const float d = wrappedDistanceToCorner(x, y);
                // Centres within the distance are in; one pixel further out, out.
                if (d <= pixels) {
                    EXPECT_EQ(at(grown, x, y), 1.0f) << x << "," << y;
                } else if (d >= pixels + 1.0f) {
                    EXPECT_EQ(at(grown, x, y), 0.0f) << x << "," << y;
                }
                // Shrinking the complement by a distance leaves the complement of growing by it.
                EXPECT_NEAR(at(shrunk, x, y), 1.0f - at(grown, x, y), 1e-6f) << x << "," << y;
            }
    }
}

TEST(FilterProperties, DistanceFalloffFadesWithDistanceToZeroAtTheReach) {
    const std::vector<float> falloff = distanceAroundCorner(6.0f, false, "falloff");
    EXPECT_EQ(at(falloff, 31, 31), 1.0f);
    EXPECT_EQ(at(falloff, 0, 0), at(falloff, 30, 30)); // the same distance either side of the wrap
    for (int x = 0; x < 6; ++x)
        EXPECT_GT(at(falloff, x, 31), at(falloff, x + 1, 31)) << x;
    EXPECT_EQ(at(falloff, 7, 31), 0.0f);
}

// Outputs: base, base over a flat detail (both modes), a flat base under the detail, the detail.
std::vector<std::vector<float>> normalCombinations() {
    GraphBuilder b(5, 5);
    const int bumps = b.addNode("noise.fbm", {{"seed", constantExpr(4)}});
    const int bricks = b.addNode("pattern.bricks");
    const int base = b.addNode("normal.from_height", {{"intensity", constantExpr(2)}}, {bumps});
    const int detail = b.addNode("normal.from_height", {}, {bricks});
    const int flat = b.addNode("normal.from_height", {{"intensity", constantExpr(0)}}, {bumps});
    const std::vector<int> nodes = {
        base,
        b.addNode("normal.combine", {{"mode", constantExpr(0)}}, {base, flat}),
        b.addNode("normal.combine", {{"mode", constantExpr(1)}}, {base, flat}),
        b.addNode("normal.combine", {{"mode", constantExpr(0)}}, {flat, detail}),
        detail,
    };
    for (size_t i = 0; i < nodes.size(); ++i)
        b.addOutput("n" + std::to_string(i), nodes[i], SubstancePixelFormat_RGBA32F);
    std::vector<std::vector<float>> result;
    for (const auto& [index, rendered] : kvtest::renderAssembly(b.assembly()))
        result.push_back(kvtest::floats(rendered));
    return result;
}

void expectSameNormals(const std::vector<float>& a, const std::vector<float>& b) {
    ASSERT_EQ(a.size(), b.size());
    for (size_t i = 0; i < a.size(); ++i)
        ASSERT_NEAR(a[i], b[i], 2e-6f) << "texel " << i / 4 << " channel " << i % 4;
}

TEST(FilterProperties, NormalCombineOfAFlatNormalIsTheIdentity) {
    const auto n = normalCombinations();
    ASSERT_EQ(n.size(), 5u);
    SCOPED_TRACE("a flat detail, reoriented");
    expectSameNormals(n[1], n[0]);
    SCOPED_TRACE("a flat detail, whiteout");
    expectSameNormals(n[2], n[0]);
    SCOPED_TRACE("a flat base, reoriented");
    expectSameNormals(n[3], n[4]);
}

std::vector<float> curveOfRamp(int points, std::initializer_list<float> xs, std::initializer_list<float> ys) {
    std::vector<float> x(xs), y(ys);
    x.resize(4);
    y.resize(4);
    GraphBuilder b(5, 5);
    const int ramp = b.addNode("gradient.linear", {{"periods", constantExpr(1, 0)}});
    b.addOutput("out",
                b.addNode("curve",
                          {{"points", constantExpr(static_cast<float>(points))},
                           {"inputs", constantExpr(x[0], x[1], x[2], x[3])},
                           {"outputs", constantExpr(y[0], y[1], y[2], y[3])}},
                          {ramp}),
                SubstancePixelFormat_L32F);
    const std::vector<float> all = kvtest::floats(kvtest::renderAssembly(b.assembly())[0]);
    return std::vector<float>(all.begin(), all.begin() + kSide); // one row: the ramp varies along u
}

TEST(FilterProperties, CurveFollowsItsPointsWithoutOvershooting) {
    const std::vector<float> ramp = curveOfRamp(2, {0, 1}, {0, 1});
    // A steep rise then a plateau: a plain cubic spline would bulge over 1 and dip back.
    const std::vector<float> steep = curveOfRamp(4, {0.1f, 0.2f, 0.6f, 0.9f}, {0, 0.9f, 1, 1});
    // Points given out of order are sorted; two points make a straight line, here falling.
    const std::vector<float> falling = curveOfRamp(2, {1, 0}, {0, 1});
    for (int x = 0; x < kSide; ++x) {
        EXPECT_NEAR(falling[static_cast<size_t>(x)], 1.0f - ramp[static_cast<size_t>(x)], 1e-3f) << x;
        if (x > 0) {
            EXPECT_GE(steep[static_cast<size_t>(x)], steep[static_cast<size_t>(x) - 1]) << x;
        }
        EXPECT_LE(steep[static_cast<size_t>(x)], 1.0f) << x;
        if (ramp[static_cast<size_t>(x)] <= 0.1f) {
            EXPECT_EQ(steep[static_cast<size_t>(x)], 0.0f) << x; // flat before the first point
        }
    }
}

TEST(FilterProperties, DirectionalBlurSpreadsOnlyAlongItsDirectionAndKeepsTheTotal) {
    GraphBuilder b(5, 5);
    const int bands =
        b.addNode("threshold", {}, {b.addNode("gradient.linear", {{"periods", constantExpr(0, 2)}})});
    for (float angle : {0.0f, 0.25f, 0.1f})
        b.addOutput("blur" + std::to_string(angle),
                    b.addNode("blur.directional",
                              {{"length", constantExpr(0.2f)}, {"angle", constantExpr(angle)}}, {bands}),
                    SubstancePixelFormat_L32F);
    b.addOutput("bands", bands, SubstancePixelFormat_L32F);
    auto results = kvtest::renderAssembly(b.assembly());
    const std::vector<float> source = kvtest::floats(results[3]);
    const std::vector<float> along = kvtest::floats(results[0]);
    const std::vector<float> across = kvtest::floats(results[1]);
    const std::vector<float> slanted = kvtest::floats(results[2]);
    for (size_t i = 0; i < source.size(); ++i)
        ASSERT_NEAR(along[i], source[i], 1e-5f) << i; // bands run along u: nothing to spread
    EXPECT_GT(*std::min_element(across.begin(), across.end()), -1e-6f);
    EXPECT_NE(across, source);
    const double total = std::accumulate(source.begin(), source.end(), 0.0);
    EXPECT_NEAR(std::accumulate(across.begin(), across.end(), 0.0), total, 1e-2);
    EXPECT_NEAR(std::accumulate(slanted.begin(), slanted.end(), 0.0), total, 1e-2);
}

TEST(FilterProperties, EmbossLightsTheSlopesFacingTheLight) {
    // A ramp rising along +u (away from its wrap) faces -u.
    GraphBuilder b(5, 5);
    const int ramp = b.addNode("gradient.linear", {{"periods", constantExpr(1, 0)}});
    b.addOutput(
        "lit_from_u",
        b.addNode("emboss", {{"light_angle", constantExpr(0)}, {"intensity", constantExpr(8)}}, {ramp}),
        SubstancePixelFormat_L32F);
    b.addOutput(
        "lit_from_minus_u",
        b.addNode("emboss", {{"light_angle", constantExpr(0.5f)}, {"intensity", constantExpr(8)}}, {ramp}),
        SubstancePixelFormat_L32F);
    b.addOutput(
        "lit_from_top",
        b.addNode("emboss", {{"light_angle", constantExpr(0.25f)}, {"intensity", constantExpr(8)}}, {ramp}),
        SubstancePixelFormat_L32F);
    auto results = kvtest::renderAssembly(b.assembly());
    EXPECT_LT(at(kvtest::floats(results[0]), 16, 16), 0.3f);
    EXPECT_GT(at(kvtest::floats(results[1]), 16, 16), 0.7f);
    EXPECT_NEAR(at(kvtest::floats(results[2]), 16, 16), 0.5f, 1e-5f);
}

TEST(FilterProperties, HeightBlendFollowsTheHigherSurfaceWhereTheMaskAllows) {
    GraphBuilder b(5, 5);
    const int ramp = b.addNode("gradient.linear", {{"periods", constantExpr(1, 0)}});
    const int level = b.addNode("color.uniform", {{"color", constantExpr(0.6f, 0.6f, 0.6f, 1)}});
    const int none = b.addNode("color.uniform", {{"color", constantExpr(0, 0, 0, 1)}});
    const kvtest::NamedParams hard = {{"contrast", constantExpr(1)}};
    b.addOutput("height", b.addNode("blend.height", hard, {level, ramp}), SubstancePixelFormat_L32F);
    b.addOutput("top_mask",
                b.addNode("blend.height", {{"contrast", constantExpr(1)}, {"output", constantExpr(1)}},
                          {level, ramp}),
                SubstancePixelFormat_L32F);
    b.addOutput("masked", b.addNode("blend.height", hard, {level, ramp, none}), SubstancePixelFormat_L32F);
    b.addOutput("ramp", ramp, SubstancePixelFormat_L32F);
    auto results = kvtest::renderAssembly(b.assembly());
    const std::vector<float> height = kvtest::floats(results[0]), mask = kvtest::floats(results[1]);
    const std::vector<float> masked = kvtest::floats(results[2]), bottom = kvtest::floats(results[3]);
    for (int x = 0; x < kSide; ++x) {
        const float r = at(bottom, x, 0);
        EXPECT_NEAR(at(height, x, 0), std::max(r, 0.6f), 1e-5f) << x;
        EXPECT_EQ(at(mask, x, 0), r < 0.6f ? 1.0f : 0.0f) << x;
        EXPECT_EQ(at(masked, x, 0), r) << x;
    }
}

TEST(FilterProperties, VectorWarpMovesContentAlongRedAndUpAlongGreenAcrossTheWrap) {
    // A full-scale red (1) at intensity 0.125 moves content 0.125 along +u,
    // 4 pixels of 32; green moves it up (-v) the same way.
    GraphBuilder b(5, 5);
    const int across = b.addNode("gradient.linear", {{"periods", constantExpr(1, 0)}});
    const int down = b.addNode("gradient.linear", {{"periods", constantExpr(0, 1)}});
    const int right = b.addNode("color.uniform", {{"color", constantExpr(1, 0.5f, 0.5f, 1)}});
    const int up = b.addNode("color.uniform", {{"color", constantExpr(0.5f, 1, 0.5f, 1)}});
    const kvtest::NamedParams reach = {{"intensity", constantExpr(0.125f)}};
    b.addOutput("across", across, SubstancePixelFormat_L32F);
    b.addOutput("down", down, SubstancePixelFormat_L32F);
    b.addOutput("moved_right", b.addNode("warp.vector", reach, {across, right}), SubstancePixelFormat_L32F);
    b.addOutput("moved_up", b.addNode("warp.vector", reach, {down, up}), SubstancePixelFormat_L32F);
    auto results = kvtest::renderAssembly(b.assembly());
    const std::vector<float> u = kvtest::floats(results[0]), v = kvtest::floats(results[1]);
    const std::vector<float> right4 = kvtest::floats(results[2]), up4 = kvtest::floats(results[3]);
    for (int i = 0; i < kSide; ++i) {
        EXPECT_NEAR(at(right4, i, 7), at(u, (i + kSide - 4) % kSide, 7), 1e-5f) << i;
        EXPECT_NEAR(at(up4, 7, i), at(v, 7, (i + 4) % kSide), 1e-5f) << i;
    }
}

TEST(FilterProperties, ChannelShuffleTakesEachChannelFromWhereItSays) {
    GraphBuilder b(2, 2);
    const int colour = b.addNode("color.uniform", {{"color", constantExpr(0.1f, 0.2f, 0.3f, 0.4f)}});
    const int gray = b.addNode("grayscale", {},
                               {b.addNode("color.uniform", {{"color", constantExpr(0.7f, 0.7f, 0.7f, 1)}})});
    // red = the other image's green, green = blue, blue = one, alpha = zero.
    const int shuffled = b.addNode("channel.shuffle",
                                   {{"red", constantExpr(5)},
                                    {"green", constantExpr(2)},
                                    {"blue", constantExpr(9)},
                                    {"alpha", constantExpr(8)}},
                                   {colour, gray});
    b.addOutput("out", shuffled, SubstancePixelFormat_RGBA32F);
    const std::vector<float> texels = kvtest::floats(kvtest::renderAssembly(b.assembly())[0]);
    EXPECT_NEAR(texels[0], 0.7f, 1e-6f);
    EXPECT_NEAR(texels[1], 0.3f, 1e-6f);
    EXPECT_EQ(texels[2], 1.0f);
    EXPECT_EQ(texels[3], 0.0f);
}

} // namespace
