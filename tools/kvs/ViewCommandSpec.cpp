#include "tools/kvs/ViewCommandSpec.h"

#include "tools/kvs/BudgetOptions.h"

namespace kvs {

CommandSpec viewCommand(int (*run)(const ParsedArgs& args)) {
    std::vector<OptionSpec> options = {
        {"--stack", "TOP.mpk", "a package to stack on top of the material"},
        {"--port", "N", "the port to listen on (default 8780; 0 picks a free one)"},
        {"--bind", "ADDRESS", "the address to listen on (default 127.0.0.1, this machine only)"}};
    const std::vector<OptionSpec> budget = budgetOptions();
    options.insert(options.end(), budget.begin(), budget.end());
    return {
        "view",
        "show a material in the browser, re-rendered on every change",
        "PACKAGE.mpk | SOURCE.json",
        options,
        run,
        "Open the address it prints. Every input has a widget; each change renders every output\n"
        "again through the library and shows it, with a lit preview on a plane and a sphere.\n"
        "A package source (.json) is compiled again whenever it is saved; its compile error\n"
        "shows on the page until the source compiles.",
    };
}

} // namespace kvs
