#include "EngineStack.h"

#include "platform/engine/LinkerSession.h"

namespace kvbench {

namespace {

// The package's first graph alone, loaded into an engine handle to read its uids.
std::vector<char> linkAlone(const kv::vector<char>& package) {
    kv::LinkerSession linker;
    std::vector<char> assembly;
    if (linker.status() != 0 || linker.push(package.data(), package.size()) != 0 ||
        linker.link(assembly) != 0)
        return {};
    return assembly;
}

} // namespace

LinkedStack linkStack(const SamplePackages& packages) {
    const EngineSession bottom(linkAlone(packages.base));
    const EngineSession top(linkAlone(packages.effect));
    if (!bottom.handle || !top.handle)
        return {};
    const std::map<std::string, SubstanceInputDesc> bottomInputs = bottom.inputs();
    const std::map<std::string, SubstanceInputDesc> topInputs = top.inputs();
    const std::map<std::string, SubstanceOutputDesc> bottomOutputs = bottom.outputs();
    const std::map<std::string, SubstanceOutputDesc> topOutputs = top.outputs();
    const auto fed = topInputs.find("input");
    const auto diffuse = bottomOutputs.find("Output");
    const auto tinted = topOutputs.find("Output");
    if (fed == topInputs.end() || diffuse == bottomOutputs.end() || tinted == topOutputs.end())
        return {};

    kv::LinkerSession linker;
    SubstanceLinkerHandle* handle = linker.handle();
    if (linker.status() != 0 || linker.push(packages.base.data(), packages.base.size()) != 0 ||
        linker.push(packages.effect.data(), packages.effect.size()) != 0 ||
        substanceLinkerConnectOutputToInput(handle, fed->second.inputId, diffuse->second.outputId) != 0)
        return {};
    for (const auto& [identifier, output] : bottomOutputs)
        if (identifier != "Output" &&
            substanceLinkerHandleSelectOutputs(handle, SubstanceLinkerSelect_Drop, output.outputId) != 0)
            return {};
    for (const char* system : {"$outputsize", "$randomseed"}) {
        const auto kept = bottomInputs.find(system);
        const auto fused = topInputs.find(system);
        if (kept != bottomInputs.end() && fused != topInputs.end() &&
            substanceLinkerFuseInputs(handle, kept->second.inputId, fused->second.inputId) != 0)
            return {};
    }
    LinkedStack stack;
    if (linker.link(stack.assembly) != 0)
        return {};
    stack.outputUid = tinted->second.outputId;
    return stack;
}

} // namespace kvbench
