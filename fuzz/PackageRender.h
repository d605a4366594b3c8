// What the package fuzz targets share: package bytes loaded the way a host
// loads them, and a material rendered at 16x16 under a budget that refuses
// anything larger.
#pragma once

#include "bridge/SubstanceBridge.h"
#include "framework/description/FormatFallback.h"
#include "framework/description/PackageDesc.h"
#include "framework/render/RenderBudget.h"
#include "material/Substance.h"

#include <cstdlib>
#include <memory>

namespace kvfuzz {

inline std::unique_ptr<SubstanceAir::PackageDesc> loadPackage(const uint8_t* data, size_t size) {
    static const SubstanceAir::OutputFormatOptions options = {SubstanceAir::AllFormatClasses, 0};
    return std::make_unique<SubstanceAir::PackageDesc>(reinterpret_cast<const char*>(data), size, &options);
}

// Renders the material at 16x16; a texture of any other size is a fault.
inline void renderSmall(kv::Reference<kvSubstance::Substance> material) {
    static const bool budgetSet = [] {
        SubstanceAir::RenderBudget budget;
        budget.maxTextureSide = 16;
        budget.maxRenderBytes = size_t(64) << 20;
        SubstanceAir::setRenderBudget(budget);
        return true;
    }();
    (void)budgetSet;
    if (kvSubstance::SubstanceInput* size = material->getInput("$outputsize")) {
        size->setValue2I(4, 4);
        kvSubstance::syncValueFromSubstanceInputToInputInstanceBase(material, size);
    }
    kv::TempReference<ilSIDImage> texture = kvSubstance::getTextureFromSubstance(material.get());
    if (texture && (texture->getSize().x != 16 || texture->getSize().y != 16))
        std::abort();
}

} // namespace kvfuzz
