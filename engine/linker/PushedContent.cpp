#include "engine/linker/PushedContent.h"

#include "engine/assembly/AssemblyIO.h"
#include "engine/package/Package.h"

namespace kvengine {

Status unpackPushed(const char* data, size_t size, PushedContent& out) {
    if (looksLikePackage(data, size)) {
        PackageContents contents;
        if (Status status = readPackage(data, size, contents); !status.ok())
            return status;
        out.fromPackage = true;
        out.description = std::move(contents.description);
        out.unpacked = std::move(contents.assembly);
        out.assemblyData = out.unpacked.data();
        out.assemblySize = out.unpacked.size();
    } else if (looksLikeAssembly(data, size)) {
        out.fromPackage = false;
        out.assemblyData = data;
        out.assemblySize = size;
    } else {
        return {SubstanceStatus_InvalidData, "linker: push: the " + std::to_string(size) +
                                                 " bytes begin neither like a package (ZIP) nor like an "
                                                 "assembly ('KVAS')"};
    }
    return readAssembly(out.assemblyData, out.assemblySize, out.assembly);
}

} // namespace kvengine
