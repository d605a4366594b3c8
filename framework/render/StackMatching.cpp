#include "framework/render/internal/StackMatching.h"

#include <map>
#include <set>
#include <string>

namespace SubstanceAir {

namespace {

// Lower-cased name to uid; the first insertion of a name wins.
typedef std::map<std::string, unsigned int> NameIndex;

std::string lowerCase(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return text;
}

// An empty identifier or label names nothing.
void add(NameIndex& index, const std::string& name, unsigned int uid) {
    if (name.empty()) {
        return;
    }
    index.insert(std::make_pair(lowerCase(name), uid));
}

NameIndex imageInputNames(const GraphDesc& top) {
    NameIndex index;
    for (const std::unique_ptr<InputDescBase>& input : top.inputs) {
        if (input->isImage()) {
            add(index, input->identifier, input->uid);
        }
    }
    for (const std::unique_ptr<InputDescBase>& input : top.inputs) {
        if (input->isImage()) {
            add(index, input->label, input->uid);
        }
    }
    return index;
}

NameIndex outputNames(const GraphDesc& bottom) {
    NameIndex index;
    for (const OutputDesc& output : bottom.outputs) {
        add(index, output.identifier, output.uid);
    }
    for (const OutputDesc& output : bottom.outputs) {
        add(index, output.label, output.uid);
    }
    const char* const* usageNames = getChannelNames();
    for (const OutputDesc& output : bottom.outputs) {
        if (output.channel < ChannelUsageCount) {
            add(index, usageNames[output.channel], output.uid);
        }
    }
    return index;
}

// Names that answer for one another: the first present lends its input to the others.
void applyEquivalences(NameIndex& inputs) {
    static const std::vector<std::vector<const char*>> chains = {
        {"specular", "specularcolor", "specularlevel", "glossiness", "roughness"},
        {"bump", "height", "displacement"}};
    for (const std::vector<const char*>& chain : chains) {
        for (const char* name : chain) {
            const auto found = inputs.find(name);
            if (found == inputs.end()) {
                continue;
            }
            const unsigned int uid = found->second;
            for (const char* other : chain) {
                inputs.insert(std::make_pair(std::string(other), uid));
            }
            break;
        }
    }
}

} // namespace

std::vector<OutputToInput> matchByName(const GraphDesc& bottom, const GraphDesc& top) {
    NameIndex inputs = imageInputNames(top);
    const NameIndex outputs = outputNames(bottom);
    applyEquivalences(inputs);

    std::vector<OutputToInput> connections;
    std::set<unsigned int> connected;
    for (const auto& input : inputs) {
        if (connected.count(input.second) != 0) {
            continue;
        }
        const auto output = outputs.find(input.first);
        if (output != outputs.end()) {
            connections.push_back(OutputToInput(output->second, input.second));
            connected.insert(input.second);
        }
    }
    // One input name and no match: the bottom's only output, or its diffuse one.
    if (connections.empty() && inputs.size() == 1) {
        const unsigned int input = inputs.begin()->second;
        if (outputs.size() == 1) {
            connections.push_back(OutputToInput(outputs.begin()->second, input));
        } else {
            const auto diffuse = outputs.find("diffuse");
            if (diffuse != outputs.end()) {
                connections.push_back(OutputToInput(diffuse->second, input));
            }
        }
    }
    return connections;
}

std::vector<OutputToInput> keepExisting(const std::vector<OutputToInput>& requested, const GraphDesc& bottom,
                                        const GraphDesc& top) {
    std::vector<OutputToInput> kept;
    for (const OutputToInput& pair : requested) {
        const size_t output = lowerBoundOutput(bottom.outputs, pair.first);
        if (output < bottom.outputs.size() && bottom.outputs[output].uid == pair.first &&
            top.findInput(pair.second) != nullptr) {
            kept.push_back(pair);
        }
    }
    return kept;
}

} // namespace SubstanceAir
