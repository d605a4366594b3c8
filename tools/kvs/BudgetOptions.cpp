#include "tools/kvs/BudgetOptions.h"

#include "framework/render/RenderBudget.h"

#include <string>

namespace kvs {

namespace {

// A whole number from 1 to max; a UsageError naming the option otherwise.
unsigned long long positive(const ParsedArgs& args, const std::string& option, unsigned long long max) {
    const std::string text = args.value(option);
    const bool digits =
        !text.empty() && text.size() < 20 && text.find_first_not_of("0123456789") == std::string::npos;
    const unsigned long long value = digits ? std::stoull(text) : 0;
    if (value == 0 || value > max) {
        throw UsageError(option + " takes a whole number from 1 to " + std::to_string(max) + ", not \"" +
                         text + "\"");
    }
    return value;
}

} // namespace

std::vector<OptionSpec> budgetOptions() {
    return {
        {"--max-side", "N", "refuse renders wider or taller than N texels (default 4096)"},
        {"--max-memory", "MIB", "refuse renders needing more than MIB MiB of images (default 1024)"},
    };
}

void applyBudget(const ParsedArgs& args) {
    SubstanceAir::RenderBudget budget;
    if (args.has("--max-side")) {
        budget.maxTextureSide = static_cast<unsigned int>(positive(args, "--max-side", 8192));
    }
    if (args.has("--max-memory")) {
        budget.maxRenderBytes = static_cast<size_t>(positive(args, "--max-memory", size_t(1) << 24)) << 20;
    }
    SubstanceAir::setRenderBudget(budget);
}

} // namespace kvs
