#include "framework/description/Preset.h"

#include "framework/description/GraphDesc.h"
#include "framework/description/NumberText.h"
#include "platform/base/XmlGuard.h"

#include <tinyxml.h>

namespace SubstanceAir {

namespace {

void readAttribute(const TiXmlElement& element, const char* name, std::string& out) {
    if (const char* text = element.Attribute(name)) {
        out = text;
    }
}

void parseInputValue(const TiXmlElement& element, const GraphDesc* owner, PresetInputValue& value) {
    value.uid = valueFromText<unsigned int>(element.Attribute("uid"));
    readAttribute(element, "value", value.value);
    if (owner != nullptr) {
        // Inside a package the graph knows its inputs better than the preset does.
        if (const InputDescBase* input = owner->findInput(value.uid)) {
            value.type = input->type;
            value.identifier = input->identifier;
        }
        return;
    }
    int type = PresetInputValue::UnknownType;
    element.QueryIntAttribute("type", &type);
    value.type = static_cast<unsigned int>(type);
    readAttribute(element, "identifier", value.identifier);
}

} // namespace

void parsePresets(Presets& presets, const TiXmlElement& element, const GraphDesc* owner) {
    size_t count = 0;
    for (const TiXmlElement* child = element.FirstChildElement("sbspreset"); child != nullptr;
         child = child->NextSiblingElement("sbspreset")) {
        ++count;
    }
    presets.reserve(presets.size() + count);

    for (const TiXmlElement* child = element.FirstChildElement("sbspreset"); child != nullptr;
         child = child->NextSiblingElement("sbspreset")) {
        presets.emplace_back();
        Preset& preset = presets.back();
        readAttribute(*child, "pkgurl", preset.packageUrl);
        if (owner != nullptr) {
            preset.packageUrl = owner->packageUrl;
        }
        readAttribute(*child, "label", preset.label);
        readAttribute(*child, "description", preset.description);
        for (const TiXmlElement* input = child->FirstChildElement("presetinput"); input != nullptr;
             input = input->NextSiblingElement("presetinput")) {
            preset.inputValues.emplace_back();
            parseInputValue(*input, owner, preset.inputValues.back());
        }
    }
}

bool parsePresetsDocument(Presets& presets, const char* xmlText) {
    const size_t sizeBefore = presets.size();
    if (!kvUtil::isXmlWithinLimits(xmlText)) {
        return false;
    }
    TiXmlDocument document;
    document.Parse(xmlText);
    if (document.Error()) {
        return false;
    }
    const TiXmlElement* root = document.RootElement();
    if (root == nullptr || root->ValueStr() != "sbspresets") {
        return false;
    }
    parsePresets(presets, *root, nullptr);
    return presets.size() > sizeBefore;
}

} // namespace SubstanceAir
