// The inner loop of cellular noise: a run of pixels of one row that lie in
// the same grid cell and so share the 3 x 3 feature points around it.
// Vectorised across pixels; every pixel sees the same float operations in
// the same order on every SIMD target.
#pragma once

namespace kvengine {

enum class CellularMode { F1, F2, F2MinusF1, CellValue };

// One feature point as the pixels of a run see it: its u in cell units, its
// squared distance along v from the row, and its cell's random value.
struct RunPoint {
    float u = 0.0f;
    float dv2 = 0.0f;
    float value = 0.0f;
};

// Writes out[i] for pixels i in [begin, end), pixel i lying at
// u = (i + 0.5) * toCells: the distance to the nearest of the points (F1),
// to the second nearest (F2), their difference, or the nearest point's value;
// clamped to [0, 1].
void cellularRun(const RunPoint* points, int count, int begin, int end, float toCells, CellularMode mode,
                 float* out);

} // namespace kvengine
