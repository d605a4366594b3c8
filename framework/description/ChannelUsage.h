// What an output texture means to a material: diffuse colour, normal map,
// roughness and so on. Outputs name their usage in the package description.
#pragma once

namespace SubstanceAir {

// Index into the table of usage names; 0 ("diffuse") is also what an output
// that names no known usage gets.
typedef unsigned int ChannelUsage;

enum { ChannelUsageCount = 26 };

// Start of the constant table of the 26 usage names, in index order; its end
// is the start plus ChannelUsageCount.
const char* const* getChannelNames();

} // namespace SubstanceAir
