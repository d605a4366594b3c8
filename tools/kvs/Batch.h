// The variations one `kvs render` makes: one item, or one per seed of a
// range, per preset or per state file. All are rendered by one material, so
// that what an item does not change is not computed again.
#pragma once

#include "tools/kvs/ValueEdits.h"

#include <string>
#include <vector>

namespace kvs {

struct BatchItem {
    std::string name;      // "seed 7", "preset \"Sepia\"", "state a.txt"; "" for a single render
    std::string variation; // for file names: "seed7", "Sepia", "a"; "" for a single render
    ValueEdits edits;      // everything applied to the defaults for this item
};

// The items of a command line: `seeds` "A-B" (or ""), several presets or
// several state files vary; everything else in `common` applies to each. A
// UsageError when two things vary at once or the range is malformed.
std::vector<BatchItem> batchItems(const ValueEdits& common, const std::string& seeds);

} // namespace kvs
