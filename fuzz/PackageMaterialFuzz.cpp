// Any bytes as a package: loaded, made into a material and rendered at
// 16x16, or refused along the way, never crashing.
#include "PackageRender.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::unique_ptr<SubstanceAir::PackageDesc> package = kvfuzz::loadPackage(data, size);
    if (!package->loadProblem().empty())
        return 0;
    kvfuzz::renderSmall(kvSubstance::createSubstance(package.get()));
    return 0;
}
