// kvs info: what a package or a material description holds.
#include "tools/kvs/Cli.h"
#include "tools/kvs/DescriptionPrinter.h"
#include "tools/kvs/Material.h"
#include "tools/kvs/PackageInfo.h"

#include <string>
#include <vector>

namespace kvs {

namespace {

// Files beyond this size are neither packages nor descriptions we accept.
constexpr size_t kMaxInputBytes = size_t(256) << 20;

int runInfo(const ParsedArgs& args) {
    if (args.operands.size() != 1) {
        throw UsageError(args.operands.empty() ? "no file given" : "one file at a time");
    }
    const std::string& path = args.operands[0];
    const std::vector<char> bytes = readInputFile(path, kMaxInputBytes);
    if (isPackageData(bytes))
        return printPackageInfo(path, bytes, args.has("--json"));
    return printDescriptionInfo(path, std::string(bytes.begin(), bytes.end()), args.has("--json"));
}

const CommandRegistration registration({
    "info",
    "show the graphs, inputs, outputs and presets of a package or material description",
    "FILE",
    {{"--json", nullptr, "print JSON instead of text"}},
    runInfo,
    "FILE is a package (.mpk) or a host-side material description (.xml).",
});

} // namespace

} // namespace kvs
