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

TEST(GeneratorKinds, CellBordersAgreeWithCellularNoise) {
    // Both kinds place the same feature points. Within distance d of a border
    // the nearest two points differ in distance by at most 2 d (triangle
    // inequality through the border's nearest point), so f2 - f1 <= 2 d.
    GraphBuilder b(7, 7);
    const kvtest::NamedParams cells{
        {"scale", constantExpr(5)}, {"jitter", constantExpr(0.8f)}, {"seed", constantExpr(4)}};
    const int edges = b.addNode("noise.cell_edges", cells);
    b.graph.nodes[static_cast<size_t>(edges)].params[2] = constantExpr(1); // falloff: output in cells
    b.addOutput("edges", edges, SubstancePixelFormat_L32F);
    const int cellular = b.addNode("noise.cellular", cells);
    b.graph.nodes[static_cast<size_t>(cellular)].params[1] = constantExpr(2); // f2_minus_f1
    b.addOutput("f2_minus_f1", cellular, SubstancePixelFormat_L32F);
    auto results = kvtest::renderAssembly(b.assembly());
    const std::vector<float> d = kvtest::floats(results[0]);
    const std::vector<float> gap = kvtest::floats(results[1]);
    for (size_t i = 0; i < d.size(); ++i)
        ASSERT_LE(gap[i], 2.0f * d[i] + 1e-4f) << i;
}

TEST(GeneratorKinds, TilesLeaveTheirGapAndRoundTheirCorners) {
    // 4 x 4 tiles of 64 pixels, flat and level: a gap of a quarter tile
    // leaves squares of 48 pixels; full rounding turns them into discs.
    const double pi = 3.14159265358979;
    for (const auto& [rounding, litFraction] :
         {std::pair<float, double>{0.0f, 0.75 * 0.75}, std::pair<float, double>{1.0f, pi * 0.375 * 0.375}}) {
        SCOPED_TRACE(rounding);
        GraphBuilder b(8, 8);
        const std::vector<float> v =
            renderGray(b, b.addNode("pattern.tiles", {{"gap", constantExpr(0.25f)},
                                                      {"bevel", constantExpr(0)},
                                                      {"rounding", constantExpr(rounding)},
                                                      {"variation", constantExpr(0)}}));
        const auto lit = std::count_if(v.begin(), v.end(), [](float t) { return t > 0.5f; });
        EXPECT_NEAR(static_cast<double>(lit) / v.size(), litFraction, 0.01 * litFraction);
    }
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
    // value, different from the others', a box the size of a whole square,
    // and positions and ramps that run across the whole square.
    GraphBuilder b(6, 6);
    const int checker = b.addNode("pattern.checker", {{"tiles", constantExpr(4)}});
    const int moved = b.addNode("transform2d", {{"offset", constantExpr(0.125f, 0.125f)}}, {checker});
    const int cells = b.addNode("flood.fill", {}, {moved});
    b.addOutput("value", b.addNode("flood.random_value", {}, {cells}), SubstancePixelFormat_L32F);
    b.addOutput("width", b.addNode("flood.position", {{"output", constantExpr(2)}}, {cells}),
                SubstancePixelFormat_L32F);
    b.addOutput("height", b.addNode("flood.position", {{"output", constantExpr(3)}}, {cells}),
                SubstancePixelFormat_L32F);
    b.addOutput("local_x", b.addNode("flood.position", {{"output", constantExpr(4)}}, {cells}),
                SubstancePixelFormat_L32F);
    b.addOutput("ramp", b.addNode("flood.random_gradient", {}, {cells}), SubstancePixelFormat_L32F);
    auto results = kvtest::renderAssembly(b.assembly());
    const std::vector<float> value = kvtest::floats(results[0]);
    const std::vector<float> width = kvtest::floats(results[1]);
    const std::vector<float> height = kvtest::floats(results[2]);
    const std::vector<float> localX = kvtest::floats(results[3]);
    const std::vector<float> ramp = kvtest::floats(results[4]);

    std::map<int, std::set<float>> valuesOfSquare;
    std::map<int, std::pair<float, float>> rampOfSquare; // lowest and highest
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x) {
            const size_t i = static_cast<size_t>(y * 64 + x);
            const int sx = ((x + 56) % 64) / 16, sy = ((y + 56) % 64) / 16; // undo the move
            if (((sx + sy) & 1) == 0) {
                EXPECT_EQ(value[i], 0.0f) << x << "," << y;
                continue;
            }
            valuesOfSquare[sy * 4 + sx].insert(value[i]);
            auto& [low, high] = rampOfSquare.try_emplace(sy * 4 + sx, 1.0f, 0.0f).first->second;
            low = std::min(low, ramp[i]);
            high = std::max(high, ramp[i]);
            // The place within the square, continuing across the edge.
            EXPECT_NEAR(localX[i], (static_cast<float>((x + 56) % 16) + 0.5f) / 16.0f, 1e-5f)
                << x << "," << y;
            EXPECT_FLOAT_EQ(width[i], 0.25f) << x << "," << y;
            EXPECT_FLOAT_EQ(height[i], 0.25f) << x << "," << y;
        }
    ASSERT_EQ(valuesOfSquare.size(), 8u);
    std::set<float> distinct;
    for (const auto& [square, values] : valuesOfSquare) {
        EXPECT_EQ(values.size(), 1u) << "square " << square;
        // Each ramp runs from (nearly) 0 to 1 across its whole square.
        EXPECT_LT(rampOfSquare[square].first, 0.05f) << "square " << square;
        EXPECT_GT(rampOfSquare[square].second, 0.95f) << "square " << square;
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

// Largest step between neighbouring pixels, across the wrap too.
float largestStep(const std::vector<float>& v, int width, int height) {
    float largest = 0.0f;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const float here = v[static_cast<size_t>(y * width + x)];
            largest =
                std::max({largest, std::fabs(v[static_cast<size_t>(y * width + (x + 1) % width)] - here),
                          std::fabs(v[static_cast<size_t>(((y + 1) % height) * width + x)] - here)});
        }
    return largest;
}

TEST(GeneratorKinds, LatticeNoisesAreContinuous) {
    // Twice the pixels over the same cells halve the largest step between
    // neighbours of a continuous noise; a lattice point left out of a pixel's
    // sum, or a seam between cells, half cells or rows, is a jump that stays.
    for (const char* kind : {"noise.value", "noise.gradient", "noise.simplex", "noise.anisotropic"}) {
        SCOPED_TRACE(kind);
        float steps[2] = {};
        for (int fine = 0; fine < 2; ++fine) {
            GraphBuilder b(7 + fine, 7 + fine);
            const int side = 128 << fine;
            const std::vector<float> v =
                renderGray(b, b.addNode(kind, {{"scale", constantExpr(8)}, {"seed", constantExpr(3)}}));
            steps[fine] = largestStep(v, side, side);
        }
        EXPECT_LT(steps[1], 0.6f * steps[0]);
    }
}

TEST(GeneratorKinds, AnisotropicNoiseStreaksAlongItsDirection) {
    for (int direction = 0; direction < 2; ++direction) {
        SCOPED_TRACE(direction);
        GraphBuilder b(7, 7);
        const std::vector<float> v = renderGray(
            b, b.addNode("noise.anisotropic", {{"direction", constantExpr(static_cast<float>(direction))}}));
        double along = 0, across = 0;
        for (int y = 0; y < 128; ++y)
            for (int x = 0; x < 128; ++x) {
                const float here = v[static_cast<size_t>(y * 128 + x)];
                const float dx = std::fabs(v[static_cast<size_t>(y * 128 + (x + 1) % 128)] - here);
                const float dy = std::fabs(v[static_cast<size_t>(((y + 1) % 128) * 128 + x)] - here);
                along += direction == 0 ? dx : dy;
                across += direction == 0 ? dy : dx;
            }
        EXPECT_LT(along * 8, across);
    }
}

TEST(GeneratorKinds, ShapesCoverTheirGeometricArea) {
    // Hard-edged shapes of diameter 0.5 (radius R = 0.25) at 256 x 256: the
    // lit fraction is the shape's area in texture units.
    const double pi = 3.14159265358979, r = 0.25;
    struct Expected {
        const char* kind;
        const char* param; // the one parameter moved off its default
        float value;
        double area;
    };
    const Expected shapes[] = {
        {"shape.disc", "softness", 0, pi * r * r},
        {"shape.square", "rotation", 0.1f, 4 * r * r},
        {"shape.polygon", "sides", 6, 1.5 * std::sqrt(3.0) * r * r},
        // 2n triangles between the centre, a tip and an inner corner (at 0.4 R).
        {"shape.star", "points", 5, 5 * r * (0.4 * r) * std::sin(pi / 5)},
        {"shape.ring", "thickness", 0.25f, pi * (r * r - 0.75 * r * 0.75 * r)},
    };
    for (const Expected& shape : shapes) {
        SCOPED_TRACE(shape.kind);
        GraphBuilder b(8, 8);
        const int node = b.addNode(shape.kind, {{shape.param, constantExpr(shape.value)}});
        // Off the centre, to cross the edges: the area must survive the wrap.
        b.graph.nodes[static_cast<size_t>(node)].params[0] = constantExpr(0.9f, 0.05f);
        const std::vector<float> v = renderGray(b, node);
        const double lit =
            static_cast<double>(std::count_if(v.begin(), v.end(), [](float t) { return t > 0.5f; }));
        EXPECT_NEAR(lit / v.size(), shape.area, 0.02 * shape.area);
    }
}
