#include "framework/description/PackageDesc.h"

#include "framework/description/FormatFallback.h"
#include "framework/description/PackageRegistry.h"
#include "framework/description/internal/DescriptionParser.h"
#include "framework/description/internal/LinkerUnpacking.h"

#include <string>

namespace SubstanceAir {

PackageDesc::PackageDesc(const char* data, size_t size, const OutputFormatOptions* options) {
    std::string description;
    if (const int status = unpackWithLinker(data, size, description, mAssembly)) {
        mLoadProblem =
            "the bytes are not a package the linker can read (status " + std::to_string(status) + ")";
    }
    std::string why;
    if (!parseDescription(description.c_str(), this, mAsmUid, mGraphs, why)) {
        mGraphs.clear();
        if (mLoadProblem.empty()) {
            mLoadProblem = why;
        }
        return;
    }
    if (mGraphs.empty() && mLoadProblem.empty()) {
        mLoadProblem = "the description holds no graph with outputs";
    }
    const OutputFormatOptions hostOptions = {AllFormatClasses, 0};
    adjustOutputs(options != nullptr ? *options : hostOptions);
    if (PackageRegistry* registry = packageRegistry()) {
        registry->add(*this);
    }
}

PackageDesc::~PackageDesc() {
    // Keyed on the graph count, not on registration: a package that read
    // zero graphs is registered but never removed.
    PackageRegistry* registry = packageRegistry();
    if (!mGraphs.empty() && registry != nullptr) {
        registry->remove(mAsmUid);
    }
}

void PackageDesc::adjustOutputs(const OutputFormatOptions& options) {
    for (GraphDesc& graph : mGraphs) {
        for (OutputDesc& output : graph.outputs) {
            output.format = applyFormatFallback(output.format, options.formatClassMask);
            if (options.mipmapMode != 0) {
                output.mipmaps = options.mipmapMode == 2 ? 1 : 0;
            }
        }
    }
}

bool PackageDesc::pushToLinker(SubstanceLinkerHandle* handle) const {
    if (substanceLinkerHandlePushAssemblyMemory(handle, mAssembly.data(), mAssembly.size()) != 0) {
        return false;
    }
    for (const GraphDesc& graph : mGraphs) {
        for (const OutputDesc& output : graph.outputs) {
            substanceLinkerHandleSetOutputFormat(handle, output.uid, output.format, output.mipmaps);
        }
    }
    return true;
}

namespace {

PackageRegistry* installedRegistry = nullptr;

} // namespace

PackageRegistry* packageRegistry() {
    return installedRegistry;
}

void installPackageRegistry(PackageRegistry* registry) {
    installedRegistry = registry;
}

} // namespace SubstanceAir
