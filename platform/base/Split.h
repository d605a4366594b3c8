// kvUtil::split: cuts a string at every occurrence of a separator character.
#pragma once

#include "platform/base/CString.h"
#include "platform/base/Vector.h"

namespace kvUtil {

// Returns the pieces of text between separators, in order.
// dropEmpty: leave out empty pieces (those between two adjacent separators,
//   before a leading one or after a trailing one), so "a\n\nb\n" gives a, b.
// trimSpaces: strip spaces and tabs from both ends of every piece before the
//   dropEmpty test.
// The usual call is split(text, c, true, false): non-empty pieces, untrimmed.
kv::vector<kvString::CString> split(const kvString::CString& text, char separator, bool dropEmpty,
                                    bool trimSpaces);

} // namespace kvUtil
