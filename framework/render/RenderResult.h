// One finished output texture, owned until it is destroyed: the destructor
// hands the texel buffer back to the engine context that allocated it.
#pragma once

#include "platform/engine/EngineInterface.h"

#include <boost/noncopyable.hpp>

namespace SubstanceAir {

class RenderResult : private boost::noncopyable {
public:
    RenderResult(const SubstanceTexture& texture, SubstanceContext* context);
    ~RenderResult();

    const SubstanceTexture& getTexture() const { return mTexture; }
    SubstanceContext* getContext() const { return mContext; }

private:
    SubstanceTexture mTexture;
    SubstanceContext* mContext;
};

} // namespace SubstanceAir
