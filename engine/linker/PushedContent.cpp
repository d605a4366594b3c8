#include "engine/linker/PushedContent.h"

#include "engine/assembly/AssemblyIO.h"
#include "engine/package/Package.h"
#include "platform/engine/EngineTypes.h"

namespace kvengine {

int unpackPushed(const char* data, size_t size, PushedContent& out) {
    if (looksLikePackage(data, size)) {
        PackageContents contents;
        if (int status = readPackage(data, size, contents))
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
        return SubstanceStatus_InvalidData;
    }
    return readAssembly(out.assemblyData, out.assemblySize, out.assembly);
}

} // namespace kvengine
