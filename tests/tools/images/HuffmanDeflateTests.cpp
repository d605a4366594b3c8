// The Huffman-only zlib streams must inflate, through zlib itself, to the
// bytes given, whatever their distribution: one value, skewed enough to
// need length-limited codes, uniform, and across block boundaries.
#include "tools/images/HuffmanDeflate.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace {

// The stream's bytes after inflating; a message instead when zlib refuses it.
std::string roundTrip(const std::vector<unsigned char>& data, size_t* compressedSize = nullptr) {
    std::vector<unsigned char> stream(kvimage::huffmanZlibBound(data.size()));
    stream.resize(kvimage::writeHuffmanZlib(data.data(), data.size(), stream.data()));
    if (compressedSize != nullptr)
        *compressedSize = stream.size();
    std::vector<unsigned char> inflated(data.size() + 1);
    uLongf length = static_cast<uLongf>(inflated.size());
    const int status = uncompress(inflated.data(), &length, stream.data(), static_cast<uLong>(stream.size()));
    if (status != Z_OK)
        return "zlib status " + std::to_string(status);
    return std::string(inflated.begin(), inflated.begin() + static_cast<std::ptrdiff_t>(length));
}

std::string text(const std::vector<unsigned char>& data) {
    return std::string(data.begin(), data.end());
}

TEST(HuffmanZlib, InflatesToTheBytesOfEveryDistribution) {
    std::mt19937 random(7);
    std::vector<std::pair<std::string, std::vector<unsigned char>>> cases;
    cases.push_back({"empty", {}});
    cases.push_back({"one byte", {42}});
    cases.push_back({"one value", std::vector<unsigned char>(100000, 0)});
    std::vector<unsigned char> uniform(3 * (size_t(1) << 20) + 12345);
    for (unsigned char& byte : uniform)
        byte = static_cast<unsigned char>(random());
    cases.push_back({"uniform over several blocks", uniform});
    // Counts doubling per value make a Huffman tree as deep as there are
    // values: past 15 bits the counts must be flattened.
    std::vector<unsigned char> skewed;
    for (int value = 0; value < 24; ++value)
        skewed.insert(skewed.end(), size_t(1) << (value < 20 ? value : 20 - (value - 20)),
                      static_cast<unsigned char>(value));
    std::shuffle(skewed.begin(), skewed.end(), random);
    cases.push_back({"skewed past 15-bit codes", skewed});
    std::geometric_distribution<int> residuals(0.3);
    std::vector<unsigned char> small(size_t(1) << 20); // exactly one block
    for (unsigned char& byte : small)
        byte = static_cast<unsigned char>(residuals(random) * (random() & 1 ? 1 : -1));
    cases.push_back({"small residuals, one whole block", small});
    for (const auto& [name, data] : cases)
        EXPECT_EQ(roundTrip(data), text(data)) << name;
}

TEST(HuffmanZlib, CodesSkewedBytesInFewerBitsAndNothingMuchLonger) {
    std::mt19937 random(11);
    std::geometric_distribution<int> residuals(0.5);
    std::vector<unsigned char> skewed(200000);
    for (unsigned char& byte : skewed)
        byte = static_cast<unsigned char>(residuals(random));
    size_t compressed = 0;
    ASSERT_EQ(roundTrip(skewed, &compressed), text(skewed));
    // The entropy of this distribution is 2 bits a byte.
    EXPECT_LT(compressed, skewed.size() * 2 / 8 * 105 / 100);

    std::vector<unsigned char> uniform(200000);
    for (unsigned char& byte : uniform)
        byte = static_cast<unsigned char>(random());
    ASSERT_EQ(roundTrip(uniform, &compressed), text(uniform));
    EXPECT_LT(compressed, uniform.size() + 1000);
}

} // namespace
