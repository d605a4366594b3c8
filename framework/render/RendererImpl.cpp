#include "framework/render/RendererImpl.h"

#include "framework/description/PackageDesc.h"

#include <stdexcept>

namespace SubstanceAir {

RendererImpl::~RendererImpl() = default;

void RendererImpl::registerPackage(PackageDesc& package) {
    packages.insert(std::make_pair(package.asmUid(), &package));
}

void RendererImpl::unregisterPackage(unsigned int uid) {
    packages.erase(uid);
}

void RendererImpl::updateStateKey(uint64_t graphIdentity, const KeyBytes&, const KeyBytes& newKey) {
    for (const std::unique_ptr<RenderState>& state : states) {
        if (state->graphs.size() == 1 && state->graphs.count(graphIdentity) != 0) {
            if (state->keys.empty()) {
                // A state gets its first key together with its first graph.
                throw std::out_of_range("invalid vector<T> subscript");
            }
            state->keys.front().bytes = newKey;
            return;
        }
    }
}

} // namespace SubstanceAir
