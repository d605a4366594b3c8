// kvs: compile, inspect and render material packages.
#include "tools/kvs/Commands.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>

namespace kvs {

namespace {
std::vector<Command>& registry() {
    static std::vector<Command> all;
    return all;
}
} // namespace

CommandRegistration::CommandRegistration(const Command& command) {
    auto& all = registry();
    all.insert(std::upper_bound(all.begin(), all.end(), command,
                                [](const Command& a, const Command& b) { return std::strcmp(a.name, b.name) < 0; }),
               command);
}

const std::vector<Command>& commands() { return registry(); }

} // namespace kvs

namespace {

void printUsage() {
    std::fprintf(stderr, "usage: kvs <command> [arguments]\n\ncommands:\n");
    for (const kvs::Command& c : kvs::commands())
        std::fprintf(stderr, "  %-8s %s\n", c.name, c.summary);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        printUsage();
        return 2;
    }
    for (const kvs::Command& c : kvs::commands()) {
        if (std::strcmp(argv[1], c.name) != 0)
            continue;
        try {
            return c.run(argc - 2, argv + 2);
        } catch (const std::bad_alloc&) {
            std::fprintf(stderr, "kvs %s: out of memory\n", c.name);
        } catch (const std::exception& e) {
            std::fprintf(stderr, "kvs %s: %s\n", c.name, e.what());
        }
        return 1;
    }
    std::fprintf(stderr, "kvs: unknown command '%s'\n", argv[1]);
    printUsage();
    return 2;
}
