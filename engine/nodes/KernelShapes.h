// Loop skeletons the kernels share, so that a simple kind is a formula plus
// its table: a row loop for generators, a point filter, an area filter over
// gray neighbourhoods and a resampling filter. Each splits rows over
// run.parallel, and each row depends only on its index, so results are the
// same whatever the thread count.
#pragma once

#include "engine/nodes/BilinearRow.h"
#include "engine/nodes/NodeKind.h"
#include "engine/nodes/Sampling.h"

#include <algorithm>
#include <array>
#include <vector>

namespace kvengine {

// Generator row loop: row(y, values) fills row y of the gray output.
template <typename Row>
void generateRows(const NodeRun& run, Image& out, Row&& row) {
    run.parallel->run(run.height, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y)
            row(y, out.row(0, y));
    });
}

// Point filter: each colour channel of out is formula(value) of the same
// channel of input 0; alpha passes through.
template <typename Formula>
void pointFilter(const NodeRun& run, Image& out, Formula&& formula) {
    const Image& in = run.input(0);
    const int colourChannels = std::min(out.channels(), 3);
    const int width = run.width;
    run.parallel->run(run.height, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            for (int c = 0; c < colourChannels; ++c) {
                const float* src = in.colourPlane(c) + static_cast<size_t>(y) * width;
                float* dst = out.row(c, y);
                for (int x = 0; x < width; ++x)
                    dst[x] = formula(src[x]);
            }
            if (out.channels() == 4)
                std::copy(in.row(3, y), in.row(3, y) + width, out.row(3, y));
        }
    });
}

// Area filter over the gray level of input 0: row(y, above, here, below)
// receives the luminance of rows y - 1, y and y + 1 (wrapping) and writes
// row y of out.
template <typename Row>
void areaFilter(const NodeRun& run, Row&& row) {
    const Image& in = run.input(0);
    const int height = run.height;
    run.parallel->run(height, [&](int y0, int y1) {
        const size_t width = static_cast<size_t>(run.width);
        std::vector<float> above(width), here(width), below(width);
        for (int y = y0; y < y1; ++y) {
            luminanceRow(in, wrapIndex(y - 1, height), above.data());
            luminanceRow(in, y, here.data());
            luminanceRow(in, wrapIndex(y + 1, height), below.data());
            row(y, above.data(), here.data(), below.data());
        }
    });
}

// Resampling filter: coordinates(y, u, v) says where each pixel of row y
// reads input 0, in texture units; every channel is sampled there
// bilinearly, wrapping at the edges.
template <typename Coordinates>
void resampleFilter(const NodeRun& run, Image& out, Coordinates&& coordinates) {
    const Image& in = run.input(0);
    const int width = run.width, height = run.height;
    std::array<const float*, 4> planes{};
    for (int c = 0; c < out.channels(); ++c)
        planes[static_cast<size_t>(c)] = in.plane(c);
    run.parallel->run(height, [&](int y0, int y1) {
        std::vector<float> u(static_cast<size_t>(width)), v(u.size());
        std::array<float*, 4> rows{};
        for (int y = y0; y < y1; ++y) {
            coordinates(y, u.data(), v.data());
            for (int c = 0; c < out.channels(); ++c)
                rows[static_cast<size_t>(c)] = out.row(c, y);
            bilinearRow(planes.data(), rows.data(), out.channels(), width, height, u.data(), v.data(), width);
        }
    });
}

// Input `slot` read as gray, as an image of its own: for kernels that read
// the gray level around each pixel rather than row by row.
inline Image grayInput(const NodeRun& run, size_t slot) {
    Image gray(run.width, run.height, 1);
    run.parallel->run(run.height, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y)
            luminanceRow(run.input(slot), y, gray.row(0, y));
    });
    return gray;
}

// Centre of pixel i of n, in texture units.
inline float pixelCentre(int i, int n) {
    return (static_cast<float>(i) + 0.5f) / static_cast<float>(n);
}

} // namespace kvengine
