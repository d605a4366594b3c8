// flood.fill: finds the enclosed cells of a pattern (bricks, tiles, cracks:
// light areas separated by dark lines) and gives every pixel its cell's
// bounding box (the layout FloodCells.h reads), for the flood.* kinds to
// colour each cell on its own.
#include "engine/nodes/KernelShapes.h"
#include "engine/nodes/KindTable.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace kvengine {

namespace {

NodeKindInfo table() {
    return KindTable("flood.fill",
                     "Labels each enclosed cell of a mask (pixels above the threshold, joined side to side "
                     "and across the texture's edges) and writes its bounding box per pixel: RGBA = centre "
                     "u, centre v, width, height; 0 on the lines. Feed it to flood.random_value, "
                     "flood.random_gradient or flood.position.",
                     OutputChannels::Colour)
        .number("threshold", 0.5f, 0.0f, 1.0f, "mask level above which a pixel belongs to a cell")
        .map("mask", 1.0f, "light cells separated by dark lines")
        .scratchImages(2); // levels, labels, the search queue and the boxes
}

struct Box {
    int minX, maxX, minY, maxY; // unwrapped pixel coordinates, inclusive
};

struct Step {
    int x, y; // unwrapped
};

// Breadth-first from the first unlabelled pixel of each cell in scan order,
// so labels and boxes never depend on threads. Coordinates are carried
// unwrapped, which measures the box of a cell crossing an edge across it.
std::vector<Box> labelCells(const Image& mask, float threshold, std::vector<int32_t>& labels) {
    const int width = mask.width(), height = mask.height();
    std::vector<float> level(mask.planeSize());
    for (int y = 0; y < height; ++y)
        luminanceRow(mask, y, level.data() + static_cast<size_t>(y) * width);
    labels.assign(level.size(), -1);
    std::vector<Box> boxes;
    std::vector<Step> queue;
    auto index = [&](int x, int y) {
        return static_cast<size_t>(wrapIndex(y, height)) * width + static_cast<size_t>(wrapIndex(x, width));
    };
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const size_t start = index(x, y);
            if (labels[start] >= 0 || !(level[start] > threshold))
                continue;
            const int32_t label = static_cast<int32_t>(boxes.size());
            Box box{x, x, y, y};
            labels[start] = label;
            queue.assign(1, Step{x, y});
            for (size_t head = 0; head < queue.size(); ++head) {
                const Step s = queue[head];
                box.minX = std::min(box.minX, s.x);
                box.maxX = std::max(box.maxX, s.x);
                box.minY = std::min(box.minY, s.y);
                box.maxY = std::max(box.maxY, s.y);
                for (const Step n :
                     {Step{s.x + 1, s.y}, Step{s.x - 1, s.y}, Step{s.x, s.y + 1}, Step{s.x, s.y - 1}}) {
                    const size_t i = index(n.x, n.y);
                    if (labels[i] < 0 && level[i] > threshold) {
                        labels[i] = label;
                        queue.push_back(n);
                    }
                }
            }
            boxes.push_back(box);
        }
    return boxes;
}

// Centre and extent of one axis of a box, in texture units: a cell that
// wraps all the way round spans the whole side.
void axis(int low, int high, int size, float& centre, float& extent) {
    const int span = std::min(high - low + 1, size);
    const float middle =
        (static_cast<float>(low) + 0.5f * static_cast<float>(span)) / static_cast<float>(size);
    centre = middle - std::floor(middle);
    extent = static_cast<float>(span) / static_cast<float>(size);
}

void evaluate(const NodeRun& run, Image& out) {
    std::vector<int32_t> labels;
    const std::vector<Box> boxes = labelCells(run.input(0), run.number("threshold"), labels);
    std::vector<std::array<float, 4>> cells(boxes.size());
    for (size_t c = 0; c < boxes.size(); ++c) {
        axis(boxes[c].minX, boxes[c].maxX, run.width, cells[c][0], cells[c][2]);
        axis(boxes[c].minY, boxes[c].maxY, run.height, cells[c][1], cells[c][3]);
    }
    run.parallel->run(run.height, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            const int32_t* label = labels.data() + static_cast<size_t>(y) * run.width;
            for (int channel = 0; channel < 4; ++channel) {
                float* row = out.row(channel, y);
                for (int x = 0; x < run.width; ++x)
                    row[x] = label[x] < 0
                                 ? 0.0f
                                 : cells[static_cast<size_t>(label[x])][static_cast<size_t>(channel)];
            }
        }
    });
}

const NodeKindRegistration registration(table(), evaluate);

} // namespace

} // namespace kvengine
