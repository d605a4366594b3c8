#include "material/SubstanceOutput.h"

namespace kvSubstance {

SubstanceOutput::SubstanceOutput(Substance* owner, unsigned int uid, const kvString::CString& identifier,
                                 Format format, int xSize, int ySize, int numMipMaps, bool dynamicSize)
    : SubstanceEntity(uid, identifier), m_owner(owner), m_format(format), m_xSize(xSize), m_ySize(ySize),
      m_numMipMaps(numMipMaps), m_dynamicSize(dynamicSize) {}

} // namespace kvSubstance
