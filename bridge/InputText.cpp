// Host inputs set from the text form of descriptions and presets ("0.5",
// "1,0,0"), parsed by the framework's one number reader.
#include "bridge/SubstanceBridge.h"
#include "framework/description/NumberText.h"
#include "framework/description/Preset.h"
#include "material/Substance.h"

#include <string>

namespace kvSubstance {

namespace {

// The comma-separated pieces of `text`, each converted whole; one piece
// stands for every component.
template <typename T>
bool parseComponents(const std::string& text, int count, T* components) {
    std::vector<std::string> pieces;
    for (size_t begin = 0;;) {
        const size_t comma = text.find(',', begin);
        pieces.push_back(text.substr(begin, comma == std::string::npos ? std::string::npos : comma - begin));
        if (comma == std::string::npos) {
            break;
        }
        begin = comma + 1;
    }
    if (pieces.size() != static_cast<size_t>(count) && pieces.size() != 1) {
        return false;
    }
    for (int k = 0; k < count; ++k) {
        if (!SubstanceAir::parseValueText(pieces[pieces.size() == 1 ? 0 : static_cast<size_t>(k)],
                                          components[k])) {
            return false;
        }
    }
    return true;
}

} // namespace

bool setInputValueFromText(kv::Reference<Substance> substance, SubstanceInput* input, const char* text) {
    const int count = input->getType() & 7;
    if (text == nullptr || count == 0) {
        return false;
    }
    SubstanceInput::IntOrFloat value{};
    const bool integers = (input->getType() & 0x20) != 0;
    if (!(integers ? parseComponents(text, count, value.i) : parseComponents(text, count, value.f))) {
        return false;
    }
    // Component by component: the four-value setters keep a layout quirk hosts rely on.
    for (int k = 0; k < count; ++k) {
        if (integers) {
            input->setValueI(value.i[k], k);
        } else {
            input->setValueF(value.f[k], k);
        }
    }
    syncValueFromSubstanceInputToInputInstanceBase(substance, input);
    return true;
}

bool applyPreset(kv::Reference<Substance> substance, const SubstanceAir::Preset& preset) {
    bool complete = true;
    for (const SubstanceAir::PresetInputValue& value : preset.inputValues) {
        SubstanceInput* input = dynamic_cast<SubstanceInput*>(substance->getEntity(value.uid));
        if (input == nullptr || !setInputValueFromText(substance, input, value.value.c_str())) {
            complete = false;
        }
    }
    return complete;
}

} // namespace kvSubstance
