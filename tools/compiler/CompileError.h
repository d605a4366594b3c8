// The one exception the package compiler throws: a complete, one-line message
// naming the file, the graph and the entity at fault.
#pragma once

#include <stdexcept>
#include <string>

namespace kvcompiler {

class CompileError : public std::runtime_error {
public:
    explicit CompileError(const std::string& message) : std::runtime_error(message) {}
};

} // namespace kvcompiler
