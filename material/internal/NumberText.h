// Lenient number reading and conversions of the material model: nothing here
// fails, malformed text reads as 0, and out-of-range values saturate instead
// of invoking undefined behaviour.
#pragma once

namespace kvSubstance {
namespace internal {

// Leading integer after optional white space and sign, as atoi reads it;
// saturates at the int range; 0 when there is none.
int parseLeadingInt(const char* text);
// Leading unsigned decimal after optional white space and '+', stopping at the
// first non-digit; saturates at the unsigned range; 0 when there is none or
// the text is negative.
unsigned int parseLeadingUnsigned(const char* text);
// Leading decimal floating-point number, as atof reads it; 0 when there is
// none; values beyond the float range become infinities.
float parseLeadingFloat(const char* text);

// Float to int truncating toward zero; saturates, and NaN gives 0.
int truncateToInt(float value);
// Double to float; values beyond the float range become infinities.
float narrowToFloat(double value);

} // namespace internal
} // namespace kvSubstance
