// InputDescBase::instantiate of each descriptor class, defined beside the
// instances it makes so that descriptions need nothing of this layer.
#include "framework/description/InputDesc.h"
#include "framework/render/InputInstanceImage.h"
#include "framework/render/InputInstanceNumerical.h"

namespace SubstanceAir {

template <typename T>
std::unique_ptr<InputInstanceBase> InputDescNumerical<T>::instantiate(GraphInstance& parent) const {
    return std::unique_ptr<InputInstanceBase>(new InputInstanceNumerical<T>(*this, parent));
}

std::unique_ptr<InputInstanceBase> InputDescImage::instantiate(GraphInstance& parent) const {
    return std::unique_ptr<InputInstanceBase>(new InputInstanceImage(*this, parent));
}

template std::unique_ptr<InputInstanceBase> InputDescNumerical<float>::instantiate(GraphInstance&) const;
template std::unique_ptr<InputInstanceBase> InputDescNumerical<int>::instantiate(GraphInstance&) const;
template std::unique_ptr<InputInstanceBase>
InputDescNumerical<Math::Vector2<float>>::instantiate(GraphInstance&) const;
template std::unique_ptr<InputInstanceBase>
InputDescNumerical<Math::Vector3<float>>::instantiate(GraphInstance&) const;
template std::unique_ptr<InputInstanceBase>
InputDescNumerical<Math::Vector4<float>>::instantiate(GraphInstance&) const;
template std::unique_ptr<InputInstanceBase>
InputDescNumerical<Math::Vector2<int>>::instantiate(GraphInstance&) const;
template std::unique_ptr<InputInstanceBase>
InputDescNumerical<Math::Vector3<int>>::instantiate(GraphInstance&) const;
template std::unique_ptr<InputInstanceBase>
InputDescNumerical<Math::Vector4<int>>::instantiate(GraphInstance&) const;

} // namespace SubstanceAir
