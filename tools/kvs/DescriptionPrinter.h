// `kvs info` for material description XML: the material as the library's
// description reader builds it (inputs with types, widgets, defaults and
// ranges; outputs with formats and sizes; the state string), as text or JSON.
#pragma once

#include <string>

namespace kvs {

// Prints the material described by xml to stdout; name labels it and its
// errors. Returns the exit status: non-zero, after one line on stderr, when
// the text is not a complete material description.
int printDescriptionInfo(const std::string& name, const std::string& xml, bool json);

} // namespace kvs
