// kvs view, as kvs runs it: hands the command to the viewer's executable,
// kvs-view beside kvs. The viewer's HTTP server brings a TLS library whose
// loading and start-up would otherwise slow every other command's start.
#include "tools/kvs/ViewCommandSpec.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#if defined(__unix__) || defined(__APPLE__)
#include <unistd.h>
#endif

namespace kvs {

namespace {

constexpr const char* kViewerName = "kvs-view";

// kvs-view in the folder of the running kvs; just its name (to look up on
// the PATH) where that folder cannot be known.
std::string viewerPath() {
#if defined(__linux__)
    std::vector<char> path(4096);
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    if (length > 0 && static_cast<size_t>(length) < path.size()) {
        std::string self(path.data(), static_cast<size_t>(length));
        const size_t slash = self.rfind('/');
        if (slash != std::string::npos)
            return self.substr(0, slash + 1) + kViewerName;
    }
#endif
    return kViewerName;
}

// The parsed command line again, as the viewer parses it.
std::vector<std::string> viewArguments(const ParsedArgs& args, const CommandSpec& spec) {
    std::vector<std::string> words = {kViewerName, spec.name};
    words.insert(words.end(), args.operands.begin(), args.operands.end());
    for (const OptionSpec& option : spec.options) {
        for (const std::string& value : args.values(option.name)) {
            words.push_back(option.name);
            if (option.value != nullptr)
                words.push_back(value);
        }
    }
    return words;
}

int launchViewer(const ParsedArgs& args);

const CommandSpec& spec() {
    static const CommandSpec command = viewCommand(launchViewer);
    return command;
}

int launchViewer(const ParsedArgs& args) {
#if defined(__unix__) || defined(__APPLE__)
    const std::string path = viewerPath();
    std::vector<std::string> words = viewArguments(args, spec());
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    if (path.find('/') != std::string::npos)
        execv(path.c_str(), argv.data());
    else
        execvp(path.c_str(), argv.data());
    throw Failure("cannot start the viewer " + path + ": " + std::strerror(errno));
#else
    (void)args;
    throw Failure("the viewer runs as kvs-view on this system");
#endif
}

const CommandRegistration registration(spec());

} // namespace

} // namespace kvs
