// kvSubstance::SubstanceOutput: one texture a material produces. Fixed at
// construction; carried for the host.
#pragma once

#include "material/SubstanceEntity.h"
#include "material/SubstanceTypes.h"

namespace kvSubstance {

class Substance;

class SubstanceOutput : public SubstanceEntity {
public:
    SubstanceOutput(Substance* owner, unsigned int uid, const kvString::CString& identifier, Format format,
                    int xSize, int ySize, int numMipMaps, bool dynamicSize);

    Format getFormat() const { return m_format; }
    int getXSize() const { return m_xSize; }
    int getYSize() const { return m_ySize; }
    int getNumMipMaps() const { return m_numMipMaps; }
    bool getDynamicSize() const { return m_dynamicSize; }

private:
    // Part of the fixed layout; an output itself never needs its material.
    [[maybe_unused]] Substance* m_owner;
    Format m_format;
    int m_xSize;
    int m_ySize;
    int m_numMipMaps;
    bool m_dynamicSize;
};

} // namespace kvSubstance
