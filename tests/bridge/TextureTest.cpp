// Textures through the library as a host gets them: from package files to an
// image, edits, the cache, the state string round trip, the conversion rules
// of the "Output" result, and two host threads rendering at once.
#include "SampleFiles.h"

#include "bridge/SubstanceBridge.h"
#include "material/Substance.h"
#include "tools/compiler/PackageCompiler.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>

using kvSubstance::Substance;

namespace {

kv::Reference<Substance> sampleMaterial(const std::string& base) {
    return kvSubstance::createSubstance(kvtest::sampleBytes(base), kvtest::sampleBytes("tint"));
}

std::vector<unsigned char> pixelsOf(const kv::TempReference<ilSIDImage>& image) {
    const auto* memory = dynamic_cast<const ilSPMemoryImg*>(image.get());
    if (memory == nullptr) {
        return {};
    }
    return std::vector<unsigned char>(memory->getData(), memory->getData() + memory->getDataSize());
}

void set(kv::Reference<Substance> m, const char* identifier, float value) {
    m->getInput(identifier)->setValueF(value, 0);
    kvSubstance::syncValueFromSubstanceInputToInputInstanceBase(m, m->getInput(identifier));
}

void setSize(kv::Reference<Substance> m, int log2Width, int log2Height) {
    m->getInput("$outputsize")->setValue2I(log2Width, log2Height);
    kvSubstance::syncValueFromSubstanceInputToInputInstanceBase(m, m->getInput("$outputsize"));
}

using SampleTexture = kvtest::SampleTest;

TEST_F(SampleTexture, FromFilesToTextureAndBackThroughTheStateString) {
    kv::Reference<Substance> m = sampleMaterial("stone_tiles");
    ASSERT_EQ(m->getGraphInstances().size(), 1u);
    ASSERT_NE(m->getInput("wear"), nullptr);   // from the base
    ASSERT_NE(m->getInput("amount"), nullptr); // from the effect
    EXPECT_EQ(m->getInput("input"), nullptr);  // the effect's image input is fed by the base

    kv::TempReference<ilSIDImage> first = kvSubstance::getTextureFromSubstance(m.get());
    ASSERT_TRUE(first);
    EXPECT_EQ(first->getSize().x, 512);
    EXPECT_EQ(first->getSize().y, 512);
    EXPECT_EQ(first->getSize().channels, 4);
    // Nothing changed: nothing rendered, the same image back.
    EXPECT_EQ(kvSubstance::getTextureFromSubstance(m.get()).get(), first.get());
    // A host edit reaches the texture only once synchronised.
    m->getInput("wear")->setValueF(0.95f, 0);
    EXPECT_EQ(kvSubstance::getTextureFromSubstance(m.get()).get(), first.get());
    kvSubstance::syncValueFromSubstanceInputToInputInstanceBase(m, m->getInput("wear"));
    set(m, "amount", 0.3f);
    const std::vector<unsigned char> edited = pixelsOf(kvSubstance::getTextureFromSubstance(m.get()));
    EXPECT_NE(edited, pixelsOf(first));

    kv::Reference<Substance> fresh = sampleMaterial("stone_tiles");
    EXPECT_EQ(pixelsOf(kvSubstance::getTextureFromSubstance(fresh.get())), pixelsOf(first));
    fresh->applyStateString(m->getStateString());
    EXPECT_EQ(pixelsOf(kvSubstance::getTextureFromSubstance(fresh.get())), edited);
}

TEST_F(SampleTexture, SizeAndSeedChangesRenderInPlace) {
    kv::Reference<Substance> m = sampleMaterial("stone_tiles");
    setSize(m, 8, 7);
    kv::TempReference<ilSIDImage> small = kvSubstance::getTextureFromSubstance(m.get());
    ASSERT_TRUE(small);
    EXPECT_EQ(small->getSize().x, 256);
    EXPECT_EQ(small->getSize().y, 128);
    m->getInput("$randomseed")->setValueI(41, 0);
    kvSubstance::syncValueFromSubstanceInputToInputInstanceBase(m, m->getInput("$randomseed"));
    const std::vector<unsigned char> reseeded = pixelsOf(kvSubstance::getTextureFromSubstance(m.get()));
    EXPECT_EQ(reseeded.size(), pixelsOf(small).size());
    EXPECT_NE(reseeded, pixelsOf(small));
}

TEST_F(SampleTexture, TwoHostThreadsRenderTheirOwnMaterials) {
    const auto reference = [](const std::string& base, float amount) {
        kv::Reference<Substance> m = sampleMaterial(base);
        setSize(m, 6, 6);
        set(m, "amount", amount);
        return pixelsOf(kvSubstance::getTextureFromSubstance(m.get()));
    };
    const std::string bases[2] = {"stone_tiles", "cracked_earth"};
    std::vector<unsigned char> expected[2][2];
    for (int t = 0; t < 2; ++t) {
        expected[t][0] = reference(bases[t], 0.2f);
        expected[t][1] = reference(bases[t], 0.9f);
    }
    int mismatches[2] = {0, 0};
    std::vector<std::thread> hosts;
    for (int t = 0; t < 2; ++t) {
        hosts.emplace_back([&, t] {
            kv::Reference<Substance> m = sampleMaterial(bases[t]);
            setSize(m, 6, 6);
            for (int i = 0; i < 12; ++i) {
                set(m, "amount", i % 2 == 0 ? 0.2f : 0.9f);
                if (pixelsOf(kvSubstance::getTextureFromSubstance(m.get())) != expected[t][i % 2]) {
                    ++mismatches[t];
                }
            }
        });
    }
    for (std::thread& host : hosts) {
        host.join();
    }
    EXPECT_EQ(mismatches[0], 0);
    EXPECT_EQ(mismatches[1], 0);
}

// A one-graph package of a uniform colour (51, 102, 153, 255) at 256 x 128.
kv::vector<char> uniformPackage(const std::string& identifier, const std::string& format, int mipmaps) {
    const std::string source = R"({"graphs": [{"url": "pkg://uniform", "inputs": [
        {"identifier": "$outputsize", "type": "int2", "default": [8, 7]}],
      "outputs": [{"identifier": ")" +
                               identifier + R"(", "format": ")" + format + R"(", "mipmaps": )" +
                               std::to_string(mipmaps) + R"(, "node": "paint"}],
      "nodes": [{"id": "paint", "kind": "color.uniform", "params": {"color": [0.2, 0.4, 0.6, 1]}}]}]})";
    const std::vector<char> bytes = kvcompiler::compilePackageSource(source, "uniform.json").bytes;
    return kv::vector<char>(bytes.begin(), bytes.end());
}

TEST(TextureConversion, OnlyTheFullLevelOfAn8BitRgbaOutputBecomesTheImage) {
    const kv::vector<char> effect = uniformPackage("Other", "rgba8", 0);
    kv::Reference<Substance> mipmapped =
        kvSubstance::createSubstance(uniformPackage("Output", "rgba8", 0), effect);
    // The effect has no image input, so the stack renders the effect's graph: "Other".
    EXPECT_FALSE(kvSubstance::getTextureFromSubstance(mipmapped.get()));

    kv::Reference<Substance> m = kvSubstance::createSubstance(effect, uniformPackage("Output", "rgba8", 0));
    const std::vector<unsigned char> pixels = pixelsOf(kvSubstance::getTextureFromSubstance(m.get()));
    ASSERT_EQ(pixels.size(), 256u * 128u * 4u);
    const unsigned char colour[] = {51, 102, 153, 255};
    for (size_t i = 0; i < pixels.size(); ++i) {
        ASSERT_EQ(pixels[i], colour[i % 4]) << i;
    }

    for (const char* format : {"rgba16", "l8", "rgba32f"}) {
        kv::Reference<Substance> other =
            kvSubstance::createSubstance(effect, uniformPackage("Output", format, 1));
        EXPECT_FALSE(kvSubstance::getTextureFromSubstance(other.get())) << format;
    }
    kv::Reference<Substance> lowerCase =
        kvSubstance::createSubstance(effect, uniformPackage("output", "rgba8", 1));
    EXPECT_FALSE(kvSubstance::getTextureFromSubstance(lowerCase.get()));
}

} // namespace
