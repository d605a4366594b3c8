#include "bridge/internal/InputGui.h"

#include "material/SubstanceInput.h"
#include "platform/base/Split.h"
#include "platform/base/XmlGuard.h"

#include <tinyxml.h>

#include <cstdlib>
#include <cstring>

namespace kvSubstance {
namespace internal {

namespace {

const size_t kGuiBufferSize = 1024;
// Combo items stand at the positions of their values, 0 to 35.
const int kComboPositions = 36;

Widget widgetNamed(const char* text) {
    static const struct {
        const char* name;
        Widget widget;
    } widgets[] = {{"slider", WidgetSlider}, {"angle", WidgetAngle},
                   {"color", WidgetColor},   {"togglebutton", WidgetToggleButton},
                   {"image", WidgetImage},   {"combobox", WidgetComboBox}};
    if (text != nullptr) {
        for (const auto& entry : widgets) {
            if (std::strcmp(text, entry.name) == 0) {
                return entry.widget;
            }
        }
    }
    return WidgetNone;
}

// Reads a range text into the leading slots of `scratch`: one value per
// component, or one value for all of them; any other count leaves it as it is.
void parseRangeValue(const char* text, const SubstanceInput& input, SubstanceInput::IntOrFloat& scratch) {
    const int count = input.getType() & 7;
    const bool floats = (input.getType() & 0x10) != 0;
    const kv::vector<kvString::CString> pieces = kvUtil::split(kvString::CString(text), ',', true, false);
    const auto store = [&](int slot, const kvString::CString& piece) {
        if (floats) {
            scratch.f[slot] = static_cast<float>(std::atof(piece.asChar()));
        } else {
            scratch.i[slot] = std::atoi(piece.asChar());
        }
    };
    if (static_cast<int>(pieces.size()) == count) {
        for (int k = 0; k < count; ++k) {
            store(k, pieces[static_cast<size_t>(k)]);
        }
    } else if (pieces.size() == 1 && count > 1) {
        for (int k = 0; k < count; ++k) {
            store(k, pieces[0]);
        }
    }
}

void applyRange(const TiXmlElement& widget, SubstanceInput& input) {
    SubstanceInput::IntOrFloat scratch{};
    if (const char* text = widget.Attribute("min")) {
        parseRangeValue(text, input, scratch);
        input.setMin(scratch);
    }
    if (const char* text = widget.Attribute("max")) {
        parseRangeValue(text, input, scratch);
        input.setMax(scratch);
    }
    if (const char* text = widget.Attribute("step")) {
        parseRangeValue(text, input, scratch);
        input.setStep(scratch);
    }
    if (const char* text = widget.Attribute("clamp")) {
        input.setClamp(kvString::CString(text).compareNoCase("on") == 0);
    }
}

void applyComboItems(const TiXmlElement& combo, SubstanceInput& input) {
    int itemCount = 0;
    for (const TiXmlElement* item = combo.FirstChildElement("guicomboboxitem"); item != nullptr;
         item = item->NextSiblingElement("guicomboboxitem")) {
        ++itemCount;
    }
    int added = 0;
    for (int value = 0; added < itemCount && value < kComboPositions; ++value) {
        const char* text = nullptr;
        for (const TiXmlElement* item = combo.FirstChildElement("guicomboboxitem"); item != nullptr;
             item = item->NextSiblingElement("guicomboboxitem")) {
            const char* itemValue = item->Attribute("value");
            if (itemValue != nullptr && std::atoi(itemValue) == value) {
                text = item->Attribute("text");
                break;
            }
        }
        if (text != nullptr) {
            input.addComboItem(kvString::IString(text, kvString::Multibyte));
            ++added;
        } else {
            input.addComboItem(kvString::IString("-", kvString::Multibyte));
        }
    }
}

} // namespace

void applyInputGui(const std::string& guiXml, SubstanceInput* input) {
    if (guiXml.empty()) {
        return;
    }
    char buffer[kGuiBufferSize];
    const size_t length = std::min(guiXml.size(), kGuiBufferSize - 1);
    std::memcpy(buffer, guiXml.data(), length);
    buffer[length] = '\0';
    TiXmlElement parsed("");
    const bool readable = kvUtil::isXmlWithinLimits(buffer, length) &&
                          parsed.Parse(buffer, nullptr, TIXML_ENCODING_UTF8) != nullptr;
    const TiXmlElement empty("");
    const TiXmlElement& gui = readable ? parsed : empty;

    const Widget widget = widgetNamed(gui.Attribute("widget"));
    if (widget == WidgetNone || input == nullptr) {
        return;
    }
    input->setWidget(widget);
    input->setLabel(gui.Attribute("label"));
    if (const char* description = gui.Attribute("description")) {
        input->setDescription(description);
    }
    if (const TiXmlNode* first = gui.FirstChild()) {
        if (const TiXmlElement* widgetElement = first->ToElement()) {
            applyRange(*widgetElement, *input);
        }
    }
    if (const TiXmlNode* combo = gui.FirstChild("guicombobox")) {
        input->setCombo(true);
        if (const TiXmlElement* comboElement = combo->ToElement()) {
            applyComboItems(*comboElement, *input);
        }
    }
}

} // namespace internal
} // namespace kvSubstance
