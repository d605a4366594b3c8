// Writing result files so that a failed or interrupted run never leaves a
// half-written file under the final name.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace kvimage {

// Writes to "<path>.tmp" and renames it over `path`. On failure fills
// `error` with one line naming the file and returns false.
bool writeFileAtomically(const std::string& path, const void* data, size_t size, std::string& error);

// Reads a whole file of at most maxBytes; false with a one-line `error` otherwise.
bool readWholeFile(const std::string& path, size_t maxBytes, std::vector<char>& data, std::string& error);

} // namespace kvimage
