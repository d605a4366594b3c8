#include "framework/description/internal/LinkerUnpacking.h"

#include "platform/engine/LinkerInterface.h"

#include <boost/thread/mutex.hpp>

namespace SubstanceAir {

namespace {

// The linker hands its results to plain callbacks without a user pointer,
// hence process-wide buffers, and a lock that keeps two unpackings apart.
std::string descriptionBuffer;
std::vector<char> assemblyBuffer;
boost::mutex unpackingMutex;

void onDescription(SubstanceLinkerHandle*, unsigned int, const char* xmlDescription) {
    if (xmlDescription != nullptr) {
        descriptionBuffer = xmlDescription;
    }
}

void onAssembly(SubstanceLinkerHandle*, unsigned int, const char* data, size_t size) {
    assemblyBuffer.clear();
    if (data != nullptr) {
        assemblyBuffer.assign(data, data + size);
    }
}

} // namespace

int unpackWithLinker(const char* data, size_t size, std::string& description, std::vector<char>& assembly) {
    boost::mutex::scoped_lock lock(unpackingMutex);
    SubstanceLinkerContext* context = nullptr;
    substanceLinkerContextInit(&context, SubstanceApiVersion, SubstanceCpuEngineId);
    substanceLinkerContextSetCallback(context, SubstanceLinkerCallback_XmlDescription,
                                      reinterpret_cast<SubstanceCallback>(&onDescription));
    substanceLinkerContextSetCallback(context, SubstanceLinkerCallback_Assembly,
                                      reinterpret_cast<SubstanceCallback>(&onAssembly));
    SubstanceLinkerHandle* handle = nullptr;
    substanceLinkerHandleInit(&handle, context);
    const int status = handle != nullptr ? substanceLinkerHandlePushAssemblyMemory(handle, data, size)
                                         : SubstanceStatus_InvalidState;
    substanceLinkerHandleRelease(handle);
    substanceLinkerContextRelease(context);

    assembly = assemblyBuffer;
    description = descriptionBuffer;
    return status;
}

} // namespace SubstanceAir
