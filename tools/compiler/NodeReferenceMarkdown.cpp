#include "tools/compiler/NodeReference.h"

#include <algorithm>

namespace kvcompiler {

namespace {

// Table cells hold no pipes; none of the catalogue's words have any, but a
// help text one day might.
std::string cell(const std::string& text) {
    std::string escaped;
    for (char c : text)
        escaped += c == '|' ? std::string("\\|") : std::string(1, c);
    return escaped;
}

// The heading's anchor as markdown renderers make it: dots dropped.
std::string anchor(const std::string& name) {
    std::string text = name;
    text.erase(std::remove(text.begin(), text.end(), '.'), text.end());
    return text;
}

std::string kindSection(const kvengine::NodeKindInfo& kind) {
    std::string text = "## " + std::string(kind.name) + "\n\n" + kind.help +
                       "\n\nOutput: " + outputText(kind.output) + ".\n";
    if (kind.readsGraphInput())
        text += "The node names the image graph input it reads with `graphinput`.\n";
    if (!kind.params.empty()) {
        text += "\n| parameter | value | default | meaning |\n|---|---|---|---|\n";
        for (const kvengine::ParamSpec& spec : kind.params)
            text += "| `" + std::string(spec.name) + "` | " + cell(valueSummary(spec)) + " | " +
                    cell(defaultText(spec)) + " | " + cell(spec.help) + " |\n";
    }
    if (!kind.imageInputs.empty()) {
        text += "\n| image input | reads | meaning |\n|---|---|---|\n";
        for (const kvengine::ImageInputSpec& input : kind.imageInputs)
            text += "| `" + std::string(input.name) + "` | " + cell(inputSummary(input)) + " | " +
                    cell(input.help) + " |\n";
    }
    return text;
}

} // namespace

std::string catalogueMarkdown() {
    std::string text =
        "# Node kinds\n\n"
        "<!-- Generated from the node catalogue (engine/nodes/kinds/) by `kvs nodes --markdown`;\n"
        "     a test fails when this file differs from what the catalogue generates. -->\n\n"
        "Every kind a package source may use (`docs/package-source.md`), with its\n"
        "parameters and image inputs.\n\n"
        "- Value kinds: `float`, `int` (whole numbers), `bool` (0 or 1), `enum`\n"
        "  (written as a number or as a label), `colour` (RGBA, each 0 to 1); a digit\n"
        "  gives the number of components, e.g. `int2`.\n"
        "- The range is the hard range: the compiler rejects numbers outside it, and\n"
        "  the engine clamps what expressions yield into it. The editor range, where\n"
        "  given, is the span a slider offers.\n"
        "- Lengths are fractions of the texture side, so a material looks the same\n"
        "  at every resolution; positions and angles (in turns) wrap around.\n"
        "- A source input is read channel by channel and decides whether the\n"
        "  output is gray or colour; a map input is read as a gray level (the\n"
        "  luminance of a colour image); a colour map is read channel by channel\n"
        "  without deciding the output's channels. An unconnected input reads a\n"
        "  constant gray.\n\n";
    for (const kvengine::NodeKindInfo& kind : kvengine::nodeCatalog())
        text += "- [`" + std::string(kind.name) + "`](#" + anchor(kind.name) + ")\n";
    for (const kvengine::NodeKindInfo& kind : kvengine::nodeCatalog())
        text += "\n" + kindSection(kind);
    return text;
}

} // namespace kvcompiler
