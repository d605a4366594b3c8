// kvs info: what a package or a material description holds.
#include "tools/kvs/Cli.h"
#include "tools/kvs/DescriptionPrinter.h"
#include "tools/kvs/Material.h"
#include "tools/kvs/PackageInfo.h"

#include "engine/package/Package.h"

#include <string>
#include <vector>

namespace kvs {

namespace {

int runInfo(const ParsedArgs& args) {
    if (args.operands.size() != 1) {
        throw UsageError(args.operands.empty() ? "no file given" : "one file at a time");
    }
    const std::string& path = args.operands[0];
    // Nothing larger is a package, and a description is smaller still.
    const std::vector<char> bytes = readInputFile(path, kvengine::PackageLimits::maxPackageBytes);
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
