// Where loaded packages announce themselves. The renderer keeps the
// process-wide registry and installs itself here when the library loads
// (framework/render/RendererAccess.cpp); descriptions need nothing more of it.
#pragma once

namespace SubstanceAir {

class PackageDesc;

struct PackageRegistry {
    virtual ~PackageRegistry() = default;
    virtual void add(PackageDesc& package) = 0;
    virtual void remove(unsigned int uid) = 0;
};

// The registry packages use; null until one is installed, and then packages
// are simply not registered.
PackageRegistry* packageRegistry();
void installPackageRegistry(PackageRegistry* registry);

} // namespace SubstanceAir
