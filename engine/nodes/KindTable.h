// The typed table of one node kind, declared the way a kind file reads best:
//
//   KindTable("noise.fbm", "Tileable gradient noise ...", OutputChannels::Gray)
//       .integer("scale", 4, 1, 1024, "cells per side of the coarsest octave").ui(1, 64)
//       .number("persistence", 0.5f, 0, 1, "amplitude ratio from one octave to the next")
//       .seed()
//
// Each call declares the next parameter or image input, in assembly order;
// ui() and evenComponent() refine the parameter declared last.
#pragma once

#include "engine/nodes/NodeCatalog.h"

#include <initializer_list>
#include <vector>

namespace kvengine {

class KindTable {
public:
    KindTable(const char* name, const char* help, OutputChannels output);

    KindTable& number(const char* name, float value, float min, float max, const char* help);
    // A number measured as a fraction of the texture side.
    KindTable& length(const char* name, float value, float min, float max, const char* help);
    // A number of turns, wrapped into [0, 1).
    KindTable& angle(const char* name, float value, const char* help);
    KindTable& vector(const char* name, std::initializer_list<float> value, float min, float max,
                      const char* help);
    // A place in texture units, every component wrapped into [0, 1).
    KindTable& position(const char* name, std::initializer_list<float> value, const char* help);
    KindTable& integer(const char* name, int value, int min, int max, const char* help);
    KindTable& integers(const char* name, std::initializer_list<int> value, int min, int max,
                        const char* help);
    KindTable& flag(const char* name, bool value, const char* help);
    // Values 0 to labels - 1, written in sources by number or by label.
    KindTable& choice(const char* name, int value, std::initializer_list<const char*> labels,
                      const char* help);
    // RGBA, every component 0 to 1.
    KindTable& colour(const char* name, std::initializer_list<float> value, const char* help);
    // "seed": whole numbers a float holds exactly, combined with $randomseed.
    KindTable& seed();

    // Narrows the span an editor offers for the last parameter.
    KindTable& ui(float min, float max);
    // Rounds component k of the last (whole-number) parameter up to an even number.
    KindTable& evenComponent(uint32_t component);

    // Image inputs: a source is read channel by channel, a map as a gray level;
    // unconnected, a source or a colour map reads 0.5.
    KindTable& source(const char* name, const char* help);
    KindTable& map(const char* name, float unconnected, const char* help);
    // An input read channel by channel that leaves the output's channels alone.
    KindTable& colourMap(const char* name, const char* help);

    KindTable& scratchImages(int count);

    operator const NodeKindInfo&() const { return info_; }

private:
    KindTable& add(const char* name, ParamType type, const std::vector<float>& value, float min, float max,
                   const char* help);

    NodeKindInfo info_;
};

} // namespace kvengine
