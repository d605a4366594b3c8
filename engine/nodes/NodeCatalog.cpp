#include "engine/nodes/NodeCatalog.h"
#include "engine/nodes/NodeKinds.h"

#include <algorithm>
#include <cstring>

namespace kvengine {

const std::vector<const NodeKind*>& nodeKinds() {
    static const std::vector<const NodeKind*> all = [] {
        std::vector<const NodeKind*> list = {
            &kinds::colorUniform(),
            &kinds::gradientLinear(),
            &kinds::gradientMap(),
            &kinds::gradientRadial(),
            &kinds::noiseFbm(),
            &kinds::noiseCellular(),
            &kinds::patternChecker(),
            &kinds::patternBricks(),
            &kinds::blend(),
            &kinds::levels(),
            &kinds::hsl(),
            &kinds::invert(),
            &kinds::threshold(),
            &kinds::blur(),
            &kinds::warpDirectional(),
            &kinds::transform2d(),
            &kinds::normalFromHeight(),
            &kinds::occlusionFromHeight(),
            &kinds::inputImage(),
        };
        std::sort(list.begin(), list.end(), [](const NodeKind* a, const NodeKind* b) {
            return std::strcmp(a->info.name, b->info.name) < 0;
        });
        return list;
    }();
    return all;
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

int findParam(const NodeKindInfo& kind, const std::string& name) {
    for (size_t i = 0; i < kind.params.size(); ++i)
        if (name == kind.params[i].name)
            return static_cast<int>(i);
    return -1;
}

Value4 makeValue(float x, float y, float z, float w) {
    Value4 value;
    value.f = {x, y, z, w};
    return value;
}

int alwaysGray(const std::vector<int>&, int) {
    return 1;
}
int alwaysColour(const std::vector<int>&, int) {
    return 4;
}
int widestInput(const std::vector<int>& inputChannels, int) {
    for (int channels : inputChannels)
        if (channels == 4)
            return 4;
    return 1;
}

int firstInput(const std::vector<int>& inputChannels, int) {
    return !inputChannels.empty() && inputChannels[0] == 4 ? 4 : 1;
}

} // namespace kvengine
