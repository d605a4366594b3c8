// kvs: compile, inspect and render material packages.
#include "tools/kvs/Commands.h"

#include <cstdio>
#include <cstring>
#include <exception>

namespace {

struct Command {
    const char* name;
    int (*run)(int, char**);
    const char* summary;
};

const Command kCommands[] = {
    {"info", kvs::runInfo, "print a material description or package (--json)"},
    {"compile", kvs::runCompile, "compile a package source (.json) into a package (.mpk)"},
    {"render", kvs::runRender, "render a package, or a stack of two, to image files"},
};

void printUsage() {
    std::fprintf(stderr, "usage: kvs <command> [arguments]\n\ncommands:\n");
    for (const Command& c : kCommands)
        std::fprintf(stderr, "  %-8s %s\n", c.name, c.summary);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        printUsage();
        return 2;
    }
    for (const Command& c : kCommands) {
        if (std::strcmp(argv[1], c.name) == 0) {
            try {
                return c.run(argc - 2, argv + 2);
            } catch (const std::exception& e) {
                std::fprintf(stderr, "kvs %s: %s\n", c.name, e.what());
                return 1;
            }
        }
    }
    std::fprintf(stderr, "kvs: unknown command '%s'\n", argv[1]);
    printUsage();
    return 2;
}
