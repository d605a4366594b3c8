// Replacement of output formats that a consumer cannot take by the closest
// format it can. Formats fall into seven classes (8-bit colour, 8-bit
// luminance, 16-bit colour, 16-bit luminance, 32-bit float colour, 16-bit
// float colour, float luminance); a consumer states the classes it accepts.
#pragma once

namespace SubstanceAir {

enum { FormatClassCount = 7, AllFormatClasses = (1 << FormatClassCount) - 1 };

// The format to use for `format` under `classMask` (bit i: class i
// accepted). Unknown formats, formats of an accepted class, and formats with
// no acceptable replacement come back unchanged.
int applyFormatFallback(int format, unsigned int classMask);

} // namespace SubstanceAir
