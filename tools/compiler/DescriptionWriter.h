// Writes description.xml: the one description that both the host-side reader
// and the framework's package reader consume.
#pragma once

#include "tools/compiler/GraphBuilder.h"
#include "tools/compiler/PackageSource.h"

#include <memory>
#include <string>
#include <vector>

class TiXmlElement;

namespace kvcompiler {

// Readers copy the re-serialised inputgui element into a buffer of this
// size, terminating zero included.
constexpr size_t kMaxInputGuiBytes = 1024;

// The inputgui element of one input (null when the input has none), and its
// compact text as readers re-serialise it.
std::unique_ptr<TiXmlElement> inputGuiElement(const InputSource& input);
std::string compactText(const TiXmlElement& element);

// graphs[i] was built from sources[i]. Throws CompileError when an inputgui
// would not fit the readers' buffer.
std::string writeDescription(const std::string& fileName, uint32_t assemblyUid,
                             const std::vector<GraphSource>& sources, const std::vector<BuiltGraph>& graphs);

} // namespace kvcompiler
