#include "framework/description/FormatFallback.h"

namespace SubstanceAir {

namespace {

// Class of each format code, -1 for formats that take no part.
int formatClass(int format) {
    switch (format) {
    case 0:
    case 4:
    case 8:
        return 0;
    case 12:
        return 1;
    case 16:
    case 20:
    case 24:
        return 2;
    case 28:
        return 3;
    case 1:
        return 4;
    case 5:
    case 9:
        return 5;
    case 13:
    case 17:
        return 6;
    default:
        return -1;
    }
}

// For each class, the other classes to try, most wanted first.
const int preferences[FormatClassCount][FormatClassCount - 1] = {
    {6, 5, 4, 2, 1, 3}, {0, 4, 6, 5, 3, 2}, {0, 6, 5, 4, 3, 1}, {2, 1, 0, 4, 6, 5},
    {6, 5, 0, 2, 1, 3}, {6, 4, 0, 2, 1, 3}, {5, 4, 0, 2, 1, 3}};

// The format that stands for each class when a format is replaced.
const int representatives[FormatClassCount] = {0, 12, 16, 28, 1, 9, 17};

bool accepts(unsigned int classMask, int formatClassIndex) {
    return (classMask >> formatClassIndex & 1u) != 0;
}

} // namespace

int applyFormatFallback(int format, unsigned int classMask) {
    const int own = formatClass(format);
    if (own < 0 || accepts(classMask, own)) {
        return format;
    }
    for (int candidate : preferences[own]) {
        if (accepts(classMask, candidate)) {
            return representatives[candidate];
        }
    }
    return format;
}

} // namespace SubstanceAir
