// Names the source uses for types, formats, widgets and channel usages, and
// the codes the description and the assembly store for them.
#pragma once

#include "engine/assembly/Assembly.h"

#include <string>

namespace kvcompiler {

// "float", "float2".."float4", "int", "int2".."int4", "image"; false when unknown.
bool inputTypeFromName(const std::string& name, kvengine::InputType& type);
const char* inputTypeName(kvengine::InputType type);

// "rgba8", "srgba8", "l16", "rgba32f", ... (engine/formats/TexelFormat.h); false when unknown.
bool formatFromName(const std::string& name, int& format);

// Index 0..25 in the channel-usage table ("diffuse" first); -1 when unknown.
int channelUsageIndex(const std::string& name);
const char* channelUsageName(int index);

bool isKnownWidget(const std::string& widget);

// The element that carries a widget's range attributes, e.g. "guislider".
std::string widgetElementName(const std::string& widget);

} // namespace kvcompiler
