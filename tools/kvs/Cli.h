// The command-line conventions of kvs: each command declares its operands
// and options once, and that declaration drives parsing, `--help` and the
// "did you mean" of a mistyped option. Commands register themselves, so
// adding one touches no other file.
#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace kvs {

struct OptionSpec {
    const char* name;  // "--size"
    const char* value; // what it takes ("N"), or null for a flag
    const char* help;
    bool repeatable = false;
};

struct ParsedArgs;

struct CommandSpec {
    const char* name;
    const char* summary;
    const char* operands; // "PACKAGE", shown in the usage line
    std::vector<OptionSpec> options;
    // Returns the exit status; throws UsageError or Failure.
    int (*run)(const ParsedArgs& args);
    const char* details = ""; // more lines for --help
};

struct ParsedArgs {
    std::vector<std::string> operands;
    std::map<std::string, std::vector<std::string>> options; // flags hold one empty value

    bool has(const std::string& option) const { return options.count(option) != 0; }
    // The option's value; `fallback` when it was not given.
    std::string value(const std::string& option, const std::string& fallback = "") const;
    // Every value of a repeatable option, in command-line order.
    std::vector<std::string> values(const std::string& option) const;
};

// A mistake in the command line: printed with a pointer to --help, exit 2.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Anything else that stops a command: one line naming what was wrong, exit 1.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct CommandRegistration {
    explicit CommandRegistration(const CommandSpec& command);
};

// Every registered command, sorted by name; null when `name` is none of them.
const std::vector<CommandSpec>& commands();
const CommandSpec* findCommand(const std::string& name);

// Parses the arguments after the command name. "--help" anywhere gives
// options {"--help"} and nothing else is checked.
ParsedArgs parseArgs(const CommandSpec& command, int argc, char** argv);
std::string usageText(const CommandSpec& command);

// The candidate nearest to `word` by edit distance, when near enough to be a
// likely typo; empty otherwise.
std::string closest(const std::string& word, const std::vector<std::string>& candidates);
// " (did you mean X?)" or "".
std::string suggestion(const std::string& word, const std::vector<std::string>& candidates);

} // namespace kvs
