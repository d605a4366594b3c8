// The stacked sample material through the bare engine's C interface alone:
// an engine session, and the two sample packages linked the way the library
// stacks them, for benchmarks that set the library beside the engine.
#pragma once

#include "SampleMaterial.h"

#include "platform/engine/EngineInterface.h"

#include <map>
#include <string>
#include <vector>

namespace kvbench {

// An engine context and one handle on a linked assembly, with no completion
// callback: finished textures wait in the handle until taken.
struct EngineSession {
    SubstanceContext* context = nullptr;
    SubstanceHandle* handle = nullptr;

    explicit EngineSession(const std::vector<char>& assembly) {
        if (assembly.empty() || substanceContextInit(&context, nullptr) != 0)
            return;
        if (substanceHandleInit(&handle, context, assembly.data(), assembly.size(), nullptr) != 0)
            handle = nullptr;
    }
    ~EngineSession() {
        if (handle)
            substanceHandleRelease(handle);
        if (context)
            substanceContextRelease(context);
    }
    EngineSession(const EngineSession&) = delete;
    EngineSession& operator=(const EngineSession&) = delete;

    unsigned inputCount() const {
        SubstanceDataDesc desc{};
        substanceHandleGetDesc(handle, &desc);
        return desc.inputsCount;
    }
    unsigned outputCount() const {
        SubstanceDataDesc desc{};
        substanceHandleGetDesc(handle, &desc);
        return desc.outputsCount;
    }
    // Engine index and uid of each input and output, by identifier.
    std::map<std::string, SubstanceInputDesc> inputs() const {
        std::map<std::string, SubstanceInputDesc> found;
        for (unsigned i = 0; i < inputCount(); ++i) {
            SubstanceInputDesc input{};
            if (substanceHandleGetInputDesc(handle, i, &input) == 0)
                found.emplace(input.identifier, input);
        }
        return found;
    }
    std::map<std::string, SubstanceOutputDesc> outputs() const {
        std::map<std::string, SubstanceOutputDesc> found;
        for (unsigned i = 0; i < outputCount(); ++i) {
            SubstanceOutputDesc output{};
            if (substanceHandleGetOutputDesc(handle, i, &output) == 0)
                found.emplace(output.identifier, output);
        }
        return found;
    }

    // Queues the output of this uid, renders, and calls take with its texture before freeing it.
    template <typename Take>
    bool render(unsigned outputUid, Take take) {
        if (substanceHandlePushOutputs(handle, SubstancePush_OutputsByUid, &outputUid, 1, 0) != 0 ||
            substanceHandleStart(handle, SubstanceStart_Synchronous) != 0)
            return false;
        for (unsigned i = 0; i < outputCount(); ++i) {
            SubstanceOutputDesc desc{};
            if (substanceHandleGetOutputDesc(handle, i, &desc) != 0 || desc.outputId != outputUid)
                continue;
            SubstanceTexture texture{};
            substanceHandleGetOutputs(handle, 0, i, 1, &texture);
            if (!texture.buffer)
                return false;
            take(texture);
            substanceContextMemoryFree(context, texture.buffer);
            return true;
        }
        return false;
    }
    bool render(unsigned outputUid) {
        return render(outputUid, [](const SubstanceTexture&) {});
    }
};

struct LinkedStack {
    std::vector<char> assembly; // empty when the packages do not link
    unsigned outputUid = 0;     // tint's "Output", the material's texture
};

// The bottom's diffuse output "Output" feeds tint's image input "input", the
// bottom's other outputs are dropped and the system inputs of both graphs
// are fused. The feeding output stays in the assembly; like the library, ask
// only for tint's output.
LinkedStack linkStack(const SamplePackages& packages);

} // namespace kvbench
