// The one exception the package compiler throws: a complete, one-line message
// naming the file, the graph and the entity at fault. Names quoted from the
// source keep control characters and malformed UTF-8 only as \xNN escapes.
#pragma once

#include "platform/base/PrintableText.h"

#include <stdexcept>
#include <string>

namespace kvcompiler {

class CompileError : public std::runtime_error {
public:
    explicit CompileError(const std::string& message) : std::runtime_error(kvUtil::printable(message)) {}
};

} // namespace kvcompiler
