// Text from packages, sources and files made safe to print on a terminal or
// in a one-line message: control characters (C0, DEL and C1, line breaks
// included) and bytes that are not well-formed UTF-8 become \xNN escapes, so a label can
// neither send terminal escape sequences nor forge lines. Well-formed UTF-8
// passes unchanged, and printable text of printable text is the same text.
#pragma once

#include <string>

namespace kvUtil {

std::string printable(const std::string& text);

} // namespace kvUtil
