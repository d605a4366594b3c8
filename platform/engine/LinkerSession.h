// One linker handle over the C linker interface (LinkerInterface.h), made by
// the constructor and released by the destructor, in a context of its own
// (released after the handle) or in one the caller lends. Statuses are those
// of the C calls, unchanged.
//
//   kv::LinkerSession session(&onDescription, nullptr);
//   if (int status = session.status()) ...
//   if (int status = session.push(package)) ...
//   std::vector<char> assembly;
//   if (int status = session.link(assembly)) ...
#pragma once

#include "platform/engine/LinkerInterface.h"

#include <cstddef>
#include <vector>

namespace kv {

class LinkerSession {
public:
    // A context of its own, with the callbacks that are not null, and a handle in it.
    explicit LinkerSession(SubstanceLinkerCallbackXmlDescription onDescription = nullptr,
                           SubstanceLinkerCallbackAssembly onAssembly = nullptr) {
        status_ = substanceLinkerContextInit(&context_, SubstanceApiVersion, SubstanceCpuEngineId);
        ownsContext_ = context_ != nullptr;
        if (status_ == 0 && onDescription != nullptr)
            status_ = substanceLinkerContextSetCallback(context_, SubstanceLinkerCallback_XmlDescription,
                                                        reinterpret_cast<SubstanceCallback>(onDescription));
        if (status_ == 0 && onAssembly != nullptr)
            status_ = substanceLinkerContextSetCallback(context_, SubstanceLinkerCallback_Assembly,
                                                        reinterpret_cast<SubstanceCallback>(onAssembly));
        if (status_ == 0)
            status_ = substanceLinkerHandleInit(&handle_, context_);
    }

    // A handle in `context`, which the caller keeps and releases after the session.
    explicit LinkerSession(SubstanceLinkerContext* context) : context_(context) {
        status_ = substanceLinkerHandleInit(&handle_, context_);
    }

    ~LinkerSession() {
        if (handle_ != nullptr)
            substanceLinkerHandleRelease(handle_);
        if (ownsContext_)
            substanceLinkerContextRelease(context_);
    }

    LinkerSession(const LinkerSession&) = delete;
    LinkerSession& operator=(const LinkerSession&) = delete;

    // 0 when the context and the handle were made; otherwise the first failing
    // call's status, and handle() is null.
    int status() const { return status_; }
    SubstanceLinkerHandle* handle() const { return handle_; }
    SubstanceLinkerContext* context() const { return context_; }

    // Hands the handle over to the caller, for one that keeps a failed link's
    // handle alive; the session then releases nothing. A context of the
    // session's own goes along (context() still names it): the caller
    // releases the handle first, then the context.
    SubstanceLinkerHandle* detach() {
        SubstanceLinkerHandle* handle = handle_;
        handle_ = nullptr;
        ownsContext_ = false;
        return handle;
    }

    int push(const char* data, size_t size) {
        return substanceLinkerHandlePushAssemblyMemory(handle_, data, size);
    }
    int push(const std::vector<char>& bytes) { return push(bytes.data(), bytes.size()); }

    // Links everything pushed; `assembly` receives a copy of the linked bytes
    // on success and is left alone otherwise.
    int link(std::vector<char>& assembly) {
        const char* data = nullptr;
        size_t size = 0;
        const int status = substanceLinkerHandleLink(handle_, &data, &size);
        if (status == 0)
            assembly.assign(data, data + size);
        return status;
    }

private:
    SubstanceLinkerContext* context_ = nullptr;
    SubstanceLinkerHandle* handle_ = nullptr;
    bool ownsContext_ = false;
    int status_ = 0;
};

} // namespace kv
