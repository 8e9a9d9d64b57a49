#include "qvctl/Options.h"

#include <algorithm>

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

const CommandSpec* FindCommand(std::string_view word) {
    const auto commands = CommandTable();
    const auto found = std::ranges::find(commands, word, &CommandSpec::name);
    return found == commands.end() ? nullptr : &*found;
}

const OptionSpec* FindOption(std::string_view name) {
    for (const OptionSpec& option : OptionTable()) {
        if (option.name == name || (!option.alias.empty() && option.alias == name)) return &option;
    }
    return nullptr;
}

// `help [COMMAND]`, or --help with or without a command.
std::variant<Options, UsageError> ApplyHelp(Options options, std::span<const std::string_view> operands) {
    options.help = true;
    if (!operands.empty() && operands.front() == "help") operands = operands.subspan(1);
    if (operands.empty()) return options;
    const CommandSpec* command = FindCommand(operands.front());
    if (!command) return UsageError{"unknown command " + Quoted(operands.front())};
    options.helpTopic = command->action;
    return options;
}

// Everything after the options: the command word and its arguments.
std::variant<Options, UsageError> ApplyOperands(Options options, std::span<const std::string_view> operands) {
    if (operands.empty()) return UsageError{"no command given"};
    const std::string_view word = operands.front();
    const CommandSpec* command = FindCommand(word);
    if (!command) return UsageError{"unknown command " + Quoted(word)};
    options.action = command->action;
    const auto rest = operands.subspan(1);
    if (IsFetch(command->action)) {
        if (rest.size() != 1 || rest.front().empty()) return UsageError{std::string(word) + " needs one URL"};
        if (auto error = CheckLineValue("the URL", rest.front())) return *error;
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
                                                    const std::vector<const OptionSpec*>& given) {
    for (const OptionSpec* option : given) {
        if (!Takes(*option, options.action)) {
            return UsageError{std::string(option->name) + " belongs to " + std::string(option->commands)};
        }
    }
    if (options.outputPath && options.output == OutputMode::Json) {
        return UsageError{"--output and --json exclude each other"};
    }
    if (auto error = CheckLineValue("--md5", options.copy.tag.value_or(""))) return error;
    if (auto error = CheckLineValue("--date", options.date.value_or(""))) return error;
    return CheckLineValue("--goi", options.goi.value_or(""));
}

}  // namespace

std::variant<Options, UsageError> ParseOptions(std::span<const std::string_view> args) {
    OptionReading reading;
    std::vector<std::string_view> operands;
    std::vector<const OptionSpec*> given;
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
        const OptionSpec* option = FindOption(arg.substr(0, equals));
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
        if (auto error = option->apply(reading, value)) return *error;
        given.push_back(option);
    }
    Options& options = reading.options;
    if (options.help || (!operands.empty() && operands.front() == "help"))
        return ApplyHelp(options, operands);
    if (options.version) return options;
    if (reading.raw && reading.json) return UsageError{"--raw and --json exclude each other"};
    options.output = reading.raw ? OutputMode::Raw : reading.json ? OutputMode::Json : OutputMode::Text;
    if (reading.interactive && operands.empty()) operands.push_back("session");
    auto applied = ApplyOperands(std::move(options), operands);
    if (const auto* complete = std::get_if<Options>(&applied)) {
        if (auto error = CheckOptionsFitTheCommand(*complete, given)) return *error;
    }
    return applied;
}

bool IsFetch(Action action) {
    return action == Action::Get || action == Action::Headers || action == Action::News;
}

}  // namespace qv::ctl
