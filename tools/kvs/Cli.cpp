#include "tools/kvs/Cli.h"

#include <algorithm>
#include <cstring>

namespace kvs {

namespace {

std::vector<CommandSpec>& registry() {
    static std::vector<CommandSpec> all;
    return all;
}

size_t editDistance(const std::string& a, const std::string& b) {
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j) {
        row[j] = j;
    }
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t above = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
            diagonal = above;
        }
    }
    return row[b.size()];
}

const OptionSpec* findOption(const CommandSpec& command, const std::string& name) {
    for (const OptionSpec& option : command.options) {
        if (name == option.name) {
            return &option;
        }
    }
    return nullptr;
}

} // namespace

std::string ParsedArgs::value(const std::string& option, const std::string& fallback) const {
    const auto found = options.find(option);
    return found == options.end() ? fallback : found->second.back();
}

std::vector<std::string> ParsedArgs::values(const std::string& option) const {
    const auto found = options.find(option);
    return found == options.end() ? std::vector<std::string>() : found->second;
}

CommandRegistration::CommandRegistration(const CommandSpec& command) {
    std::vector<CommandSpec>& all = registry();
    all.insert(std::upper_bound(all.begin(), all.end(), command,
                                [](const CommandSpec& a, const CommandSpec& b) {
                                    return std::strcmp(a.name, b.name) < 0;
                                }),
               command);
}

const std::vector<CommandSpec>& commands() {
    return registry();
}

const CommandSpec* findCommand(const std::string& name) {
    for (const CommandSpec& command : registry()) {
        if (name == command.name) {
            return &command;
        }
    }
    return nullptr;
}

ParsedArgs parseArgs(const CommandSpec& command, int argc, char** argv) {
    ParsedArgs args;
    for (int i = 0; i < argc; ++i) {
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
            ParsedArgs help;
            help.options["--help"].push_back("");
            return help;
        }
    }
    std::vector<std::string> names;
    for (const OptionSpec& option : command.options) {
        names.push_back(option.name);
    }
    for (int i = 0; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg.size() < 2 || arg[0] != '-') {
            args.operands.push_back(arg);
            continue;
        }
        const OptionSpec* option = findOption(command, arg);
        if (option == nullptr) {
            throw UsageError("unknown option " + arg + suggestion(arg, names));
        }
        if (args.has(arg) && !option->repeatable) {
            throw UsageError(arg + " given twice");
        }
        if (option->value == nullptr) {
            args.options[arg].push_back("");
            continue;
        }
        if (i + 1 >= argc) {
            throw UsageError(arg + " needs a value (" + option->value + ")");
        }
        args.options[arg].push_back(argv[++i]);
    }
    return args;
}

std::string usageText(const CommandSpec& command) {
    std::string text = std::string("usage: kvs ") + command.name + " " + command.operands +
                       (command.options.empty() ? "" : " [options]") + "\n\n" + command.summary + "\n";
    if (command.details[0] != '\0') {
        text += std::string("\n") + command.details + "\n";
    }
    if (!command.options.empty()) {
        text += "\noptions:\n";
    }
    for (const OptionSpec& option : command.options) {
        std::string left =
            std::string("  ") + option.name + (option.value ? std::string(" ") + option.value : "");
        left.resize(std::max<size_t>(left.size() + 2, 24), ' ');
        text += left + option.help + (option.repeatable ? " (repeatable)" : "") + "\n";
    }
    text += "  --help                print this help\n";
    return text;
}

std::string closest(const std::string& word, const std::vector<std::string>& candidates) {
    std::string best;
    size_t bestDistance = std::string::npos;
    for (const std::string& candidate : candidates) {
        const size_t distance = editDistance(word, candidate);
        if (distance < bestDistance) {
            best = candidate;
            bestDistance = distance;
        }
    }
    // A typo, not another word: at most a third of the letters changed.
    return bestDistance <= std::max<size_t>(2, word.size() / 3) ? best : std::string();
}

std::string suggestion(const std::string& word, const std::vector<std::string>& candidates) {
    const std::string near = closest(word, candidates);
    return near.empty() ? std::string() : " (did you mean " + near + "?)";
}

} // namespace kvs
