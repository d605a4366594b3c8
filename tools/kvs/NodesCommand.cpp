// kvs nodes: the node kinds a package source may use, with their parameters.
#include "tools/kvs/Cli.h"

#include "tools/compiler/NodeReference.h"

#include "engine/nodes/NodeCatalog.h"

#include <cstdio>
#include <string>
#include <vector>

namespace kvs {

namespace {

int runNodes(const ParsedArgs& args) {
    if (args.operands.size() > 1)
        throw UsageError("one kind at a time");
    if (args.has("--markdown") && (args.has("--json") || !args.operands.empty()))
        throw UsageError("--markdown prints the whole catalogue, alone");
    std::string text;
    if (args.has("--markdown")) {
        text = kvcompiler::catalogueMarkdown();
    } else if (args.operands.empty()) {
        text = args.has("--json") ? kvcompiler::catalogueJson() : kvcompiler::kindListText();
    } else {
        const std::string& name = args.operands[0];
        const kvengine::NodeKindInfo* kind = kvengine::findNodeKind(name);
        if (!kind) {
            std::vector<std::string> names;
            for (const kvengine::NodeKindInfo& known : kvengine::nodeCatalog())
                names.push_back(known.name);
            throw Failure("unknown kind '" + name + "'" + suggestion(name, names));
        }
        text = args.has("--json") ? kvcompiler::kindJson(*kind) : kvcompiler::kindText(*kind);
    }
    std::fputs(text.c_str(), stdout);
    return 0;
}

const CommandRegistration registration({
    "nodes",
    "list the node kinds a package source may use, with their parameters",
    "[KIND]",
    {{"--json", nullptr, "print JSON instead of text"},
     {"--markdown", nullptr, "print the whole catalogue as docs/nodes.md holds it"}},
    runNodes,
    "Without KIND, one line per kind; with KIND, its parameters and image inputs.",
});

} // namespace

} // namespace kvs
