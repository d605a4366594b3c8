// Enumerations of the material model.
#pragma once

namespace kvSubstance {

// Value type of an input. The low three bits give the number of components,
// bit 0x10 marks float components and bit 0x20 integer components; code tests
// these bits rather than whole values.
enum Type {
    TypeFloat1 = 0x11,
    TypeFloat2 = 0x12,
    TypeFloat3 = 0x13,
    TypeFloat4 = 0x14,
    TypeInt1 = 0x21,
    TypeInt2 = 0x22,
    TypeInt3 = 0x23,
    TypeInt4 = 0x24,
    TypeImage = 0x40
};

// How the host shows an input.
enum Widget {
    WidgetNone = 0,
    WidgetSlider = 1,
    WidgetAngle = 2,
    WidgetToggleButton = 3,
    WidgetColor = 4,
    WidgetImage = 5,
    WidgetComboBox = 6
};

// Pixel format of an output, carried for the host: the description's format
// code divided by 4, or FormatInvalid for a code the model does not know.
enum Format {
    FormatInvalid = -1,
    Format0 = 0,
    Format1 = 1,
    Format2 = 2,
    Format3 = 3,
    Format4 = 4,
    Format5 = 5,
    Format6 = 6,
    Format7 = 7
};

} // namespace kvSubstance
