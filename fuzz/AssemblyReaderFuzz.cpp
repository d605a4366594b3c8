// Any bytes: readAssembly returns a status; what it accepts writes back to
// the same bytes (the encoding is canonical).
#include "engine/assembly/AssemblyIO.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const char* bytes = reinterpret_cast<const char*>(data);
    kvengine::Assembly assembly;
    if (kvengine::readAssembly(bytes, size, assembly) != 0)
        return 0;
    const std::vector<char> written = kvengine::writeAssembly(assembly);
    if (written.size() != size || !std::equal(written.begin(), written.end(), bytes))
        std::abort();
    return 0;
}
