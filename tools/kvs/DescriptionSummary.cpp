#include "tools/kvs/DescriptionSummary.h"

#include "platform/base/XmlGuard.h"

#include <tinyxml.h>

#include <cctype>
#include <cstdlib>

namespace kvs {

namespace {

std::string text(const TiXmlElement* element, const char* name) {
    const char* value = element ? element->Attribute(name) : nullptr;
    return value ? value : "";
}

uint32_t unsignedAttribute(const TiXmlElement* element, const char* name) {
    return static_cast<uint32_t>(std::strtoul(text(element, name).c_str(), nullptr, 10));
}

} // namespace

bool readDescriptionSummary(const std::string& xml, std::vector<SummaryGraph>& graphs, std::string& error) {
    if (!kvUtil::isXmlWithinLimits(xml.c_str(), xml.size())) {
        error = "the package description is too large or too deeply nested";
        return false;
    }
    TiXmlDocument document;
    document.Parse(xml.c_str());
    const TiXmlElement* root = document.Error() ? nullptr : document.FirstChildElement("sbsdescription");
    const TiXmlElement* list = root ? root->FirstChildElement("graphs") : nullptr;
    if (!list) {
        error = "the package holds no readable description";
        return false;
    }
    for (const TiXmlElement* g = list->FirstChildElement("graph"); g; g = g->NextSiblingElement("graph")) {
        SummaryGraph graph;
        graph.url = text(g, "pkgurl");
        if (const TiXmlElement* outputs = g->FirstChildElement("outputs"))
            for (const TiXmlElement* o = outputs->FirstChildElement("output"); o;
                 o = o->NextSiblingElement("output")) {
                const TiXmlElement* gui = o->FirstChildElement("outputgui");
                const TiXmlElement* channels = gui ? gui->FirstChildElement("channels") : nullptr;
                const TiXmlElement* channel = channels ? channels->FirstChildElement("channel") : nullptr;
                graph.outputs.push_back(
                    {unsignedAttribute(o, "uid"), text(o, "identifier"), text(channel, "names")});
            }
        if (const TiXmlElement* inputs = g->FirstChildElement("inputs"))
            for (const TiXmlElement* i = inputs->FirstChildElement("input"); i;
                 i = i->NextSiblingElement("input"))
                graph.inputs.push_back(
                    {unsignedAttribute(i, "uid"), text(i, "identifier"), unsignedAttribute(i, "type")});
        if (const TiXmlElement* presets = g->FirstChildElement("sbspresets"))
            for (const TiXmlElement* p = presets->FirstChildElement("sbspreset"); p;
                 p = p->NextSiblingElement("sbspreset")) {
                SummaryPreset preset;
                preset.label = text(p, "label");
                for (const TiXmlElement* v = p->FirstChildElement("presetinput"); v;
                     v = v->NextSiblingElement("presetinput"))
                    preset.values.emplace_back(unsignedAttribute(v, "uid"), text(v, "value"));
                graph.presets.push_back(preset);
            }
        graphs.push_back(graph);
    }
    if (graphs.empty()) {
        error = "the package describes no graph";
        return false;
    }
    return true;
}

std::string graphFileName(const std::string& url) {
    std::string name =
        url.substr(url.find_last_of("/:") == std::string::npos ? 0 : url.find_last_of("/:") + 1);
    for (char& c : name)
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_' && c != '-' && c != '.')
            c = '_';
    return name.empty() || name[0] == '.' ? "graph" + name : name;
}

} // namespace kvs
