// The inner loop of the normal map from a height: one row of normals from the
// heights of the rows above, at and below it. Vectorised across pixels; every
// pixel sees the same float operations in the same order on every SIMD target.
#pragma once

namespace kvengine {

// Rows are read past their ends: `here` holds here[-1] = here[width - 1] and
// here[width] = here[0] (the wrap), and all three rows stay readable for
// kNormalRowSlack floats past the last pixel (past here[width]).
constexpr int kNormalRowSlack = 64;

struct NormalSlopes {
    float u = 0.0f; // gain on the difference of the right and left heights
    float v = 0.0f; // gain on the difference of the heights below and above
};

// Writes the encoded normal (0.5 + 0.5 n, +Y up) of pixels [0, width) into x, y and z.
void normalRow(const float* above, const float* here, const float* below, int width, NormalSlopes slopes,
               float* x, float* y, float* z);

} // namespace kvengine
