#include "tools/compiler/PackageCompiler.h"

#include "tools/compiler/DescriptionWriter.h"
#include "tools/compiler/GraphBuilder.h"
#include "tools/compiler/InputChecks.h"
#include "tools/compiler/SourceReader.h"

#include "engine/assembly/AssemblyIO.h"
#include "engine/package/Package.h"

#include <fstream>
#include <set>

namespace kvcompiler {

CompiledPackage compilePackageSource(const std::string& jsonText, const std::string& sourceName) {
    PackageSource source = readPackageSource(jsonText, sourceName);
    SourcePlace filePlace(sourceName);

    UidAllocator uids;
    CompiledPackage result;
    // The assembly takes its UID from the first graph, the package's identity.
    result.assembly.uid = uids.allocate(source.graphs.front().url, "assembly", "");

    std::set<std::string> urls;
    std::vector<BuiltGraph> built;
    for (GraphSource& graph : source.graphs) {
        SourcePlace place = filePlace / ("graph '" + graph.url + "'");
        if (!urls.insert(graph.url).second)
            place.fail("duplicate graph url");
        addSystemInputs(graph);
        checkInputs(graph, place);
        checkPresets(graph, place);
        built.push_back(buildGraph(graph, uids, place));
        result.assembly.graphs.push_back(built.back().graph);
    }
    result.description = writeDescription(sourceName, result.assembly.uid, source.graphs, built);

    kvengine::PackageContents contents;
    contents.description = result.description;
    try {
        contents.assembly = kvengine::writeAssembly(result.assembly);
        result.bytes = kvengine::writePackage(contents);
    } catch (const std::exception& e) {
        filePlace.fail(e.what());
    }
    return result;
}

CompiledPackage compilePackageFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw CompileError(path + ": cannot open");
    std::string text;
    char buffer[65536];
    while (file.read(buffer, sizeof buffer) || file.gcount() > 0) {
        text.append(buffer, static_cast<size_t>(file.gcount()));
        if (text.size() > kMaxSourceBytes)
            throw CompileError(path + ": source larger than " + std::to_string(kMaxSourceBytes >> 20) +
                               " MiB");
    }
    if (file.bad())
        throw CompileError(path + ": read error");
    return compilePackageSource(text, path);
}

} // namespace kvcompiler
