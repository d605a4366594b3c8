// The process-wide renderer: the registry of loaded packages and the render
// states that group render requests. Reached only through RendererAccess.
#pragma once

#include "framework/render/RenderState.h"

#include <boost/noncopyable.hpp>

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace SubstanceAir {

class PackageDesc;

class RendererImpl : private boost::noncopyable {
public:
    virtual ~RendererImpl();

    // Adds a loaded package under its asmUid; an entry already there stays.
    void registerPackage(PackageDesc& package);
    void unregisterPackage(unsigned int uid);

    // A graph instance's system inputs changed: the first state that holds
    // that graph alone takes `newKey` as the bytes of its first key. States
    // shared by several graphs keep their key.
    void updateStateKey(uint64_t graphIdentity, const KeyBytes& oldKey, const KeyBytes& newKey);

    // In creation order; never shrinks while the renderer lives.
    std::vector<std::unique_ptr<RenderState>> states;
    // Every live package by uid (not owned).
    std::map<unsigned int, PackageDesc*> packages;
};

} // namespace SubstanceAir
