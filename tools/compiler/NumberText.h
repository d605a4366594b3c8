// Number texts of description.xml: read back exactly both by a whole-string
// conversion and by atof/atoi, so no spaces, no signs on zero, floats in their
// shortest round-trip form and ints plain.
#pragma once

#include "tools/compiler/PackageSource.h"

#include <string>

namespace kvcompiler {

std::string floatText(float value);
std::string intText(int value);
// For messages: whole numbers written out in full (2000, not 2e+03), others
// as floatText does.
std::string messageNumberText(double value);
// Components joined by "," as floats or ints.
std::string numberListText(const NumberList& values, bool integers);

} // namespace kvcompiler
