// Helpers for the evaluator and engine interface tests: rendering straight
// through an Evaluator, checksums, a seam measure and an optional PNG dump
// (set KV_DUMP_PNG=1 to write /tmp/kv-eval-<name>.png while looking at nodes).
// Graphs come from the shared AssemblyBuilder.
#pragma once

#include "AssemblyBuilder.h"

#include "engine/assembly/Assembly.h"
#include "engine/evaluator/Evaluator.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace kvtest {

struct Rendered {
    int width = 0;
    int height = 0;
    int format = 0;
    int levels = 0;
    std::vector<unsigned char> bytes; // every level
};

// Renders the given outputs (all when empty) and returns them by engine index.
// status receives the render's status.
std::map<unsigned, Rendered> renderOutputs(kvengine::Evaluator& evaluator, std::vector<unsigned> outputs = {},
                                           kvengine::Status* status = nullptr);
// Creates an evaluator (asserting success) and renders every output.
std::map<unsigned, Rendered> renderAssembly(const kvengine::Assembly& assembly, unsigned threads = 1);

// A 1 x 1 render of one pushed RGBA32F texel passed straight to an output of
// the given format: how tests reach the format conversions with values no
// node parameter may take.
Rendered renderTexel(const std::array<float, 4>& texel, int format);

// Level 0 of an L32F or RGBA32F texture as floats.
std::vector<float> floats(const Rendered& rendered);
uint64_t checksum(const std::vector<unsigned char>& bytes, uint64_t hash = 1469598103934665603ull);
// Why one channel of interleaved texels does not tile: its opposite edges
// continue each other worse than the roughest pair of neighbouring columns
// (rows) inside the texture. Empty when it tiles.
std::string seamFault(const std::vector<float>& texels, int width, int height, int channels, int channel);
// Writes level 0 of an 8-bit RGBA or L texture as a PNG when KV_DUMP_PNG is set.
void dumpPng(const std::string& name, const Rendered& rendered);

} // namespace kvtest
