// Any bytes as an assembly for the engine's C interface: a handle loads it
// or refuses it with a one-line reason, and a loaded one renders every output at
// 16x16 with input values drawn from the bytes (pushed as the host would,
// whatever their range), handing over textures of that size.
#include "engine/api/FailureReason.h"
#include "platform/engine/EngineInterface.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

SubstanceContext* engineContext() {
    static SubstanceContext* context = [] {
        SubstanceContext* made = nullptr;
        if (substanceContextInit(&made, nullptr) != 0)
            std::abort();
        return made;
    }();
    return context;
}

void pushRandomValues(SubstanceHandle* handle, unsigned inputCount, std::mt19937& random) {
    for (unsigned index = 0; index < inputCount; ++index) {
        SubstanceInputDesc desc;
        if (substanceHandleGetInputDesc(handle, index, &desc) != 0)
            std::abort();
        if (desc.inputType == SubstanceInputType_Image)
            continue;
        union {
            float f[4];
            int i[4];
        } value;
        for (int k = 0; k < 4; ++k) {
            const uint32_t bits = random();
            std::memcpy(&value.i[k], &bits, sizeof bits);
        }
        if (std::strcmp(desc.identifier, "$outputsize") == 0)
            value.i[0] = value.i[1] = 4; // 16x16
        substanceHandlePushSetInput(handle, 0, index, desc.inputType, &value, 0);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const SubstanceHardResources resources = {1, 16, size_t(64) << 20};
    SubstanceHandle* handle = nullptr;
    kvengineClearFailure();
    if (substanceHandleInit(&handle, engineContext(), data, size, &resources) != 0) {
        const std::string reason = kvengine::lastFailure();
        if (reason.empty() || reason.find('\n') != std::string::npos)
            std::abort(); // every refusal gives its reason in one line
        return 0;
    }
    SubstanceDataDesc desc;
    if (substanceHandleGetDesc(handle, &desc) != 0)
        std::abort();
    std::seed_seq seed(data, data + size);
    std::mt19937 random(seed);
    pushRandomValues(handle, desc.inputsCount, random);
    std::vector<unsigned> outputs(desc.outputsCount);
    for (unsigned o = 0; o < desc.outputsCount; ++o)
        outputs[o] = o;
    if (!outputs.empty() &&
        substanceHandlePushOutputs(handle, 0, outputs.data(), static_cast<unsigned>(outputs.size()), 0) != 0)
        std::abort();
    substanceHandleStart(handle, SubstanceStart_Synchronous);
    for (unsigned o = 0; o < desc.outputsCount; ++o) {
        SubstanceTexture texture = {};
        if (substanceHandleGetOutputs(handle, 0, o, 1, &texture) != 0)
            std::abort();
        if (texture.buffer == nullptr)
            continue;
        if (texture.level0Width > 16 || texture.level0Height > 16)
            std::abort(); // past the budget
        substanceContextMemoryFree(engineContext(), texture.buffer);
    }
    substanceHandleRelease(handle);
    return 0;
}
