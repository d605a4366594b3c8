#include "framework/render/RenderResult.h"

namespace SubstanceAir {

RenderResult::RenderResult(const SubstanceTexture& texture, SubstanceContext* context)
    : mTexture(texture), mContext(context) {}

RenderResult::~RenderResult() {
    if (mTexture.buffer != nullptr) {
        substanceContextMemoryFree(mContext, mTexture.buffer);
    }
}

} // namespace SubstanceAir
