// Input instance of an image input. Its raw value is one pointer: the
// address of the engine texture-input record of its image, or of an empty
// record when it has none.
#pragma once

#include "framework/render/InputImage.h"
#include "framework/render/InputInstance.h"

#include <boost/shared_ptr.hpp>

namespace SubstanceAir {

class InputInstanceImage : public InputInstanceBase {
public:
    // Starts without an image.
    InputInstanceImage(const InputDescImage& desc, GraphInstance& graph);

    // Drops the image.
    void reset() override;
    const void* getRawData() const override { return &mTextureInput; }
    size_t getRawSize() const override { return sizeof(mTextureInput); }

    const boost::shared_ptr<InputImage>& getImage() const { return mImage; }
    // Does nothing when `image` is the image already set.
    void setImage(const boost::shared_ptr<InputImage>& image);

private:
    boost::shared_ptr<InputImage> mImage;
    const SubstanceTextureInput* mTextureInput;
};

} // namespace SubstanceAir
