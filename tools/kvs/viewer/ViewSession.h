// The material a viewer shows: loaded from packages, or compiled from a
// package source and compiled again whenever the source changes. Edits go
// through the library (values, presets, state strings) and each one renders
// every output again, kept as 8-bit RGBA for the page. Thread-safe: the
// server calls it from its worker threads.
#pragma once

#include "tools/kvs/Material.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace kvs::viewer {

// A request the session refuses: the HTTP status and a one-line reason.
struct RequestError : std::runtime_error {
    RequestError(int httpStatus, const std::string& reason)
        : std::runtime_error(reason), status(httpStatus) {}
    int status;
};

struct OutputImage {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> rgba;
};
// Images are shared, never changed: a request serves them without copying.
using SharedImage = std::shared_ptr<const OutputImage>;

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
    // Each edit renders the outputs it alters and answers {version, state,
    // renderMs, changed: the identifiers of those outputs}.
    nlohmann::json setValue(const std::string& identifier, const nlohmann::json& value);
    nlohmann::json applyPreset(const std::string& label);
    nlohmann::json applyState(const std::string& text);
    std::string state();

    // The output as last rendered; a RequestError when there is none.
    SharedImage image(const std::string& output);

private:
    void load();
    nlohmann::json renderAll();
    // Runs an edit; when it or the render after it fails, the previous values come back.
    template <typename Edit>
    nlohmann::json edit(Edit&& change);

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
