// Float textures written as OpenEXR must read back through OpenEXR's own
// reader bit for bit, under the channel names readers expect; a failed write
// leaves neither the file nor its temporary.
#include "tools/images/ImageWriter.h"

#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfInputFile.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

uint32_t bits(float value) {
    uint32_t out;
    std::memcpy(&out, &value, sizeof out);
    return out;
}

float fromBits(uint32_t value) {
    float out;
    std::memcpy(&out, &value, sizeof out);
    return out;
}

// Writes `image` and reads it back through OpenEXR's reader, checking every
// property the writer promises.
void expectRoundTrip(const std::string& path, const kvimage::FloatImage& image) {
    std::string error;
    ASSERT_TRUE(kvimage::writeExr(path, image, error)) << error;
    EXPECT_FALSE(std::filesystem::exists(path + ".tmp"));
    const char* const names[] = {"R", "G", "B", "A"};
    const size_t channels = static_cast<size_t>(image.channels);
    std::vector<std::string> stored; // in file order: sorted by name
    std::vector<float> read(image.texels.size(), -12345.0f);
    try {
        Imf::InputFile file(path.c_str());
        const Imf::Header& header = file.header();
        const Imath::Box2i window = header.dataWindow();
        EXPECT_EQ(header.displayWindow(), window);
        EXPECT_EQ(header.compression(), Imf::ZIP_COMPRESSION);
        for (auto channel = header.channels().begin(); channel != header.channels().end(); ++channel) {
            stored.push_back(channel.name());
            EXPECT_EQ(channel.channel().type, Imf::FLOAT) << channel.name();
        }
        ASSERT_EQ(window, Imath::Box2i({0, 0}, {image.width - 1, image.height - 1}));
        Imf::FrameBuffer frame;
        const size_t stride = channels * sizeof(float);
        for (size_t c = 0; c < channels; ++c) {
            frame.insert(channels == 1 ? "Y" : names[c],
                         Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(read.data() + c), stride,
                                    stride * static_cast<size_t>(image.width), 1, 1, -12345.0));
        }
        file.setFrameBuffer(frame);
        file.readPixels(0, image.height - 1);
    } catch (const std::exception& e) {
        FAIL() << "OpenEXR cannot read it: " << e.what();
    }
    const std::vector<std::string> sorted = channels == 1   ? std::vector<std::string>{"Y"}
                                            : channels == 3 ? std::vector<std::string>{"B", "G", "R"}
                                                            : std::vector<std::string>{"A", "B", "G", "R"};
    EXPECT_EQ(stored, sorted);
    size_t wrong = 0, first = 0;
    for (size_t i = 0; i < read.size(); ++i) {
        if (bits(read[i]) != bits(image.texels[i]) && wrong++ == 0)
            first = i;
    }
    EXPECT_EQ(wrong, 0u) << "first at texel " << first / channels << " channel " << first % channels << ": "
                         << read[first] << " instead of " << image.texels[first];
}

kvimage::FloatImage blankImage(int width, int height, int channels) {
    kvimage::FloatImage out;
    out.width = width;
    out.height = height;
    out.channels = channels;
    out.texels.resize(static_cast<size_t>(width) * static_cast<size_t>(height) *
                      static_cast<size_t>(channels));
    return out;
}

TEST(ExrWriting, EveryLayoutReadsBackBitExactly) {
    // Every value distinct, so that swapped channels or rows show; every tenth
    // one of the values a float holds beyond 0..1.
    const float specials[] = {fromBits(0x7fc12345u), // NaN with a payload
                              std::numeric_limits<float>::infinity(),
                              -std::numeric_limits<float>::infinity(),
                              -0.0f,
                              std::numeric_limits<float>::denorm_min(),
                              3.0e38f,
                              -1.0e-30f};
    const std::string path = testing::TempDir() + "/layout.exr";
    // One texel; odd sides; more rows than one ZIP chunk of 16, the last one short.
    const struct { int width, height; } sizes[] = {{1, 1}, {7, 3}, {1, 17}, {33, 40}};
    for (const auto& size : sizes) {
        for (int channels : {1, 3, 4}) {
            SCOPED_TRACE(std::to_string(size.width) + "x" + std::to_string(size.height) + ", " +
                         std::to_string(channels) + " channels");
            kvimage::FloatImage written = blankImage(size.width, size.height, channels);
            for (size_t i = 0; i < written.texels.size(); ++i)
                written.texels[i] =
                    i % 10 == 0 ? specials[(i / 10) % 7] : static_cast<float>(i) * 0.73f - 11.0f;
            expectRoundTrip(path, written);
        }
    }
}

TEST(ExrWriting, ChunksThatZipCannotShrinkReadBackBitExactly) {
    // Tiny gradients of 8-bit values, like the small mip levels of a render:
    // about one in thirty compresses to exactly its own size, where the chunk
    // must be stored raw.
    const std::string path = testing::TempDir() + "/tiny.exr";
    std::mt19937 random(5);
    for (int round = 0; round < 1000; ++round) {
        const int channels = round % 3 == 0 ? 1 : round % 3 == 1 ? 3 : 4;
        const int width = 1 + static_cast<int>(random() % 4), height = 1 + static_cast<int>(random() % 4);
        const int dx = static_cast<int>(random() % 7) - 3, dy = static_cast<int>(random() % 7) - 3;
        int base[4];
        for (int& b : base)
            b = static_cast<int>(random() % 256);
        kvimage::FloatImage written = blankImage(width, height, channels);
        for (size_t i = 0; i < written.texels.size(); ++i) {
            const int texel = static_cast<int>(i) / channels;
            const int level =
                base[i % static_cast<size_t>(channels)] + dx * (texel % width) + dy * (texel / width);
            written.texels[i] = static_cast<float>((level + 256) % 256) / 255.0f;
        }
        SCOPED_TRACE("round " + std::to_string(round));
        expectRoundTrip(path, written);
        if (testing::Test::HasFailure())
            return;
    }
}

TEST(ExrWriting, FailuresLeaveOneLineAndNoFile) {
    const std::string dir = testing::TempDir();
    const kvimage::FloatImage good = blankImage(7, 3, 4);
    kvimage::FloatImage shortTexels = blankImage(7, 3, 3);
    shortTexels.texels.pop_back();
    const struct {
        const char* what;
        std::string path;
        kvimage::FloatImage image;
    } cases[] = {
        {"missing folder", dir + "/no-such-folder/out.exr", good},
        {"no texels", dir + "/empty.exr", blankImage(0, 0, 4)},
        {"no rows", dir + "/flat.exr", blankImage(5, 0, 1)},
        {"two channels", dir + "/two.exr", blankImage(2, 2, 2)},
        {"texels short of the size", dir + "/short.exr", shortTexels},
    };
    for (const auto& bad : cases) {
        SCOPED_TRACE(bad.what);
        std::filesystem::remove(bad.path); // left by an earlier run
        std::string error;
        EXPECT_FALSE(kvimage::writeExr(bad.path, bad.image, error));
        EXPECT_EQ(error.rfind(bad.path + ": cannot write (", 0), 0u) << error;
        EXPECT_EQ(error.find('\n'), std::string::npos) << error;
        EXPECT_FALSE(std::filesystem::exists(bad.path));
        EXPECT_FALSE(std::filesystem::exists(bad.path + ".tmp"));
    }
}

TEST(ExrWriting, FailingAfterTheHeaderRemovesTheTemporaryAndKeepsTheOldFile) {
    // A pipe as the temporary takes the header and the texels but cannot seek
    // back for the chunk offsets, written last.
    const std::string path = testing::TempDir() + "/kept.exr";
    const std::string temporary = path + ".tmp";
    std::filesystem::remove(path);
    std::filesystem::remove(temporary);
    std::ofstream(path, std::ios::binary) << "previous";
    ASSERT_EQ(mkfifo(temporary.c_str(), 0600), 0);
    // Open for reading first, without waiting, so that opening for writing
    // does not block; the small file fits in the pipe.
    const int reader = open(temporary.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    std::string error;
    kvimage::FloatImage written = blankImage(7, 3, 4);
    const bool wrote = kvimage::writeExr(path, written, error);
    close(reader);
    EXPECT_FALSE(wrote);
    EXPECT_EQ(error.rfind(path + ": cannot write (", 0), 0u) << error;
    EXPECT_EQ(error.find('\n'), std::string::npos) << error;
    EXPECT_FALSE(std::filesystem::exists(temporary));
    // Not the pipe renamed into place, which would block the reading below.
    ASSERT_TRUE(std::filesystem::is_regular_file(path));
    std::string kept;
    std::ifstream(path) >> kept;
    EXPECT_EQ(kept, "previous");
}

} // namespace
