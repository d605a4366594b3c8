#include "LinkerPushes.h"

#include "AssemblyBuilder.h"
#include "TestAssemblies.h"

#include "engine/assembly/AssemblyIO.h"
#include "engine/package/Package.h"

namespace kvtest {

using namespace kvengine;

std::string descriptionFor(uint32_t assemblyUid) {
    return "<sbsdescription content=\"full\" asmuid=\"" + std::to_string(assemblyUid) +
           "\"><graphs/></sbsdescription>";
}

std::vector<char> package(uint32_t assemblyUid, const Graph& graph) {
    PackageContents contents;
    contents.description = descriptionFor(assemblyUid);
    contents.assembly = writeAssembly(singleGraphAssembly(assemblyUid, graph));
    return writePackage(contents);
}

Graph passThrough(uint32_t inputUid, uint32_t outputUid) {
    GraphBuilder b("pkg://pass", inputUid);
    const uint32_t in = b.addInput("in", InputType::Image);
    b.addOutput("out", b.addNode("input.image", {}, {}, in), 0, 0, outputUid);
    return b.graph;
}

} // namespace kvtest
