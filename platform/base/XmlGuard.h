// A cheap check run before handing text to TinyXML, which recurses once per
// element level, compares each attribute with every earlier one of its
// element and has no limits of its own: a hostile document could exhaust the
// stack, the time or the memory. The limits (docs/limits.md) keep any text
// within about 100 ms and 64 MiB to read.
#pragma once

#include <cstddef>
#include <string>

namespace kvUtil {

// Largest XML text accepted, in bytes.
constexpr std::size_t kMaxXmlBytes = 8u * 1024u * 1024u;
// Deepest nesting of open elements accepted (an element that closes itself
// may sit one level below).
constexpr int kMaxXmlDepth = 256;
// Most nodes (elements, text runs, comments, declarations, unknown markup).
constexpr std::size_t kMaxXmlNodes = 100000;
// Most attributes in the whole text, and on any one element.
constexpr std::size_t kMaxXmlAttributes = 100000;
constexpr std::size_t kMaxXmlElementAttributes = 64;

// What the scan found: never less than what the parser builds from the text.
// Counting stops at the first limit broken.
struct XmlCost {
    std::size_t bytes = 0;
    int depth = 0; // of the deepest element, one that closes itself included
    std::size_t nodes = 0;
    std::size_t attributes = 0;
    std::size_t elementAttributes = 0; // on the element with the most
    std::string refusal;               // the limit broken; empty when within all
};

// Scans text (size bytes, or up to the first NUL if earlier). Every byte
// from 0xc0 up must start a complete UTF-8 sequence. The scan reads
// comments, CDATA sections, XML declarations, unknown nodes and quoted
// attribute values the way TinyXML does, and errs towards refusing: a text it
// cannot be sure of is refused. Well-formedness is not checked. A null text
// is refused.
XmlCost measureXml(const char* text, std::size_t size);

// Whether measureXml finds text within every limit.
bool isXmlWithinLimits(const char* text, std::size_t size);

// The same check on a NUL-terminated text.
bool isXmlWithinLimits(const char* text);

} // namespace kvUtil
