// kvs: compile, inspect, render and save the states of material packages.
//   kvs --help | --version | help COMMAND | COMMAND --help | COMMAND [arguments]
#include "tools/kvs/Cli.h"

#include "platform/base/PrintableText.h"

#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <string>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace {

// Each file written allocates and frees the encoder's buffers, and by
// default the C heap maps buffers of 128 KiB and more afresh and hands the
// freed top back to the system, so the next file pays a page fault per page
// again. A tool that runs for seconds keeps them.
void keepFreedHeap() {
#if defined(__GLIBC__)
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, 64 << 20);
#endif
}

void printOverview(std::FILE* stream) {
    std::fprintf(stream, "usage: kvs COMMAND [arguments]\n       kvs help COMMAND | kvs COMMAND --help\n\n"
                         "commands:\n");
    for (const kvs::CommandSpec& command : kvs::commands()) {
        std::fprintf(stream, "  %-9s %s\n", command.name, command.summary);
    }
    std::fprintf(stream, "\noptions:\n  --help    print this help\n  --version print the version\n");
}

std::vector<std::string> commandNames() {
    std::vector<std::string> names;
    for (const kvs::CommandSpec& command : kvs::commands()) {
        names.push_back(command.name);
    }
    return names;
}

int unknownCommand(const std::string& name) {
    std::fprintf(stderr, "kvs: unknown command '%s'%s (see kvs --help)\n", kvUtil::printable(name).c_str(),
                 kvs::suggestion(name, commandNames()).c_str());
    return 2;
}

int runCommand(const kvs::CommandSpec& command, int argc, char** argv) {
    try {
        const kvs::ParsedArgs args = kvs::parseArgs(command, argc, argv);
        if (args.has("--help")) {
            std::fputs(kvs::usageText(command).c_str(), stdout);
            return 0;
        }
        return command.run(args);
    } catch (const kvs::UsageError& e) {
        std::fprintf(stderr, "kvs %s: %s (see kvs %s --help)\n", command.name,
                     kvUtil::printable(e.what()).c_str(), command.name);
        return 2;
    } catch (const kvs::Failure& e) {
        std::fprintf(stderr, "kvs %s: %s\n", command.name, kvUtil::printable(e.what()).c_str());
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "kvs %s: out of memory\n", command.name);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "kvs %s: %s\n", command.name, kvUtil::printable(e.what()).c_str());
    }
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    keepFreedHeap();
    if (argc < 2) {
        printOverview(stderr);
        return 2;
    }
    const std::string first = argv[1];
    if (first == "--help" || first == "-h") {
        printOverview(stdout);
        return 0;
    }
    if (first == "--version") {
        std::printf("kvs %s\n", KV_VERSION);
        return 0;
    }
    if (first == "help") {
        if (argc < 3) {
            printOverview(stdout);
            return 0;
        }
        const kvs::CommandSpec* command = kvs::findCommand(argv[2]);
        if (command == nullptr) {
            return unknownCommand(argv[2]);
        }
        std::fputs(kvs::usageText(*command).c_str(), stdout);
        return 0;
    }
    const kvs::CommandSpec* command = kvs::findCommand(first);
    if (command == nullptr) {
        return unknownCommand(first);
    }
    return runCommand(*command, argc - 2, argv + 2);
}
