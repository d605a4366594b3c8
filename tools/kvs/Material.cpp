#include "tools/kvs/Material.h"

#include "tools/kvs/Cli.h"

#include "bridge/SubstanceBridge.h"
#include "engine/api/FailureReason.h"
#include "engine/package/Package.h"
#include "framework/render/PackageStackDesc.h"

#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>

namespace kvs {

std::vector<char> readInputFile(const std::string& path, size_t maxBytes) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    if (!file) {
        throw Failure("cannot open " + path + ": " + std::strerror(errno));
    }
    const std::streamoff size = file.tellg();
    if (size < 0) {
        throw Failure("cannot read " + path + ": not a regular file");
    }
    if (static_cast<unsigned long long>(size) > maxBytes) {
        throw Failure(path + " is larger than " + std::to_string(maxBytes >> 20) + " MiB");
    }
    std::vector<char> bytes(static_cast<size_t>(size));
    file.seekg(0);
    if (!file.read(bytes.data(), size)) {
        throw Failure("cannot read " + path);
    }
    return bytes;
}

std::string graphFileName(const std::string& url) {
    const size_t cut = url.find_last_of("/:");
    std::string name = url.substr(cut == std::string::npos ? 0 : cut + 1);
    for (char& c : name) {
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_' && c != '-' && c != '.') {
            c = '_';
        }
    }
    return name.empty() || name[0] == '.' ? "graph" + name : name;
}

Material::Material(const std::string& package, const std::string& stack) {
    mBottom = load(package);
    if (stack.empty()) {
        mModel = kvSubstance::createSubstance(mBottom.get());
        mStem = graphFileName(mBottom->graphs().front().packageUrl);
    } else {
        mTop = load(stack);
        mModel = kvSubstance::createSubstance(mBottom.get(), mTop.get());
        const SubstanceAir::PackageStackDesc* stacked = mModel->getPackageStackDesc();
        if (mModel->getGraphInstances().empty()) {
            throw Failure("cannot stack " + stack + " on " + package + ": " + stacked->loadProblem());
        }
        mStem = graphFileName(mBottom->graphs().front().packageUrl) + "+" +
                graphFileName(mTop->graphs().front().packageUrl);
    }
}

Material::~Material() = default;

std::unique_ptr<SubstanceAir::PackageDesc> Material::load(const std::string& path) {
    const std::vector<char> bytes = readInputFile(path, kvengine::PackageLimits::maxPackageBytes);
    mInputFiles.push_back(path);
    const SubstanceAir::OutputFormatOptions options = {SubstanceAir::AllFormatClasses, 0};
    kvengineClearFailure();
    std::unique_ptr<SubstanceAir::PackageDesc> package(
        new SubstanceAir::PackageDesc(bytes.data(), bytes.size(), &options));
    if (!package->loadProblem().empty()) {
        // The linker's reason says more than the framework's summary of it.
        const std::string reason = kvengine::lastFailure();
        throw Failure(path + ": " + (reason.empty() ? package->loadProblem() : "not a package: " + reason));
    }
    return package;
}

kvSubstance::SubstanceInput& Material::input(const std::string& identifier) const {
    if (kvSubstance::SubstanceInput* found = mModel->getInput(kvString::CString(identifier.c_str()))) {
        return *found;
    }
    std::vector<std::string> identifiers;
    std::string list;
    for (const kvString::CString& id : mModel->getInputIds()) {
        identifiers.push_back(id.str());
        list += (list.empty() ? "" : ", ") + id.str();
    }
    const std::string near = closest(identifier, identifiers);
    throw Failure("no input " + identifier +
                  (near.empty() ? " (inputs: " + list + ")" : " (did you mean " + near + "?)"));
}

} // namespace kvs
