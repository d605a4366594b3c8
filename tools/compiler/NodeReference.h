// The node catalogue as a package-source author reads it: one vocabulary for
// value kinds, ranges, units and labels, shared by the compiler's messages,
// `kvs nodes` (text and JSON) and docs/nodes.md, which is generated here.
#pragma once

#include "engine/nodes/NodeCatalog.h"

#include <string>

namespace kvcompiler {

// "float", "int2", "bool", "enum", "colour".
std::string typeName(const kvengine::ParamSpec& spec);
// "1 to 12"; for an enumeration its labels, "0 copy, 1 add, ...".
std::string rangeText(const kvengine::ParamSpec& spec);
std::string labelsText(const kvengine::ParamSpec& spec);
// Value kind, range, editor range, unit and rounding: "int, 1 to 1024 (editor 1 to 64)".
std::string valueSummary(const kvengine::ParamSpec& spec);
// The default as a source writes it: "0.5", "4, 8", "copy", "false"; a
// length also in pixels at 1024.
std::string defaultText(const kvengine::ParamSpec& spec);
std::string inputSummary(const kvengine::ImageInputSpec& input);
std::string outputText(kvengine::OutputChannels output);

// `kvs nodes`: one line per kind; one kind in full.
std::string kindListText();
std::string kindText(const kvengine::NodeKindInfo& kind);
// `kvs nodes --json`: {"kinds": [...]}; one kind's object.
std::string catalogueJson();
std::string kindJson(const kvengine::NodeKindInfo& kind);
// docs/nodes.md.
std::string catalogueMarkdown();

} // namespace kvcompiler
