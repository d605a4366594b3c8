// Package files into byte buffers, and two buffers into a material.
#include "bridge/SubstanceBridge.h"
#include "framework/description/FormatFallback.h"
#include "framework/description/PackageDesc.h"
#include "framework/render/internal/KeptPackages.h"
#include "material/Substance.h"

#include <algorithm>
#include <cstdio>
#include <fstream>

namespace kvSubstance {

namespace {

// Both readers take the size the file reports and read at most that much,
// growing the buffer only as bytes arrive: a directory or a device reports
// sizes that mean nothing, and must not turn into one huge allocation.
const size_t kChunkBytes = size_t(1) << 20;

} // namespace

void readSubstanceContent(const kvString::IString& path, kv::vector<char>& content) {
    std::FILE* file = std::fopen(path.asMultibyte(kvString::Multibyte).asChar(), "rb");
    if (file == nullptr) {
        return;
    }
    long size = -1;
    if (std::fseek(file, 0, SEEK_END) == 0) {
        size = std::ftell(file);
    }
    kv::vector<char> bytes;
    bool failed = size < 0 || std::fseek(file, 0, SEEK_SET) != 0;
    for (size_t left = failed ? 0 : static_cast<size_t>(size); left > 0 && !failed;) {
        const size_t want = std::min(left, kChunkBytes);
        const size_t start = bytes.size();
        bytes.resize(start + want);
        const size_t got = std::fread(bytes.data() + start, 1, want, file);
        bytes.resize(start + got);
        failed = std::ferror(file) != 0;
        left = got == want ? left - got : 0;
    }
    std::fclose(file);
    if (!failed) {
        content.swap(bytes);
    }
}

void readSubstanceContentAsChar(const kvString::IString& path, kv::vector<char>& content) {
    content.clear();
    std::ifstream file(path.asMultibyte(kvString::Multibyte).asChar(), std::ios::in | std::ios::binary);
    file.seekg(0, std::ios::end);
    const std::streamoff size = file ? static_cast<std::streamoff>(file.tellg()) : -1;
    file.seekg(0, std::ios::beg);
    if (size <= 0 || !file) {
        return;
    }
    for (std::streamoff left = size; left > 0;) {
        const size_t want = static_cast<size_t>(std::min<std::streamoff>(left, kChunkBytes));
        const size_t start = content.size();
        content.resize(start + want);
        file.read(content.data() + start, static_cast<std::streamsize>(want));
        const size_t got = static_cast<size_t>(file.gcount());
        content.resize(start + got);
        left = got == want ? left - static_cast<std::streamoff>(got) : 0;
    }
}

namespace {

// The host's options: every format class, mip maps as described.
SubstanceAir::PackageDesc* loadKept(const kv::vector<char>& bytes) {
    const SubstanceAir::OutputFormatOptions options = {SubstanceAir::AllFormatClasses, 0};
    return SubstanceAir::keepUntilExit(std::unique_ptr<SubstanceAir::PackageDesc>(
        new SubstanceAir::PackageDesc(bytes.data(), bytes.size(), &options)));
}

} // namespace

kv::Reference<Substance> createSubstance(const kv::vector<char>& first, const kv::vector<char>& second) {
    SubstanceAir::PackageDesc* bottom = loadKept(first);
    SubstanceAir::PackageDesc* top = loadKept(second);
    return createSubstance(bottom, top);
}

kv::Reference<Substance> createSubstance(const kv::vector<char>& package) {
    return createSubstance(loadKept(package));
}

} // namespace kvSubstance
