// The recording engine: the engine half of the C interface, backed by a log
// instead of an evaluator. Statuses follow EngineInterface.h closely enough
// that a renderer pushing the wrong index, type or uid gets an error back, as
// it would from the real engine; every call is logged whatever its status.
#include "RecordingEngine.h"

#include "engine/assembly/AssemblyIO.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <utility>

using kvtest::EngineCall;

namespace {

struct Log {
    std::mutex mutex;
    std::vector<EngineCall> calls;
    bool onThread = false;
    std::function<void(SubstanceHandle*)> startHook;
    std::vector<std::thread::id> deliveryThreads;
    std::atomic<long> liveTextures{0};
};

// Never destroyed: the process-wide renderer releases its handles and its
// context at exit, after function-local statics made later are gone.
Log& theLog() {
    static Log* log = new Log;
    return *log;
}

EngineCall callOf(EngineCall::Kind kind, SubstanceHandle* handle, unsigned int flags = 0) {
    EngineCall call;
    call.kind = kind;
    call.handle = handle;
    call.flags = flags;
    return call;
}

void record(EngineCall call) {
    Log& log = theLog();
    std::lock_guard<std::mutex> lock(log.mutex);
    log.calls.push_back(std::move(call));
}

void freeTexture(void* buffer) {
    std::free(buffer);
    --theLog().liveTextures;
}

} // namespace

struct SubstanceContext_ {
    std::atomic<SubstanceCallbackOutputCompleted> onOutputCompleted{nullptr};
};

struct SubstanceHandle_ {
    SubstanceContext* context = nullptr;
    // Every graph's inputs and outputs one after another: the engine indices.
    std::vector<kvengine::GraphInput> inputs;
    std::vector<kvengine::GraphOutput> outputs;
    // Non-hint outputs queued since the last start: engine index and job.
    std::vector<std::pair<unsigned int, size_t>> queued;
    // Per output, the delivered texture not yet handed over.
    std::vector<SubstanceTexture> ready;

    ~SubstanceHandle_() {
        for (SubstanceTexture& texture : ready) {
            if (texture.buffer != nullptr) {
                freeTexture(texture.buffer);
            }
        }
    }

    // The engine index of the output with this uid, or outputs.size().
    size_t findOutput(unsigned int uid) const {
        const auto found =
            std::find_if(outputs.begin(), outputs.end(),
                         [uid](const kvengine::GraphOutput& output) { return output.uid == uid; });
        return static_cast<size_t>(found - outputs.begin());
    }

    void deliver(unsigned int index, size_t job) {
        const unsigned char byte = kvtest::textureByte(outputs[index].uid);
        SubstanceTexture texture = {};
        texture.buffer = std::malloc(16);
        std::memset(texture.buffer, byte, 16);
        ++theLog().liveTextures;
        texture.level0Width = 2;
        texture.level0Height = 2;
        texture.pixelFormat = SubstancePixelFormat_RGBA8;
        texture.mipmapCount = 1;
        if (ready[index].buffer != nullptr) {
            freeTexture(ready[index].buffer); // never collected: the newer one replaces it
        }
        ready[index] = texture;
        {
            Log& log = theLog();
            std::lock_guard<std::mutex> lock(log.mutex);
            log.deliveryThreads.push_back(std::this_thread::get_id());
        }
        if (SubstanceCallbackOutputCompleted callback = context->onOutputCompleted.load()) {
            callback(this, index, job);
        }
    }
};

namespace kvtest {

void resetEngine() {
    Log& log = theLog();
    std::lock_guard<std::mutex> lock(log.mutex);
    log.calls.clear();
    log.onThread = false;
    log.startHook = nullptr;
    log.deliveryThreads.clear();
}

std::vector<EngineCall> engineCalls() {
    Log& log = theLog();
    std::lock_guard<std::mutex> lock(log.mutex);
    return log.calls;
}

std::vector<EngineCall> engineCalls(EngineCall::Kind kind) {
    std::vector<EngineCall> calls = engineCalls();
    std::vector<EngineCall> selected;
    for (EngineCall& call : calls) {
        if (call.kind == kind) {
            selected.push_back(std::move(call));
        }
    }
    return selected;
}

void setDeliveryOnThread(bool onThread) {
    Log& log = theLog();
    std::lock_guard<std::mutex> lock(log.mutex);
    log.onThread = onThread;
}

void setStartHook(std::function<void(SubstanceHandle*)> hook) {
    Log& log = theLog();
    std::lock_guard<std::mutex> lock(log.mutex);
    log.startHook = std::move(hook);
}

std::vector<std::thread::id> deliveryThreads() {
    Log& log = theLog();
    std::lock_guard<std::mutex> lock(log.mutex);
    return log.deliveryThreads;
}

bool deliverOutput(SubstanceHandle* handle, unsigned int outputUid, size_t job) {
    const size_t index = handle->findOutput(outputUid);
    if (index == handle->outputs.size()) {
        return false;
    }
    handle->deliver(static_cast<unsigned int>(index), job);
    return true;
}

long liveTextures() {
    return theLog().liveTextures.load();
}

} // namespace kvtest

extern "C" {

int substanceContextInit(SubstanceContext** context, SubstanceDevice*) {
    if (context == nullptr) {
        return SubstanceStatus_InvalidArgument;
    }
    *context = new SubstanceContext_;
    return SubstanceStatus_Ok;
}

int substanceContextSetCallback(SubstanceContext* context, unsigned int kind, SubstanceCallback callback) {
    if (context == nullptr || kind != SubstanceCallback_OutputCompleted) {
        return SubstanceStatus_InvalidArgument;
    }
    context->onOutputCompleted = reinterpret_cast<SubstanceCallbackOutputCompleted>(callback);
    return SubstanceStatus_Ok;
}

int substanceContextRelease(SubstanceContext* context) {
    if (context == nullptr) {
        return SubstanceStatus_InvalidArgument;
    }
    delete context;
    return SubstanceStatus_Ok;
}

int substanceContextMemoryFree(SubstanceContext* context, void* buffer) {
    if (context == nullptr || buffer == nullptr) {
        return SubstanceStatus_InvalidArgument;
    }
    freeTexture(buffer);
    return SubstanceStatus_Ok;
}

int substanceHandleInit(SubstanceHandle** handle, SubstanceContext* context, const void* assemblyData,
                        size_t assemblySize, const SubstanceHardResources*) {
    kvengine::Assembly assembly;
    const kvengine::Status read =
        kvengine::readAssembly(static_cast<const char*>(assemblyData), assemblySize, assembly);
    if (!read.ok()) {
        return read.code();
    }
    SubstanceHandle_* created = new SubstanceHandle_;
    created->context = context;
    for (const kvengine::Graph& graph : assembly.graphs) {
        created->inputs.insert(created->inputs.end(), graph.inputs.begin(), graph.inputs.end());
        created->outputs.insert(created->outputs.end(), graph.outputs.begin(), graph.outputs.end());
    }
    created->ready.assign(created->outputs.size(), SubstanceTexture{});
    *handle = created;
    record(callOf(EngineCall::Init, created));
    return SubstanceStatus_Ok;
}

int substanceHandleGetDesc(SubstanceHandle* handle, SubstanceDataDesc* desc) {
    desc->inputsCount = static_cast<unsigned int>(handle->inputs.size());
    desc->outputsCount = static_cast<unsigned int>(handle->outputs.size());
    desc->formatVersion = kvengine::kAssemblyFormatVersion;
    return SubstanceStatus_Ok;
}

int substanceHandleGetInputDesc(SubstanceHandle* handle, unsigned int index, SubstanceInputDesc* desc) {
    if (index >= handle->inputs.size()) {
        return SubstanceStatus_InvalidArgument;
    }
    const kvengine::GraphInput& input = handle->inputs[index];
    desc->inputId = input.uid;
    desc->inputType = static_cast<unsigned int>(input.type);
    desc->index = index;
    desc->identifier = input.identifier.c_str();
    std::memcpy(&desc->defaultValue, &input.defaultValue, sizeof desc->defaultValue);
    return SubstanceStatus_Ok;
}

int substanceHandleGetOutputDesc(SubstanceHandle* handle, unsigned int index, SubstanceOutputDesc* desc) {
    if (index >= handle->outputs.size()) {
        return SubstanceStatus_InvalidArgument;
    }
    const kvengine::GraphOutput& output = handle->outputs[index];
    desc->outputId = output.uid;
    desc->index = index;
    desc->format = output.format;
    desc->mipmaps = output.mipmaps;
    desc->channel = output.channel;
    desc->identifier = output.identifier.c_str();
    return SubstanceStatus_Ok;
}

int substanceHandleGetParentContext(SubstanceHandle* handle, SubstanceContext** context) {
    *context = handle->context;
    return SubstanceStatus_Ok;
}

int substanceHandlePushSetInput(SubstanceHandle* handle, unsigned int flags, unsigned int inputIndex,
                                unsigned int inputType, const void* value, size_t userData) {
    EngineCall call = callOf(EngineCall::SetInput, handle, flags);
    call.index = inputIndex;
    call.type = inputType;
    // A numerical value is as long as its type says; a bad type or pointer records nothing.
    size_t size = sizeof(value);
    if (inputType != SubstanceInputType_Image) {
        const bool valid = value != nullptr && kvengine::isValidInputType(inputType);
        size = valid ? 4 * kvengine::componentCount(static_cast<kvengine::InputType>(inputType)) : 0;
    }
    const unsigned char* bytes =
        static_cast<const unsigned char*>(inputType == SubstanceInputType_Image ? &value : value);
    call.value.assign(bytes, bytes + size);
    record(std::move(call));
    if ((flags & ~unsigned(SubstancePush_Hint)) != 0 || userData != 0 ||
        inputIndex >= handle->inputs.size()) {
        return SubstanceStatus_InvalidArgument;
    }
    return static_cast<unsigned int>(handle->inputs[inputIndex].type) == inputType
               ? SubstanceStatus_Ok
               : SubstanceStatus_Incompatible;
}

int substanceHandlePushOutputs(SubstanceHandle* handle, unsigned int flags, const unsigned int* outputs,
                               unsigned int count, size_t jobUserData) {
    EngineCall call = callOf(EngineCall::Outputs, handle, flags);
    call.outputs.assign(outputs, outputs + count);
    call.job = jobUserData;
    record(std::move(call));
    std::vector<std::pair<unsigned int, size_t>> wanted;
    for (unsigned int i = 0; i < count; ++i) {
        const size_t index =
            (flags & SubstancePush_OutputsByUid) != 0 ? handle->findOutput(outputs[i]) : outputs[i];
        if (index >= handle->outputs.size()) {
            return SubstanceStatus_UnknownUid;
        }
        wanted.emplace_back(static_cast<unsigned int>(index), jobUserData);
    }
    // A hint never joins the render queue.
    if ((flags & SubstancePush_Hint) == 0) {
        handle->queued.insert(handle->queued.end(), wanted.begin(), wanted.end());
    }
    return SubstanceStatus_Ok;
}

int substanceHandleStart(SubstanceHandle* handle, unsigned int) {
    record(callOf(EngineCall::Start, handle));
    std::function<void(SubstanceHandle*)> hook;
    bool onThread = false;
    {
        Log& log = theLog();
        std::lock_guard<std::mutex> lock(log.mutex);
        hook = log.startHook;
        onThread = log.onThread;
    }
    if (hook) {
        hook(handle);
    }
    std::vector<std::pair<unsigned int, size_t>> queued;
    queued.swap(handle->queued);
    auto deliverAll = [handle, &queued] {
        for (const std::pair<unsigned int, size_t>& entry : queued) {
            handle->deliver(entry.first, entry.second);
        }
    };
    if (onThread) {
        std::thread worker(deliverAll);
        worker.join();
    } else {
        deliverAll();
    }
    return SubstanceStatus_Ok;
}

int substanceHandleGetOutputs(SubstanceHandle* handle, unsigned int, unsigned int outputIndex,
                              unsigned int count, SubstanceTexture* textures) {
    if (outputIndex > handle->ready.size() || count > handle->ready.size() - outputIndex) {
        return SubstanceStatus_InvalidArgument;
    }
    for (unsigned int i = 0; i < count; ++i) {
        textures[i] = handle->ready[outputIndex + i];
        handle->ready[outputIndex + i] = SubstanceTexture{};
    }
    return SubstanceStatus_Ok;
}

int substanceHandleRelease(SubstanceHandle* handle) {
    if (handle == nullptr) {
        return SubstanceStatus_InvalidArgument;
    }
    delete handle;
    return SubstanceStatus_Ok;
}

} // extern "C"
