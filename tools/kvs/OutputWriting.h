// Rendering a material's outputs through the library's renderer and writing
// them as image files: PNG for 8 and 16-bit formats, OpenEXR for float ones.
#pragma once

#include "tools/kvs/Material.h"

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

// Renders the requested outputs (whatever changed, and every requested output
// again) and writes them. A Failure names the output, the file or the reason
// the engine gave.
std::vector<WrittenFile> renderAndWrite(Material& material, const OutputRequest& request);

// A Failure naming the first unknown identifier and the closest output.
void checkOutputsExist(const Material& material, const std::vector<std::string>& outputs);

} // namespace kvs
