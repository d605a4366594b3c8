#include "SampleMaterial.h"

#include "bridge/SubstanceBridge.h"

#include <sys/resource.h>

#include <fstream>
#include <string>

namespace kvbench {

namespace {

kv::vector<char> readSample(const char* name) {
    kv::vector<char> bytes;
    const std::string path = std::string(KV_BINARY_DIR "/samples/") + name + ".mpk";
    kvSubstance::readSubstanceContent(kvString::IString(path.c_str(), kvString::Multibyte), bytes);
    return bytes;
}

// A "<field>: <n> kB" line of /proc/self/status, in bytes.
std::size_t statusField(const char* field) {
    std::ifstream status("/proc/self/status");
    const std::string prefix = std::string(field) + ":";
    for (std::string line; std::getline(status, line);) {
        if (line.compare(0, prefix.size(), prefix) == 0)
            return static_cast<std::size_t>(std::stoull(line.substr(prefix.size()))) * 1024;
    }
    return 0;
}

} // namespace

const SamplePackages& samplePackages() {
    static const SamplePackages packages{readSample("stone_tiles"), readSample("tint")};
    return packages;
}

kv::Reference<kvSubstance::Substance> createSampleMaterial() {
    const SamplePackages& packages = samplePackages();
    if (!packages.loaded())
        return kv::Reference<kvSubstance::Substance>();
    kv::Reference<kvSubstance::Substance> material =
        kvSubstance::createSubstance(packages.base, packages.effect);
    if (material->getGraphInstances().empty())
        return kv::Reference<kvSubstance::Substance>();
    return material;
}

bool setOutputSize(const kv::Reference<kvSubstance::Substance>& material, int log2) {
    kvSubstance::SubstanceInput* size = material->getInput("$outputsize");
    if (size == nullptr)
        return false;
    size->setValue2I(log2, log2);
    kvSubstance::syncValueFromSubstanceInputToInputInstanceBase(material, size);
    return true;
}

std::size_t residentBytes() {
    return statusField("VmRSS");
}

std::size_t residentPeakBytes() {
    return statusField("VmHWM");
}

long minorFaults() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

} // namespace kvbench
