#include "engine/evaluator/PixelFormats.h"

#include "engine/evaluator/Evaluator.h"
#include "engine/evaluator/UnitBytes.h"
#include "engine/formats/HalfFloat.h"
#include "engine/formats/TextureDecoder.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace kvengine {

namespace {

// Clamped to [0, 1]; NaN gives 0. Written as two selects that map onto
// the vector max and min instructions, so that conversion loops vectorise.
inline float unit(float v) {
    const float positive = v > 0.0f ? v : 0.0f;
    return positive < 1.0f ? positive : 1.0f;
}

struct StoreUnit8 {
    uint8_t operator()(float v) const { return unitByte(v); }
};
struct StoreUnit16 {
    uint16_t operator()(float v) const { return static_cast<uint16_t>(unit(v) * 65535.0f + 0.5f); }
};
struct StoreHalf {
    uint16_t operator()(float v) const { return floatToHalf(v); }
};
struct StoreFloat {
    float operator()(float v) const { return v; }
};

// Interleaves float rows into texels of Channels samples of type T, a texel
// at a time so that the compiler can vectorise the conversion and the
// interleaving together; with Opaque the last channel is the value 1.
// Nothing about the format is decided per texel.
template <typename T, int Channels, bool Opaque, typename Store>
void interleaveTexels(const float* const rgba[4], int width, unsigned char* out, Store store) {
    constexpr int stored = Opaque ? Channels - 1 : Channels;
    const T one = store(1.0f);
    for (int x = 0; x < width; ++x) {
        T texel[Channels];
        for (int c = 0; c < stored; ++c)
            texel[c] = store(rgba[c][x]);
        if (Opaque)
            texel[Channels - 1] = one;
        // Rows need not be aligned for T.
        std::memcpy(out + static_cast<size_t>(x) * sizeof(texel), texel, sizeof(texel));
    }
}

// Rows: one per channel of the format; only the fourth may be null (opaque).
template <typename T, typename Store>
void interleaveRow(const float* const rgba[4], int channels, int width, unsigned char* out, Store store) {
    if (channels == 4 && rgba[3] == nullptr)
        interleaveTexels<T, 4, true>(rgba, width, out, store);
    else if (channels == 4)
        interleaveTexels<T, 4, false>(rgba, width, out, store);
    else if (channels == 3)
        interleaveTexels<T, 3, false>(rgba, width, out, store);
    else
        interleaveTexels<T, 1, false>(rgba, width, out, store);
}

// Writes one row of texels from up to four float rows (null alpha: opaque).
void writeRow(const TexelFormat& format, const float* const input[4], int width, unsigned char* out) {
    const float* rgba[4] = {input[0], input[1], input[2], format.alphaForcedOne ? nullptr : input[3]};
    if (!format.isFloat && format.channelBytes == 1 && format.channels != 3) {
        if (format.channels == 4)
            unitBytesRgba(rgba, width, out);
        else
            unitBytesGray(rgba[0], width, out);
    } else if (format.isFloat && format.channelBytes == 4)
        interleaveRow<float>(rgba, format.channels, width, out, StoreFloat());
    else if (format.isFloat)
        interleaveRow<uint16_t>(rgba, format.channels, width, out, StoreHalf());
    else if (format.channelBytes == 2)
        interleaveRow<uint16_t>(rgba, format.channels, width, out, StoreUnit16());
    else
        interleaveRow<uint8_t>(rgba, format.channels, width, out, StoreUnit8());
}

// Below this many texels a level is converted or halved on the calling
// thread: waking the pool costs more than the work (the last ten levels of
// a mip chain were a third of a gray output's conversion with two threads).
constexpr size_t kParallelTexels = size_t(1) << 16;

// body(y0, y1) over the rows of a width x height level, on the pool when it is large enough.
template <typename Body>
void forRows(const Parallel& parallel, int width, int height, Body&& body) {
    if (static_cast<size_t>(width) * static_cast<size_t>(height) < kParallelTexels)
        body(0, height);
    else
        parallel.run(height, body);
}

void writeLevel(const Image& image, const TexelFormat& format, unsigned char* buffer,
                const Parallel& parallel) {
    const int width = image.width();
    const size_t rowBytes = static_cast<size_t>(width) * format.texelBytes();
    forRows(parallel, width, image.height(), [&](int y0, int y1) {
        std::vector<float> luma;
        for (int y = y0; y < y1; ++y) {
            const float* rows[4] = {nullptr, nullptr, nullptr, nullptr};
            if (format.channels == 1 && image.channels() == 4) {
                luma.resize(static_cast<size_t>(width));
                const float *r = image.row(0, y), *g = image.row(1, y), *b = image.row(2, y);
                for (int x = 0; x < width; ++x)
                    luma[static_cast<size_t>(x)] = 0.2126f * r[x] + 0.7152f * g[x] + 0.0722f * b[x];
                rows[0] = luma.data();
            } else {
                for (int c = 0; c < 4; ++c) {
                    const float* plane = image.colourPlane(c);
                    rows[c] = plane ? plane + static_cast<size_t>(y) * static_cast<size_t>(width) : nullptr;
                }
            }
            writeRow(format, rows, width, buffer + rowBytes * static_cast<size_t>(y));
        }
    });
}

// Averages each 2 x 2 block of texels; a side of one texel stays one, and
// an odd side wraps its last block around to the first texel.
Image halve(const Image& in, const Parallel& parallel) {
    const int width = std::max(1, in.width() / 2);
    const int height = std::max(1, in.height() / 2);
    Image out(width, height, in.channels());
    const int stepX = in.width() > 1 ? 1 : 0;
    const int stepY = in.height() > 1 ? 1 : 0;
    const float weight = 1.0f / static_cast<float>((1 + stepX) * (1 + stepY));
    // Blocks of four texels that all lie inside the rows: every block when
    // the width is even and the height above one, as at every level of a
    // power-of-two texture but the last.
    const int inside = stepX && stepY && in.width() % 2 == 0 ? width : 0;
    forRows(parallel, width, height, [&](int y0, int y1) {
        for (int c = 0; c < in.channels(); ++c)
            for (int y = y0; y < y1; ++y) {
                const float* top = in.row(c, std::min(2 * y, in.height() - 1));
                const float* bottom = in.row(c, (2 * y + stepY) % in.height());
                float* dst = out.row(c, y);
                // The same sums in the same order as below, without the wrap.
                for (int x = 0; x < inside; ++x)
                    dst[x] = (top[2 * x] + top[2 * x + 1] + (bottom[2 * x] + bottom[2 * x + 1])) * weight;
                for (int x = inside; x < width; ++x) {
                    const int x0 = std::min(2 * x, in.width() - 1);
                    const int x1 = (2 * x + stepX) % in.width();
                    float sum = top[x0];
                    if (stepX)
                        sum += top[x1];
                    if (stepY)
                        sum += stepX ? bottom[x0] + bottom[x1] : bottom[x0];
                    dst[x] = sum * weight;
                }
            }
    });
    return out;
}

} // namespace

int mipLevelCount(int width, int height, unsigned requested) {
    const int levels = fullMipChain(width, height);
    return requested == 0 ? levels : std::min(levels, static_cast<int>(std::min(requested, 255u)));
}

void writeTexture(const Image& image, const TexelFormat& format, int levels, void* buffer,
                  const Parallel& parallel) {
    auto* out = static_cast<unsigned char*>(buffer);
    writeLevel(image, format, out, parallel);
    Image level;
    const Image* previous = &image;
    for (int i = 1; i < levels; ++i) {
        level = halve(*previous, parallel);
        writeLevel(level, format, out + textureLevel(format, image.width(), image.height(), i).offset,
                   parallel);
        previous = &level;
    }
}

Status readTexture(const SubstanceTexture& texture, Image& out) {
    constexpr int maxSide = 1 << EvaluatorLimits::maxLog2Side; // as for rendered textures
    TextureLevel level;
    if (Status status = recordLevel(texture, 0, level); !status.ok())
        return status;
    if (level.width > maxSide || level.height > maxSide)
        return {SubstanceStatus_LimitExceeded,
                "texture: " + std::to_string(level.width) + " x " + std::to_string(level.height) +
                    " texels, past the limit of " + std::to_string(maxSide) + " per side"};
    const TexelFormat& format = *level.format;
    const DecodedChannels channels = format.channels == 1 ? DecodedChannels::Own : DecodedChannels::Rgba;
    out = Image(level.width, level.height, decodedChannelCount(format, channels));
    DecodeTarget target;
    for (int c = 0; c < out.channels(); ++c)
        target.channel[c] = out.plane(c);
    return decodeTextureLevel(texture, 0, channels, target);
}

} // namespace kvengine
