// Descriptions of a graph's tweakable parameters: identity, value type,
// label, kept GUI XML, the outputs each alters and, for numbers, the default
// and range. Parsed once from the package description, then read-only.
#pragma once

#include "framework/description/MathVector.h"
#include "framework/description/OutputDesc.h"

#include <memory>
#include <string>
#include <vector>

class TiXmlElement;

namespace SubstanceAir {

class GraphInstance;
class InputInstanceBase;

// Value type code of an input, as carried by the `type` attribute. Codes 6
// and 7 and anything above 10 are not accepted.
enum InputType : unsigned int {
    Float = 0,
    Float2 = 1,
    Float3 = 2,
    Float4 = 3,
    Integer = 4,
    Image = 5,
    Integer2 = 8,
    Integer3 = 9,
    Integer4 = 10
};

struct InputDescBase {
    std::string identifier;
    unsigned int uid = 0;
    unsigned int type = 0; // InputType
    std::string label;
    // Outputs of the same graph this input alters, ascending.
    std::vector<unsigned int> alteredOutputUids;
    // System inputs (identifier starting with '$') make up a graph's state key.
    bool isSystem = false;
    // The whole `inputgui` element printed compactly; empty when there is none.
    std::string guiXml;

    virtual ~InputDescBase();
    virtual bool isNumerical() const { return false; }
    virtual bool isImage() const { return false; }
    // A deep copy of the same class.
    virtual std::unique_ptr<InputDescBase> clone() const = 0;
    // The matching input instance of a graph instance, set to the default.
    virtual std::unique_ptr<InputInstanceBase> instantiate(GraphInstance& parent) const = 0;

protected:
    InputDescBase() = default;
    InputDescBase(const InputDescBase&) = default;
    InputDescBase& operator=(const InputDescBase&) = default;
};

// T is float, int, or Math::Vector2/3/4 of float or int.
template <typename T>
struct InputDescNumerical : InputDescBase {
    typedef T Type;

    T defaultValue{};
    T maxValue{};
    T minValue{};

    bool isNumerical() const override { return true; }
    std::unique_ptr<InputDescBase> clone() const override;
    std::unique_ptr<InputInstanceBase> instantiate(GraphInstance& parent) const override;
};

struct InputDescImage : InputDescBase {
    bool isImage() const override { return true; }
    std::unique_ptr<InputDescBase> clone() const override;
    std::unique_ptr<InputInstanceBase> instantiate(GraphInstance& parent) const override;
};

// The widget that the kept GUI XML names ("slider", "color", ...); empty
// when there is none.
std::string widgetName(const InputDescBase& input);

// Builds the descriptor of an `input` element. `outputs` are the graph's
// outputs sorted by uid; the outputs this input alters record its uid. Null
// for an unsupported or missing type: the caller skips the input.
std::unique_ptr<InputDescBase> parseInput(const TiXmlElement& element, OutputDescs& outputs);

} // namespace SubstanceAir
