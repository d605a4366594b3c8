// The engine half of the C interface (platform/engine/EngineInterface.h).
// No exception crosses this boundary: each call runs inside `guarded`, and
// every refusal leaves its reason (FailureReason.h).
#include "engine/api/Guarded.h"
#include "platform/engine/EngineInterface.h"

#include "engine/assembly/AssemblyIO.h"
#include "engine/assembly/AssemblyPlaces.h"
#include "engine/evaluator/Evaluator.h"
#include "engine/nodes/Image.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <unordered_map>
#include <vector>

struct SubstanceContext_ {
    std::atomic<SubstanceCallbackOutputCompleted> onOutputCompleted{nullptr};
    std::atomic<unsigned> liveHandles{0};
    std::mutex buffersMutex;
    std::unordered_map<void*, size_t> buffers; // handed out and not yet freed, with their sizes

    // Texture buffers come from the recycled pixel memory, so a host that
    // frees each texture before the next render gets warm pages back.
    void* allocate(size_t bytes) {
        void* buffer = kvengine::acquirePixels(bytes);
        if (!buffer)
            return nullptr;
        std::lock_guard<std::mutex> lock(buffersMutex);
        try {
            buffers.emplace(buffer, bytes);
        } catch (...) {
            kvengine::releasePixels(buffer, bytes);
            return nullptr;
        }
        return buffer;
    }

    bool release(void* buffer) {
        std::lock_guard<std::mutex> lock(buffersMutex);
        auto it = buffers.find(buffer);
        if (it == buffers.end())
            return false;
        kvengine::releasePixels(buffer, it->second);
        buffers.erase(it);
        return true;
    }

    ~SubstanceContext_() {
        for (const auto& [buffer, bytes] : buffers)
            kvengine::releasePixels(buffer, bytes);
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
using kvengine::refuse;
using kvengine::refuseWith;
using kvengine::Status;

namespace {

// "<call>: <what> <index>, past the <count> <noun>s of the handle".
int refuseIndex(const char* call, const char* what, unsigned index, size_t count, const char* noun) {
    return refuseWith(SubstanceStatus_InvalidArgument, call, [&] {
        return what + (" " + std::to_string(index)) + ", past the " + kvengine::counted(count, noun) +
               " of the handle";
    });
}

// "<call>: unknown flags 0x..".
int refuseFlags(const char* call, unsigned flags) {
    return refuseWith(SubstanceStatus_InvalidArgument, call, [&] {
        char hex[16];
        std::snprintf(hex, sizeof hex, "%#x", flags);
        return std::string("unknown flags ") + hex;
    });
}

} // namespace

extern "C" {

int substanceContextInit(SubstanceContext** context, SubstanceDevice* /*device: unused by the CPU engine*/) {
    constexpr const char* call = "engine: substanceContextInit";
    if (context == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "no place for the context (null pointer)");
    *context = nullptr;
    return guarded(call, [&]() -> Status {
        *context = new SubstanceContext_;
        return {};
    });
}

int substanceContextSetCallback(SubstanceContext* context, unsigned int kind, SubstanceCallback callback) {
    constexpr const char* call = "engine: substanceContextSetCallback";
    if (context == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null context");
    if (kind != SubstanceCallback_OutputCompleted)
        return refuseWith(SubstanceStatus_InvalidArgument, call, [&] {
            return "callback kind " + std::to_string(kind) + " is not 2 (output completed)";
        });
    // The generic pointer is cast back to the type its kind names.
    context->onOutputCompleted = reinterpret_cast<SubstanceCallbackOutputCompleted>(callback);
    return SubstanceStatus_Ok;
}

int substanceContextRelease(SubstanceContext* context) {
    constexpr const char* call = "engine: substanceContextRelease";
    if (context == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null context");
    if (const unsigned live = context->liveHandles.load())
        return refuseWith(SubstanceStatus_InvalidState, call,
                          [&] { return "the context still holds " + kvengine::counted(live, "handle"); });
    delete context;
    return SubstanceStatus_Ok;
}

int substanceContextMemoryFree(SubstanceContext* context, void* buffer) {
    constexpr const char* call = "engine: substanceContextMemoryFree";
    if (context == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null context");
    if (buffer == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null buffer");
    if (!context->release(buffer))
        return refuse(SubstanceStatus_InvalidArgument, call,
                      "the buffer is not one this context handed out, or it was freed already");
    return SubstanceStatus_Ok;
}

int substanceHandleInit(SubstanceHandle** handle, SubstanceContext* context, const void* assemblyData,
                        size_t assemblySize, const SubstanceHardResources* resources) {
    constexpr const char* call = "engine: substanceHandleInit";
    if (handle == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "no place for the handle (null pointer)");
    *handle = nullptr;
    if (context == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null context");
    if (assemblyData == nullptr || assemblySize == 0)
        return refuse(SubstanceStatus_InvalidArgument, call, "no assembly bytes");
    return guarded(call, [&]() -> Status {
        kvengine::Assembly assembly;
        if (Status status =
                kvengine::readAssembly(static_cast<const char*>(assemblyData), assemblySize, assembly);
            !status.ok())
            return status;
        kvengine::EvaluatorOptions options;
        if (resources) {
            options.threadCount = resources->threadCount;
            options.limits.maxTextureSide = resources->maxTextureSide;
            options.limits.maxIntermediateBytes = resources->maxRenderBytes;
        }
        std::unique_ptr<kvengine::Evaluator> evaluator;
        if (Status status = kvengine::Evaluator::create(std::move(assembly), options, evaluator);
            !status.ok())
            return status;
        auto created = std::make_unique<SubstanceHandle_>();
        created->pending.assign(evaluator->outputCount(), SubstanceTexture{});
        created->evaluator = std::move(evaluator);
        created->context = context;
        ++context->liveHandles;
        *handle = created.release();
        return {};
    });
}

int substanceHandleGetDesc(SubstanceHandle* handle, SubstanceDataDesc* desc) {
    constexpr const char* call = "engine: substanceHandleGetDesc";
    if (handle == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null handle");
    if (desc == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null description");
    desc->inputsCount = handle->evaluator->inputCount();
    desc->outputsCount = handle->evaluator->outputCount();
    desc->formatVersion = kvengine::kAssemblyFormatVersion;
    return SubstanceStatus_Ok;
}

int substanceHandleGetInputDesc(SubstanceHandle* handle, unsigned int index, SubstanceInputDesc* desc) {
    constexpr const char* call = "engine: substanceHandleGetInputDesc";
    if (handle == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null handle");
    if (desc == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null description");
    if (index >= handle->evaluator->inputCount())
        return refuseIndex(call, "input index", index, handle->evaluator->inputCount(), "input");
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
    constexpr const char* call = "engine: substanceHandleGetOutputDesc";
    if (handle == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null handle");
    if (desc == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null description");
    if (index >= handle->evaluator->outputCount())
        return refuseIndex(call, "output index", index, handle->evaluator->outputCount(), "output");
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
    constexpr const char* call = "engine: substanceHandleGetParentContext";
    if (handle == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null handle");
    if (context == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "no place for the context (null pointer)");
    *context = handle->context;
    return SubstanceStatus_Ok;
}

int substanceHandlePushSetInput(SubstanceHandle* handle, unsigned int flags, unsigned int inputIndex,
                                unsigned int inputType, const void* value, size_t userData) {
    constexpr const char* call = "engine: substanceHandlePushSetInput";
    if (handle == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null handle");
    if ((flags & ~unsigned(SubstancePush_Hint)) != 0)
        return refuseFlags(call, flags);
    if (userData != 0)
        return refuse(SubstanceStatus_InvalidArgument, call, "user data must be 0");
    return guarded(call, [&] {
        return handle->evaluator->setInput(inputIndex, inputType, value, (flags & SubstancePush_Hint) != 0);
    });
}

int substanceHandlePushOutputs(SubstanceHandle* handle, unsigned int flags, const unsigned int* outputs,
                               unsigned int count, size_t jobUserData) {
    constexpr const char* call = "engine: substanceHandlePushOutputs";
    constexpr unsigned kKnownFlags = SubstancePush_OutputsByUid | SubstancePush_Hint;
    if (handle == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null handle");
    if ((flags & ~kKnownFlags) != 0)
        return refuseFlags(call, flags);
    return guarded(call, [&] {
        return handle->evaluator->queueOutputs(outputs, count, (flags & SubstancePush_OutputsByUid) != 0,
                                               (flags & SubstancePush_Hint) != 0, jobUserData);
    });
}

int substanceHandleStart(SubstanceHandle* handle, unsigned int mode) {
    constexpr const char* call = "engine: substanceHandleStart";
    if (handle == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null handle");
    if (mode != SubstanceStart_Synchronous)
        return refuseWith(SubstanceStatus_InvalidArgument, call,
                          [&] { return "mode " + std::to_string(mode) + " is not 0 (synchronous)"; });
    return guarded(call, [&] {
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
    constexpr const char* call = "engine: substanceHandleGetOutputs";
    if (handle == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null handle");
    if (flags != 0)
        return refuseFlags(call, flags);
    if (count > 0 && textures == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "no place for the textures (null pointer)");
    const size_t outputCount = handle->pending.size();
    if (outputIndex > outputCount || count > outputCount - outputIndex)
        return refuseWith(SubstanceStatus_InvalidArgument, call, [&] {
            return "outputs " + std::to_string(outputIndex) + " to " +
                   std::to_string(uint64_t(outputIndex) + count) + ", past the " +
                   kvengine::counted(outputCount, "output") + " of the handle";
        });
    for (unsigned int i = 0; i < count; ++i) {
        textures[i] = handle->pending[outputIndex + i];
        handle->pending[outputIndex + i] = SubstanceTexture{};
    }
    return SubstanceStatus_Ok;
}

int substanceHandleRelease(SubstanceHandle* handle) {
    if (handle == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, "engine: substanceHandleRelease", "null handle");
    delete handle;
    return SubstanceStatus_Ok;
}

} // extern "C"
