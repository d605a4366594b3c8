#include "framework/render/InputInstanceImage.h"

namespace SubstanceAir {

namespace {

// What the engine is given for an image input without an image.
const SubstanceTextureInput emptyTextureInput = {};

} // namespace

InputInstanceImage::InputInstanceImage(const InputDescImage& desc, GraphInstance& graph)
    : InputInstanceBase(desc, graph), mTextureInput(&emptyTextureInput) {}

void InputInstanceImage::reset() {
    setImage(boost::shared_ptr<InputImage>());
}

void InputInstanceImage::setImage(const boost::shared_ptr<InputImage>& image) {
    if (image == mImage) {
        return;
    }
    const KeyBytes keyBefore = keyBeforeChange();
    mImage = image;
    mTextureInput = mImage ? &mImage->getTextureInput() : &emptyTextureInput;
    valueChanged(keyBefore);
}

} // namespace SubstanceAir
