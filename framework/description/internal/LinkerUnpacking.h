// Splitting a package into its description text and its assembly bytes by
// pushing it through a throw-away linker context.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace SubstanceAir {

// Runs the package through the linker and copies out what its callbacks
// delivered. The callbacks fill process-wide buffers that keep the previous
// package's content until overwritten, so a package whose push delivers
// nothing yields what the previous one delivered. Calls are serialised.
// Returns the linker's status for the push (0 when it took the bytes).
int unpackWithLinker(const char* data, size_t size, std::string& description, std::vector<char>& assembly);

} // namespace SubstanceAir
