#include "material/SubstanceReader.h"

#include "material/Substance.h"
#include "material/internal/NumberText.h"
#include "platform/base/Split.h"
#include "platform/base/XmlGuard.h"

#include <cstring>
#include <memory>
#include <tinyxml.h>
#include <unordered_set>

namespace kvSubstance {

namespace {

Type typeFromCode(int code) {
    switch (code) {
    case 1:
        return TypeFloat2;
    case 2:
        return TypeFloat3;
    case 3:
        return TypeFloat4;
    case 4:
        return TypeInt1;
    case 5:
        return TypeImage;
    case 8:
        return TypeInt2;
    case 9:
        return TypeInt3;
    case 10:
        return TypeInt4;
    default:
        return TypeFloat1;
    }
}

Format formatFromCode(int code) {
    if (code < 0 || code > 28 || code % 4 != 0)
        return FormatInvalid;
    return static_cast<Format>(code / 4);
}

Widget widgetFromName(const char* name) {
    static const struct {
        const char* name;
        Widget widget;
    } names[] = {{"slider", WidgetSlider},
                 {"angle", WidgetAngle},
                 {"togglebutton", WidgetToggleButton},
                 {"color", WidgetColor},
                 {"image", WidgetImage}};
    for (const auto& entry : names)
        if (std::strcmp(name, entry.name) == 0)
            return entry.widget;
    return WidgetNone;
}

bool equalsNoCase(const char* text, const char* word) {
    return kvString::CString(text).compareNoCase(kvString::CString(word)) == 0;
}

} // namespace

SubstanceReader& SubstanceReader::getInstance() {
    static SubstanceReader instance;
    return instance;
}

kv::Reference<Substance> SubstanceReader::readFromXMLData(const char* xmlText) {
    if (!kvUtil::isXmlWithinLimits(xmlText))
        return kv::Reference<Substance>();
    TiXmlDocument document;
    // The parser's returned end position is null also for a well-formed
    // document that ends right after its last tag; its error flag is reliable.
    document.Parse(xmlText, nullptr, TIXML_DEFAULT_ENCODING);
    if (document.Error())
        return kv::Reference<Substance>();
    kv::Reference<Substance> substance(new Substance());
    if (!readXMLDocument(document, *substance))
        return kv::Reference<Substance>();
    return substance;
}

bool SubstanceReader::readXMLDocument(const TiXmlDocument& document, Substance& substance) {
    const TiXmlElement* description = document.FirstChildElement("sbsdescription");
    if (!description)
        return false;
    const char* content = description->Attribute("content");
    if (!content || std::strcmp(content, "full") != 0)
        return false;
    const TiXmlElement* graphs = description->FirstChildElement("graphs");
    if (!graphs)
        return false;
    const char* count = graphs->Attribute("count");
    if (!count || internal::parseLeadingInt(count) < 1)
        return false;
    const TiXmlElement* graph = graphs->FirstChildElement("graph");
    if (!graph)
        return false;
    return readXMLGraph(graph, substance);
}

bool SubstanceReader::readXMLGraph(const TiXmlNode* graphNode, Substance& substance) {
    const TiXmlElement* graph = graphNode->ToElement();
    const char* packageURL = graph ? graph->Attribute("pkgurl") : nullptr;
    const char* label = graph ? graph->Attribute("label") : nullptr;
    if (!packageURL || !label)
        return false;
    substance.setPackageURL(kvString::CString(packageURL));
    substance.setLabel(kvString::IString(label, kvString::Utf8));

    const TiXmlElement* outputs = graph->FirstChildElement("outputs");
    if (!outputs)
        return false;
    for (const TiXmlElement* output = outputs->FirstChildElement("output"); output;
         output = output->NextSiblingElement())
        if (!readXMLOutput(output, substance))
            return false;

    const TiXmlElement* inputs = graph->FirstChildElement("inputs");
    if (!inputs)
        return false;
    for (const TiXmlElement* input = inputs->FirstChildElement("input"); input;
         input = input->NextSiblingElement())
        if (!readXMLInput(input, substance))
            return false;

    // Dependencies may name any entity of the graph, so they are linked only
    // once every output and input exists.
    for (const TiXmlElement* input = inputs->FirstChildElement("input"); input;
         input = input->NextSiblingElement()) {
        const char* identifier = input->Attribute("identifier");
        if (!identifier)
            return false;
        if (SubstanceInput* target = substance.getInput(kvString::CString(identifier)))
            readXMLInputDependencies(input, substance, *target);
    }
    return true;
}

bool SubstanceReader::readXMLOutput(const TiXmlElement* element, Substance& substance) {
    const char* uid = element->Attribute("uid");
    const char* identifier = uid ? element->Attribute("identifier") : nullptr;
    const char* format = identifier ? element->Attribute("format") : nullptr;
    const char* width = format ? element->Attribute("width") : nullptr;
    const char* height = width ? element->Attribute("height") : nullptr;
    const char* mipmaps = height ? element->Attribute("mipmaps") : nullptr;
    if (!mipmaps)
        return false;
    const char* dynamicSize = element->Attribute("dynamicsize");
    substance.newOutput(internal::parseLeadingUnsigned(uid), kvString::CString(identifier),
                        formatFromCode(internal::parseLeadingInt(format)), internal::parseLeadingInt(width),
                        internal::parseLeadingInt(height), internal::parseLeadingInt(mipmaps),
                        dynamicSize && equalsNoCase(dynamicSize, "yes"));
    return true;
}

bool SubstanceReader::readXMLInput(const TiXmlElement* element, Substance& substance) {
    const char* uid = element->Attribute("uid");
    const char* identifier = uid ? element->Attribute("identifier") : nullptr;
    const char* type = identifier ? element->Attribute("type") : nullptr;
    if (!type)
        return false;
    SubstanceInput& input =
        *substance.newInput(internal::parseLeadingUnsigned(uid), kvString::CString(identifier),
                            typeFromCode(internal::parseLeadingInt(type)));
    if (const char* fallback = element->Attribute("default")) {
        parseValues(fallback, input, input.m_default);
        input.m_value = input.m_default;
        input.m_hasDefault = true;
    }
    const TiXmlNode* gui = element->FirstChild("inputgui");
    if (gui && gui->ToElement())
        return readXMLInputGui(gui->ToElement(), input);
    return true;
}

bool SubstanceReader::readXMLInputGui(const TiXmlElement* element, SubstanceInput& input) {
    const char* widget = element->Attribute("widget");
    if (!widget)
        return false;
    input.m_widget = widgetFromName(widget);
    input.m_showInGUI = true;
    if (const char* label = element->Attribute("label"))
        input.m_label = kvString::IString(label, kvString::Utf8);
    if (const char* description = element->Attribute("description"))
        input.m_description = kvString::IString(description, kvString::Utf8);
    const TiXmlNode* first = element->FirstChild();
    // A first child that is not an element (a comment, text) carries no range.
    const TiXmlElement* range = first ? first->ToElement() : nullptr;
    if (!range)
        return true;
    if (const char* min = range->Attribute("min")) {
        parseValues(min, input, input.m_min);
        input.m_hasMin = true;
    }
    if (const char* max = range->Attribute("max")) {
        parseValues(max, input, input.m_max);
        input.m_hasMax = true;
    }
    if (const char* step = range->Attribute("step")) {
        parseValues(step, input, input.m_step);
        input.m_hasStep = true;
    }
    if (const char* clamp = range->Attribute("clamp"))
        input.m_clamp = equalsNoCase(clamp, "on");
    return true;
}

void SubstanceReader::readXMLInputDependencies(const TiXmlElement* element, Substance& substance,
                                               SubstanceInput& input) {
    const char* altered = element->Attribute("alteroutputs");
    if (!altered)
        return;
    // A uid listed twice is connected once, so a long list repeating one uid
    // cannot blow up into millions of connections. The list is walked in
    // place, piece by piece, as split(list, ',', true, false) would cut it.
    std::unordered_set<const SubstanceEntity*> connected;
    for (const char* piece = altered; *piece; ++piece) {
        if (*piece == ',')
            continue;
        SubstanceEntity* target = substance.getEntity(internal::parseLeadingUnsigned(piece));
        if (target && connected.insert(target).second)
            input.getModifiedSignal().connect(std::make_unique<kvRTB::FunctionVoidMember<SubstanceEntity>>(
                                                  target, &SubstanceEntity::onModified),
                                              &target->getReceiverTracking());
        while (piece[1] && piece[1] != ',')
            ++piece;
    }
}

void SubstanceReader::parseValues(const char* text, SubstanceInput& input,
                                  SubstanceInput::IntOrFloat& target) {
    const int count = input.getType() & 7;
    const bool isFloat = (input.getType() & 0x10) != 0;
    const kv::vector<kvString::CString> pieces = kvUtil::split(kvString::CString(text), ',', true, false);
    for (int k = 0; k < count && k < static_cast<int>(pieces.size()); ++k) {
        if (isFloat)
            target.f[k] = internal::parseLeadingFloat(pieces[k].asChar());
        else
            target.i[k] = internal::parseLeadingInt(pieces[k].asChar());
    }
    // Intended: a range list marks the input as having a default as well.
    input.m_hasDefault = true;
}

} // namespace kvSubstance
