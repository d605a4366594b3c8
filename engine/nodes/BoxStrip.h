// The running-sum box filter behind the blur, over a strip of kBoxStripLanes
// independent signals stored interleaved (sample i of signal c at
// i * kBoxStripLanes + c). Both blur axes use it: columns are a strip as they
// lie, rows are transposed into one. Vectorised across the signals, each of
// which sees the same arithmetic in the same order on every SIMD
// target, so the bytes do not depend on the CPU.
#pragma once

#include <cstddef>

namespace kvengine {

constexpr int kBoxStripLanes = 64;

// How the running sums take the sample entering less the one leaving: in
// float (the blur's row passes) or in double (its column passes), as the
// blur always has, so that renders keep their bytes.
enum class BoxDifference { Float, Double };

// Box filter of half-width h (2h + 1 <= n) over n samples of each signal,
// wrapping. Sample i of the strip starts at src + i * srcStride (at least
// kBoxStripLanes floats; a strip can lie in an image) and its result at
// dst + i * dstStride; src and dst do not overlap.
void boxFilterStrip(const float* src, size_t srcStride, float* dst, size_t dstStride, int n, int h,
                    BoxDifference difference);

// Copies count (<= kBoxStripLanes) rows of width floats, stride floats apart,
// into lanes 0 .. count of a strip of width samples, or back.
void rowsToStrip(const float* rows, size_t stride, int width, int count, float* strip);
void stripToRows(const float* strip, int width, int count, float* rows, size_t stride);

} // namespace kvengine
