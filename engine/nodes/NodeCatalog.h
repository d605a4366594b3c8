// The catalogue of node kinds as typed data: every parameter with its value
// kind, default, hard range, editor range, unit, labels and help, and every
// image input with what it reads when nothing is connected. The evaluator
// normalises parameters from it (ParamNormalisation.h), the package compiler
// checks sources against it, and `kvs nodes` and docs/nodes.md print it.
// Each kind declares its table in its own file under engine/nodes/kinds/.
#pragma once

#include "engine/assembly/Assembly.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kvengine {

enum class ParamType : uint8_t {
    Float,
    Integer,     // whole numbers: rounded to the nearest
    Boolean,     // 0 or 1: 0.5 and above is 1
    Enumeration, // whole numbers 0 to labels - 1, each with a label
    Colour,      // RGBA, every component 0 to 1
};

enum class ParamUnit : uint8_t {
    None,
    TextureSide,     // a length as a fraction of the texture side
    TexturePosition, // a place on the texture in texture units; wraps around
    Turns,           // an angle in whole turns; wraps around
};

// Positions and angles repeat every 1: they are wrapped into [0, 1), never clamped.
inline bool wrapsAround(ParamUnit unit) {
    return unit == ParamUnit::TexturePosition || unit == ParamUnit::Turns;
}

struct ParamSpec {
    const char* name = "";
    ParamType type = ParamType::Float;
    uint32_t components = 1; // 1 to 4 meaningful components of the evaluated four
    Value4 defaultValue;     // float view
    float min = 0.0f;        // hard range of every component
    float max = 0.0f;
    float uiMin = 0.0f; // the span an editor offers; the hard range unless narrowed
    float uiMax = 0.0f;
    ParamUnit unit = ParamUnit::None;
    uint32_t evenComponents = 0;     // bit k: component k is rounded up to an even number
    std::vector<const char*> labels; // Enumeration: the label of each value from 0
    const char* help = "";
};

enum class InputUse : uint8_t {
    Source, // read channel by channel; its channels decide the output's
    Map,    // read as a gray level: the luminance of a colour image
    // Read channel by channel without deciding the output's channels: a
    // vector field, a normal map, channels to rearrange. A gray image answers
    // every colour channel with its gray level and alpha with 1.
    ColourMap,
};

// "source", "map" or "colour_map", as package tools print it.
const char* inputUseName(InputUse use);

struct ImageInputSpec {
    const char* name = "";
    InputUse use = InputUse::Source;
    float unconnected = 0.5f; // the gray level an unconnected input reads as
    const char* help = "";
};

enum class OutputChannels : uint8_t {
    Gray,
    Colour,
    WidestSource, // colour when any connected source input is colour, else gray
    GraphImage,   // those of the image graph input the node reads
};

struct NodeKindInfo {
    const char* name = ""; // e.g. "noise.fbm"
    const char* help = "";
    std::vector<ParamSpec> params;           // the order the assembly stores them in
    std::vector<ImageInputSpec> imageInputs; // the image slots, in order
    OutputChannels output = OutputChannels::Gray;
    int scratchImages = 0;  // extra images of the output's size the kernel allocates
    bool readsSeed = false; // has a "seed": its result depends on $randomseed

    // "input.image": Node::graphInput names the graph input it reads.
    bool readsGraphInput() const { return output == OutputChannels::GraphImage; }
};

// Every kind, sorted by name.
const std::vector<NodeKindInfo>& nodeCatalog();
// The kind with that name, or null.
const NodeKindInfo* findNodeKind(const std::string& name);
// Index of a parameter in the kind's table, or -1.
int findParam(const NodeKindInfo& kind, const std::string& name);

} // namespace kvengine
