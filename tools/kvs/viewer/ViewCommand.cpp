// kvs view, as the viewer's executable runs it: shows a material in the
// browser and re-renders it through the library on every change; a package
// source is compiled again on each save.
#include "tools/kvs/BudgetOptions.h"
#include "tools/kvs/Cli.h"
#include "tools/kvs/ViewCommandSpec.h"
#include "tools/kvs/viewer/ViewServer.h"

#include <atomic>
#include <chrono>
#include <thread>

namespace kvs {

namespace {

int runView(const ParsedArgs& args) {
    if (args.operands.size() != 1) {
        throw UsageError(args.operands.empty() ? "no package or source given"
                                               : "one package or source at a time");
    }
    viewer::ServerOptions options;
    options.address = args.value("--bind", options.address);
    const std::string port = args.value("--port", std::to_string(options.port));
    try {
        size_t used = 0;
        options.port = std::stoi(port, &used);
        if (used != port.size() || options.port < 0 || options.port > 65535) {
            throw std::out_of_range(port);
        }
    } catch (const std::logic_error&) {
        throw UsageError("--port takes a number from 0 to 65535, not \"" + port + "\"");
    }
    options.threeJs = KV_THREE_JS;
    applyBudget(args);
    const sigset_t stopSignals = viewer::blockStopSignals();
    viewer::ViewSession session(args.operands[0], args.value("--stack"));

    // A source is looked at a few times a second, so a save shows at once.
    std::atomic<bool> watching{true};
    std::thread watcher([&] {
        while (watching) {
            session.refresh();
            std::this_thread::sleep_for(std::chrono::milliseconds(250));
        }
    });
    try {
        viewer::serve(session, options, stopSignals);
    } catch (...) {
        watching = false;
        watcher.join();
        throw;
    }
    watching = false;
    watcher.join();
    return 0;
}

const CommandRegistration registration(viewCommand(runView));

} // namespace

} // namespace kvs
