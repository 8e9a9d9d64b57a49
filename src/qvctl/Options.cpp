#include "qvctl/Options.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace qv::ctl {

namespace {

std::string Quoted(std::string_view text) {
    return "'" + std::string(text) + "'";
}

// A CR would end the command line early and start another field.
std::optional<UsageError> CheckLineValue(std::string_view what, std::string_view value) {
    if (value.find('\r') == std::string_view::npos) return std::nullopt;
    return UsageError{std::string(what) + " cannot hold a CR"};
}

// Edits (insertions, deletions, changes) that turn `a` into `b`.
std::size_t EditDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i);
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t change = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = std::exchange(row[j], std::min({row[j] + 1, row[j - 1] + 1, change}));
        }
    }
    return row[b.size()];
}

// The command that `word` was most likely meant to be, as git suggests one.
std::string UnknownCommand(std::string_view word) {
    std::string message = "unknown command " + Quoted(word);
    std::size_t best = 3;  // more edits than two: no suggestion
    std::string_view suggestion;
    for (const CommandInfo& command : CommandTable()) {
        const std::size_t distance = EditDistance(word, command.name);
        if (distance < best) best = distance, suggestion = command.name;
    }
    if (!suggestion.empty()) message += "; did you mean " + Quoted(suggestion) + "?";
    return message;
}

const CommandInfo* FindCommand(std::string_view word) {
    const auto commands = CommandTable();
    const auto found = std::ranges::find(commands, word, &CommandInfo::name);
    return found == commands.end() ? nullptr : &*found;
}

std::optional<UsageError> CheckUrl(std::string_view url) {
    if (auto error = CheckLineValue("the URL", url)) return error;
    constexpr std::string_view kSecure = "https://";
    if (url.size() < kSecure.size() ||
        !std::ranges::equal(url.substr(0, kSecure.size()), kSecure, [](char a, char b) {
            return std::tolower(static_cast<unsigned char>(a)) == b;
        })) {
        return std::nullopt;
    }
    return UsageError{"cannot fetch " + Quoted(url) + ": the assistant speaks plain HTTP only"};
}

const OptionInfo* FindOption(std::string_view name) {
    for (const OptionInfo& option : OptionTable()) {
        if (option.name == name || (!option.alias.empty() && option.alias == name)) return &option;
    }
    return nullptr;
}

// `help [COMMAND]`, or --help with or without a command.
std::variant<Options, UsageError> ApplyHelp(Options options, std::span<const std::string_view> operands) {
    options.help = true;
    if (!operands.empty() && operands.front() == "help") operands = operands.subspan(1);
    if (operands.empty()) return options;
    const CommandInfo* command = FindCommand(operands.front());
    if (!command) return UsageError{UnknownCommand(operands.front())};
    options.helpTopic = command->action;
    return options;
}

// Everything after the options: the command word and its arguments.
std::variant<Options, UsageError> ApplyOperands(Options options, std::span<const std::string_view> operands) {
    if (operands.empty()) return UsageError{"no command given"};
    const std::string_view word = operands.front();
    const CommandInfo* command = FindCommand(word);
    if (!command) return UsageError{UnknownCommand(word)};
    options.action = command->action;
    const auto rest = operands.subspan(1);
    if (IsFetch(command->action)) {
        if (rest.size() != 1 || rest.front().empty()) return UsageError{std::string(word) + " needs one URL"};
        if (auto error = CheckUrl(rest.front())) return *error;
        options.url = std::string(rest.front());
        return options;
    }
    if (command->action == Action::Copy) {
        if (rest.size() != 3 || std::ranges::any_of(rest, &std::string_view::empty)) {
            return UsageError{"copy needs SOURCE DEST_FOLDER DEST_PATH"};
        }
        if (auto error = CheckLineValue("DEST_PATH", rest[2])) return *error;
        options.copy.source = std::string(rest[0]);
        options.copy.destinationFolder = std::string(rest[1]);
        options.copy.destinationPath = std::string(rest[2]);
        return options;
    }
    if (command->action != Action::Send) {
        if (!rest.empty()) return UsageError{Quoted(word) + " takes no arguments"};
        return options;
    }
    if (rest.empty()) return UsageError{"send needs at least one NAME=VALUE"};
    for (const std::string_view pair : rest) {
        const auto equals = pair.find('=');
        if (equals == std::string_view::npos || equals == 0)
            return UsageError{Quoted(pair) + " is not NAME=VALUE"};
        options.fields.push_back({std::string(pair.substr(0, equals)), std::string(pair.substr(equals + 1))});
    }
    return options;
}

// The options given that their command does not take, and the values that
// go into command lines.
std::optional<UsageError> CheckOptionsFitTheCommand(const Options& options,
                                                    const std::vector<const OptionInfo*>& given) {
    for (const OptionInfo* option : given) {
        if (!Takes(*option, options.action)) {
            return UsageError{std::string(option->name) + " belongs to " + std::string(option->commands)};
        }
    }
    if ((options.outputPath || options.headerPath) && options.output == OutputMode::Json) {
        return UsageError{std::string(options.outputPath ? "--output" : "--dump-header") +
                          " and --json exclude each other"};
    }
    if (auto error = CheckLineValue("--md5", options.copy.tag.value_or(""))) return error;
    if (auto error = CheckLineValue("--date", options.date.value_or(""))) return error;
    return CheckLineValue("--goi", options.goi.value_or(""));
}

}  // namespace

std::variant<Options, UsageError> ParseOptions(std::span<const std::string_view> args) {
    OptionReading reading;
    std::vector<std::string_view> operands;
    std::vector<const OptionInfo*> given;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string_view arg = args[i];
        if (arg == "--") {
            operands.insert(operands.end(), args.begin() + static_cast<std::ptrdiff_t>(i) + 1, args.end());
            break;
        }
        if (!arg.starts_with("-") || arg == "-") {
            operands.push_back(arg);
            continue;
        }
        const auto equals = arg.find('=');
        const OptionInfo* option = FindOption(arg.substr(0, equals));
        if (!option) return UsageError{"unknown option " + Quoted(arg)};
        std::string_view value;
        if (option->valueName.empty()) {
            if (equals != std::string_view::npos)
                return UsageError{std::string(option->name) + " takes no value"};
        } else if (equals != std::string_view::npos) {
            value = arg.substr(equals + 1);
        } else if (i + 1 < args.size()) {
            value = args[++i];
        } else {
            return UsageError{std::string(option->name) + " needs a value"};
        }
        if (value.empty() && (option->valueName == "PATH" || option->valueName == "FILE")) {
            return UsageError{std::string(option->name) + " needs a path"};
        }
        if (auto error = option->apply(reading, value)) return *error;
        given.push_back(option);
    }
    Options& options = reading.options;
    if (options.help || (!operands.empty() && operands.front() == "help"))
        return ApplyHelp(options, operands);
    if (options.version) return options;
    if (reading.raw && reading.json) return UsageError{"--raw and --json exclude each other"};
    if (reading.quiet && reading.verbose) return UsageError{"--quiet and --verbose exclude each other"};
    options.output = reading.raw ? OutputMode::Raw : reading.json ? OutputMode::Json : OutputMode::Text;
    options.verbosity = reading.quiet     ? Verbosity::Quiet
                        : reading.verbose ? Verbosity::Verbose
                                          : Verbosity::Normal;
    if (reading.interactive && operands.empty()) operands.push_back("session");
    auto applied = ApplyOperands(std::move(options), operands);
    if (const auto* complete = std::get_if<Options>(&applied)) {
        if (auto error = CheckOptionsFitTheCommand(*complete, given)) return *error;
    }
    return applied;
}

std::string ChannelPath(const Options& options, const char* environment) {
    if (options.socketPath) return *options.socketPath;
    if (environment && *environment) return environment;
    return std::string(kDefaultSocketPath);
}

bool IsFetch(Action action) {
    return action == Action::Get || action == Action::Headers || action == Action::News;
}

}  // namespace qv::ctl
