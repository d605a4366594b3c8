// Engine textures as float images for the image writers, read with the
// engine's own format table and decoder.
#pragma once

#include "tools/images/ImageWriter.h"

#include "platform/engine/EngineTypes.h"

#include <string>
#include <vector>

namespace kvs {

// Level `level` of the texture: its own colour channels (1, 3 or 4; the
// padding of x formats dropped). A Failure naming what is wrong otherwise.
kvimage::FloatImage textureLevelImage(const SubstanceTexture& texture, int level);
// Level 0, as above.
inline kvimage::FloatImage textureImage(const SubstanceTexture& texture) {
    return textureLevelImage(texture, 0);
}

// Level 0 at 8 bits a channel, for a screen: gray stays one channel, every
// other layout becomes RGBA, opaque where the format has no alpha or forces
// it. Deeper channels are rounded, floats clamped to [0, 1] (NaN to 0). A
// Failure naming what is wrong with the texture otherwise.
struct DisplayImage {
    int width = 0;
    int height = 0;
    int channels = 0; // 1 or 4
    std::vector<unsigned char> bytes;
};
DisplayImage textureDisplayImage(const SubstanceTexture& texture);

// Level `level` as PNG rows borrowed from the texture's buffer, when the
// texture stores unsigned bitDepth-bit channels (no rounding on the way, the
// padding of x formats dropped); false for any other format. The rows live
// as long as the texture's buffer.
bool borrowPngRows(const SubstanceTexture& texture, int level, int bitDepth, kvimage::PngImage& out);

// "8-bit RGBA", "16-bit gray", "half-float RGB", ...
std::string pixelFormatName(int format);
// Whether the format holds floats, and whether 16-bit unsigned channels.
bool isFloatFormat(int format);
bool isSixteenBitFormat(int format);

} // namespace kvs
