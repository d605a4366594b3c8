// Packages built in memory for the framework tests: a minimal valid
// assembly (one uniform-colour node feeding one output) paired with a
// description written by the test.
#pragma once

#include "framework/description/PackageDesc.h"

#include <memory>
#include <string>
#include <vector>

namespace kvtest {

// A package holding `description` and a one-graph assembly.
std::vector<char> makePackage(const std::string& description);

// Loads `description` through a package, with the given output options.
std::unique_ptr<SubstanceAir::PackageDesc>
loadDescription(const std::string& description, const SubstanceAir::OutputFormatOptions* options = nullptr);

// A description with root, asmuid and `graphs` around `graphsContent`.
std::string describe(unsigned int asmUid, const std::string& graphsContent,
                     const std::string& graphsAttributes = "");

// One `graph` element with an output of uid 1 plus `content` inside it.
std::string graphWithOutput(const std::string& url, const std::string& content = "");

// Whether the renderer's package registry holds `uid`.
bool isRegistered(unsigned int uid);

} // namespace kvtest
