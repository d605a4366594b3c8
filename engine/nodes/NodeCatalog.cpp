#include "engine/nodes/NodeCatalog.h"
#include "engine/nodes/NodeKind.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace kvengine {

namespace {

struct Registry {
    std::vector<std::unique_ptr<NodeKind>> owned;
    std::vector<const NodeKind*> sorted;
};

// Filled by the registrations during static initialisation, read-only afterwards.
Registry& registry() {
    static Registry instance;
    return instance;
}

} // namespace

NodeKindRegistration::NodeKindRegistration(NodeKindInfo info, EvaluateNode evaluate) {
    Registry& all = registry();
    all.owned.push_back(std::make_unique<NodeKind>(NodeKind{std::move(info), evaluate}));
    const NodeKind* kind = all.owned.back().get();
    all.sorted.insert(std::upper_bound(all.sorted.begin(), all.sorted.end(), kind,
                                       [](const NodeKind* a, const NodeKind* b) {
                                           return std::strcmp(a->info.name, b->info.name) < 0;
                                       }),
                      kind);
}

const std::vector<const NodeKind*>& nodeKinds() {
    return registry().sorted;
}

const NodeKind* findNodeKindImpl(const std::string& name) {
    const auto& all = nodeKinds();
    auto it =
        std::lower_bound(all.begin(), all.end(), name,
                         [](const NodeKind* kind, const std::string& key) { return key > kind->info.name; });
    return it != all.end() && name == (*it)->info.name ? *it : nullptr;
}

const std::vector<NodeKindInfo>& nodeCatalog() {
    static const std::vector<NodeKindInfo> catalog = [] {
        std::vector<NodeKindInfo> infos;
        for (const NodeKind* kind : nodeKinds())
            infos.push_back(kind->info);
        return infos;
    }();
    return catalog;
}

const NodeKindInfo* findNodeKind(const std::string& name) {
    const NodeKind* kind = findNodeKindImpl(name);
    return kind ? &kind->info : nullptr;
}

const char* inputUseName(InputUse use) {
    switch (use) {
    case InputUse::Map:
        return "map";
    case InputUse::ColourMap:
        return "colour_map";
    case InputUse::Source:
        break;
    }
    return "source";
}

int findParam(const NodeKindInfo& kind, const std::string& name) {
    for (size_t i = 0; i < kind.params.size(); ++i)
        if (name == kind.params[i].name)
            return static_cast<int>(i);
    return -1;
}

int outputChannels(const NodeKindInfo& kind, const std::vector<int>& inputChannels, int graphImageChannels) {
    switch (kind.output) {
    case OutputChannels::Gray:
        return 1;
    case OutputChannels::Colour:
        return 4;
    case OutputChannels::GraphImage:
        return graphImageChannels == 4 ? 4 : 1;
    case OutputChannels::WidestSource:
        break;
    }
    for (size_t slot = 0; slot < inputChannels.size() && slot < kind.imageInputs.size(); ++slot)
        if (kind.imageInputs[slot].use == InputUse::Source && inputChannels[slot] == 4)
            return 4;
    return 1;
}

} // namespace kvengine
