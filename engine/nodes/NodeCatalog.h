// The catalogue of node kinds: names, parameter tables and image inputs.
// The package compiler validates sources against it; the evaluator runs the
// kinds it lists. Each kind lives in its own file under engine/nodes/.
#pragma once

#include "engine/assembly/Assembly.h"

#include <string>
#include <vector>

namespace kvengine {

struct ParamSpec {
    const char* name;
    uint32_t components; // 1 to 4 meaningful components of the evaluated four
    Value4 defaultValue; // float view
    const char* help;
};

struct NodeKindInfo {
    const char* name; // e.g. "noise.fbm"
    const char* help;
    std::vector<ParamSpec> params;        // the order the assembly stores them in
    std::vector<const char*> imageInputs; // names of the image slots, in order
    bool readsGraphInput = false;         // "input.image": Node::graphInput names a graph input
};

// Every kind, sorted by name.
const std::vector<NodeKindInfo>& nodeCatalog();
// The kind with that name, or null.
const NodeKindInfo* findNodeKind(const std::string& name);
// Index of a parameter in the kind's table, or -1.
int findParam(const NodeKindInfo& kind, const std::string& name);

} // namespace kvengine
