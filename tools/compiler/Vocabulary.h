// Names the source uses for types, formats, widgets and channel usages, and
// the codes the description and the assembly store for them. Type and format
// names are the engine's own.
#pragma once

#include "engine/assembly/Assembly.h"

#include <string>

namespace kvcompiler {

// Input type names: "float", "float2".."float4", "int", "int2".."int4", "image".
using kvengine::inputTypeFromName;
using kvengine::inputTypeName;

// "rgba8", "srgba8", "l16", "rgba32f", ... (engine/formats/TexelFormat.h); false when unknown.
bool formatFromName(const std::string& name, int& format);

// Index 0..25 in the channel-usage table ("diffuse" first); -1 when unknown.
int channelUsageIndex(const std::string& name);
const char* channelUsageName(int index);

bool isKnownWidget(const std::string& widget);

// The element that carries a widget's range attributes, e.g. "guislider".
std::string widgetElementName(const std::string& widget);

} // namespace kvcompiler
