#include "tools/kvs/ValueEdits.h"

#include "tools/kvs/Cli.h"

#include "bridge/SubstanceBridge.h"

namespace kvs {

namespace {

// State strings are a few lines per input.
constexpr size_t kMaxStateBytes = size_t(1) << 20;

const char* kindOf(const kvSubstance::SubstanceInput& input) {
    return (input.getType() & 0x20) != 0 ? "whole number" : "number";
}

void set(Material& material, const std::string& identifier, const std::string& text,
         const std::string& origin) {
    kvSubstance::SubstanceInput& input = material.input(identifier);
    if (!kvSubstance::setInputValueFromText(material.model(), &input, text.c_str())) {
        const int count = input.getType() & 7;
        throw Failure(origin + "input " + identifier + " takes " +
                      (count == 1 ? std::string("one ") + kindOf(input)
                                  : std::to_string(count) + " " + kindOf(input) + "s separated by commas") +
                      ", not \"" + text + "\"");
    }
}

void applyPreset(Material& material, const std::string& label) {
    const SubstanceAir::Presets& presets = material.graph().getDesc().presets;
    std::vector<std::string> labels;
    std::string list;
    for (const SubstanceAir::Preset& preset : presets) {
        if (preset.label == label) {
            if (!kvSubstance::applyPreset(material.model(), preset)) {
                throw Failure("preset \"" + label + "\" names inputs this material does not have");
            }
            return;
        }
        labels.push_back(preset.label);
        list += (list.empty() ? "\"" : ", \"") + preset.label + "\"";
    }
    const std::string near = closest(label, labels);
    throw Failure("no preset \"" + label + "\"" +
                  (near.empty() ? " (presets: " + (list.empty() ? std::string("none") : list) + ")"
                                : " (did you mean \"" + near + "\"?)"));
}

} // namespace

std::vector<OptionSpec> valueOptions() {
    return {
        {"--preset", "LABEL", "apply a preset", true},
        {"--state", "FILE", "apply a saved state string", true},
        {"--set", "ID=VALUE", "set an input (\"0.5\", \"1,0,0\", \"6,6\")", true},
        {"--seed", "N", "the random seed ($randomseed)"},
        {"--size", "N", "log2 of the side ($outputsize), e.g. 10 for 1024"},
    };
}

ValueEdits valueEditsOf(const ParsedArgs& args) {
    ValueEdits edits;
    edits.stateFiles = args.values("--state");
    edits.presets = args.values("--preset");
    edits.size = args.value("--size");
    edits.seed = args.value("--seed");
    for (const std::string& assignment : args.values("--set")) {
        edits.sets.push_back(splitAssignment(assignment));
    }
    return edits;
}

std::pair<std::string, std::string> splitAssignment(const std::string& assignment) {
    const size_t equals = assignment.find('=');
    if (equals == std::string::npos || equals == 0) {
        throw UsageError("--set takes id=value, not \"" + assignment + "\"");
    }
    return std::make_pair(assignment.substr(0, equals), assignment.substr(equals + 1));
}

std::string readStateFile(const Material& material, const std::string& path) {
    const std::vector<char> bytes = readInputFile(path, kMaxStateBytes);
    const std::string text(bytes.begin(), bytes.end());
    const std::string header = text.substr(0, text.find('\n'));
    const std::string& url = material.model()->getPackageURL().str();
    if (text.find('\n') == std::string::npos || header != url) {
        throw Failure(path + " is the state of " + (header.empty() ? "no package" : header) + ", not of " +
                      url);
    }
    return text;
}

void applyEdits(Material& material, const ValueEdits& edits) {
    for (const std::string& path : edits.stateFiles) {
        material.model()->applyStateString(kvString::CString(readStateFile(material, path)));
        material.addInputFile(path);
    }
    for (const std::string& label : edits.presets) {
        applyPreset(material, label);
    }
    if (!edits.size.empty()) {
        set(material, "$outputsize", edits.size, "--size: ");
    }
    if (!edits.seed.empty()) {
        set(material, "$randomseed", edits.seed, "--seed: ");
    }
    for (const auto& assignment : edits.sets) {
        set(material, assignment.first, assignment.second, "");
    }
}

} // namespace kvs
