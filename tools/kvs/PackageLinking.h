// Links one package, or a stack of two, through the linker's C interface
// into the assembly an engine handle loads.
#pragma once

#include "tools/kvs/DescriptionSummary.h"

#include <string>
#include <vector>

namespace kvs {

struct LinkedPackages {
    std::vector<char> assembly;       // the linked assembly
    std::vector<SummaryGraph> bottom; // graphs of the first package
    std::vector<SummaryGraph> top;    // graphs of the stacked package; empty without one
};

// With a top package, its one image input is fed by the bottom's "Output"
// (or failing that its "diffuse" output), the bottom's other outputs are
// dropped and the "$" inputs of both are fused. False with a one-line `error`.
bool linkPackages(const std::vector<char>& bottom, const std::vector<char>* top, LinkedPackages& linked,
                  std::string& error);

} // namespace kvs
