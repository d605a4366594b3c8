// kvs compile <source.json> [-o <out.mpk>]: builds a package from its source.
#include "tools/compiler/CompileError.h"
#include "tools/compiler/PackageCompiler.h"
#include "tools/images/FileOutput.h"
#include "tools/kvs/Cli.h"

#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>

namespace {

std::string defaultOutput(const std::string& source) {
    std::string name = source.substr(source.find_last_of('/') + 1);
    size_t dot = name.rfind('.');
    return (dot == std::string::npos ? name : name.substr(0, dot)) + ".mpk";
}

int runCompile(const kvs::ParsedArgs& args) {
    if (args.operands.size() != 1) {
        throw kvs::UsageError(args.operands.empty() ? "no source given" : "one source at a time");
    }
    const std::string& source = args.operands[0];
    const std::string output = args.value("-o", defaultOutput(source));
    std::error_code ignored;
    if (std::filesystem::equivalent(output, source, ignored)) {
        throw kvs::Failure("refusing to overwrite the source " + source + " with the package");
    }
    try {
        kvcompiler::CompiledPackage package = kvcompiler::compilePackageFile(source);
        std::string error;
        if (!kvimage::writeFileAtomically(output, package.bytes.data(), package.bytes.size(), error)) {
            throw kvs::Failure(error);
        }
        size_t outputs = 0;
        for (const auto& graph : package.assembly.graphs)
            outputs += graph.outputs.size();
        std::printf("wrote %s (%zu graph%s, %zu output%s, %zu bytes)\n", output.c_str(),
                    package.assembly.graphs.size(), package.assembly.graphs.size() == 1 ? "" : "s", outputs,
                    outputs == 1 ? "" : "s", package.bytes.size());
        return 0;
    } catch (const kvcompiler::CompileError& e) {
        throw kvs::Failure(e.what());
    }
}

const kvs::CommandRegistration registration({
    "compile",
    "build a package (.mpk) from a JSON package source",
    "SOURCE.json",
    {{"-o", "FILE", "where the package goes (default: the source's name with .mpk, here)"}},
    runCompile,
    "The source format is described in docs/package-source.md.",
});

} // namespace
