#include "framework/description/internal/DescriptionParser.h"

#include "framework/description/NumberText.h"
#include "platform/base/XmlGuard.h"

#include <tinyxml.h>

#include <algorithm>
#include <cstring>

namespace SubstanceAir {

namespace {

// The room a `count` attribute asks for, never more than the children that
// are there: the attribute is only a hint and may be hostile.
size_t reservation(const TiXmlElement& container, const char* childName) {
    int count = 0;
    container.QueryIntAttribute("count", &count);
    size_t children = 0;
    for (const TiXmlElement* child = container.FirstChildElement(childName);
         child != nullptr && children < static_cast<size_t>(std::max(count, 0));
         child = child->NextSiblingElement(childName)) {
        ++children;
    }
    return children;
}

void parseOutputs(const TiXmlElement& graphElement, GraphDesc& graph) {
    const TiXmlElement* outputs = graphElement.FirstChildElement("outputs");
    if (outputs == nullptr) {
        return;
    }
    graph.outputs.reserve(reservation(*outputs, "output"));
    for (const TiXmlElement* output = outputs->FirstChildElement("output"); output != nullptr;
         output = output->NextSiblingElement("output")) {
        graph.outputs.emplace_back();
        parseOutput(*output, graph.outputs.back());
    }
}

void parseInputs(const TiXmlElement& graphElement, GraphDesc& graph) {
    const TiXmlElement* inputs = graphElement.FirstChildElement("inputs");
    if (inputs == nullptr) {
        return;
    }
    graph.inputs.reserve(reservation(*inputs, "input"));
    for (const TiXmlElement* input = inputs->FirstChildElement("input"); input != nullptr;
         input = input->NextSiblingElement("input")) {
        if (std::unique_ptr<InputDescBase> desc = parseInput(*input, graph.outputs)) {
            graph.inputs.push_back(std::move(desc));
        }
    }
    std::stable_sort(graph.inputs.begin(), graph.inputs.end(),
                     [](const std::unique_ptr<InputDescBase>& a, const std::unique_ptr<InputDescBase>& b) {
                         return a->uid < b->uid;
                     });
}

// False when the graph has no outputs and so does not exist for the system.
bool parseGraph(const TiXmlElement& element, GraphDesc& graph) {
    if (const char* url = element.Attribute("pkgurl")) {
        graph.packageUrl = url;
    }
    if (const char* label = element.Attribute("label")) {
        graph.label = label;
    }
    parseOutputs(element, graph);
    if (graph.outputs.empty()) {
        return false;
    }
    std::stable_sort(graph.outputs.begin(), graph.outputs.end(),
                     [](const OutputDesc& a, const OutputDesc& b) { return a.uid < b.uid; });
    parseInputs(element, graph);
    for (OutputDesc& output : graph.outputs) {
        std::sort(output.alteringInputUids.begin(), output.alteringInputUids.end());
    }
    if (const TiXmlElement* presets = element.FirstChildElement("sbspresets")) {
        parsePresets(graph.presets, *presets, &graph);
    }
    return true;
}

} // namespace

bool parseDescription(const char* xmlText, PackageDesc* parent, unsigned int& asmUid, GraphDescs& graphs,
                      std::string& why) {
    const kvUtil::XmlCost cost =
        kvUtil::measureXml(xmlText, xmlText ? strnlen(xmlText, kvUtil::kMaxXmlBytes + 1) : 0);
    if (!cost.refusal.empty()) {
        why = "the description is refused: " + cost.refusal;
        return false;
    }
    TiXmlDocument document;
    document.Parse(xmlText);
    if (document.Error()) {
        why = std::string("the description is not well-formed XML (") + document.ErrorDesc() + " at line " +
              std::to_string(document.ErrorRow()) + ")";
        return false;
    }
    const TiXmlElement* root = document.RootElement();
    if (root == nullptr || root->ValueStr() != "sbsdescription") {
        why = "the description's root element is " +
              (root == nullptr ? std::string("missing") : "'" + root->ValueStr() + "'") +
              ", not sbsdescription";
        return false;
    }
    const char* asmUidText = root->Attribute("asmuid");
    if (asmUidText == nullptr) {
        why = "the description has no asmuid";
        return false;
    }
    asmUid = valueFromText<unsigned int>(asmUidText);
    const TiXmlElement* graphsElement = root->FirstChildElement("graphs");
    if (graphsElement == nullptr) {
        why = "the description has no graphs element";
        return false;
    }

    // Graphs are appended one by one; when the reservation is too small the
    // vector grows by copying, and copies carry neither presets nor parent.
    graphs.reserve(reservation(*graphsElement, "graph"));
    for (const TiXmlElement* element = graphsElement->FirstChildElement("graph"); element != nullptr;
         element = element->NextSiblingElement("graph")) {
        graphs.emplace_back();
        graphs.back().parent = parent;
        if (!parseGraph(*element, graphs.back())) {
            graphs.pop_back();
        }
    }
    return true;
}

} // namespace SubstanceAir
