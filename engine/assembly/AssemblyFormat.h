// Constants of the binary assembly layout shared by the writer and the reader
// (docs/assembly-format.md). Internal to engine/assembly.
#pragma once

#include "engine/assembly/Assembly.h"

#include <cstddef>
#include <cstdint>

namespace kvengine::format {

constexpr char kMagic[4] = {'K', 'V', 'A', 'S'};
constexpr size_t kHeaderBytes = 16; // magic, version, uid, graph count

// Smallest encoding of each record: lets the reader refuse a count that the
// remaining bytes cannot possibly hold before it reserves anything.
constexpr size_t kMinGraphBytes = 16;      // url length + three counts
constexpr size_t kMinInputBytes = 28;      // uid, identifier length, type, four value slots
constexpr size_t kMinOutputBytes = 24;     // uid, identifier length, format, mipmaps, channel, node
constexpr size_t kMinNodeBytes = 16;       // op length, graph input, image count, param count
constexpr size_t kImageInputBytes = 4;     // one signed node index
constexpr size_t kMinExpressionBytes = 4;  // instruction count
constexpr size_t kMinInstructionBytes = 1; // opcode alone

// The node kind whose graphInput field names a graph input.
constexpr const char* kImageInputNodeOp = "input.image";

// How an instruction changes the expression stack.
struct OpShape {
    uint8_t pops;
    uint8_t pushes;
};

inline OpShape opShape(Op op) {
    switch (op) {
    case Op::Constant:
    case Op::Input:
        return {0, 1};
    case Op::Component:
    case Op::Negate:
    case Op::Floor:
    case Op::Absolute:
    case Op::Sine:
    case Op::Cosine:
    case Op::Clamp01:
        return {1, 1};
    case Op::Mix:
        return {3, 1};
    default:
        return {2, 1};
    }
}

} // namespace kvengine::format
