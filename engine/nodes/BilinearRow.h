// Bilinear samples along a row, wrapping on both axes: what resampling
// kernels (warps, transforms) spend their time in. Vectorised across pixels
// with gathers; each sample is bilinearTap and sampleTap's arithmetic in the
// same order, so the bytes match the scalar sampler on every SIMD target.
#pragma once

namespace kvengine {

// For i in [0, count): outs[c][i] = the bilinear sample of planes[c]
// (width x height) at (u[i], v[i]) in texture units, for each of the
// `channels` planes. Non-finite coordinates read (0, 0) as the scalar sampler does.
void bilinearRow(const float* const* planes, float* const* outs, int channels, int width, int height,
                 const float* u, const float* v, int count);

} // namespace kvengine
