// The one way tests and benchmarks build assemblies in memory: graph inputs,
// nodes whose parameters are named as in the node catalogue, and outputs,
// with UIDs counted from a base so that two graphs of one test never clash;
// plus the instructions parameter expressions are made of.
#pragma once

#include "engine/assembly/Assembly.h"

#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace kvtest {

kvengine::Instruction constant(float x, float y = 0, float z = 0, float w = 0);
kvengine::Instruction readInput(uint32_t index);
kvengine::Instruction op(kvengine::Op code, uint32_t index = 0);
// One-instruction expressions.
kvengine::Expression constantExpr(float x, float y = 0, float z = 0, float w = 0);
kvengine::Expression inputExpr(uint32_t inputIndex);

kvengine::Value4 intValue(int32_t x, int32_t y = 0, int32_t z = 0, int32_t w = 0);
kvengine::Value4 floatValue(float x, float y = 0, float z = 0, float w = 0);

using NamedParams = std::initializer_list<std::pair<const char*, kvengine::Expression>>;

class GraphBuilder {
public:
    // A graph as the compiler makes it: $outputsize (Integer2, log2 sides,
    // index 0) and $randomseed (Integer, index 1) come first.
    explicit GraphBuilder(int log2Width = 6, int log2Height = 6);
    // A graph with no inputs yet. Inputs get UIDs uidBase, uidBase + 1, ...;
    // outputs uidBase + 100, uidBase + 101, ...
    GraphBuilder(const std::string& url, uint32_t uidBase);

    // Returns the input's index; uid 0 takes the next one from the base.
    uint32_t addInput(const std::string& identifier, kvengine::InputType type, kvengine::Value4 value = {},
                      uint32_t uid = 0);
    // Parameters by name, the others left to their defaults; image inputs by
    // node index, -1 for none. A kind the catalogue lacks takes no parameters
    // (for tests of what the engine does with one). Returns the node's index.
    int addNode(const std::string& kind, NamedParams params = {}, std::vector<int32_t> imageInputs = {},
                uint32_t graphInput = 0);
    // Returns the output's index.
    uint32_t addOutput(const std::string& identifier, int node, int format = 0, uint32_t mipmaps = 1,
                       uint32_t uid = 0);

    kvengine::Assembly assembly(uint32_t uid = 77) const;

    kvengine::Graph graph;

private:
    uint32_t uidBase_;
};

} // namespace kvtest
