// The material a viewer shows: loaded from packages, or compiled from a
// package source and compiled again whenever the source changes. Edits go
// through the library (values, presets, state strings) and each one renders
// the outputs it alters, kept at 8 bits a channel for the page. Thread-safe: the
// server calls it from its worker threads.
#pragma once

#include "tools/kvs/Material.h"
#include "tools/kvs/TextureConversion.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace kvs::viewer {

// A request the session refuses: the HTTP status and a one-line reason.
struct RequestError : std::runtime_error {
    RequestError(int httpStatus, const std::string& reason)
        : std::runtime_error(reason), status(httpStatus) {}
    int status;
};

// Images are shared, never changed: a request serves them without copying.
using SharedImage = std::shared_ptr<const DisplayImage>;
using NamedImages = std::vector<std::pair<std::string, SharedImage>>;

// What an edit answers: {version, state, renderMs}, and the images of the
// outputs the edit changed, all of one version.
struct Update {
    nlohmann::json result;
    NamedImages images;
};

class ViewSession {
public:
    // A package (and optionally a stack on top), or a package source (.json).
    ViewSession(const std::string& path, const std::string& stack);
    ~ViewSession();

    // Compiles the source again when its file changed since the last look;
    // true when it did (successfully or not).
    bool refresh();

    // Inputs, presets, outputs, state, version and any compile error, for the page.
    nlohmann::json describe();
    // Each edit renders the outputs it alters and answers with their images.
    Update setValue(const std::string& identifier, const nlohmann::json& value);
    Update applyPreset(const std::string& label);
    Update applyState(const std::string& text);
    std::string state();

    // The outputs as last rendered, in the order named; a RequestError when
    // one has no image.
    NamedImages images(const std::vector<std::string>& outputs);

private:
    Update renderAll();
    // Runs an edit; when it or the render after it fails, the previous values come back.
    template <typename Edit>
    Update edit(Edit&& change);

    std::mutex mLock;
    std::string mPath, mStack;
    bool mFromSource = false;
    std::filesystem::path mCompiled; // where a compiled source is kept
    std::filesystem::file_time_type mSourceTime{};
    std::unique_ptr<Material> mMaterial;
    std::string mError; // the compiler's line while the source does not compile
    std::map<std::string, SharedImage> mImages;
    long mVersion = 0;
    double mRenderMs = 0;
};

} // namespace kvs::viewer
