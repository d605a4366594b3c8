// The XML guard against the parser it protects: for every text the guard
// lets through, the tree the parser builds (a partial one too) is no deeper
// and holds no more nodes, attributes or attributes on one element than the
// guard counted.
#include "platform/base/XmlGuard.h"

#include <tinyxml.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace {

kvUtil::XmlCost treeCost(const TiXmlDocument& document) {
    kvUtil::XmlCost cost;
    std::vector<std::pair<const TiXmlNode*, int>> pending = {{&document, 0}};
    while (!pending.empty()) {
        const auto [node, depth] = pending.back();
        pending.pop_back();
        cost.depth = std::max(cost.depth, depth);
        if (const TiXmlElement* element = node->ToElement()) {
            std::size_t attributes = 0;
            for (const TiXmlAttribute* a = element->FirstAttribute(); a; a = a->Next())
                ++attributes;
            cost.attributes += attributes;
            cost.elementAttributes = std::max(cost.elementAttributes, attributes);
        }
        for (const TiXmlNode* child = node->FirstChild(); child; child = child->NextSibling()) {
            ++cost.nodes;
            pending.emplace_back(child, child->ToElement() ? depth + 1 : depth);
        }
    }
    return cost;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const kvUtil::XmlCost guard = kvUtil::measureXml(text.data(), text.size());
    if (!guard.refusal.empty())
        return 0;
    TiXmlDocument document;
    document.Parse(text.c_str());
    const kvUtil::XmlCost built = treeCost(document);
    if (built.depth > guard.depth || built.nodes > guard.nodes || built.attributes > guard.attributes ||
        built.elementAttributes > guard.elementAttributes) {
        std::fprintf(
            stderr, "the guard under-counts: depth %d/%d nodes %zu/%zu attributes %zu/%zu (%zu/%zu on one)\n",
            built.depth, guard.depth, built.nodes, guard.nodes, built.attributes, guard.attributes,
            built.elementAttributes, guard.elementAttributes);
        std::abort();
    }
    return 0;
}
