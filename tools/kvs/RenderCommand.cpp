// kvs render: renders the outputs of a package, or of a stack of two, through
// the library, once or as a batch of variations.
#include "tools/kvs/Batch.h"
#include "tools/kvs/BudgetOptions.h"
#include "tools/kvs/Cli.h"
#include "tools/kvs/OutputWriting.h"

#include "platform/base/PrintableText.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdio>
#include <functional>
#include <future>
#include <iostream>
#include <memory>
#include <system_error>
#include <unistd.h>

namespace kvs {

namespace {

using nlohmann::ordered_json;

OutputRequest requestOf(const ParsedArgs& args) {
    OutputRequest request;
    request.outputs = args.values("--output");
    request.depth = args.value("--depth");
    if (!request.depth.empty() && request.depth != "8" && request.depth != "16" && request.depth != "float") {
        throw UsageError("--depth takes 8, 16 or float, not \"" + request.depth + "\"");
    }
    request.mips = args.has("--mips");
    request.outdir = args.value("--outdir", ".");
    return request;
}

ordered_json fileJson(const WrittenFile& file) {
    return {{"path", file.path},          {"output", file.output}, {"width", file.width},
            {"height", file.height},      {"level", file.level},   {"renderedAs", file.renderedAs},
            {"writtenAs", file.writtenAs}};
}

// A progress line on a terminal, rewritten in place; nothing otherwise.
class Progress {
public:
    explicit Progress(size_t total) : mTotal(total), mShown(total > 1 && isatty(fileno(stderr)) != 0) {}
    ~Progress() {
        if (mShown) {
            std::fprintf(stderr, "\n");
        }
    }
    void show(size_t done, const std::string& name) const {
        if (mShown) {
            std::fprintf(stderr, "\rkvs render: %zu/%zu %-40s", done, mTotal,
                         kvUtil::printable(name).c_str());
            std::fflush(stderr);
        }
    }

private:
    size_t mTotal;
    bool mShown;
};

// An item whose files are being written.
struct WritingItem {
    const BatchItem* item = nullptr;
    std::future<std::vector<WrittenFile>> files;
};

// The files written on a thread of their own; here when no thread can start.
// The thread keeps the textures until it is done.
std::future<std::vector<WrittenFile>> writeLater(const std::shared_ptr<RenderedOutputs>& rendered) {
    try {
        return std::async(std::launch::async, [rendered] { return writeFiles(*rendered); });
    } catch (const std::system_error&) {
        return std::async(std::launch::deferred, [rendered] { return writeFiles(*rendered); });
    }
}

int runRender(const ParsedArgs& args) {
    if (args.operands.size() != 1) {
        throw UsageError(args.operands.empty() ? "no package given"
                                               : "one package, and --stack for a second");
    }
    const ValueEdits common = valueEditsOf(args);
    const std::vector<BatchItem> items = batchItems(common, args.value("--seeds"));
    OutputRequest request = requestOf(args);
    const bool json = args.has("--json");
    applyBudget(args);

    Material material(args.operands[0], args.value("--stack"));
    checkOutputsExist(material, request.outputs);
    const kvString::CString defaults = material.model()->getStateString();

    ordered_json summary = {{"items", ordered_json::array()}};
    size_t failed = 0;
    // An item's report: its files, written by `files`, or why it failed
    // (`failure`, or what writing threw). One item failing leaves the others.
    auto record = [&](const BatchItem& item, const std::function<std::vector<WrittenFile>()>& files,
                      std::string failure) {
        ordered_json entry = {{"name", item.name}, {"files", ordered_json::array()}};
        if (failure.empty()) {
            try {
                for (const WrittenFile& file : files()) {
                    entry["files"].push_back(fileJson(file));
                    if (!json) {
                        std::printf("wrote %s (%dx%d, rendered as %s, written as %s)\n", file.path.c_str(),
                                    file.width, file.height, file.renderedAs.c_str(), file.writtenAs.c_str());
                    }
                }
            } catch (const Failure& e) {
                if (items.size() == 1) {
                    throw;
                }
                failure = e.what();
            }
        }
        if (!failure.empty()) {
            ++failed;
            entry["error"] = failure;
            if (!json) {
                std::fprintf(stderr, "kvs render: %s: %s\n", kvUtil::printable(item.name).c_str(),
                             kvUtil::printable(failure).c_str());
            }
        }
        summary["items"].push_back(entry);
        std::fflush(stdout);
    };
    const auto start = std::chrono::steady_clock::now();
    Progress progress(items.size());
    // An item's files are written while the next item renders: each phase
    // alone leaves a core idle part of the time. Reports keep the items' order.
    WritingItem writing;
    for (size_t i = 0; i < items.size(); ++i) {
        const BatchItem& item = items[i];
        progress.show(i + 1, item.name);
        auto rendered = std::make_shared<RenderedOutputs>();
        std::string failure;
        try {
            material.model()->applyStateString(defaults);
            applyEdits(material, item.edits);
            request.variation = item.variation;
            *rendered = renderOutputs(material, request);
        } catch (const Failure& e) {
            if (items.size() == 1) {
                throw;
            }
            failure = e.what();
        }
        if (writing.files.valid()) {
            record(
                *writing.item, [&] { return writing.files.get(); }, "");
            writing = WritingItem();
        }
        if (!failure.empty() || i + 1 == items.size()) {
            record(
                item, [&] { return writeFiles(*rendered); }, failure);
        } else {
            writing = WritingItem{&item, writeLater(rendered)};
        }
    }
    if (json) {
        summary["failed"] = failed;
        summary["milliseconds"] =
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start)
                .count();
        std::cout << summary.dump(2, ' ', false, ordered_json::error_handler_t::replace) << '\n';
    }
    return failed == 0 ? 0 : 1;
}

// The value options, then what a render adds; several --preset or --state make a batch.
std::vector<OptionSpec> renderOptions() {
    std::vector<OptionSpec> options = {
        {"--stack", "TOP", "stack the first graph of TOP on the package's first graph"}};
    const std::vector<OptionSpec> values = valueOptions();
    options.insert(options.end(), values.begin(), values.end());
    const std::vector<OptionSpec> own = {
        {"--seeds", "FIRST-LAST", "a batch, one item per seed"},
        {"--output", "ID", "write this output (default: all)", true},
        {"--depth", "8|16|float", "write every output at this depth (default: each output's own)"},
        {"--mips", nullptr, "write every mip level, not only the full-size one"},
        {"--outdir", "DIR", "where files go (default: .)"},
        {"--json", nullptr, "print a JSON summary instead of one line per file"},
    };
    options.insert(options.end(), own.begin(), own.end());
    const std::vector<OptionSpec> budget = budgetOptions();
    options.insert(options.end(), budget.begin(), budget.end());
    return options;
}

const CommandRegistration registration({
    "render",
    "render a package, or a stack of two, to PNG and OpenEXR files",
    "PACKAGE",
    renderOptions(),
    runRender,
    "Files are named <graph>[_<variation>]_<output>.png (or .exr for float outputs).\n"
    "Values apply in this order: state files, presets, --size, --seed, --set.\n"
    "Several --preset, several --state or --seeds make a batch, one item each.\n"
    "In a batch, each item starts from the defaults; items that fail are reported\n"
    "and the others still written (exit status 1 when any failed).",
});

} // namespace

} // namespace kvs
