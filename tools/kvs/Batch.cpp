#include "tools/kvs/Batch.h"

#include "tools/kvs/Cli.h"
#include "tools/kvs/Material.h"

#include <climits>
#include <cstdlib>

namespace kvs {

namespace {

// Seeds are ints; a batch of more than this many is surely a typo.
constexpr long kMaxBatchItems = 100000;

bool wholeNumber(const std::string& text, long& value) {
    char* end = nullptr;
    value = std::strtol(text.c_str(), &end, 10);
    return !text.empty() && *end == '\0' && value >= INT_MIN && value <= INT_MAX;
}

std::string stemOf(const std::string& path) {
    const std::string name =
        path.substr(path.find_last_of('/') == std::string::npos ? 0 : path.find_last_of('/') + 1);
    return graphFileName(name.substr(0, name.rfind('.')));
}

} // namespace

std::vector<BatchItem> batchItems(const ValueEdits& common, const std::string& seeds) {
    const int varying = (seeds.empty() ? 0 : 1) + (common.presets.size() > 1 ? 1 : 0) +
                        (common.stateFiles.size() > 1 ? 1 : 0);
    if (varying > 1) {
        throw UsageError("vary one thing at a time: --seeds, several --preset or several --state");
    }
    std::vector<BatchItem> items;
    if (!seeds.empty()) {
        const size_t dash = seeds.find('-', 1);
        long first = 0, last = 0;
        if (dash == std::string::npos || !wholeNumber(seeds.substr(0, dash), first) ||
            !wholeNumber(seeds.substr(dash + 1), last) || last < first || last - first >= kMaxBatchItems) {
            throw UsageError("--seeds takes a range FIRST-LAST of at most " + std::to_string(kMaxBatchItems) +
                             " seeds, not \"" + seeds + "\"");
        }
        if (!common.seed.empty()) {
            throw UsageError("--seed and --seeds cannot be given together");
        }
        for (long seed = first; seed <= last; ++seed) {
            BatchItem item{"seed " + std::to_string(seed), "seed" + std::to_string(seed), common};
            item.edits.seed = std::to_string(seed);
            items.push_back(item);
        }
    } else if (common.presets.size() > 1) {
        for (const std::string& preset : common.presets) {
            BatchItem item{"preset \"" + preset + "\"", graphFileName(preset), common};
            item.edits.presets = {preset};
            items.push_back(item);
        }
    } else if (common.stateFiles.size() > 1) {
        for (const std::string& state : common.stateFiles) {
            BatchItem item{"state " + state, stemOf(state), common};
            item.edits.stateFiles = {state};
            items.push_back(item);
        }
    } else {
        items.push_back(BatchItem{"", "", common});
    }
    return items;
}

} // namespace kvs
