// Any bytes as two packages, the first one's length in the first four bytes
// (little-endian): the second stacked on the first, rendered at 16x16 or
// refused, never crashing.
#include "PackageRender.h"

#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // The library keeps every stack until the process ends, and a stack
    // borrows its packages, so they are kept as long: never destroyed, as a
    // package destroyed after the library's renderer at exit cannot leave
    // its registry.
    static auto& kept = *new std::vector<std::unique_ptr<SubstanceAir::PackageDesc>>;
    if (size < 4)
        return 0;
    const size_t firstSize = data[0] | size_t(data[1]) << 8 | size_t(data[2]) << 16 | size_t(data[3]) << 24;
    if (firstSize > size - 4)
        return 0;
    std::unique_ptr<SubstanceAir::PackageDesc> bottom = kvfuzz::loadPackage(data + 4, firstSize);
    std::unique_ptr<SubstanceAir::PackageDesc> top =
        kvfuzz::loadPackage(data + 4 + firstSize, size - 4 - firstSize);
    if (!bottom->loadProblem().empty() || !top->loadProblem().empty())
        return 0;
    kv::Reference<kvSubstance::Substance> material = kvSubstance::createSubstance(bottom.get(), top.get());
    kept.push_back(std::move(bottom));
    kept.push_back(std::move(top));
    kvfuzz::renderSmall(material);
    return 0;
}
