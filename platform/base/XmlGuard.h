// A cheap check run before handing text to the XML parser, which recurses once
// per element level and has no limits of its own.
#pragma once

#include <cstddef>

namespace kvUtil {

// Largest XML text accepted, in bytes.
constexpr std::size_t kMaxXmlBytes = 16u * 1024u * 1024u;
// Deepest element nesting accepted.
constexpr int kMaxXmlDepth = 256;

// Whether text (size bytes, or up to the first NUL if earlier) is at most
// kMaxXmlBytes long and nests elements at most kMaxXmlDepth deep. Comments,
// CDATA sections, processing instructions, declarations and quoted attribute
// values are skipped; anything that looks like a start tag counts, so the
// depth found is never lower than the parser's. Well-formedness is not
// checked.
bool isXmlWithinLimits(const char* text, std::size_t size);

} // namespace kvUtil
