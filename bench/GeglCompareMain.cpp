// kv_gegl_compare: the same work rendered in process by GEGL and by the
// engine, 2048 x 2048 float texels on two threads each, printed as one table
// of best-of-N milliseconds and their ratio. The filter rows (blur, normal
// map, chain) include their noise source on both sides; subtract the
// perlin-noise row for the step alone.
//
//   kv_gegl_compare [--runs N] [--png DIR]
//
// --png writes each side's first render of each row to DIR as 8-bit PNG,
// to see that both sides made comparable images.
#include "CompareWork.h"
#include "EngineCompare.h"
#include "GeglCompare.h"

#include "tools/images/ImageWriter.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

struct Options {
    int runs = 10;
    std::string pngDir;
};

bool parseOptions(int argc, char** argv, Options& options, std::string& error) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (i + 1 >= argc || (arg != "--runs" && arg != "--png")) {
            error = "usage: kv_gegl_compare [--runs N] [--png DIR]";
            return false;
        }
        const char* value = argv[++i];
        if (arg == "--png") {
            options.pngDir = value;
            continue;
        }
        char* end = nullptr;
        const long runs = std::strtol(value, &end, 10);
        if (*end != '\0' || runs < 1 || runs > 1000) {
            error = std::string("--runs takes a whole number from 1 to 1000, not '") + value + "'";
            return false;
        }
        options.runs = static_cast<int>(runs);
    }
    return true;
}

// A failed render or an output that cannot be the row's work, as one line.
std::string faultOf(const kvbench::CompareRender& render) {
    return render.error.empty() ? kvbench::checkRendered(render) : render.error;
}

bool writeRender(const std::string& dir, const std::string& name, const kvbench::CompareRender& render,
                 std::string& error) {
    kvimage::FloatImage image;
    image.width = image.height = kvbench::kCompareSide;
    image.channels = render.channels;
    image.texels = render.texels;
    return kvimage::writePng(dir + "/" + name + ".png", kvimage::quantisedPng(image, 8), error);
}

// Renders the row runs times on each side, alternating so that a burst of
// load on the shared machine falls on both; returns false with a reason
// when a render fails or its output is implausible.
bool timeRow(const kvbench::CompareRow& row, const Options& options, const kvbench::GeglCompare& gegl,
             const kvbench::EngineCompare& engine, double& geglBest, double& engineBest, std::string& error) {
    geglBest = engineBest = 1e300;
    for (int run = 0; run < options.runs; ++run) {
        const kvbench::CompareRender byGegl = gegl.render(row);
        const kvbench::CompareRender byEngine = engine.render(row);
        if (run == 0) {
            const std::string geglFault = faultOf(byGegl), engineFault = faultOf(byEngine);
            if (!geglFault.empty() || !engineFault.empty()) {
                error = std::string(row.name) + ": " +
                        (geglFault.empty() ? "engine: " + engineFault : "GEGL: " + geglFault);
                return false;
            }
            if (!options.pngDir.empty() &&
                (!writeRender(options.pngDir, std::string(row.name) + "-gegl", byGegl, error) ||
                 !writeRender(options.pngDir, std::string(row.name) + "-engine", byEngine, error)))
                return false;
        }
        geglBest = std::min(geglBest, byGegl.milliseconds);
        engineBest = std::min(engineBest, byEngine.milliseconds);
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    std::string error;
    if (!parseOptions(argc, argv, options, error)) {
        std::fprintf(stderr, "kv_gegl_compare: %s\n", error.c_str());
        return 2;
    }
    const kvbench::GeglCompare gegl;
    const kvbench::EngineCompare engine;
    std::printf("%d x %d float, %d threads each side, best of %d\n\n", kvbench::kCompareSide,
                kvbench::kCompareSide, kvbench::kCompareThreads, options.runs);
    std::printf("| work | GEGL ms | engine ms | GEGL / engine |\n|---|---:|---:|---:|\n");
    for (const kvbench::CompareRow& row : kvbench::kCompareRows) {
        double geglMs = 0, engineMs = 0;
        if (!timeRow(row, options, gegl, engine, geglMs, engineMs, error)) {
            std::fprintf(stderr, "kv_gegl_compare: %s\n", error.c_str());
            return 1;
        }
        std::printf("| %s | %.1f | %.1f | %.1f |\n", row.name, geglMs, engineMs, geglMs / engineMs);
        std::fflush(stdout);
    }
    return 0;
}
