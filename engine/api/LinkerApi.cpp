// The linker half of the engine's C interface (platform/engine/LinkerInterface.h).
// No exception crosses this boundary: each call runs inside `guarded`.
#include "engine/api/Guarded.h"
#include "platform/engine/LinkerInterface.h"

#include "engine/linker/Linker.h"
#include "engine/linker/PushedContent.h"

#include <atomic>
#include <new>
#include <utility>
#include <vector>

struct SubstanceLinkerContext_ {
    SubstanceLinkerCallbackXmlDescription onDescription = nullptr;
    SubstanceLinkerCallbackAssembly onAssembly = nullptr;
    std::atomic<unsigned> liveHandles{0};
};

struct SubstanceLinkerHandle_ {
    SubstanceLinkerContext* context = nullptr;
    kvengine::Linker linker;
    std::vector<char> linked; // the last linked assembly, handed out by pointer
};

using kvengine::guarded;

extern "C" {

int substanceLinkerContextInit(SubstanceLinkerContext** context, unsigned int apiVersion,
                               unsigned int engineId) {
    if (context == nullptr)
        return SubstanceStatus_InvalidArgument;
    *context = nullptr;
    if (apiVersion != SubstanceApiVersion || engineId != SubstanceCpuEngineId)
        return SubstanceStatus_BadVersion;
    return guarded([&]() -> int {
        *context = new SubstanceLinkerContext_;
        return SubstanceStatus_Ok;
    });
}

int substanceLinkerContextSetCallback(SubstanceLinkerContext* context, unsigned int kind,
                                      SubstanceCallback callback) {
    if (context == nullptr || callback == nullptr)
        return SubstanceStatus_InvalidArgument;
    // The generic pointer is cast back to the type its kind names.
    switch (kind) {
    case SubstanceLinkerCallback_XmlDescription:
        context->onDescription = reinterpret_cast<SubstanceLinkerCallbackXmlDescription>(callback);
        return SubstanceStatus_Ok;
    case SubstanceLinkerCallback_Assembly:
        context->onAssembly = reinterpret_cast<SubstanceLinkerCallbackAssembly>(callback);
        return SubstanceStatus_Ok;
    default:
        return SubstanceStatus_InvalidArgument;
    }
}

int substanceLinkerContextRelease(SubstanceLinkerContext* context) {
    if (context == nullptr)
        return SubstanceStatus_InvalidArgument;
    if (context->liveHandles.load() != 0)
        return SubstanceStatus_InvalidState;
    delete context;
    return SubstanceStatus_Ok;
}

int substanceLinkerHandleInit(SubstanceLinkerHandle** handle, SubstanceLinkerContext* context) {
    if (handle == nullptr)
        return SubstanceStatus_InvalidArgument;
    *handle = nullptr;
    if (context == nullptr)
        return SubstanceStatus_InvalidArgument;
    return guarded([&]() -> int {
        auto* created = new SubstanceLinkerHandle_;
        created->context = context;
        ++context->liveHandles;
        *handle = created;
        return SubstanceStatus_Ok;
    });
}

int substanceLinkerHandlePushAssemblyMemory(SubstanceLinkerHandle* handle, const char* data, size_t size) {
    if (handle == nullptr || data == nullptr)
        return SubstanceStatus_InvalidArgument;
    return guarded([&]() -> int {
        kvengine::PushedContent content;
        if (int status = kvengine::unpackPushed(data, size, content))
            return status;
        // Added before the callbacks run, so a refused push delivers nothing.
        const unsigned int uid = content.assembly.uid;
        if (int status = handle->linker.push(std::move(content.assembly)))
            return status;
        const SubstanceLinkerContext* context = handle->context;
        if (content.fromPackage && context->onDescription != nullptr)
            context->onDescription(handle, uid, content.description.c_str());
        if (context->onAssembly != nullptr)
            context->onAssembly(handle, uid, content.assemblyData, content.assemblySize);
        return SubstanceStatus_Ok;
    });
}

int substanceLinkerHandleSetOutputFormat(SubstanceLinkerHandle* handle, unsigned int outputUid, int format,
                                         unsigned int mipmaps) {
    if (handle == nullptr)
        return SubstanceStatus_InvalidArgument;
    return guarded([&]() -> int { return handle->linker.setOutputFormat(outputUid, format, mipmaps); });
}

int substanceLinkerConnectOutputToInput(SubstanceLinkerHandle* handle, unsigned int inputUid,
                                        unsigned int outputUid) {
    if (handle == nullptr)
        return SubstanceStatus_InvalidArgument;
    return guarded([&]() -> int { return handle->linker.connect(inputUid, outputUid); });
}

int substanceLinkerHandleSelectOutputs(SubstanceLinkerHandle* handle, unsigned int selectionCode,
                                       unsigned int outputUid) {
    if (handle == nullptr)
        return SubstanceStatus_InvalidArgument;
    return guarded([&]() -> int { return handle->linker.select(selectionCode, outputUid); });
}

int substanceLinkerFuseInputs(SubstanceLinkerHandle* handle, unsigned int keptUid, unsigned int fusedUid) {
    if (handle == nullptr)
        return SubstanceStatus_InvalidArgument;
    return guarded([&]() -> int { return handle->linker.fuse(keptUid, fusedUid); });
}

int substanceLinkerHandleLink(SubstanceLinkerHandle* handle, const char** data, size_t* size) {
    if (handle == nullptr || data == nullptr || size == nullptr)
        return SubstanceStatus_InvalidArgument;
    return guarded([&]() -> int {
        if (int status = handle->linker.link(handle->linked))
            return status;
        *data = handle->linked.data();
        *size = handle->linked.size();
        return SubstanceStatus_Ok;
    });
}

int substanceLinkerHandleRelease(SubstanceLinkerHandle* handle) {
    if (handle == nullptr)
        return SubstanceStatus_InvalidArgument;
    --handle->context->liveHandles;
    delete handle;
    return SubstanceStatus_Ok;
}

} // extern "C"
