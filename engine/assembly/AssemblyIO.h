// Binary form of an assembly (docs/assembly-format.md): a writer and a
// bounds-checked reader that rejects anything malformed.
#pragma once

#include "engine/assembly/Assembly.h"
#include "engine/status/Status.h"

#include <cstddef>
#include <vector>

namespace kvengine {

// Serialises an assembly. Throws std::invalid_argument, naming the graph,
// the record and the limit, when a record exceeds a limit of AssemblyLimits
// (the reader would reject it).
std::vector<char> writeAssembly(const Assembly& assembly);

// Parses and structurally validates an assembly: magic, version, every count
// and length against AssemblyLimits and the remaining bytes, every index in
// range (outputs to nodes, image inputs to nodes, expressions to inputs, stack
// depth), no cycles between nodes. A failure's reason begins with "assembly: "
// and names the graph, record and byte offset; `out` is filled only on
// success. Never allocates more than a small multiple of `size`.
Status readAssembly(const char* data, size_t size, Assembly& out);

// True when the bytes start like an assembly (its magic), whatever follows.
bool looksLikeAssembly(const char* data, size_t size);

} // namespace kvengine
