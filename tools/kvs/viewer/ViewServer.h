// The viewer's HTTP server: its page and assets, compiled into kvs, and a
// small JSON interface over a ViewSession. Every refused request gets an
// error response with a one-line reason; nothing outside the page's own
// assets is served.
#pragma once

#include "tools/kvs/viewer/ViewSession.h"

#include <csignal>
#include <string>

namespace kvs::viewer {

struct ServerOptions {
    std::string address = "127.0.0.1";
    int port = 8780;     // 0: any free port
    std::string threeJs; // the path of three.js, read once; empty: no 3D preview
};

// Blocks SIGINT and SIGTERM in this thread and every thread it starts
// later, so that serve can wait for them: call it before any thread exists.
sigset_t blockStopSignals();

// Serves until SIGINT or SIGTERM; prints the address once listening. A
// Failure when the address cannot be bound.
void serve(ViewSession& session, const ServerOptions& options, const sigset_t& stopSignals);

// The page's files, compiled in: null when `name` is none of them.
struct Asset {
    const char* type;
    const char* body;
};
const Asset* findAsset(const std::string& name);

} // namespace kvs::viewer
