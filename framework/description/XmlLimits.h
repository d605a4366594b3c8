// Guard run on description texts before TinyXML sees them. TinyXML parses
// recursively and has no nesting limit, so a hostile document could exhaust
// the stack; an oversized one could exhaust memory.
#pragma once

#include <cstddef>

namespace SubstanceAir {

// Largest description text accepted, in bytes.
constexpr size_t maxXmlBytes = 16u << 20;
// Deepest element nesting accepted.
constexpr size_t maxXmlDepth = 256;

// True when the NUL-terminated text is at most maxXmlBytes long and no
// element in it nests deeper than maxXmlDepth. The scan follows TinyXML's
// reading of comments, CDATA sections, declarations, unknown nodes and quoted
// attribute values, and errs towards rejecting: a text it cannot be sure of
// is refused.
bool isXmlWithinLimits(const char* text);

} // namespace SubstanceAir
