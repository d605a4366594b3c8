// Package files into byte buffers, and two buffers into a material.
#include "bridge/SubstanceBridge.h"
#include "framework/description/PackageDesc.h"
#include "framework/description/FormatFallback.h"
#include "framework/render/KeptPackages.h"
#include "material/Substance.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <vector>

namespace kvSubstance {

void readSubstanceContent(const kvString::IString& path, kv::vector<char>& content) {
    std::FILE* file = std::fopen(path.asMultibyte(kvString::Multibyte).asChar(), "rb");
    if (file == nullptr) {
        return;
    }
    long size = -1;
    if (std::fseek(file, 0, SEEK_END) == 0) {
        size = std::ftell(file);
    }
    // A size that cannot be taken (a directory, a pipe) reads as unopenable.
    if (size < 0 || std::fseek(file, 0, SEEK_SET) != 0) {
        std::fclose(file);
        return;
    }
    char* block = static_cast<char*>(std::malloc(static_cast<size_t>(size) + 1));
    if (block == nullptr) {
        std::fclose(file);
        return;
    }
    const size_t read = std::fread(block, 1, static_cast<size_t>(size), file);
    const bool failed = std::ferror(file) != 0;
    std::fclose(file);
    if (failed) {
        std::free(block);
        return;
    }
    block[read] = '\0';
    content.assign(block, block + read);
    std::free(block);
}

void readSubstanceContentAsChar(const kvString::IString& path, kv::vector<char>& content) {
    content.clear();
    std::ifstream file(path.asMultibyte(kvString::Multibyte).asChar(), std::ios::in | std::ios::binary);
    if (!file) {
        return;
    }
    file.seekg(0, std::ios::end);
    const std::streamoff size = file.tellg();
    if (size <= 0) {
        return;
    }
    std::vector<char> bytes(static_cast<size_t>(size));
    file.seekg(0, std::ios::beg);
    file.read(bytes.data(), size);
    content.insert(content.end(), bytes.begin(), bytes.begin() + file.gcount());
}

kv::Reference<Substance> createSubstance(const kv::vector<char>& first, const kv::vector<char>& second) {
    const SubstanceAir::OutputFormatOptions options = {SubstanceAir::AllFormatClasses, 0};
    const auto load = [&](const kv::vector<char>& bytes) {
        return SubstanceAir::keepUntilExit(std::unique_ptr<SubstanceAir::PackageDesc>(
            new SubstanceAir::PackageDesc(bytes.data(), bytes.size(), &options)));
    };
    SubstanceAir::PackageDesc* bottom = load(first);
    SubstanceAir::PackageDesc* top = load(second);
    return createSubstance(bottom, top);
}

} // namespace kvSubstance
