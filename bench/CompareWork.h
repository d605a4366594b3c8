// The work kv_gegl_compare asks of both GEGL and the engine, kept in one
// place so that each row sets both sides from the same numbers.
#pragma once

namespace kvbench {

// Both sides render 2048 x 2048 float texels on two threads.
constexpr int kCompareSideLog2 = 11;
constexpr int kCompareSide = 1 << kCompareSideLog2;
constexpr int kCompareThreads = 2;

// GEGL's perlin-noise steps one lattice cell per 50 pixels; the engine's
// noise is given the nearest whole number of cells per side.
constexpr double kGeglNoiseCellPixels = 50.0;
constexpr int kNoiseCells = 41;

// GEGL's cell-noise scatters a random number of feature points per cell; at
// scale 1 its 2048 x 2048 image has about 108 x 108 of them (counted as local
// minima), so the engine's one point per cell gets 108 cells per side.
constexpr double kGeglCellNoiseScale = 1.0;
constexpr int kCellNoiseCells = 108;

// The engine blurs with three box passes of half-width h, whose standard
// deviation is sqrt(h (h + 1)) pixels; GEGL's gaussian gets that deviation.
constexpr int kBlurHalfWidth = 8;

// The levels step of the chain: input range mapped to [0, 1], gamma 1.
constexpr float kLevelsInLow = 0.2f;
constexpr float kLevelsInHigh = 0.8f;

enum class CompareWork { PerlinNoise, CellNoise, GaussianBlur, NormalMap, LevelsMultiply };

struct CompareRow {
    CompareWork work;
    const char* name;
    bool colour; // RGBA float output; otherwise one float channel
};

constexpr CompareRow kCompareRows[] = {
    {CompareWork::PerlinNoise, "perlin-noise", false},
    {CompareWork::CellNoise, "cell-noise", false},
    {CompareWork::GaussianBlur, "gaussian-blur", false},
    {CompareWork::NormalMap, "normal-map", true},
    {CompareWork::LevelsMultiply, "noise-levels-multiply", false},
};

} // namespace kvbench
