#include "framework/description/internal/LinkerUnpacking.h"

#include "platform/engine/LinkerSession.h"

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
    int status = SubstanceStatus_InvalidState;
    {
        kv::LinkerSession session(&onDescription, &onAssembly);
        if (session.handle() != nullptr) {
            status = session.push(data, size);
        }
    }
    assembly = assemblyBuffer;
    description = descriptionBuffer;
    return status;
}

} // namespace SubstanceAir
