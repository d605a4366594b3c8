// In-memory form of an assembly: the graph program that the linker combines
// and the evaluator runs. The binary form (AssemblyWriter / AssemblyReader,
// documented in docs/assembly-format.md) maps one to one onto these records.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace kvengine {

// Version written into every assembly; readers reject any other.
constexpr uint32_t kAssemblyFormatVersion = 1;

// Limits checked by the reader (and so before the engine allocates anything).
struct AssemblyLimits {
    static constexpr uint32_t maxGraphs = 64;
    static constexpr uint32_t maxNodesPerGraph = 4096;
    static constexpr uint32_t maxInputsPerGraph = 1024;
    static constexpr uint32_t maxOutputsPerGraph = 256;
    static constexpr uint32_t maxImageInputsPerNode = 8;
    static constexpr uint32_t maxParamsPerNode = 64;
    static constexpr uint32_t maxInstructionsPerExpression = 256;
    static constexpr uint32_t maxExpressionStack = 16;
    static constexpr uint32_t maxStringLength = 1024;
    static constexpr uint64_t maxAssemblyBytes = 64u << 20;
};

// Value of an input or a constant: four 32-bit slots read as floats or ints by type.
union Value4 {
    std::array<float, 4> f;
    std::array<int32_t, 4> i;
    Value4() : i{0, 0, 0, 0} {}
};

// Input types share their codes with SubstanceInputType of the C interface.
enum class InputType : uint32_t {
    Float = 0,
    Float2 = 1,
    Float3 = 2,
    Float4 = 3,
    Integer = 4,
    Image = 5,
    Integer2 = 8,
    Integer3 = 9,
    Integer4 = 10,
};

bool isValidInputType(uint32_t code);
bool isIntegerType(InputType type);
uint32_t componentCount(InputType type); // 0 for images
// The name of a type in package sources and failure reasons: "float",
// "float2".."float4", "int", "int2".."int4", "image".
const char* inputTypeName(InputType type);
// The type of a name; false when unknown.
bool inputTypeFromName(const std::string& name, InputType& type);

struct GraphInput {
    uint32_t uid = 0;
    std::string identifier;
    InputType type = InputType::Float;
    Value4 defaultValue;
};

struct GraphOutput {
    uint32_t uid = 0;
    std::string identifier;
    int32_t format = 0;   // SubstancePixelFormat
    uint32_t mipmaps = 0; // 0: full chain; n: at most n levels
    uint32_t channel = 0; // channel usage index
    uint32_t node = 0;    // index of the producing node in the graph
};

// A parameter is a tiny stack program evaluated once per render (never per
// pixel). Every value on the stack is four floats; scalars are broadcast.
enum class Op : uint8_t {
    Constant = 0,  // push value
    Input = 1,     // push graph input `index` as four floats (ints converted)
    Component = 2, // replace top with its component `index` (0..3), broadcast
    Add = 3,
    Subtract = 4,
    Multiply = 5,
    Divide = 6, // x / 0 gives 0
    Negate = 7,
    Minimum = 8,
    Maximum = 9,
    Floor = 10,
    Absolute = 11,
    Sine = 12,   // of turns: sin(2 pi x)
    Cosine = 13, // of turns
    Power = 14,  // pow(|a|, b)
    Less = 15,   // 1 where a < b, else 0
    Equal = 16,  // 1 where a == b, else 0
    Mix = 17,    // a + (b - a) * t, pops t, b, a
    Clamp01 = 18,
};
constexpr uint8_t kOpCount = 19;

struct Instruction {
    Op op = Op::Constant;
    uint32_t index = 0; // input index for Input, component for Component
    Value4 value;       // for Constant (float view)
};

struct Expression {
    std::vector<Instruction> code; // empty: the parameter's default
};

struct Node {
    std::string op;                   // node kind, e.g. "noise.fbm"; see engine/nodes
    std::vector<Expression> params;   // in the kind's parameter-table order; missing ones take defaults
    std::vector<int32_t> imageInputs; // producing node index per image slot, -1 for none
    uint32_t graphInput = 0;          // for "input.image": index of the graph input it reads
};

struct Graph {
    std::string url; // the graph's package URL, for messages
    std::vector<GraphInput> inputs;
    std::vector<GraphOutput> outputs;
    std::vector<Node> nodes; // topologically ordered is not required; cycles are rejected
};

struct Assembly {
    uint32_t uid = 0;
    std::vector<Graph> graphs;
};

} // namespace kvengine
