// Subcommands of the kvs tool. Each command file registers itself with one
// static CommandRegistration, so adding a command touches no other file.
#pragma once

#include <vector>

namespace kvs {

struct Command {
    const char* name;
    const char* summary;
    // Takes the arguments after the command name; returns the exit status.
    // Errors are printed as one line on stderr.
    int (*run)(int argc, char** argv);
};

struct CommandRegistration {
    explicit CommandRegistration(const Command& command);
};

// Every registered command, sorted by name.
const std::vector<Command>& commands();

} // namespace kvs
