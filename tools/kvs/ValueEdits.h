// Input values given on the command line, applied to a material through the
// library: its presets, its state string and its input setters. Failures
// name the input, preset or file and what was wrong.
#pragma once

#include "tools/kvs/Cli.h"
#include "tools/kvs/Material.h"

#include <string>
#include <utility>
#include <vector>

namespace kvs {

struct ValueEdits {
    std::vector<std::string> stateFiles;
    std::vector<std::string> presets;
    std::string size;                                      // log2 of the side, "" to keep
    std::string seed;                                      // "" to keep
    std::vector<std::pair<std::string, std::string>> sets; // identifier, value text

    bool empty() const {
        return stateFiles.empty() && presets.empty() && size.empty() && seed.empty() && sets.empty();
    }
};

// Applies, in this order: state files, presets, the size, the seed, the
// --set values in command-line order.
void applyEdits(Material& material, const ValueEdits& edits);

// The options that set values, shared by the commands that take them
// (--preset, --state, --set, --seed, --size), and what they say.
std::vector<OptionSpec> valueOptions();
ValueEdits valueEditsOf(const ParsedArgs& args);

// "id=value" from --set; a UsageError when it has no "=".
std::pair<std::string, std::string> splitAssignment(const std::string& assignment);

// The text of a state file, checked to be for this material.
std::string readStateFile(const Material& material, const std::string& path);

} // namespace kvs
