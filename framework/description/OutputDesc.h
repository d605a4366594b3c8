// Description of one texture a graph produces.
#pragma once

#include "framework/description/ChannelUsage.h"

#include <string>
#include <vector>

class TiXmlElement;

namespace SubstanceAir {

struct OutputDesc {
    std::string identifier;
    unsigned int uid = 0;
    int format = 0;           // the engine's pixel-format code
    ChannelUsage channel = 0; // index into getChannelNames()
    unsigned int mipmaps = 0; // mip-map level count handed to the linker
    std::string label;
    // Inputs of the same graph that alter this output, ascending.
    std::vector<unsigned int> alteringInputUids;
};

typedef std::vector<OutputDesc> OutputDescs;

// Fills `output` from an `output` element of a package description. Missing
// attributes give empty texts and zeros; it always returns true.
bool parseOutput(const TiXmlElement& element, OutputDesc& output);

// Position of the first output whose uid is not less than `uid` in outputs
// sorted by uid (outputs.size() when there is none).
size_t lowerBoundOutput(const OutputDescs& outputs, unsigned int uid);

// The output with this uid in outputs sorted by uid, or null.
OutputDesc* findOutput(OutputDescs& outputs, unsigned int uid);

} // namespace SubstanceAir
