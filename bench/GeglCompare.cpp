#include "GeglCompare.h"

#include <gegl.h>

#include <chrono>
#include <cmath>

// Where the work differs from the engine's (the timings should be read with
// these in mind):
// - perlin-noise is 3D noise sampled at one depth (eight lattice corners a
//   texel, in double precision) and does not tile; the engine's is 2D, tileable.
// - cell-noise scatters a random (Poisson) number of feature points per
//   cell; the engine has one point per cell (about the same density).
// - gaussian-blur is a true gaussian (GEGL picks the filter) clamping at the
//   edges; the engine approximates it with three box passes and wraps.
// - the multiply of the chain runs on RGBA (GEGL's gradients are colour) and
//   the blit converts to one channel; the engine stays gray throughout.
// - normal-map reads the height's slope as GEGL defines it (scale 10); the
//   engine's intensity is left at 1. Both wrap at the edges.

namespace kvbench {

namespace {

GeglNode* addNoise(GeglNode* graph) {
    return gegl_node_new_child(graph, "operation", "gegl:perlin-noise", "n", 1, nullptr);
}

// Links source into the input pad of a new child and returns the child.
GeglNode* addFilter(GeglNode* graph, GeglNode* source, const char* operation) {
    GeglNode* node = gegl_node_new_child(graph, "operation", operation, nullptr);
    gegl_node_link(source, node);
    return node;
}

// The node whose output is the row's result; every node belongs to graph.
GeglNode* resultOf(GeglNode* graph, CompareWork work) {
    switch (work) {
    case CompareWork::PerlinNoise:
        return addNoise(graph);
    case CompareWork::CellNoise:
        return gegl_node_new_child(graph, "operation", "gegl:cell-noise", "scale", kGeglCellNoiseScale,
                                   nullptr);
    case CompareWork::GaussianBlur: {
        const double sigma = std::sqrt(static_cast<double>(kBlurHalfWidth) * (kBlurHalfWidth + 1));
        GeglNode* blur = addFilter(graph, addNoise(graph), "gegl:gaussian-blur");
        gegl_node_set(blur, "std-dev-x", sigma, "std-dev-y", sigma, nullptr);
        return blur;
    }
    case CompareWork::NormalMap: {
        GeglNode* normals = addFilter(graph, addNoise(graph), "gegl:normal-map");
        gegl_node_set(normals, "tileable", TRUE, nullptr);
        return normals;
    }
    case CompareWork::LevelsMultiply: {
        GeglNode* levels = addFilter(graph, addNoise(graph), "gegl:levels");
        gegl_node_set(levels, "in-low", static_cast<double>(kLevelsInLow), "in-high",
                      static_cast<double>(kLevelsInHigh), nullptr);
        GeglColor* black = gegl_color_new("black");
        GeglColor* white = gegl_color_new("white");
        GeglNode* ramp = gegl_node_new_child(graph, "operation", "gegl:linear-gradient", "start-x", 0.0,
                                             "start-y", 0.0, "end-x", static_cast<double>(kCompareSide),
                                             "end-y", 0.0, "start-color", black, "end-color", white, nullptr);
        g_object_unref(black);
        g_object_unref(white);
        GeglNode* multiply = addFilter(graph, levels, "gegl:multiply");
        gegl_node_connect_to(ramp, "output", multiply, "aux");
        return multiply;
    }
    }
    return nullptr;
}

} // namespace

GeglCompare::GeglCompare() {
    gegl_init(nullptr, nullptr);
    g_object_set(gegl_config(), "threads", kCompareThreads, "use-opencl", FALSE, nullptr);
}

GeglCompare::~GeglCompare() {
    gegl_exit();
}

CompareRender GeglCompare::render(const CompareRow& row) const {
    CompareRender render;
    GeglNode* graph = gegl_node_new();
    GeglNode* result = resultOf(graph, row.work);
    if (!result) {
        g_object_unref(graph);
        render.error = "GEGL could not build the graph";
        return render;
    }
    render.channels = row.colour ? 4 : 1;
    render.texels.resize(static_cast<size_t>(kCompareSide) * kCompareSide *
                         static_cast<size_t>(render.channels));
    const GeglRectangle whole = {0, 0, kCompareSide, kCompareSide};

    const auto start = std::chrono::steady_clock::now();
    gegl_node_blit(result, 1.0, &whole, babl_format(row.colour ? "RGBA float" : "Y float"),
                   render.texels.data(), GEGL_AUTO_ROWSTRIDE, GEGL_BLIT_DEFAULT);
    render.milliseconds =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();

    g_object_unref(graph);
    return render;
}

} // namespace kvbench
