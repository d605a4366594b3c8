// The node library's shared kernels on their own, against straightforward
// versions of what they compute: the lattice column stepping, the box filter
// behind the blur, the run loop of cellular noise, the normal map's rows and
// the octave sums of fractal noise. (That their bytes do
// not depend on the SIMD target is the catalogue test's.)
#include "engine/nodes/BoxStrip.h"
#include "engine/nodes/CellularRun.h"
#include "engine/nodes/LatticeNoise.h"
#include "engine/nodes/NormalRow.h"
#include "engine/nodes/OctaveSum.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

using namespace kvengine;

TEST(CellColumns, EndsWhereThePixelCentresLeaveEachColumn) {
    // Fewer, as many and more columns than pixels, and periods that do not divide the width.
    for (int width : {1, 2, 3, 7, 64, 100, 2048})
        for (int period : {1, 2, 3, 5, 7, 64, 96, 511, 4096, 100000}) {
            CellColumns columns(width, period);
            for (int cx = 0; cx < std::min(period, 5000); ++cx, columns.next()) {
                const double exact = std::ceil((cx + 1.0) * width / period - 0.5);
                ASSERT_EQ(columns.end(), static_cast<int>(exact))
                    << "width " << width << ", period " << period << ", column " << cx;
            }
        }
}

// A strip of signals (lane c holds a signal of its own) as the blur lays it out.
std::vector<float> stripOf(int n, float (*signal)(int lane, int i)) {
    std::vector<float> strip(static_cast<size_t>(n) * kBoxStripLanes);
    for (int i = 0; i < n; ++i)
        for (int c = 0; c < kBoxStripLanes; ++c)
            strip[static_cast<size_t>(i) * kBoxStripLanes + c] = signal(c, i);
    return strip;
}

TEST(BoxFilterStrip, EachLaneIsTheWrappedMeanOfItsOwnWindow) {
    const auto ripple = [](int lane, int i) {
        return static_cast<float>(0.5 + 0.4 * std::sin(0.37 * i * (lane + 1) + lane));
    };
    for (int n : {1, 2, 5, 33, 300})
        for (int h : {0, 1, 3, (n - 1) / 2}) {
            if (2 * h + 1 > n)
                continue;
            const std::vector<float> src = stripOf(n, ripple);
            std::vector<float> dst(src.size());
            boxFilterStrip(src.data(), kBoxStripLanes, dst.data(), kBoxStripLanes, n, h,
                           n % 2 ? BoxDifference::Float : BoxDifference::Double);
            for (int i = 0; i < n; ++i)
                for (int c = 0; c < kBoxStripLanes; ++c) {
                    double sum = 0.0;
                    for (int k = i - h; k <= i + h; ++k)
                        sum += src[static_cast<size_t>((k % n + n) % n) * kBoxStripLanes + c];
                    ASSERT_NEAR(dst[static_cast<size_t>(i) * kBoxStripLanes + c], sum / (2 * h + 1), 1e-6)
                        << "n " << n << ", h " << h << ", sample " << i << ", lane " << c;
                }
        }
}

TEST(BoxFilterStrip, KeepsAConstantExactly) {
    // A flat image must blur to itself, or kinds that compare a blur with its source see false detail.
    const auto flat = [](int lane, int) { return 0.1f + 0.0137f * static_cast<float>(lane); };
    const std::vector<float> src = stripOf(2048, flat);
    for (BoxDifference difference : {BoxDifference::Float, BoxDifference::Double}) {
        std::vector<float> dst(src.size());
        boxFilterStrip(src.data(), kBoxStripLanes, dst.data(), kBoxStripLanes, 2048, 341, difference);
        EXPECT_EQ(dst, src);
    }
}

TEST(BoxFilterStrip, RowsGoIntoLanesAndBackWhateverTheirShape) {
    // Sizes on and off the 4 x 4 blocks the copies move at once.
    for (int width : {1, 3, 4, 7, 64, 70})
        for (int count : {1, 3, 4, 5, kBoxStripLanes}) {
            const size_t stride = static_cast<size_t>(width) + 2;
            std::vector<float> rows(stride * static_cast<size_t>(count));
            for (size_t i = 0; i < rows.size(); ++i)
                rows[i] = static_cast<float>(i);
            std::vector<float> strip(static_cast<size_t>(width) * kBoxStripLanes, -1.0f);
            rowsToStrip(rows.data(), stride, width, count, strip.data());
            for (int x = 0; x < width; ++x)
                for (int r = 0; r < kBoxStripLanes; ++r)
                    ASSERT_EQ(strip[static_cast<size_t>(x) * kBoxStripLanes + r],
                              r < count ? rows[static_cast<size_t>(r) * stride + x] : -1.0f)
                        << width << " x " << count << ": sample " << x << ", lane " << r;
            std::vector<float> back(rows.size(), -1.0f);
            stripToRows(strip.data(), width, count, back.data(), stride);
            for (size_t i = 0; i < rows.size(); ++i)
                ASSERT_EQ(back[i], i % stride < static_cast<size_t>(width) ? rows[i] : -1.0f)
                    << width << " x " << count << ": float " << i;
        }
}

TEST(CellularRun, MatchesASearchOverEveryPoint) {
    const RunPoint points[] = {{0.3f, 0.01f, 0.1f},
                               {1.2f, 0.0f, 0.2f},
                               {-0.4f, 0.25f, 0.3f},
                               {0.9f, 0.04f, 0.4f},
                               {2.1f, 0.5f, 0.5f}};
    const int count = 5, begin = 3, end = 41, width = 45;
    const float toCells = 0.05f;
    for (CellularMode mode :
         {CellularMode::F1, CellularMode::F2, CellularMode::F2MinusF1, CellularMode::CellValue}) {
        std::vector<float> out(width, -1.0f);
        cellularRun(points, count, begin, end, toCells, mode, out.data());
        for (int i = 0; i < width; ++i) {
            if (i < begin || i >= end) {
                EXPECT_EQ(out[static_cast<size_t>(i)], -1.0f) << "pixel " << i << " is outside the run";
                continue;
            }
            std::vector<std::pair<float, float>> byDistance; // squared distance, value
            for (const RunPoint& p : points) {
                const float du = p.u - (static_cast<float>(i) + 0.5f) * toCells;
                byDistance.push_back({du * du + p.dv2, p.value});
            }
            std::sort(byDistance.begin(), byDistance.end());
            const float f1 = std::sqrt(byDistance[0].first), f2 = std::sqrt(byDistance[1].first);
            const float expected = mode == CellularMode::F1          ? f1
                                   : mode == CellularMode::F2        ? f2
                                   : mode == CellularMode::F2MinusF1 ? f2 - f1
                                                                     : byDistance[0].second;
            EXPECT_FLOAT_EQ(out[static_cast<size_t>(i)], std::clamp(expected, 0.0f, 1.0f)) << "pixel " << i;
        }
    }
}

TEST(NormalRow, TakesCentralDifferencesThatWrapAtBothEnds) {
    const int width = 37; // not a whole number of vectors
    const auto height = [](int row, int x) {
        return 0.5f + 0.3f * std::sin(0.7f * static_cast<float>(x + 5 * row));
    };
    // Each row with here[-1] and here[width] holding the wrap, and slack past it.
    std::vector<std::vector<float>> rows(3, std::vector<float>(width + 2 + kNormalRowSlack, 0.0f));
    for (int r = 0; r < 3; ++r)
        for (int x = -1; x <= width; ++x)
            rows[static_cast<size_t>(r)][static_cast<size_t>(x + 1)] = height(r, (x + width) % width);
    const NormalSlopes slopes{3.0f, 2.0f};
    std::vector<float> nx(width, -1.0f), ny(width, -1.0f), nz(width, -1.0f);
    normalRow(rows[0].data() + 1, rows[1].data() + 1, rows[2].data() + 1, width, slopes, nx.data(), ny.data(),
              nz.data());
    for (int x = 0; x < width; ++x) {
        const float gx = -(height(1, (x + 1) % width) - height(1, (x + width - 1) % width)) * slopes.u;
        const float gy = (height(2, x) - height(0, x)) * slopes.v;
        const float length = std::sqrt(gx * gx + gy * gy + 1.0f);
        const size_t i = static_cast<size_t>(x);
        EXPECT_FLOAT_EQ(nx[i], 0.5f + 0.5f * gx / length) << "pixel " << x;
        EXPECT_FLOAT_EQ(ny[i], 0.5f + 0.5f * gy / length) << "pixel " << x;
        EXPECT_FLOAT_EQ(nz[i], 0.5f + 0.5f / length) << "pixel " << x;
    }
}

TEST(OctaveSum, AddsTheShapedOctaveReadShiftedWithWrap) {
    const int width = 37; // not a whole number of vectors
    std::vector<float> octave(width), start(width);
    for (int x = 0; x < width; ++x) {
        octave[static_cast<size_t>(x)] = 0.5f * std::sin(0.9f * static_cast<float>(x));
        start[static_cast<size_t>(x)] = 0.01f * static_cast<float>(x);
    }
    const auto shaped = [](FractalMode mode, float v) {
        const float crest = std::max(1.0f - 2.0f * std::fabs(v), 0.0f);
        return mode == FractalMode::Sum      ? v
               : mode == FractalMode::Ridged ? crest * crest
                                             : 2.0f * std::fabs(v);
    };
    for (FractalMode mode : {FractalMode::Sum, FractalMode::Ridged, FractalMode::Turbulence})
        for (int shift : {0, 1, 36}) {
            std::vector<float> sum = start;
            addOctave(mode, octave.data(), width, shift, 0.25f, sum.data());
            for (int x = 0; x < width; ++x)
                ASSERT_FLOAT_EQ(sum[static_cast<size_t>(x)],
                                start[static_cast<size_t>(x)] +
                                    0.25f * shaped(mode, octave[static_cast<size_t>((x + shift) % width)]))
                    << "mode " << static_cast<int>(mode) << ", shift " << shift << ", pixel " << x;
        }
    std::vector<float> sum = {-3.0f, -0.5f, 0.0f, 0.25f, 0.5f, 4.0f};
    finishOctaves(sum.data(), static_cast<int>(sum.size()), 0.5f, 0.5f);
    EXPECT_EQ(sum, (std::vector<float>{0.0f, 0.25f, 0.5f, 0.625f, 0.75f, 1.0f}));
}

} // namespace
