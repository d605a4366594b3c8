// Entry names a package may carry: relative, forward slashes only, no ".."
// component, nothing a naive extractor could turn into a path outside its
// target folder. Internal to engine/package.
#pragma once

#include <string>

namespace kvengine {

bool isSafeEntryName(const std::string& name);

} // namespace kvengine
