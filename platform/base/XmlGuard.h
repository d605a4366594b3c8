// A cheap check run before handing text to TinyXML, which recurses once per
// element level and has no limits of its own: a hostile document could
// exhaust the stack, an oversized one the memory.
#pragma once

#include <cstddef>

namespace kvUtil {

// Largest XML text accepted, in bytes.
constexpr std::size_t kMaxXmlBytes = 16u * 1024u * 1024u;
// Deepest element nesting accepted.
constexpr int kMaxXmlDepth = 256;

// Whether text (size bytes, or up to the first NUL if earlier) is at most
// kMaxXmlBytes long and nests elements at most kMaxXmlDepth deep. The scan
// reads comments, CDATA sections, XML declarations, unknown nodes and quoted
// attribute values the way TinyXML does, and errs towards rejecting: a text
// it cannot be sure of is refused. Well-formedness is not checked. A null
// text is refused.
bool isXmlWithinLimits(const char* text, std::size_t size);

// The same check on a NUL-terminated text.
bool isXmlWithinLimits(const char* text);

} // namespace kvUtil
