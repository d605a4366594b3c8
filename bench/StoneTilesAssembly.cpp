#include "StoneTilesAssembly.h"

#include "engine/nodes/NodeCatalog.h"
#include "platform/engine/EngineTypes.h"

#include <initializer_list>
#include <stdexcept>
#include <string>
#include <utility>

namespace kvbench {

using namespace kvengine;

namespace {

Expression constant(float x, float y = 0, float z = 0, float w = 0) {
    Instruction instruction;
    instruction.value.f = {x, y, z, w};
    return Expression{{instruction}};
}

// f(input + offset, limit): roughness windows such as max(roughness - 0.2, 0).
Expression shifted(uint32_t input, float offset, Op limitOp, float limit) {
    Instruction read, add, bound, apply;
    read.op = Op::Input;
    read.index = input;
    add.value.f = {offset, offset, offset, offset};
    bound.value.f = {limit, limit, limit, limit};
    apply.op = limitOp;
    Instruction plus;
    plus.op = Op::Add;
    return Expression{{read, add, plus, bound, apply}};
}

class Builder {
public:
    int node(const char* kind, std::initializer_list<std::pair<const char*, Expression>> params,
             std::vector<int32_t> inputs = {}) {
        const NodeKindInfo* info = findNodeKind(kind);
        if (!info)
            throw std::invalid_argument(std::string("unknown node kind ") + kind);
        Node n;
        n.op = kind;
        n.params.resize(info->params.size());
        for (const auto& [name, value] : params)
            n.params[static_cast<size_t>(findParam(*info, name))] = value;
        n.imageInputs = std::move(inputs);
        graph.nodes.push_back(std::move(n));
        return static_cast<int>(graph.nodes.size() - 1);
    }
    void output(const char* identifier, int node, int format) {
        GraphOutput out;
        out.uid = 100 + static_cast<uint32_t>(graph.outputs.size());
        out.identifier = identifier;
        out.format = format;
        out.mipmaps = 1;
        out.node = static_cast<uint32_t>(node);
        graph.outputs.push_back(out);
    }
    Graph graph;
};

} // namespace

Assembly stoneTilesAssembly() {
    Builder b;
    GraphInput size;
    size.uid = 1;
    size.identifier = "$outputsize";
    size.type = InputType::Integer2;
    size.defaultValue.i = {9, 9, 0, 0};
    b.graph.inputs.push_back(size);
    GraphInput seed;
    seed.uid = 2;
    seed.identifier = "$randomseed";
    seed.type = InputType::Integer;
    b.graph.inputs.push_back(seed);
    GraphInput roughness;
    roughness.uid = 3;
    roughness.identifier = "roughness";
    roughness.type = InputType::Float;
    roughness.defaultValue.f = {0.7f, 0, 0, 0};
    b.graph.inputs.push_back(roughness);
    const uint32_t roughnessInput = 2;

    const int bricks = b.node("pattern.bricks", {{"bricks", constant(4, 4)},
                                                 {"mortar", constant(0.08f)},
                                                 {"bevel", constant(0.12f)},
                                                 {"offset", constant(0)},
                                                 {"variation", constant(0.5f)},
                                                 {"seed", constant(1)}});
    const int grit = b.node("noise.fbm", {{"scale", constant(8)},
                                          {"octaves", constant(7)},
                                          {"persistence", constant(0.55f)},
                                          {"seed", constant(2)}});
    const int streaks =
        b.node("noise.fbm", {{"scale", constant(4)}, {"octaves", constant(3)}, {"seed", constant(3)}});
    const int grain = b.node("warp.directional",
                             {{"intensity", constant(0.05f)}, {"angle", constant(0.125f)}}, {grit, streaks});
    const int cells =
        b.node("noise.cellular", {{"scale", constant(8)}, {"mode", constant(2)}, {"seed", constant(4)}});
    const int crackNoise =
        b.node("noise.fbm", {{"scale", constant(3)}, {"octaves", constant(4)}, {"seed", constant(5)}});
    const int crackZones =
        b.node("threshold", {{"level", constant(0.56f)}, {"softness", constant(0.06f)}}, {crackNoise});
    const int unbroken =
        b.node("threshold", {{"level", constant(0.02f)}, {"softness", constant(0.015f)}}, {cells});
    const int surface =
        b.node("blend", {{"mode", constant(5)}, {"opacity", constant(0.5f)}}, {grain, bricks});
    const int height = b.node("blend", {{"mode", constant(3)}, {"opacity", constant(0.8f)}},
                              {unbroken, surface, crackZones});
    const int stoneMask =
        b.node("threshold", {{"level", constant(0.03f)}, {"softness", constant(0.03f)}}, {bricks});
    const int stonePaint = b.node("color.uniform", {{"color", constant(0.58f, 0.55f, 0.5f, 1)}});
    const int groutPaint = b.node("color.uniform", {{"color", constant(0.38f, 0.36f, 0.33f, 1)}});
    const int flat = b.node("blend", {{"mode", constant(0)}}, {stonePaint, groutPaint, stoneMask});
    const int albedo = b.node("blend", {{"mode", constant(6)}, {"opacity", constant(0.6f)}}, {height, flat});
    const int normal = b.node("normal.from_height", {{"intensity", constant(1)}}, {height});
    const int depth = b.node("invert", {}, {height});
    const int rough = b.node("levels",
                             {{"out_low", shifted(roughnessInput, -0.2f, Op::Maximum, 0)},
                              {"out_high", shifted(roughnessInput, 0.2f, Op::Minimum, 1)}},
                             {depth});
    b.output("Output", albedo, SubstancePixelFormat_RGBA8);
    b.output("height", height, SubstancePixelFormat_L16);
    b.output("normal", normal, SubstancePixelFormat_RGBA8);
    b.output("roughness", rough, SubstancePixelFormat_L8);

    Assembly assembly;
    assembly.uid = 1;
    assembly.graphs.push_back(std::move(b.graph));
    return assembly;
}

} // namespace kvbench
