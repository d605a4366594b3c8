// A place in the package source, for messages: "file: graph 'x': input 'y'".
#pragma once

#include "tools/compiler/CompileError.h"

#include <string>
#include <utility>

namespace kvcompiler {

class SourcePlace {
public:
    explicit SourcePlace(std::string text) : text_(std::move(text)) {}
    SourcePlace operator/(const std::string& part) const { return SourcePlace(text_ + ": " + part); }
    [[noreturn]] void fail(const std::string& message) const { throw CompileError(text_ + ": " + message); }

private:
    std::string text_;
};

} // namespace kvcompiler
