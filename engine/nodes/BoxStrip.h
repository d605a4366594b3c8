// The running-sum box filter behind the blur, over a strip of kBoxStripLanes
// independent signals stored interleaved (sample i of signal c at
// i * kBoxStripLanes + c). Both blur axes use it: columns are a strip as they
// lie, rows are transposed into one. Vectorised across the signals, each of
// which sees the same arithmetic in the same order on every SIMD
// target, so the bytes do not depend on the CPU.
#pragma once

namespace kvengine {

constexpr int kBoxStripLanes = 64;

// Box filter of half-width h (2h + 1 <= n) over n samples of each signal,
// wrapping; src and dst hold n * kBoxStripLanes floats and do not overlap.
void boxFilterStrip(const float* src, float* dst, int n, int h);

} // namespace kvengine
