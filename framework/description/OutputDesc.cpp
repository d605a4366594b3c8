#include "framework/description/OutputDesc.h"

#include "framework/description/NumberText.h"

#include <tinyxml.h>

#include <algorithm>
#include <cstring>

namespace SubstanceAir {

namespace {

ChannelUsage channelFromName(const char* name) {
    const char* const* names = getChannelNames();
    for (ChannelUsage index = 0; name != nullptr && index < ChannelUsageCount; ++index) {
        if (std::strcmp(names[index], name) == 0) {
            return index;
        }
    }
    return 0;
}

} // namespace

bool parseOutput(const TiXmlElement& element, OutputDesc& output) {
    output.uid = valueFromText<unsigned int>(element.Attribute("uid"));
    if (const char* identifier = element.Attribute("identifier")) {
        output.identifier = identifier;
    }
    output.format = 0;
    element.QueryIntAttribute("format", &output.format);
    output.mipmaps = valueFromText<unsigned int>(element.Attribute("mipmaps"));
    output.channel = 0;

    const TiXmlElement* gui = element.FirstChildElement("outputgui");
    if (gui == nullptr) {
        return true;
    }
    if (const char* label = gui->Attribute("label")) {
        output.label = label;
    }
    const TiXmlElement* channels = gui->FirstChildElement("channels");
    const TiXmlElement* channel = channels != nullptr ? channels->FirstChildElement("channel") : nullptr;
    if (channel != nullptr) {
        // Only the first channel counts, and its names text is matched whole.
        output.channel = channelFromName(channel->Attribute("names"));
    }
    return true;
}

size_t lowerBoundOutput(const OutputDescs& outputs, unsigned int uid) {
    const auto found =
        std::lower_bound(outputs.begin(), outputs.end(), uid,
                         [](const OutputDesc& output, unsigned int key) { return output.uid < key; });
    return static_cast<size_t>(found - outputs.begin());
}

OutputDesc* findOutput(OutputDescs& outputs, unsigned int uid) {
    const size_t index = lowerBoundOutput(outputs, uid);
    return index < outputs.size() && outputs[index].uid == uid ? &outputs[index] : nullptr;
}

} // namespace SubstanceAir
