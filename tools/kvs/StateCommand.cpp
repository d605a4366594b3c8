// kvs state: save the state string of a material with some values set, and
// show a saved one.
#include "tools/images/FileOutput.h"
#include "tools/kvs/Cli.h"
#include "tools/kvs/ValueEdits.h"

#include "platform/base/PrintableText.h"

#include <cstdio>
#include <filesystem>
#include <system_error>

namespace kvs {

namespace {

std::string valueText(const kvSubstance::SubstanceInput& input, bool defaults) {
    std::string text;
    char number[32];
    for (int k = 0; k < (input.getType() & 7); ++k) {
        if ((input.getType() & 0x20) != 0) {
            std::snprintf(number, sizeof number, "%d", defaults ? input.getDefaultI(k) : input.getValueI(k));
        } else {
            std::snprintf(number, sizeof number, "%g", defaults ? input.getDefaultF(k) : input.getValueF(k));
        }
        text += (k == 0 ? "" : ",") + std::string(number);
    }
    return text;
}

int save(const ParsedArgs& args) {
    if (args.operands.size() != 2) {
        throw UsageError("state save takes one package (and --stack for a second)");
    }
    const std::string output = args.value("-o");
    if (output.empty()) {
        throw UsageError("state save needs -o FILE");
    }
    Material material(args.operands[1], args.value("--stack"));
    applyEdits(material, valueEditsOf(args));
    std::error_code ignored;
    for (const std::string& input : material.inputFiles()) {
        if (std::filesystem::equivalent(output, input, ignored)) {
            throw Failure("refusing to overwrite the input " + input + " with the state");
        }
    }
    const kvString::CString state = material.model()->getStateString();
    std::string error;
    if (!kvimage::writeFileAtomically(output, state.asChar(), state.str().size(), error)) {
        throw Failure(error);
    }
    std::printf("wrote %s (state of %s, %d inputs)\n", output.c_str(),
                material.model()->getPackageURL().asChar(), material.model()->numInputs());
    return 0;
}

int show(const ParsedArgs& args) {
    if (args.operands.size() < 2 || args.operands.size() > 3) {
        throw UsageError("state show takes a state file and, to name its values, its package");
    }
    const std::string& path = args.operands[1];
    if (args.operands.size() == 2) {
        const std::vector<char> bytes = readInputFile(path, size_t(1) << 20);
        const std::string text(bytes.begin(), bytes.end());
        size_t lines = 0;
        for (size_t at = text.find('\n'); at != std::string::npos && at + 1 < text.size();
             at = text.find('\n', at + 1)) {
            lines += text[at + 1] != '\n' ? 1 : 0;
        }
        std::printf("state of %s\n  %zu values (give the package to name them: kvs state show %s PACKAGE)\n",
                    kvUtil::printable(text.substr(0, text.find('\n'))).c_str(), lines,
                    kvUtil::printable(path).c_str());
        return 0;
    }
    Material material(args.operands[2], args.value("--stack"));
    ValueEdits edits;
    edits.stateFiles = {path};
    applyEdits(material, edits);
    std::printf("state of %s\n", kvUtil::printable(material.model()->getPackageURL().asChar()).c_str());
    for (const kvString::CString& id : material.model()->getInputIds()) {
        const kvSubstance::SubstanceInput& input = material.input(id.str());
        const std::string value = valueText(input, false);
        const std::string fallback = valueText(input, true);
        std::printf("  %-18s %-14s%s\n", kvUtil::printable(id.asChar()).c_str(), value.c_str(),
                    value == fallback ? "" : ("(default " + fallback + ")").c_str());
    }
    return 0;
}

int runState(const ParsedArgs& args) {
    const std::string action = args.operands.empty() ? "" : args.operands[0];
    if (action == "save") {
        return save(args);
    }
    if (action == "show") {
        return show(args);
    }
    throw UsageError(action.empty()
                         ? "state takes save or show"
                         : "unknown action '" + action + "'" + suggestion(action, {"save", "show"}));
}

std::vector<OptionSpec> stateOptions() {
    std::vector<OptionSpec> options = {{"--stack", "TOP", "the material is TOP stacked on PACKAGE"}};
    const std::vector<OptionSpec> values = valueOptions(); // for save
    options.insert(options.end(), values.begin(), values.end());
    options.push_back({"-o", "FILE", "save: where the state string goes"});
    return options;
}

const CommandRegistration registration({
    "state",
    "save a material's state string, or show a saved one",
    "save PACKAGE -o FILE | show FILE [PACKAGE]",
    stateOptions(),
    runState,
    "save applies the value options to the material and writes its state string;\n"
    "kvs render --state FILE applies it again, and renders the same bytes.",
});

} // namespace

} // namespace kvs
