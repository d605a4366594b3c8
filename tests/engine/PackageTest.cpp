// Package container: round trip, reproducibility and defensive reading.
#include "TestAssemblies.h"
#include "ZipBuilder.h"

#include "engine/assembly/AssemblyIO.h"
#include "engine/package/Package.h"
#include "platform/engine/EngineTypes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>

using namespace kvengine;
using kvtest::buildZip;

namespace {

const char* const kDescription = "<sbsdescription content=\"full\" asmuid=\"7\"><graphs/></sbsdescription>";

PackageContents sampleContents() {
    PackageContents contents;
    contents.description = kDescription;
    contents.assembly = writeAssembly(kvtest::singleGraphAssembly(7, kvtest::baseGraph(0)));
    return contents;
}

std::string assemblyText() {
    const std::vector<char> bytes = sampleContents().assembly;
    return std::string(bytes.begin(), bytes.end());
}

Status read(const std::vector<char>& bytes) {
    PackageContents out;
    return readPackage(bytes.data(), bytes.size(), out);
}

// Replaces every occurrence of `from` by `to` (same length) in the archive bytes.
void patchAll(std::vector<char>& bytes, const std::string& from, const std::string& to) {
    auto it = bytes.begin();
    while ((it = std::search(it, bytes.end(), from.begin(), from.end())) != bytes.end())
        it = std::copy(to.begin(), to.end(), it);
}

} // namespace

TEST(Package, RoundTripIsExactAndReproducible) {
    const PackageContents contents = sampleContents();
    const std::vector<char> bytes = writePackage(contents);
    EXPECT_TRUE(looksLikePackage(bytes.data(), bytes.size()));
    EXPECT_FALSE(looksLikeAssembly(bytes.data(), bytes.size()));
    PackageContents back;
    ASSERT_EQ(readPackage(bytes.data(), bytes.size(), back), SubstanceStatus_Ok);
    EXPECT_EQ(back.description, contents.description);
    EXPECT_EQ(back.assembly, contents.assembly);
    EXPECT_EQ(writePackage(contents), bytes);
}

TEST(Package, AnotherZipImplementationReadsWhatTheWriterWrites) {
    const PackageContents contents = sampleContents();
    const std::vector<kvtest::ZipEntry> entries = kvtest::readZip(writePackage(contents));
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].name, "description.xml");
    EXPECT_EQ(entries[0].content, contents.description);
    EXPECT_EQ(entries[1].name, "assembly.bin");
    EXPECT_EQ(entries[1].content, assemblyText());

    // Both of libzip's methods, and empty entries, read back.
    for (bool stored : {false, true}) {
        PackageContents out;
        const std::vector<char> bytes = buildZip({{"description.xml", kDescription, stored},
                                                  {"assembly.bin", assemblyText(), stored},
                                                  {"empty", "", stored}});
        ASSERT_EQ(readPackage(bytes.data(), bytes.size(), out), SubstanceStatus_Ok) << "stored " << stored;
        EXPECT_EQ(out.description, kDescription);
        EXPECT_EQ(std::string(out.assembly.begin(), out.assembly.end()), assemblyText());
    }
}

TEST(Package, RejectsHeadersThatContradictTheDirectoryOrTheData) {
    const std::string marker = "MARKER-MARKER-MARKER";
    const std::vector<char> good =
        buildZip({{"description.xml", marker, true}, {"assembly.bin", assemblyText()}});
    ASSERT_EQ(read(good), SubstanceStatus_Ok);
    const auto statusOf = [&](const std::function<void(std::vector<char>&)>& damage) {
        std::vector<char> bytes = good;
        damage(bytes);
        PackageContents out;
        const Status status = readPackage(bytes.data(), bytes.size(), out);
        EXPECT_EQ(status.reason().rfind("package: ", 0), 0u) << status;
        return status.code();
    };
    // The local header's name, and only that one (the directory's comes later).
    EXPECT_EQ(statusOf([](std::vector<char>& b) {
                  const std::string name = "description.xml";
                  *std::search(b.begin(), b.end(), name.begin(), name.end()) = 'D';
              }),
              SubstanceStatus_InvalidData);
    // The stored entry declares one byte more, or one byte less, than it holds.
    const uint32_t real = static_cast<uint32_t>(marker.size());
    for (uint32_t declared : {real + 1, real - 1}) {
        EXPECT_EQ(statusOf([&](std::vector<char>& b) {
                      patchAll(b,
                               std::string(reinterpret_cast<const char*>(&real), 4) +
                                   std::string(reinterpret_cast<const char*>(&real), 4),
                               std::string(reinterpret_cast<const char*>(&declared), 4) +
                                   std::string(reinterpret_cast<const char*>(&declared), 4));
                  }),
                  SubstanceStatus_InvalidData)
            << declared;
    }
    // Every entry marked encrypted.
    EXPECT_EQ(statusOf([](std::vector<char>& b) {
                  for (const char* signature : {"PK\x03\x04", "PK\x01\x02"}) {
                      const std::string s(signature, 4);
                      for (auto it = b.begin();
                           (it = std::search(it, b.end(), s.begin(), s.end())) != b.end(); it += 4)
                          it[s == "PK\x03\x04" ? 6 : 8] |= 1;
                  }
              }),
              SubstanceStatus_InvalidData);
}

TEST(Package, ExtraEntriesWithSafeNamesAreIgnored) {
    PackageContents out;
    const std::vector<char> bytes = buildZip({{"thumbnail/preview.png", "png"},
                                              {"description.xml", kDescription},
                                              {"assembly.bin", assemblyText()}});
    ASSERT_EQ(readPackage(bytes.data(), bytes.size(), out), SubstanceStatus_Ok);
    EXPECT_EQ(out.description, kDescription);
}

TEST(Package, RejectsWhatIsNotAPackage) {
    const std::vector<char> assembly = sampleContents().assembly;
    EXPECT_FALSE(looksLikePackage(assembly.data(), assembly.size()));
    EXPECT_EQ(read(assembly), SubstanceStatus_InvalidData);
    EXPECT_EQ(read({}), SubstanceStatus_InvalidData);
    PackageContents out;
    EXPECT_EQ(readPackage(nullptr, 4, out), SubstanceStatus_InvalidArgument);

    const std::vector<char> bytes = writePackage(sampleContents());
    for (size_t size = 0; size < bytes.size(); ++size) {
        out.description = "untouched";
        EXPECT_NE(readPackage(bytes.data(), size, out), SubstanceStatus_Ok) << "size " << size;
        EXPECT_EQ(out.description, "untouched");
    }
}

TEST(Package, RejectsMissingEntriesAndBadNames) {
    EXPECT_EQ(read(buildZip({{"description.xml", kDescription}})), SubstanceStatus_InvalidData);
    EXPECT_EQ(read(buildZip({{"assembly.bin", assemblyText()}})), SubstanceStatus_InvalidData);
    EXPECT_EQ(read(buildZip({{"Description.xml", kDescription}, {"assembly.bin", assemblyText()}})),
              SubstanceStatus_InvalidData);
    EXPECT_EQ(read(buildZip({{"sub/description.xml", kDescription}, {"assembly.bin", assemblyText()}})),
              SubstanceStatus_InvalidData);
    for (const char* bad : {"../evil", "/etc/passwd", "a/../../b", "C:/x", "a\\b", ".."}) {
        const std::vector<char> zip =
            buildZip({{bad, "x"}, {"description.xml", kDescription}, {"assembly.bin", assemblyText()}});
        EXPECT_EQ(read(zip), SubstanceStatus_InvalidData) << bad;
    }
    std::vector<char> duplicate = buildZip(
        {{"description.xml", kDescription}, {"description.xmX", "second"}, {"assembly.bin", assemblyText()}});
    patchAll(duplicate, "description.xmX", "description.xml");
    EXPECT_EQ(read(duplicate), SubstanceStatus_InvalidData);
}

TEST(Package, RejectsTooManyEntries) {
    std::vector<kvtest::ZipEntry> entries = {{"description.xml", kDescription},
                                             {"assembly.bin", assemblyText()}};
    for (size_t i = entries.size(); i <= PackageLimits::maxEntries; ++i)
        entries.push_back({"extra" + std::to_string(i), ""});
    EXPECT_EQ(read(buildZip(entries)), SubstanceStatus_LimitExceeded);
    entries.pop_back();
    EXPECT_EQ(read(buildZip(entries)), SubstanceStatus_Ok);
}

TEST(Package, InflationIsCappedWhateverTheHeadersSay) {
    // A few kilobytes that inflate past the description limit.
    const std::string bomb(PackageLimits::maxDescriptionBytes + 1, ' ');
    std::vector<char> zip = buildZip({{"description.xml", bomb}, {"assembly.bin", assemblyText()}});
    ASSERT_LT(zip.size(), 100u * 1024);
    EXPECT_EQ(read(zip), SubstanceStatus_LimitExceeded);

    // The same bomb with its declared sizes rewritten to claim 16 bytes.
    const uint32_t real = static_cast<uint32_t>(bomb.size());
    const std::string realSize(reinterpret_cast<const char*>(&real), 4); // little-endian host
    const uint32_t lie = 16;
    patchAll(zip, realSize, std::string(reinterpret_cast<const char*>(&lie), 4));
    EXPECT_NE(read(zip), SubstanceStatus_Ok);
}

TEST(Package, RejectsCorruptData) {
    const std::string marker = "MARKER-MARKER-MARKER";
    std::vector<char> zip = buildZip({{"description.xml", marker, true}, {"assembly.bin", assemblyText()}});
    ASSERT_EQ(read(zip), SubstanceStatus_Ok);
    patchAll(zip, marker, "MARKER-MARKER-MARKEX"); // stored bytes no longer match the CRC
    EXPECT_EQ(read(zip), SubstanceStatus_InvalidData);

    EXPECT_EQ(read(buildZip({{"description.xml", std::string("a\0b", 3)}, {"assembly.bin", assemblyText()}})),
              SubstanceStatus_InvalidData);

    const std::vector<char> bytes = writePackage(sampleContents());
    for (size_t offset = 0; offset < bytes.size(); ++offset) {
        std::vector<char> damaged = bytes;
        damaged[offset] = static_cast<char>(damaged[offset] ^ 0x5A);
        PackageContents out;
        const Status status = readPackage(damaged.data(), damaged.size(), out); // any status, never a crash
        if (!status.ok()) {                                                     // and every refusal says why
            EXPECT_EQ(status.reason().rfind("package: ", 0), 0u) << status << " at offset " << offset;
        }
    }
}
