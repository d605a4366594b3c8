// kvs render: renders every output of a package, or of a stack of two, to
// image files, driving the linker and engine C interface directly.
#include "tools/kvs/Commands.h"
#include "tools/kvs/FileOutput.h"
#include "tools/kvs/ImageWriter.h"
#include "tools/kvs/InputValueText.h"
#include "tools/kvs/PackageLinking.h"
#include "tools/kvs/TextureConversion.h"

#include "platform/engine/EngineInterface.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace {

const char* const kUsage = "usage: kvs render <package.mpk> [--stack <top.mpk>] [--set id=value ...] "
                           "[--preset \"label\"] [--size N] [--seed N] [--outdir DIR] [--depth 8|16|float]";

constexpr size_t kMaxPackageBytes = 256u << 20;

struct RenderOptions {
    std::string package;
    std::string stack;
    std::vector<std::pair<std::string, std::string>> sets; // identifier, value text, in order
    std::string preset;
    std::string outdir = ".";
    std::string depth = "8";
};

struct UsageError {
    std::string message;
};

bool wholeNumber(const char* text, long low, long high, long& number) {
    char* end = nullptr;
    number = std::strtol(text, &end, 10);
    return *text && *end == '\0' && number >= low && number <= high;
}

RenderOptions parseOptions(int argc, char** argv) {
    RenderOptions options;
    for (int i = 0; i < argc; ++i) {
        std::string arg = argv[i];
        auto value = [&]() -> std::string {
            if (i + 1 >= argc)
                throw UsageError{arg + " needs a value"};
            return argv[++i];
        };
        long number = 0;
        if (arg == "--stack") {
            options.stack = value();
        } else if (arg == "--set") {
            std::string assignment = value();
            size_t equals = assignment.find('=');
            if (equals == std::string::npos || equals == 0)
                throw UsageError{"--set takes id=value, not \"" + assignment + "\""};
            options.sets.emplace_back(assignment.substr(0, equals), assignment.substr(equals + 1));
        } else if (arg == "--preset") {
            options.preset = value();
        } else if (arg == "--size") {
            std::string text = value();
            if (!wholeNumber(text.c_str(), 0, 13, number))
                throw UsageError{"--size takes log2 of the side, 0 to 13 (e.g. 9 for 512), not \"" + text +
                                 "\""};
            options.sets.emplace_back("$outputsize", text + "," + text);
        } else if (arg == "--seed") {
            std::string text = value();
            if (!wholeNumber(text.c_str(), INT32_MIN, INT32_MAX, number))
                throw UsageError{"--seed takes a whole number, not \"" + text + "\""};
            options.sets.emplace_back("$randomseed", text);
        } else if (arg == "--outdir") {
            options.outdir = value();
        } else if (arg == "--depth") {
            options.depth = value();
            if (options.depth != "8" && options.depth != "16" && options.depth != "float")
                throw UsageError{"--depth takes 8, 16 or float, not \"" + options.depth + "\""};
        } else if (arg.size() > 1 && arg[0] == '-') {
            throw UsageError{"unknown option " + arg};
        } else if (options.package.empty()) {
            options.package = arg;
        } else {
            throw UsageError{"unexpected argument \"" + arg + "\""};
        }
    }
    if (options.package.empty())
        throw UsageError{"no package given"};
    return options;
}

struct EngineSession {
    SubstanceContext* context = nullptr;
    SubstanceHandle* handle = nullptr;
    ~EngineSession() {
        if (handle)
            substanceHandleRelease(handle);
        if (context)
            substanceContextRelease(context);
    }
};

struct EngineInput {
    SubstanceInputDesc desc;
    std::string identifier;
};

std::string inputList(const std::vector<EngineInput>& inputs) {
    std::string list;
    for (const EngineInput& input : inputs)
        list += (list.empty() ? "" : ", ") + input.identifier;
    return list;
}

// Preset values first, then --size, --seed and --set in command-line order.
bool collectValues(const RenderOptions& options, const kvs::LinkedPackages& linked,
                   const std::vector<EngineInput>& inputs, std::map<unsigned int, kvs::InputValue>& values,
                   std::string& error) {
    if (!options.preset.empty()) {
        const kvs::SummaryPreset* preset = nullptr;
        std::string labels;
        for (const auto* graphs : {&linked.bottom, &linked.top})
            for (const kvs::SummaryGraph& graph : *graphs)
                for (const kvs::SummaryPreset& p : graph.presets) {
                    labels += (labels.empty() ? "\"" : ", \"") + p.label + "\"";
                    if (!preset && p.label == options.preset)
                        preset = &p;
                }
        if (!preset) {
            error =
                "no preset \"" + options.preset + "\" (presets: " + (labels.empty() ? "none" : labels) + ")";
            return false;
        }
        for (const auto& [uid, text] : preset->values)
            for (const EngineInput& input : inputs)
                if (input.desc.inputId == uid &&
                    !kvs::parseInputValue(text, input.desc.inputType, values[input.desc.index], error)) {
                    error = "preset \"" + preset->label + "\", input " + input.identifier + ": " + error;
                    return false;
                }
    }
    for (const auto& [identifier, text] : options.sets) {
        bool found = false;
        for (const EngineInput& input : inputs) {
            if (input.identifier != identifier)
                continue;
            found = true;
            if (!kvs::parseInputValue(text, input.desc.inputType, values[input.desc.index], error)) {
                error = "input " + identifier + ": " + error;
                return false;
            }
        }
        if (!found) {
            error = "no input " + identifier + " (inputs: " + inputList(inputs) + ")";
            return false;
        }
    }
    return true;
}

bool isOutputOf(const std::vector<kvs::SummaryGraph>& graphs, unsigned int uid) {
    for (const kvs::SummaryGraph& graph : graphs)
        for (const kvs::SummaryOutput& output : graph.outputs)
            if (output.uid == uid)
                return true;
    return false;
}

// "<graph>" for the graph that owns the output; "<bottom>+<top>" in a stack.
std::string fileStem(const kvs::LinkedPackages& linked, unsigned int outputUid) {
    if (!linked.top.empty())
        return kvs::graphFileName(linked.bottom.front().url) + "+" +
               kvs::graphFileName(linked.top.front().url);
    for (const kvs::SummaryGraph& graph : linked.bottom)
        for (const kvs::SummaryOutput& output : graph.outputs)
            if (output.uid == outputUid)
                return kvs::graphFileName(graph.url);
    return kvs::graphFileName(linked.bottom.front().url);
}

std::string statusText(int status) {
    return " (engine status " + std::to_string(status) + ")";
}

int render(const RenderOptions& options) {
    std::string error;
    std::vector<char> bottom, top;
    if (!kvs::readWholeFile(options.package, kMaxPackageBytes, bottom, error) ||
        (!options.stack.empty() && !kvs::readWholeFile(options.stack, kMaxPackageBytes, top, error))) {
        std::fprintf(stderr, "kvs render: %s\n", error.c_str());
        return 1;
    }
    kvs::LinkedPackages linked;
    if (!kvs::linkPackages(bottom, options.stack.empty() ? nullptr : &top, linked, error)) {
        std::fprintf(stderr, "kvs render: %s\n", error.c_str());
        return 1;
    }

    EngineSession engine;
    int status = substanceContextInit(&engine.context, nullptr);
    if (status == 0)
        status = substanceHandleInit(&engine.handle, engine.context, linked.assembly.data(),
                                     linked.assembly.size(), nullptr);
    SubstanceDataDesc data{};
    if (status == 0)
        status = substanceHandleGetDesc(engine.handle, &data);
    if (status != 0) {
        std::fprintf(stderr, "kvs render: the engine rejected the linked assembly%s\n",
                     statusText(status).c_str());
        return 1;
    }
    std::vector<EngineInput> inputs(data.inputsCount);
    for (unsigned int i = 0; i < data.inputsCount; ++i) {
        if ((status = substanceHandleGetInputDesc(engine.handle, i, &inputs[i].desc)) != 0) {
            std::fprintf(stderr, "kvs render: cannot read input %u%s\n", i, statusText(status).c_str());
            return 1;
        }
        inputs[i].identifier = inputs[i].desc.identifier ? inputs[i].desc.identifier : "";
    }
    std::map<unsigned int, kvs::InputValue> values;
    if (!collectValues(options, linked, inputs, values, error)) {
        std::fprintf(stderr, "kvs render: %s\n", error.c_str());
        return 1;
    }
    for (const auto& [index, value] : values)
        if ((status = substanceHandlePushSetInput(engine.handle, 0, index, value.type, &value.value, 0)) !=
            0) {
            std::fprintf(stderr, "kvs render: the engine refused the value of %s%s\n",
                         inputs[index].identifier.c_str(), statusText(status).c_str());
            return 1;
        }

    // A stack shows the top graph's outputs; the bottom's connected output only feeds it.
    std::vector<unsigned int> outputs;
    for (unsigned int o = 0; o < data.outputsCount; ++o) {
        SubstanceOutputDesc desc{};
        if ((status = substanceHandleGetOutputDesc(engine.handle, o, &desc)) != 0) {
            std::fprintf(stderr, "kvs render: cannot read output %u%s\n", o, statusText(status).c_str());
            return 1;
        }
        if (linked.top.empty() || isOutputOf(linked.top, desc.outputId))
            outputs.push_back(o);
    }
    status = substanceHandlePushOutputs(engine.handle, 0, outputs.data(),
                                        static_cast<unsigned int>(outputs.size()), 0);
    if (status == 0)
        status = substanceHandleStart(engine.handle, SubstanceStart_Synchronous);
    if (status != 0) {
        std::fprintf(stderr, "kvs render: rendering failed%s\n", statusText(status).c_str());
        return 1;
    }

    // One level only, so a mistyped path fails instead of growing a tree;
    // a real failure shows when the first file is written.
    std::error_code ignored;
    std::filesystem::create_directory(options.outdir, ignored);
    for (unsigned int o : outputs) {
        SubstanceOutputDesc desc{};
        SubstanceTexture texture{};
        status = substanceHandleGetOutputDesc(engine.handle, o, &desc);
        if (status == 0)
            status = substanceHandleGetOutputs(engine.handle, 0, o, 1, &texture);
        if (status != 0) {
            std::fprintf(stderr, "kvs render: cannot fetch output %u%s\n", o, statusText(status).c_str());
            return 1;
        }
        kvs::FloatImage image;
        bool converted = kvs::textureToImage(texture, image, error);
        if (texture.buffer)
            substanceContextMemoryFree(engine.context, texture.buffer);
        std::string identifier = desc.identifier ? desc.identifier : "output" + std::to_string(o);
        if (!converted) {
            std::fprintf(stderr, "kvs render: output %s: %s\n", identifier.c_str(), error.c_str());
            return 1;
        }
        std::string path = options.outdir + "/" + fileStem(linked, desc.outputId) + "_" +
                           kvs::graphFileName(identifier) + (options.depth == "float" ? ".pfm" : ".png");
        bool written = options.depth == "float"
                           ? kvs::writePfm(path, image, error)
                           : kvs::writePng(path, image, std::atoi(options.depth.c_str()), error);
        if (!written) {
            std::fprintf(stderr, "kvs render: %s\n", error.c_str());
            return 1;
        }
        std::printf("wrote %s (%dx%d, rendered as %s, written as %s)\n", path.c_str(), image.width,
                    image.height, kvs::pixelFormatName(texture.pixelFormat).c_str(),
                    options.depth == "float" ? "float" : (options.depth + "-bit").c_str());
        std::fflush(stdout);
    }
    return 0;
}

int runRender(int argc, char** argv) {
    RenderOptions options;
    try {
        options = parseOptions(argc, argv);
    } catch (const UsageError& e) {
        std::fprintf(stderr, "kvs render: %s (%s)\n", e.message.c_str(), kUsage);
        return 2;
    }
    return render(options);
}

const kvs::CommandRegistration
    registration({"render", "render a package, or a stack of two, to PNG or PFM files", runRender});

} // namespace
