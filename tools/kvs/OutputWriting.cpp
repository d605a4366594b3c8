#include "tools/kvs/OutputWriting.h"

#include "tools/images/ImageWriter.h"
#include "tools/kvs/Cli.h"
#include "tools/kvs/TextureConversion.h"

#include "engine/api/FailureReason.h"
#include "framework/render/RenderQueue.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <filesystem>
#include <functional>
#include <system_error>
#include <thread>

namespace kvs {

namespace {

bool wanted(const OutputRequest& request, const std::string& identifier) {
    return request.outputs.empty() ||
           std::find(request.outputs.begin(), request.outputs.end(), identifier) != request.outputs.end();
}

// Output files must never replace what the material was read from.
void refuseToOverwriteInputs(const Material& material, const std::string& path) {
    std::error_code error;
    for (const std::string& input : material.inputFiles()) {
        if (std::filesystem::equivalent(path, input, error)) {
            throw Failure("refusing to overwrite the input " + input + " with an output");
        }
    }
}

// Writes level `level` of an output's texture. Integer textures written at
// their own depth go to the encoder as they are; the others are decoded and
// rounded.
WrittenFile write(const Material& material, const OutputRequest& request, const std::string& identifier,
                  const SubstanceTexture& texture, int level) {
    const std::string depth = !request.depth.empty()                    ? request.depth
                              : isFloatFormat(texture.pixelFormat)      ? "float"
                              : isSixteenBitFormat(texture.pixelFormat) ? "16"
                                                                        : "8";
    const bool exr = depth == "float";
    kvimage::PngImage png;
    kvimage::FloatImage image;
    if (exr || !borrowPngRows(texture, level, std::stoi(depth), png)) {
        image = textureLevelImage(texture, level);
        if (!exr) {
            png = kvimage::quantisedPng(image, std::stoi(depth));
        }
    }
    WrittenFile file;
    file.output = identifier;
    file.width = exr ? image.width : png.width;
    file.height = exr ? image.height : png.height;
    file.level = level;
    file.renderedAs = pixelFormatName(texture.pixelFormat);
    file.path = (request.outdir == "." ? "" : request.outdir + "/") + material.fileStem() +
                (request.variation.empty() ? "" : "_" + request.variation) + "_" + graphFileName(identifier) +
                (level == 0 ? "" : "_mip" + std::to_string(level)) + (exr ? ".exr" : ".png");
    refuseToOverwriteInputs(material, file.path);
    std::string error;
    if (!(exr ? kvimage::writeExr(file.path, image, error) : kvimage::writePng(file.path, png, error))) {
        throw Failure(error);
    }
    file.writtenAs = exr ? "float EXR" : depth + "-bit PNG";
    return file;
}

// Runs every task, as many at a time as the machine has cores, and gives
// their results in order; the first failure is thrown once all have ended.
// Encoding files dominates the wall time of a small render.
std::vector<WrittenFile> runInParallel(const std::vector<std::function<WrittenFile()>>& tasks) {
    std::vector<WrittenFile> results(tasks.size());
    std::vector<std::exception_ptr> failures(tasks.size());
    std::atomic<size_t> next{0};
    auto work = [&] {
        for (size_t i = next++; i < tasks.size(); i = next++) {
            try {
                results[i] = tasks[i]();
            } catch (...) {
                failures[i] = std::current_exception();
            }
        }
    };
    const size_t helpers = std::min<size_t>(std::max(1u, std::thread::hardware_concurrency()), tasks.size());
    std::vector<std::thread> threads;
    for (size_t i = 1; i < helpers; ++i) {
        try {
            threads.emplace_back(work);
        } catch (const std::system_error&) {
            break; // fewer threads, the same work
        }
    }
    work();
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const std::exception_ptr& failure : failures) {
        if (failure) {
            std::rethrow_exception(failure);
        }
    }
    return results;
}

} // namespace

void checkOutputsExist(const Material& material, const std::vector<std::string>& outputs) {
    std::vector<std::string> identifiers;
    for (const auto& output : material.graph().getOutputs()) {
        identifiers.push_back(output->getDesc().identifier);
    }
    for (const std::string& output : outputs) {
        if (std::find(identifiers.begin(), identifiers.end(), output) == identifiers.end()) {
            std::string list;
            for (const std::string& identifier : identifiers) {
                list += (list.empty() ? "" : ", ") + identifier;
            }
            const std::string near = closest(output, identifiers);
            throw Failure("no output " + output +
                          (near.empty() ? " (outputs: " + list + ")" : " (did you mean " + near + "?)"));
        }
    }
}

RenderedOutputs renderOutputs(Material& material, const OutputRequest& request) {
    SubstanceAir::GraphInstance& graph = material.graph();
    // Every requested output is rendered again: unchanged nodes come from the engine's cache.
    for (const auto& output : graph.getOutputs()) {
        const bool enabled = wanted(request, output->getDesc().identifier);
        output->setEnabled(enabled);
        output->setDirty(output->isDirty() || enabled);
        while (output->grabResult()) {
            // nothing stale may be taken for this render
        }
    }
    kvengineClearFailure(); // what the render refuses is told below
    {
        SubstanceAir::RenderQueue queue;
        queue.push(graph);
        queue.run();
    }
    // One level only, so that a mistyped path fails instead of growing a tree.
    std::error_code error;
    std::filesystem::create_directory(request.outdir, error);
    if (!std::filesystem::is_directory(request.outdir)) {
        throw Failure("cannot create the output folder " + request.outdir +
                      (error ? ": " + error.message() : ": a file of that name is in the way"));
    }
    RenderedOutputs rendered;
    for (const auto& output : graph.getOutputs()) {
        if (!output->isEnabled()) {
            continue;
        }
        const std::string& identifier = output->getDesc().identifier;
        rendered.results.push_back(output->grabResult());
        if (!rendered.results.back()) {
            const std::string reason = kvengine::lastFailure();
            throw Failure("output " + identifier + " was not rendered" +
                          (reason.empty() ? "" : ": " + reason));
        }
        const SubstanceTexture* texture = &rendered.results.back()->getTexture();
        const int levels = request.mips ? std::max<int>(1, texture->mipmapCount) : 1;
        for (int level = 0; level < levels; ++level) {
            rendered.files.push_back([&material, request, identifier, texture, level] {
                return write(material, request, identifier, *texture, level);
            });
        }
    }
    return rendered;
}

std::vector<WrittenFile> writeFiles(const RenderedOutputs& rendered) {
    return runInParallel(rendered.files);
}

} // namespace kvs
