// The immutable description of one loaded material package: its compiled
// assembly, kept opaque for linking, and its graphs parsed from the package's
// description XML.
#pragma once

#include "framework/description/GraphDesc.h"
#include "platform/engine/LinkerInterface.h"

#include <boost/noncopyable.hpp>
#include <boost/shared_ptr.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace SubstanceAir {

class GraphInstance;

// What the consumer of the rendered outputs can take.
struct OutputFormatOptions {
    // Bit i set: format class i (0 to 6, see FormatFallback.h) is acceptable.
    unsigned int formatClassMask;
    // 0 keeps each output's mip-map count; 2 forces one level; anything else
    // forces 0 (the full chain).
    unsigned int mipmapMode;
};

class PackageDesc : private boost::noncopyable {
public:
    // Builds the description from a package's raw bytes; null options mean
    // all format classes and described mip maps. A package whose description
    // cannot be read has no graphs; one that can is registered with the
    // renderer under its asmUid.
    //
    // Construction is not reentrant: the package travels through
    // process-wide buffers filled by linker callbacks. Hosts must serialise
    // constructions (a process-wide lock makes concurrent ones wait).
    PackageDesc(const char* data, size_t size, const OutputFormatOptions* options);
    // Unregisters the package if it has graphs (a package that read zero
    // graphs stays in the registry), then frees everything.
    virtual ~PackageDesc();

    // Pushes the assembly into a linker handle owned by the caller and sets
    // every output's format and mip-map count on it. False when the push fails.
    virtual bool pushToLinker(SubstanceLinkerHandle* handle) const;

    const GraphDescs& graphs() const { return mGraphs; }
    unsigned int asmUid() const { return mAsmUid; }
    const std::vector<char>& assembly() const { return mAssembly; }

    // Empty when the package was read as it is; otherwise one line saying
    // what went wrong: the linker refused the bytes, the description did not
    // parse, or it held no graph with outputs. Bytes the linker refuses read
    // as the package unpacked before them, so check this, not the graph count.
    const std::string& loadProblem() const { return mLoadProblem; }

protected:
    // For derived packages that fill the fields themselves; does nothing.
    PackageDesc() = default;

    std::vector<char> mAssembly;
    unsigned int mAsmUid = 0;
    GraphDescs mGraphs;
    std::string mLoadProblem;

private:
    void adjustOutputs(const OutputFormatOptions& options);
};

// Appends one new graph instance per graph of `package`, in order.
void instantiateGraphs(std::vector<boost::shared_ptr<GraphInstance>>& instances, const PackageDesc& package);

} // namespace SubstanceAir
