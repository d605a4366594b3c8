// Any bytes: readPackage returns a status within its limits.
#include "engine/package/Package.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    kvengine::PackageContents contents;
    if (kvengine::readPackage(reinterpret_cast<const char*>(data), size, contents) != 0)
        return 0;
    if (contents.description.size() > kvengine::PackageLimits::maxDescriptionBytes ||
        contents.assembly.size() > kvengine::PackageLimits::maxAssemblyBytes)
        std::abort();
    return 0;
}
