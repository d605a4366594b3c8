// Properties of generator kinds that the catalogue-wide test (ranges, tiling,
// thread counts) cannot see: cell borders measured straight, scattered copies
// wrapped rather than clipped, flood fill's cells joined across the wrap, and
// the warped noise's point sampling agreeing with the fbm rows.
#include "EvaluatorFixtures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

namespace {

using namespace kvengine;
using kvtest::constantExpr;
using kvtest::GraphBuilder;

std::vector<float> renderGray(GraphBuilder& b, int node) {
    b.addOutput("out", node, SubstancePixelFormat_L32F);
    return kvtest::floats(kvtest::renderAssembly(b.assembly())[0]);
}

TEST(GeneratorKinds, CellEdgesRiseAtOneRateFromEveryBorder) {
    // 4 cells over 128 pixels: 32 pixels a cell. With falloff 2 (cells) the
    // output is distance / 2, unclamped, so one pixel step moves it by at most
    // 1 / 64; near a border it moves by nearly that much in some direction.
    // (f2 - f1 rises at rates from 0 to 2, drawing cracks of uneven width.)
    GraphBuilder b(7, 7);
    const std::vector<float> d = renderGray(
        b, b.addNode("noise.cell_edges", {{"scale", constantExpr(4)}, {"falloff", constantExpr(2)}}));
    const int n = 128;
    const float step = 1.0f / 64.0f;
    int nearBorder = 0, steep = 0;
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x) {
            const float here = d[static_cast<size_t>(y * n + x)];
            const float right = d[static_cast<size_t>(y * n + (x + 1) % n)];
            const float below = d[static_cast<size_t>(((y + 1) % n) * n + x)];
            ASSERT_LE(std::fabs(right - here), step * 1.001f) << x << "," << y;
            ASSERT_LE(std::fabs(below - here), step * 1.001f) << x << "," << y;
            if (here > 2.0f * step && here < 0.1f) { // off the border line itself and its ridge
                ++nearBorder;
                steep += std::hypot(right - here, below - here) > 0.9f * step;
            }
        }
    EXPECT_GT(nearBorder, n * n / 10);
    EXPECT_GT(steep, nearBorder * 95 / 100);
    EXPECT_LT(*std::min_element(d.begin(), d.end()), 0.5f * step); // borders reach 0
}

TEST(GeneratorKinds, ScatteredCopiesWrapAcrossBothEdges) {
    // One disc of a quarter of the texture's area per render, placed at
    // random: its area never shrinks, so a copy crossing an edge is drawn on
    // the other side, not clipped; some seeds put it across each edge.
    const float area = 3.14159265f * 16.0f * 16.0f;
    bool acrossU = false, acrossV = false;
    for (int seed = 0; seed < 24; ++seed) {
        SCOPED_TRACE(seed);
        GraphBuilder b(6, 6);
        const std::vector<float> v =
            renderGray(b, b.addNode("pattern.scatter", {{"grid", constantExpr(1, 1)},
                                                        {"size", constantExpr(0.5f)},
                                                        {"jitter", constantExpr(1)},
                                                        {"size_variation", constantExpr(0)},
                                                        {"value_variation", constantExpr(0)},
                                                        {"seed", constantExpr(static_cast<float>(seed))}}));
        const auto lit = std::count_if(v.begin(), v.end(), [](float t) { return t > 0.5f; });
        EXPECT_NEAR(static_cast<float>(lit), area, 0.04f * area);
        for (int i = 0; i < 64; ++i) {
            acrossU = acrossU ||
                      (v[static_cast<size_t>(i * 64)] > 0.5f && v[static_cast<size_t>(i * 64 + 63)] > 0.5f);
            acrossV =
                acrossV || (v[static_cast<size_t>(i)] > 0.5f && v[static_cast<size_t>(63 * 64 + i)] > 0.5f);
        }
    }
    EXPECT_TRUE(acrossU);
    EXPECT_TRUE(acrossV);
}

TEST(GeneratorKinds, FloodFillJoinsEachEnclosedCellAcrossTheWrap) {
    // A 4 x 4 checker moved by half a square: four of its eight white squares
    // are cut by an edge (one by both). Each square must get one random
    // value, different from the others', and a box the size of a whole square.
    GraphBuilder b(6, 6);
    const int checker = b.addNode("pattern.checker", {{"tiles", constantExpr(4)}});
    const int moved = b.addNode("transform2d", {{"offset", constantExpr(0.125f, 0.125f)}}, {checker});
    const int cells = b.addNode("flood.fill", {}, {moved});
    b.addOutput("value", b.addNode("flood.random_value", {}, {cells}), SubstancePixelFormat_L32F);
    b.addOutput("width", b.addNode("flood.position", {{"output", constantExpr(2)}}, {cells}),
                SubstancePixelFormat_L32F);
    b.addOutput("height", b.addNode("flood.position", {{"output", constantExpr(3)}}, {cells}),
                SubstancePixelFormat_L32F);
    auto results = kvtest::renderAssembly(b.assembly());
    const std::vector<float> value = kvtest::floats(results[0]);
    const std::vector<float> width = kvtest::floats(results[1]);
    const std::vector<float> height = kvtest::floats(results[2]);

    std::map<int, std::set<float>> valuesOfSquare;
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x) {
            const size_t i = static_cast<size_t>(y * 64 + x);
            const int sx = ((x + 56) % 64) / 16, sy = ((y + 56) % 64) / 16; // undo the move
            if (((sx + sy) & 1) == 0) {
                EXPECT_EQ(value[i], 0.0f) << x << "," << y;
                continue;
            }
            valuesOfSquare[sy * 4 + sx].insert(value[i]);
            EXPECT_FLOAT_EQ(width[i], 0.25f) << x << "," << y;
            EXPECT_FLOAT_EQ(height[i], 0.25f) << x << "," << y;
        }
    ASSERT_EQ(valuesOfSquare.size(), 8u);
    std::set<float> distinct;
    for (const auto& [square, values] : valuesOfSquare) {
        EXPECT_EQ(values.size(), 1u) << "square " << square;
        distinct.insert(*values.begin());
    }
    EXPECT_EQ(distinct.size(), 8u);
}

TEST(GeneratorKinds, WarpedNoiseWithoutWarpIsFbm) {
    // The warped kind samples gradient noise point by point; unwarped it must
    // agree with the row-by-row fbm of the same settings.
    GraphBuilder b(6, 5);
    b.addOutput("warped",
                b.addNode("noise.warped", {{"scale", constantExpr(3)},
                                           {"octaves", constantExpr(4)},
                                           {"warp", constantExpr(0)},
                                           {"seed", constantExpr(9)}}),
                SubstancePixelFormat_L32F);
    b.addOutput(
        "fbm",
        b.addNode("noise.fbm",
                  {{"scale", constantExpr(3)}, {"octaves", constantExpr(4)}, {"seed", constantExpr(9)}}),
        SubstancePixelFormat_L32F);
    auto results = kvtest::renderAssembly(b.assembly());
    const std::vector<float> warped = kvtest::floats(results[0]);
    const std::vector<float> fbm = kvtest::floats(results[1]);
    ASSERT_EQ(warped.size(), fbm.size());
    for (size_t i = 0; i < fbm.size(); ++i)
        ASSERT_NEAR(warped[i], fbm[i], 1e-5f) << i;
}

} // namespace
