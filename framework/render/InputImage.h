// An image for an image input: owned texels and the engine's texture-input
// record that points at them.
#pragma once

#include "platform/engine/EngineTypes.h"

#include <boost/noncopyable.hpp>
#include <boost/shared_ptr.hpp>

#include <vector>

namespace SubstanceAir {

class InputImage : private boost::noncopyable {
public:
    // One full-size level of `pixelFormat` texels with tightly packed rows.
    // Null when the format is unknown, a side is 0 or above 65535, or the
    // byte count does not match.
    static boost::shared_ptr<InputImage> create(unsigned int width, unsigned int height, int pixelFormat,
                                                std::vector<unsigned char> pixels);

    const SubstanceTextureInput& getTextureInput() const { return mTextureInput; }

private:
    InputImage(unsigned int width, unsigned int height, int pixelFormat, std::vector<unsigned char> pixels);

    std::vector<unsigned char> mPixels;
    SubstanceTextureInput mTextureInput;
};

} // namespace SubstanceAir
