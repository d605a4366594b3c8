#include "RenderPackage.h"

#include "TestPackages.h"

#include "engine/assembly/AssemblyIO.h"
#include "engine/package/Package.h"

#include <algorithm>
#include <iterator>

namespace kvtest {

namespace {

// Assembly order, which gives the engine indices.
const unsigned int assemblyInputs[] = {kTintUid, kSizeUid, kRoughUid};
const kvengine::InputType assemblyInputTypes[] = {kvengine::InputType::Float3, kvengine::InputType::Integer2,
                                                  kvengine::InputType::Float};
const unsigned int assemblyOutputs[] = {3, 1, 2};

const char* const description =
    "<graph pkgurl=\"pkg://render\"><outputs><output uid=\"1\"/><output uid=\"2\"/><output "
    "uid=\"3\"/></outputs>"
    "<inputs><input uid=\"10\" identifier=\"$outputsize\" type=\"8\" default=\"8,8\" alteroutputs=\"1,2,3\"/>"
    "<input uid=\"20\" identifier=\"rough\" type=\"0\" default=\"0.5\" alteroutputs=\"1\"/>"
    "<input uid=\"30\" identifier=\"tint\" type=\"2\" default=\"1,0,0\" alteroutputs=\"2,3\"/>"
    "<input uid=\"40\" identifier=\"ghost\" type=\"0\" default=\"0\" alteroutputs=\"3\"/></inputs></graph>";

template <size_t N>
unsigned int indexIn(const unsigned int (&uids)[N], unsigned int uid) {
    return static_cast<unsigned int>(std::find(std::begin(uids), std::end(uids), uid) - std::begin(uids));
}

} // namespace

unsigned int engineInputIndex(unsigned int uid) {
    return indexIn(assemblyInputs, uid);
}

unsigned int engineOutputIndex(unsigned int uid) {
    return indexIn(assemblyOutputs, uid);
}

std::unique_ptr<SubstanceAir::PackageDesc> loadRenderPackage() {
    kvengine::Graph graph;
    graph.url = "pkg://render";
    for (size_t i = 0; i < std::size(assemblyInputs); ++i) {
        kvengine::GraphInput input;
        input.uid = assemblyInputs[i];
        input.identifier = "input" + std::to_string(input.uid);
        input.type = assemblyInputTypes[i];
        graph.inputs.push_back(input);
    }
    for (unsigned int uid : assemblyOutputs) {
        kvengine::GraphOutput output;
        output.uid = uid;
        output.identifier = "output" + std::to_string(uid);
        graph.outputs.push_back(output);
    }
    kvengine::Node node;
    node.op = "color.uniform";
    graph.nodes.push_back(node);
    kvengine::Assembly assembly;
    assembly.uid = kRenderAsmUid;
    assembly.graphs.push_back(graph);

    kvengine::PackageContents contents;
    contents.description = describe(kRenderAsmUid, description);
    contents.assembly = kvengine::writeAssembly(assembly);
    const std::vector<char> package = kvengine::writePackage(contents);
    return std::unique_ptr<SubstanceAir::PackageDesc>(
        new SubstanceAir::PackageDesc(package.data(), package.size(), nullptr));
}

} // namespace kvtest
