// A material as the tool handles it: one package, or two stacked, loaded
// through the library (package descriptions, the material model and its
// graph instance). Every failure is a kvs::Failure naming the file and why.
#pragma once

#include "framework/description/FormatFallback.h"
#include "framework/description/PackageDesc.h"
#include "framework/render/GraphInstance.h"
#include "material/Substance.h"

#include <memory>
#include <string>
#include <vector>

namespace kvs {

class Material {
public:
    // `stack` empty: the package alone.
    Material(const std::string& package, const std::string& stack);
    ~Material();

    kv::Reference<kvSubstance::Substance> model() const { return mModel; }
    SubstanceAir::GraphInstance& graph() const { return *mModel->getGraphInstances().front(); }
    // The files the material was read from: no output may overwrite them.
    const std::vector<std::string>& inputFiles() const { return mInputFiles; }
    // Start of every file written for it: "stone_tiles", or "stone_tiles+tint" for a stack.
    const std::string& fileStem() const { return mStem; }

    // The model's input of this identifier; a Failure naming the closest
    // identifiers when there is none.
    kvSubstance::SubstanceInput& input(const std::string& identifier) const;

    void addInputFile(const std::string& path) { mInputFiles.push_back(path); }

private:
    std::unique_ptr<SubstanceAir::PackageDesc> load(const std::string& path);

    std::vector<std::string> mInputFiles;
    std::unique_ptr<SubstanceAir::PackageDesc> mBottom, mTop;
    kv::Reference<kvSubstance::Substance> mModel;
    std::string mStem;
};

// A file name for a graph URL: its last segment, letters, digits, _ - . only.
std::string graphFileName(const std::string& url);

// The whole file; a Failure naming it and why otherwise. Refuses files
// larger than maxBytes before reading them.
std::vector<char> readInputFile(const std::string& path, size_t maxBytes);

} // namespace kvs
