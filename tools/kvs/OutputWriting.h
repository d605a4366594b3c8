// Rendering a material's outputs through the library's renderer and writing
// them as image files: PNG for 8 and 16-bit formats, OpenEXR for float ones.
#pragma once

#include "tools/kvs/Material.h"

#include "framework/render/RenderResult.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace kvs {

struct OutputRequest {
    std::vector<std::string> outputs; // identifiers; empty: every output
    std::string depth; // "8", "16" or "float" to convert every output; "" keeps each format's own
    bool mips = false; // every mip level, not only the full-size one
    std::string outdir = ".";
    std::string variation; // "" or a tag put into each file name ("seed7")
};

struct WrittenFile {
    std::string path;
    std::string output; // identifier
    int width = 0;
    int height = 0;
    int level = 0;
    std::string renderedAs; // the output's texel format
    std::string writtenAs;  // "8-bit PNG", "16-bit PNG", "float EXR"
};

// One render's textures and the files still to be written from them.
struct RenderedOutputs {
    std::vector<std::unique_ptr<SubstanceAir::RenderResult>> results;
    std::vector<std::function<WrittenFile()>> files; // each writes one level of one result
};

// Renders the requested outputs (whatever changed, and every requested
// output again) and makes the output folder. A Failure names the output and
// the reason the engine gave, or the folder. The files refer to `material`'s
// names, not to its values, so the next render may start while they are
// written.
RenderedOutputs renderOutputs(Material& material, const OutputRequest& request);

// Writes the files, several at a time, in order; a Failure names the file.
std::vector<WrittenFile> writeFiles(const RenderedOutputs& rendered);

// A Failure naming the first unknown identifier and the closest output.
void checkOutputsExist(const Material& material, const std::vector<std::string>& outputs);

} // namespace kvs
