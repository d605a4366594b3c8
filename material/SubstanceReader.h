// kvSubstance::SubstanceReader: builds a material from its description XML
// (root element sbsdescription, content="full").
#pragma once

#include "material/SubstanceInput.h"
#include "platform/base/Reference.h"

class TiXmlDocument;
class TiXmlElement;
class TiXmlNode;

namespace kvSubstance {

class Substance;

class SubstanceReader {
public:
    SubstanceReader(const SubstanceReader&) = default;
    SubstanceReader& operator=(const SubstanceReader&) = default;

    // The process-wide reader.
    static SubstanceReader& getInstance();

    // The material described by xmlText (NUL-terminated), or an empty
    // reference when the text is not a complete description: any missing
    // required element or attribute, a parse error, or a document beyond the
    // limits of kvUtil::isXmlWithinLimits. Only the first graph is read. The
    // inputs start at their defaults and nothing is marked modified.
    kv::Reference<Substance> readFromXMLData(const char* xmlText);

protected:
    SubstanceReader() = default;
    virtual ~SubstanceReader() = default;

private:
    bool readXMLDocument(const TiXmlDocument& document, Substance& substance);
    bool readXMLGraph(const TiXmlNode* graph, Substance& substance);
    bool readXMLOutput(const TiXmlElement* element, Substance& substance);
    bool readXMLInput(const TiXmlElement* element, Substance& substance);
    bool readXMLInputGui(const TiXmlElement* element, SubstanceInput& input);
    void readXMLInputDependencies(const TiXmlElement* element, Substance& substance, SubstanceInput& input);
    // Reads a comma-separated list into the leading slots of target (as many
    // as the input has components) and marks the input as having a default.
    void parseValues(const char* text, SubstanceInput& input, SubstanceInput::IntOrFloat& target);
};

} // namespace kvSubstance
