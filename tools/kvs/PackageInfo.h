// `kvs info` for package files: what the library's package description
// reads from a package (graphs, inputs with their ranges and widgets,
// outputs with formats and channel usages, presets), as text or JSON.
#pragma once

#include <string>
#include <vector>

namespace kvs {

// True when the bytes are a ZIP container, the form of every package.
bool isPackageData(const std::vector<char>& bytes);

// Prints the package read from `bytes` to stdout; `name` labels it and its
// errors. Returns the exit status: non-zero, after one line on stderr, when
// the package holds no readable graph.
int printPackageInfo(const std::string& name, const std::vector<char>& bytes, bool json);

} // namespace kvs
