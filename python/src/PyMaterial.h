// A material as Python sees it: one package or two stacked, loaded through
// the library's package descriptions and material model, with its inputs,
// presets, state string and renders. Python-free, so the rules live here and
// the bindings only convert.
#pragma once

#include "framework/description/PackageDesc.h"
#include "framework/render/RenderResult.h"
#include "material/Substance.h"
#include "material/SubstanceInput.h"
#include "platform/base/Reference.h"
#include "platform/image/Image.h"

#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace kvpy {

// A package the library cannot make a material of; carries the library's reason.
struct PackageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};
// A value, preset or state the material refuses (Python's ValueError).
struct ValueError : std::invalid_argument {
    using std::invalid_argument::invalid_argument;
};
// An identifier the material does not have (Python's KeyError).
struct KeyError : std::out_of_range {
    using std::out_of_range::out_of_range;
};

// The array the full-size level of an output becomes: the element its format
// calls for (bytes, 16-bit words or 32-bit floats), rows top to bottom,
// channels last.
struct PixelShape {
    enum class Element { UInt8, UInt16, Float32 };
    Element element = Element::UInt8;
    int width = 0;
    int height = 0;
    int channels = 0;
    size_t byteCount() const;
};

// The library's 8-bit RGBA texture: its shape and the image holding its
// bytes. The library never writes to an image it has handed out, so the
// bytes can be read without the material's lock while `image` is held.
struct Texture {
    PixelShape shape;
    kv::TempReference<ilSIDImage> image;
    const unsigned char* bytes = nullptr; // null: no texture
};

using RenderResults = std::map<std::string, std::unique_ptr<SubstanceAir::RenderResult>>;

class Material {
public:
    // `stack` empty: the package alone.
    Material(const std::vector<char>& package, const std::vector<char>& stack);
    ~Material();

    kvSubstance::Substance& model() const { return *mModel; }
    // Serialises edits and renders of this material between Python threads.
    std::mutex& lock() { return mLock; }

    std::vector<std::string> inputIds() const;
    kvSubstance::SubstanceInput& input(const std::string& identifier) const;
    std::vector<std::string> outputIds() const;
    std::vector<std::string> presetLabels() const;
    void applyPreset(const std::string& label);

    // Hands the input's current value to the renderer.
    void sync(kvSubstance::SubstanceInput& input);

    std::string state() const;
    // A ValueError when the text is not a state of this material.
    void applyState(const std::string& text);

    // Renders the named outputs (all when empty) and returns them by identifier.
    RenderResults render(const std::vector<std::string>& outputs);
    // What getTextureFromSubstance gives: 8-bit RGBA, or no texture.
    Texture texture();

private:
    std::unique_ptr<SubstanceAir::PackageDesc> mBottom, mTop;
    kv::Reference<kvSubstance::Substance> mModel;
    std::mutex mLock;
};

// The array of an engine texture; a PackageError for a format the module
// does not know.
PixelShape shapeOf(const SubstanceTexture& texture);
// Converts the texture's full-size level into `destination`, which holds
// shapeOf(texture).byteCount() bytes.
void copyPixels(const SubstanceTexture& texture, void* destination);

} // namespace kvpy
