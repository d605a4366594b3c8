// Reading of a package's description XML into graph descriptions.
#pragma once

#include "framework/description/GraphDesc.h"

#include <string>

namespace SubstanceAir {

class PackageDesc;

// Parses `xmlText` into `graphs` (graphs without outputs are dropped; each
// kept graph gets `parent`) and reads the root's asmuid into `asmUid`. False
// when the text is refused, malformed, or lacks the root, its asmuid or its
// `graphs` element; `why` then says which, in one line.
bool parseDescription(const char* xmlText, PackageDesc* parent, unsigned int& asmUid, GraphDescs& graphs,
                      std::string& why);

} // namespace SubstanceAir
