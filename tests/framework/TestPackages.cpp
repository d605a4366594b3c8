#include "TestPackages.h"

#include "engine/assembly/Assembly.h"
#include "engine/assembly/AssemblyIO.h"
#include "engine/package/Package.h"
#include "framework/render/RendererAccess.h"
#include "framework/render/RendererImpl.h"

namespace kvtest {

std::vector<char> makePackage(const std::string& description) {
    kvengine::GraphOutput output;
    output.uid = 1;
    output.identifier = "Output";
    kvengine::Node node;
    node.op = "color.uniform";
    kvengine::Graph graph;
    graph.url = "pkg://test";
    graph.outputs.push_back(output);
    graph.nodes.push_back(node);
    kvengine::Assembly assembly;
    assembly.uid = 77;
    assembly.graphs.push_back(graph);

    kvengine::PackageContents contents;
    contents.description = description;
    contents.assembly = kvengine::writeAssembly(assembly);
    return kvengine::writePackage(contents);
}

std::unique_ptr<SubstanceAir::PackageDesc> loadDescription(const std::string& description,
                                                           const SubstanceAir::OutputFormatOptions* options) {
    const std::vector<char> package = makePackage(description);
    return std::unique_ptr<SubstanceAir::PackageDesc>(
        new SubstanceAir::PackageDesc(package.data(), package.size(), options));
}

std::string describe(unsigned int asmUid, const std::string& graphsContent,
                     const std::string& graphsAttributes) {
    return "<?xml version=\"1.0\"?><sbsdescription content=\"full\" asmuid=\"" + std::to_string(asmUid) +
           "\"><graphs " + graphsAttributes + ">" + graphsContent + "</graphs></sbsdescription>";
}

std::string graphWithOutput(const std::string& url, const std::string& content) {
    return "<graph pkgurl=\"" + url + "\" label=\"" + url +
           "\"><outputs><output uid=\"1\" identifier=\"Output\"/></outputs>" + content + "</graph>";
}

bool isRegistered(unsigned int uid) {
    SubstanceAir::RendererAccess access;
    return access->packages.count(uid) != 0;
}

} // namespace kvtest
