// Any bytes as a package source: the compiler throws its one error, or
// writes a package whose archive reads back and whose assembly the engine
// loads.
#include "engine/api/FailureReason.h"
#include "engine/package/Package.h"
#include "platform/engine/EngineInterface.h"
#include "tools/compiler/CompileError.h"
#include "tools/compiler/PackageCompiler.h"

#include <cstdio>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static SubstanceContext* context = [] {
        SubstanceContext* made = nullptr;
        if (substanceContextInit(&made, nullptr) != 0)
            std::abort();
        return made;
    }();
    kvcompiler::CompiledPackage compiled;
    try {
        compiled = kvcompiler::compilePackageSource(std::string(reinterpret_cast<const char*>(data), size),
                                                    "fuzz.json");
    } catch (const kvcompiler::CompileError&) {
        return 0;
    }
    kvengine::PackageContents contents;
    if (kvengine::readPackage(compiled.bytes.data(), compiled.bytes.size(), contents) != 0)
        std::abort();
    const SubstanceHardResources resources = {1, 0, 0};
    SubstanceHandle* handle = nullptr;
    if (substanceHandleInit(&handle, context, contents.assembly.data(), contents.assembly.size(),
                            &resources) != 0) {
        std::fprintf(stderr, "the compiler wrote what the engine refuses: %s\n",
                     kvengine::lastFailure().c_str());
        std::abort();
    }
    substanceHandleRelease(handle);
    return 0;
}
