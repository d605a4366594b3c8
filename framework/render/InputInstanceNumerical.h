// Input instance holding one numerical value: float, int, or a vector of
// two to four of either.
#pragma once

#include "framework/render/InputInstance.h"

namespace SubstanceAir {

template <typename T>
class InputInstanceNumerical : public InputInstanceNumericalBase {
public:
    // Starts at the descriptor's default value.
    InputInstanceNumerical(const InputDescNumerical<T>& desc, GraphInstance& graph);

    void reset() override;
    const void* getRawData() const override { return &mValue; }
    size_t getRawSize() const override { return sizeof(T); }
    std::string getValueAsString() const override;
    bool setValueFromString(const std::string& text) override;

    const InputDescNumerical<T>& getTypedDesc() const;
    const T& getValue() const { return mValue; }
    // Does nothing when `value` equals the current value.
    void setValue(const T& value);

private:
    T mValue;
};

} // namespace SubstanceAir
