// The linker half of the engine's C interface (platform/engine/LinkerInterface.h).
// No exception crosses this boundary: each call runs inside `guarded`, and
// every refusal leaves its reason (FailureReason.h).
#include "engine/api/Guarded.h"
#include "platform/engine/LinkerInterface.h"

#include "engine/assembly/AssemblyPlaces.h"
#include "engine/linker/Linker.h"
#include "engine/linker/PushedContent.h"

#include <atomic>
#include <new>
#include <string>
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
using kvengine::refuse;
using kvengine::refuseWith;
using kvengine::Status;

extern "C" {

int substanceLinkerContextInit(SubstanceLinkerContext** context, unsigned int apiVersion,
                               unsigned int engineId) {
    constexpr const char* call = "linker: substanceLinkerContextInit";
    if (context == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "no place for the context (null pointer)");
    *context = nullptr;
    if (apiVersion != SubstanceApiVersion)
        return refuseWith(SubstanceStatus_BadVersion, call, [&] {
            return "interface version " + std::to_string(apiVersion) + ", this linker speaks " +
                   std::to_string(SubstanceApiVersion);
        });
    if (engineId != SubstanceCpuEngineId)
        return refuseWith(SubstanceStatus_BadVersion, call, [&] {
            return "engine " + std::to_string(engineId) + ", this linker serves engine " +
                   std::to_string(SubstanceCpuEngineId);
        });
    return guarded(call, [&]() -> Status {
        *context = new SubstanceLinkerContext_;
        return {};
    });
}

int substanceLinkerContextSetCallback(SubstanceLinkerContext* context, unsigned int kind,
                                      SubstanceCallback callback) {
    constexpr const char* call = "linker: substanceLinkerContextSetCallback";
    if (context == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null context");
    if (callback == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null callback");
    // The generic pointer is cast back to the type its kind names.
    switch (kind) {
    case SubstanceLinkerCallback_XmlDescription:
        context->onDescription = reinterpret_cast<SubstanceLinkerCallbackXmlDescription>(callback);
        return SubstanceStatus_Ok;
    case SubstanceLinkerCallback_Assembly:
        context->onAssembly = reinterpret_cast<SubstanceLinkerCallbackAssembly>(callback);
        return SubstanceStatus_Ok;
    default:
        return refuseWith(SubstanceStatus_InvalidArgument, call, [&] {
            return "callback kind " + std::to_string(kind) + " is neither 2 (description) nor 3 (assembly)";
        });
    }
}

int substanceLinkerContextRelease(SubstanceLinkerContext* context) {
    constexpr const char* call = "linker: substanceLinkerContextRelease";
    if (context == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null context");
    if (const unsigned live = context->liveHandles.load())
        return refuseWith(SubstanceStatus_InvalidState, call,
                          [&] { return "the context still holds " + kvengine::counted(live, "handle"); });
    delete context;
    return SubstanceStatus_Ok;
}

int substanceLinkerHandleInit(SubstanceLinkerHandle** handle, SubstanceLinkerContext* context) {
    constexpr const char* call = "linker: substanceLinkerHandleInit";
    if (handle == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "no place for the handle (null pointer)");
    *handle = nullptr;
    if (context == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null context");
    return guarded(call, [&]() -> Status {
        auto* created = new SubstanceLinkerHandle_;
        created->context = context;
        ++context->liveHandles;
        *handle = created;
        return {};
    });
}

int substanceLinkerHandlePushAssemblyMemory(SubstanceLinkerHandle* handle, const char* data, size_t size) {
    constexpr const char* call = "linker: substanceLinkerHandlePushAssemblyMemory";
    if (handle == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null handle");
    if (data == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null data");
    return guarded(call, [&]() -> Status {
        kvengine::PushedContent content;
        if (Status status = kvengine::unpackPushed(data, size, content); !status.ok())
            return status;
        // Added before the callbacks run, so a refused push delivers nothing.
        const unsigned int uid = content.assembly.uid;
        if (Status status = handle->linker.push(std::move(content.assembly)); !status.ok())
            return status;
        const SubstanceLinkerContext* context = handle->context;
        if (content.fromPackage && context->onDescription != nullptr)
            context->onDescription(handle, uid, content.description.c_str());
        if (context->onAssembly != nullptr)
            context->onAssembly(handle, uid, content.assemblyData, content.assemblySize);
        return {};
    });
}

int substanceLinkerHandleSetOutputFormat(SubstanceLinkerHandle* handle, unsigned int outputUid, int format,
                                         unsigned int mipmaps) {
    constexpr const char* call = "linker: substanceLinkerHandleSetOutputFormat";
    if (handle == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null handle");
    return guarded(call, [&] { return handle->linker.setOutputFormat(outputUid, format, mipmaps); });
}

int substanceLinkerConnectOutputToInput(SubstanceLinkerHandle* handle, unsigned int inputUid,
                                        unsigned int outputUid) {
    constexpr const char* call = "linker: substanceLinkerConnectOutputToInput";
    if (handle == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null handle");
    return guarded(call, [&] { return handle->linker.connect(inputUid, outputUid); });
}

int substanceLinkerHandleSelectOutputs(SubstanceLinkerHandle* handle, unsigned int selectionCode,
                                       unsigned int outputUid) {
    constexpr const char* call = "linker: substanceLinkerHandleSelectOutputs";
    if (handle == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null handle");
    return guarded(call, [&] { return handle->linker.select(selectionCode, outputUid); });
}

int substanceLinkerFuseInputs(SubstanceLinkerHandle* handle, unsigned int keptUid, unsigned int fusedUid) {
    constexpr const char* call = "linker: substanceLinkerFuseInputs";
    if (handle == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null handle");
    return guarded(call, [&] { return handle->linker.fuse(keptUid, fusedUid); });
}

int substanceLinkerHandleLink(SubstanceLinkerHandle* handle, const char** data, size_t* size) {
    constexpr const char* call = "linker: substanceLinkerHandleLink";
    if (handle == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call, "null handle");
    if (data == nullptr || size == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, call,
                      "no place for the linked assembly (null pointer)");
    return guarded(call, [&]() -> Status {
        if (Status status = handle->linker.link(handle->linked); !status.ok())
            return status;
        *data = handle->linked.data();
        *size = handle->linked.size();
        return {};
    });
}

int substanceLinkerHandleRelease(SubstanceLinkerHandle* handle) {
    if (handle == nullptr)
        return refuse(SubstanceStatus_InvalidArgument, "linker: substanceLinkerHandleRelease", "null handle");
    --handle->context->liveHandles;
    delete handle;
    return SubstanceStatus_Ok;
}

} // extern "C"
