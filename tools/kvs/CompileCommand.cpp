// kvs compile <source.json> [-o <out.mpk>]: builds a package from its source.
#include "tools/compiler/CompileError.h"
#include "tools/compiler/PackageCompiler.h"
#include "tools/kvs/Commands.h"
#include "tools/kvs/FileOutput.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace {

std::string defaultOutput(const std::string& source) {
    std::string name = source.substr(source.find_last_of('/') + 1);
    size_t dot = name.rfind('.');
    return (dot == std::string::npos ? name : name.substr(0, dot)) + ".mpk";
}

int runCompile(int argc, char** argv) {
    std::string source, output;
    for (int i = 0; i < argc; ++i) {
        if (std::strcmp(argv[i], "-o") == 0 && i + 1 < argc) {
            output = argv[++i];
        } else if (argv[i][0] == '-' || !source.empty()) {
            std::fprintf(
                stderr,
                "kvs compile: unexpected argument '%s' (usage: kvs compile <source.json> -o <out.mpk>)\n",
                argv[i]);
            return 2;
        } else {
            source = argv[i];
        }
    }
    if (source.empty()) {
        std::fprintf(stderr, "kvs compile: no source (usage: kvs compile <source.json> -o <out.mpk>)\n");
        return 2;
    }
    if (output.empty())
        output = defaultOutput(source);
    try {
        kvcompiler::CompiledPackage package = kvcompiler::compilePackageFile(source);
        std::string error;
        if (!kvs::writeFileAtomically(output, package.bytes.data(), package.bytes.size(), error)) {
            std::fprintf(stderr, "kvs compile: %s\n", error.c_str());
            return 1;
        }
        size_t outputs = 0;
        for (const auto& graph : package.assembly.graphs)
            outputs += graph.outputs.size();
        std::printf("wrote %s (%zu graph%s, %zu output%s, %zu bytes)\n", output.c_str(),
                    package.assembly.graphs.size(), package.assembly.graphs.size() == 1 ? "" : "s", outputs,
                    outputs == 1 ? "" : "s", package.bytes.size());
        return 0;
    } catch (const kvcompiler::CompileError& e) {
        std::fprintf(stderr, "kvs compile: %s\n", e.what());
        return 1;
    }
}

const kvs::CommandRegistration registration({"compile", "build a package (.mpk) from a JSON package source",
                                             runCompile});

} // namespace
