// Package descriptions that the library creates for a host (from raw
// package bytes, or a stack over two packages) are borrowed by the
// material, which never deletes them; the library keeps them until the
// process ends.
#pragma once

#include <memory>

namespace SubstanceAir {

class PackageDesc;

// Takes `package` and returns it; it is destroyed at process exit. Do not
// call while holding a RendererAccess.
PackageDesc* keepUntilExit(std::unique_ptr<PackageDesc> package);

} // namespace SubstanceAir
