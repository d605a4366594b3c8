// Package files into byte buffers, and two buffers into a material.
#include "bridge/SubstanceBridge.h"
#include "framework/description/PackageDesc.h"
#include "framework/description/FormatFallback.h"
#include "framework/render/internal/KeptPackages.h"
#include "material/Substance.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>

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
    // Read to the end rather than to a size taken up front: a stream on a
    // directory or a device reports sizes that mean nothing.
    char chunk[1 << 16];
    while (file.read(chunk, sizeof chunk) || file.gcount() > 0) {
        content.insert(content.end(), chunk, chunk + file.gcount());
    }
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
