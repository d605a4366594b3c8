// The engine half of the C interface (platform/engine/EngineInterface.h).
// No exception crosses this boundary: each call runs inside `guarded`.
#include "engine/api/Guarded.h"
#include "platform/engine/EngineInterface.h"

#include "engine/assembly/AssemblyIO.h"
#include "engine/evaluator/Evaluator.h"
#include "engine/nodes/Image.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <unordered_set>
#include <vector>

struct SubstanceContext_ {
    std::atomic<SubstanceCallbackOutputCompleted> onOutputCompleted{nullptr};
    std::atomic<unsigned> liveHandles{0};
    std::mutex buffersMutex;
    std::unordered_set<void*> buffers; // handed out and not yet freed

    void* allocate(size_t bytes) {
        void* buffer = kvengine::allocatePixelMemory(bytes);
        if (!buffer)
            return nullptr;
        std::lock_guard<std::mutex> lock(buffersMutex);
        try {
            buffers.insert(buffer);
        } catch (...) {
            std::free(buffer);
            return nullptr;
        }
        return buffer;
    }

    bool release(void* buffer) {
        std::lock_guard<std::mutex> lock(buffersMutex);
        if (buffers.erase(buffer) == 0)
            return false;
        std::free(buffer);
        return true;
    }

    ~SubstanceContext_() {
        for (void* buffer : buffers)
            std::free(buffer);
    }
};

struct SubstanceHandle_ {
    SubstanceContext* context = nullptr;
    std::unique_ptr<kvengine::Evaluator> evaluator;
    std::vector<SubstanceTexture> pending; // per output, buffer null when none

    ~SubstanceHandle_() {
        for (SubstanceTexture& texture : pending)
            if (texture.buffer)
                context->release(texture.buffer);
        --context->liveHandles;
    }
};

using kvengine::guarded;

extern "C" {

int substanceContextInit(SubstanceContext** context, SubstanceDevice* /*device: unused by the CPU engine*/) {
    if (context == nullptr)
        return SubstanceStatus_InvalidArgument;
    *context = nullptr;
    return guarded([&]() -> int {
        *context = new SubstanceContext_;
        return SubstanceStatus_Ok;
    });
}

int substanceContextSetCallback(SubstanceContext* context, unsigned int kind, SubstanceCallback callback) {
    if (context == nullptr || kind != SubstanceCallback_OutputCompleted)
        return SubstanceStatus_InvalidArgument;
    // The generic pointer is cast back to the type its kind names.
    context->onOutputCompleted = reinterpret_cast<SubstanceCallbackOutputCompleted>(callback);
    return SubstanceStatus_Ok;
}

int substanceContextRelease(SubstanceContext* context) {
    if (context == nullptr)
        return SubstanceStatus_InvalidArgument;
    if (context->liveHandles.load() != 0)
        return SubstanceStatus_InvalidState;
    delete context;
    return SubstanceStatus_Ok;
}

int substanceContextMemoryFree(SubstanceContext* context, void* buffer) {
    if (context == nullptr || buffer == nullptr)
        return SubstanceStatus_InvalidArgument;
    return context->release(buffer) ? SubstanceStatus_Ok : SubstanceStatus_InvalidArgument;
}

int substanceHandleInit(SubstanceHandle** handle, SubstanceContext* context, const void* assemblyData,
                        size_t assemblySize, const SubstanceHardResources* resources) {
    if (handle == nullptr)
        return SubstanceStatus_InvalidArgument;
    *handle = nullptr;
    if (context == nullptr || assemblyData == nullptr || assemblySize == 0)
        return SubstanceStatus_InvalidArgument;
    return guarded([&]() -> int {
        kvengine::Assembly assembly;
        if (int status =
                kvengine::readAssembly(static_cast<const char*>(assemblyData), assemblySize, assembly))
            return status;
        kvengine::EvaluatorOptions options;
        options.threadCount = resources ? resources->threadCount : 0;
        std::unique_ptr<kvengine::Evaluator> evaluator;
        if (int status = kvengine::Evaluator::create(std::move(assembly), options, evaluator))
            return status;
        auto created = std::make_unique<SubstanceHandle_>();
        created->pending.assign(evaluator->outputCount(), SubstanceTexture{});
        created->evaluator = std::move(evaluator);
        created->context = context;
        ++context->liveHandles;
        *handle = created.release();
        return SubstanceStatus_Ok;
    });
}

int substanceHandleGetDesc(SubstanceHandle* handle, SubstanceDataDesc* desc) {
    if (handle == nullptr || desc == nullptr)
        return SubstanceStatus_InvalidArgument;
    desc->inputsCount = handle->evaluator->inputCount();
    desc->outputsCount = handle->evaluator->outputCount();
    desc->formatVersion = kvengine::kAssemblyFormatVersion;
    return SubstanceStatus_Ok;
}

int substanceHandleGetInputDesc(SubstanceHandle* handle, unsigned int index, SubstanceInputDesc* desc) {
    if (handle == nullptr || desc == nullptr || index >= handle->evaluator->inputCount())
        return SubstanceStatus_InvalidArgument;
    const kvengine::GraphInput& input = handle->evaluator->input(index);
    desc->inputId = input.uid;
    desc->inputType = static_cast<unsigned int>(input.type);
    desc->index = index;
    desc->identifier = input.identifier.c_str();
    static_assert(sizeof desc->defaultValue == sizeof input.defaultValue, "four 32-bit slots on both sides");
    std::memcpy(&desc->defaultValue, &input.defaultValue, sizeof desc->defaultValue);
    return SubstanceStatus_Ok;
}

int substanceHandleGetOutputDesc(SubstanceHandle* handle, unsigned int index, SubstanceOutputDesc* desc) {
    if (handle == nullptr || desc == nullptr || index >= handle->evaluator->outputCount())
        return SubstanceStatus_InvalidArgument;
    const kvengine::GraphOutput& output = handle->evaluator->output(index);
    desc->outputId = output.uid;
    desc->index = index;
    desc->format = output.format;
    desc->mipmaps = output.mipmaps;
    desc->channel = output.channel;
    desc->identifier = output.identifier.c_str();
    return SubstanceStatus_Ok;
}

int substanceHandleGetParentContext(SubstanceHandle* handle, SubstanceContext** context) {
    if (handle == nullptr || context == nullptr)
        return SubstanceStatus_InvalidArgument;
    *context = handle->context;
    return SubstanceStatus_Ok;
}

int substanceHandlePushSetInput(SubstanceHandle* handle, unsigned int flags, unsigned int inputIndex,
                                unsigned int inputType, const void* value, size_t userData) {
    if (handle == nullptr || (flags & ~unsigned(SubstancePush_Hint)) != 0 || userData != 0)
        return SubstanceStatus_InvalidArgument;
    return guarded([&]() -> int {
        return handle->evaluator->setInput(inputIndex, inputType, value, (flags & SubstancePush_Hint) != 0);
    });
}

int substanceHandlePushOutputs(SubstanceHandle* handle, unsigned int flags, const unsigned int* outputs,
                               unsigned int count, size_t jobUserData) {
    constexpr unsigned kKnownFlags = SubstancePush_OutputsByUid | SubstancePush_Hint;
    if (handle == nullptr || (flags & ~kKnownFlags) != 0)
        return SubstanceStatus_InvalidArgument;
    return guarded([&]() -> int {
        return handle->evaluator->queueOutputs(outputs, count, (flags & SubstancePush_OutputsByUid) != 0,
                                               (flags & SubstancePush_Hint) != 0, jobUserData);
    });
}

int substanceHandleStart(SubstanceHandle* handle, unsigned int mode) {
    if (handle == nullptr || mode != SubstanceStart_Synchronous)
        return SubstanceStatus_InvalidArgument;
    return guarded([&]() -> int {
        SubstanceContext* context = handle->context;
        auto allocate = [context](size_t bytes) { return context->allocate(bytes); };
        auto deliver = [handle, context](unsigned index, size_t job, const SubstanceTexture& texture) {
            SubstanceTexture& slot = handle->pending[index];
            if (slot.buffer) // never collected: the newer render replaces it
                context->release(slot.buffer);
            slot = texture;
            if (SubstanceCallbackOutputCompleted callback = context->onOutputCompleted.load())
                callback(handle, index, job);
        };
        return handle->evaluator->render(allocate, deliver);
    });
}

int substanceHandleGetOutputs(SubstanceHandle* handle, unsigned int flags, unsigned int outputIndex,
                              unsigned int count, SubstanceTexture* textures) {
    if (handle == nullptr || flags != 0 || (count > 0 && textures == nullptr))
        return SubstanceStatus_InvalidArgument;
    const size_t outputCount = handle->pending.size();
    if (outputIndex > outputCount || count > outputCount - outputIndex)
        return SubstanceStatus_InvalidArgument;
    for (unsigned int i = 0; i < count; ++i) {
        textures[i] = handle->pending[outputIndex + i];
        handle->pending[outputIndex + i] = SubstanceTexture{};
    }
    return SubstanceStatus_Ok;
}

int substanceHandleRelease(SubstanceHandle* handle) {
    if (handle == nullptr)
        return SubstanceStatus_InvalidArgument;
    delete handle;
    return SubstanceStatus_Ok;
}

} // extern "C"
