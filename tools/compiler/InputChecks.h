// Checks of a graph's inputs and presets that need more than one field:
// identifiers, widgets against types, ranges, combo items, preset values.
// Also adds the system inputs every graph has.
#pragma once

#include "tools/compiler/PackageSource.h"
#include "tools/compiler/SourcePlace.h"

namespace kvcompiler {

extern const char* const kOutputSizeInput; // "$outputsize": int2, log2 of width and height
extern const char* const kRandomSeedInput; // "$randomseed": int

// Appends $outputsize (9,9) and $randomseed (0) unless the graph declares them.
void addSystemInputs(GraphSource& graph);

bool isSystemInput(const std::string& identifier);

// Throws CompileError naming the input or preset at fault.
void checkInputs(const GraphSource& graph, const SourcePlace& place);
void checkPresets(const GraphSource& graph, const SourcePlace& place);

} // namespace kvcompiler
