// kvs info: what a package or a material description holds.
#include "tools/kvs/Commands.h"
#include "tools/kvs/DescriptionPrinter.h"
#include "tools/kvs/PackageInfo.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

namespace kvs {

namespace {

// Files beyond this size are neither packages nor descriptions we accept.
constexpr std::streamoff kMaxInputBytes = std::streamoff(256) << 20;

bool readFile(const std::string& path, std::vector<char>& bytes) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    if (!file) {
        std::fprintf(stderr, "kvs info: cannot open %s: %s\n", path.c_str(), std::strerror(errno));
        return false;
    }
    const std::streamoff size = file.tellg();
    if (size < 0 || size > kMaxInputBytes) {
        std::fprintf(stderr, "kvs info: %s: not a readable file of at most 256 MiB\n", path.c_str());
        return false;
    }
    bytes.resize(static_cast<std::size_t>(size));
    file.seekg(0);
    if (!file.read(bytes.data(), size)) {
        std::fprintf(stderr, "kvs info: cannot read %s\n", path.c_str());
        return false;
    }
    return true;
}

int runInfo(int argc, char** argv) {
    bool json = false;
    const char* path = nullptr;
    for (int i = 0; i < argc; ++i) {
        if (std::strcmp(argv[i], "--json") == 0) {
            json = true;
        } else if (argv[i][0] == '-' || path) {
            std::fprintf(stderr, "usage: kvs info [--json] <package.mpk | description.xml>\n");
            return 2;
        } else {
            path = argv[i];
        }
    }
    if (!path) {
        std::fprintf(stderr, "usage: kvs info [--json] <package.mpk | description.xml>\n");
        return 2;
    }
    std::vector<char> bytes;
    if (!readFile(path, bytes))
        return 1;
    if (isPackageData(bytes))
        return printPackageInfo(path, bytes, json);
    return printDescriptionInfo(path, std::string(bytes.begin(), bytes.end()), json);
}

const CommandRegistration registration(
    {"info", "show the graphs, inputs, outputs and presets of a package or material description", runInfo});

} // namespace

} // namespace kvs
