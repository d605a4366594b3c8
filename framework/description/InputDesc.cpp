#include "framework/description/InputDesc.h"

#include "framework/description/NumberText.h"
#include "platform/base/XmlGuard.h"

#include <tinyxml.h>

#include <algorithm>

namespace SubstanceAir {

InputDescBase::~InputDescBase() = default;

template <typename T>
std::unique_ptr<InputDescBase> InputDescNumerical<T>::clone() const {
    return std::unique_ptr<InputDescBase>(new InputDescNumerical<T>(*this));
}

std::unique_ptr<InputDescBase> InputDescImage::clone() const {
    return std::unique_ptr<InputDescBase>(new InputDescImage(*this));
}

// instantiate() is defined with the instances, in framework/render/.
template struct InputDescNumerical<float>;
template struct InputDescNumerical<int>;
template struct InputDescNumerical<Math::Vector2<float>>;
template struct InputDescNumerical<Math::Vector3<float>>;
template struct InputDescNumerical<Math::Vector4<float>>;
template struct InputDescNumerical<Math::Vector2<int>>;
template struct InputDescNumerical<Math::Vector3<int>>;
template struct InputDescNumerical<Math::Vector4<int>>;

namespace {

template <typename T>
std::unique_ptr<InputDescBase> makeNumerical(const TiXmlElement& element) {
    std::unique_ptr<InputDescNumerical<T>> desc(new InputDescNumerical<T>);
    desc->defaultValue = valueFromText<T>(element.Attribute("default"));
    desc->maxValue = valueFromText<T>(element.Attribute("max"));
    desc->minValue = valueFromText<T>(element.Attribute("min"));
    return desc;
}

std::unique_ptr<InputDescBase> makeDescriptor(unsigned int type, const TiXmlElement& element) {
    switch (type) {
    case Float:
        return makeNumerical<float>(element);
    case Float2:
        return makeNumerical<Math::Vector2<float>>(element);
    case Float3:
        return makeNumerical<Math::Vector3<float>>(element);
    case Float4:
        return makeNumerical<Math::Vector4<float>>(element);
    case Integer:
        return makeNumerical<int>(element);
    case Image:
        return std::unique_ptr<InputDescBase>(new InputDescImage);
    case Integer2:
        return makeNumerical<Math::Vector2<int>>(element);
    case Integer3:
        return makeNumerical<Math::Vector3<int>>(element);
    case Integer4:
        return makeNumerical<Math::Vector4<int>>(element);
    default:
        return nullptr;
    }
}

// Links the input both ways with every output named in `alteroutputs`.
// Tokens are taken as whole numbers; a malformed one reads as uid 0.
void linkAlteredOutputs(const std::string& text, InputDescBase& desc, OutputDescs& outputs) {
    size_t begin = 0;
    while (!text.empty() && begin <= text.size()) {
        size_t end = text.find(',', begin);
        if (end == std::string::npos) {
            end = text.size();
        }
        const unsigned int outputUid = valueFromText<unsigned int>(text.substr(begin, end - begin).c_str());
        if (OutputDesc* output = findOutput(outputs, outputUid)) {
            desc.alteredOutputUids.push_back(outputUid);
            output->alteringInputUids.push_back(desc.uid);
        }
        begin = end + 1;
    }
    std::sort(desc.alteredOutputUids.begin(), desc.alteredOutputUids.end());
}

} // namespace

std::string widgetName(const InputDescBase& input) {
    if (input.guiXml.empty() || !kvUtil::isXmlWithinLimits(input.guiXml.c_str(), input.guiXml.size())) {
        return std::string();
    }
    TiXmlDocument gui;
    gui.Parse(input.guiXml.c_str());
    const TiXmlElement* root = gui.RootElement();
    const char* widget = root != nullptr ? root->Attribute("widget") : nullptr;
    return widget != nullptr ? widget : "";
}

std::unique_ptr<InputDescBase> parseInput(const TiXmlElement& element, OutputDescs& outputs) {
    int typeCode = -1;
    element.QueryIntAttribute("type", &typeCode);
    std::unique_ptr<InputDescBase> desc = makeDescriptor(static_cast<unsigned int>(typeCode), element);
    if (!desc) {
        return nullptr;
    }
    desc->type = static_cast<unsigned int>(typeCode);
    if (const char* identifier = element.Attribute("identifier")) {
        desc->identifier = identifier;
    }
    desc->isSystem = !desc->identifier.empty() && desc->identifier[0] == '$';
    desc->uid = valueFromText<unsigned int>(element.Attribute("uid"));

    const char* alterOutputs = element.Attribute("alteroutputs");
    linkAlteredOutputs(alterOutputs != nullptr ? alterOutputs : "", *desc, outputs);

    const TiXmlElement* gui = element.FirstChildElement("inputgui");
    if (gui == nullptr) {
        desc->label = desc->identifier;
        return desc;
    }
    if (const char* label = gui->Attribute("label")) {
        desc->label = label;
    }
    TiXmlPrinter printer;
    printer.SetStreamPrinting();
    gui->Accept(&printer);
    desc->guiXml = printer.Str();
    return desc;
}

} // namespace SubstanceAir
