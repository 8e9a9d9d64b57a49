#include "qvctl/Options.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>

namespace qv::ctl {

namespace {

// A day: long enough for any use, and far from overflowing the clock's type.
constexpr double kMaxWaitSeconds = 24 * 60 * 60;

std::optional<Action> ActionNamed(std::string_view word) {
    if (word == "status") return Action::Status;
    if (word == "show") return Action::Show;
    if (word == "hide") return Action::Hide;
    if (word == "abort") return Action::Abort;
    if (word == "send") return Action::Send;
    if (word == "get") return Action::Get;
    if (word == "headers") return Action::Headers;
    if (word == "news") return Action::News;
    if (word == "copy") return Action::Copy;
    return std::nullopt;
}

std::string Quoted(std::string_view text) {
    return "'" + std::string(text) + "'";
}

// A CR would end the command line early and start another field.
std::optional<UsageError> CheckLineValue(std::string_view what, std::string_view value) {
    if (value.find('\r') == std::string_view::npos) return std::nullopt;
    return UsageError{std::string(what) + " cannot hold a CR"};
}

std::optional<Duration> ParseSeconds(std::string_view text) {
    double seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() || !std::isfinite(seconds) ||
        seconds < 0 || seconds > kMaxWaitSeconds) {
        return std::nullopt;
    }
    return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(seconds));
}

// A byte count: decimal digits only, within a signed 64-bit integer.
std::optional<std::int64_t> ParseByteCount(std::string_view text) {
    std::int64_t count = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    if (text.empty() || text.front() == '-' || error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return count;
}

// Everything after the options: the command word and its arguments.
std::variant<Options, UsageError> ApplyOperands(Options options, std::span<const std::string_view> operands) {
    if (operands.empty()) return UsageError{"no command given"};
    const std::string_view word = operands.front();
    const auto action = ActionNamed(word);
    if (!action) return UsageError{"unknown command " + Quoted(word)};
    options.action = *action;
    const auto rest = operands.subspan(1);
    if (IsFetch(*action)) {
        if (rest.size() != 1 || rest.front().empty()) return UsageError{std::string(word) + " needs one URL"};
        if (auto error = CheckLineValue("the URL", rest.front())) return *error;
        options.url = std::string(rest.front());
        return options;
    }
    if (*action == Action::Copy) {
        if (rest.size() != 3 || std::ranges::any_of(rest, &std::string_view::empty)) {
            return UsageError{"copy needs SOURCE DEST_FOLDER DEST_PATH"};
        }
        if (auto error = CheckLineValue("DEST_PATH", rest[2])) return *error;
        options.copy.source = std::string(rest[0]);
        options.copy.destinationFolder = std::string(rest[1]);
        options.copy.destinationPath = std::string(rest[2]);
        return options;
    }
    if (*action != Action::Send) {
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

// The options that only some commands take.
std::optional<UsageError> CheckOptionsFitTheCommand(const Options& options) {
    if ((options.date || options.goi) && options.action != Action::News) {
        return UsageError{"--date and --goi belong to news"};
    }
    if (options.outputPath && !IsFetch(options.action))
        return UsageError{"--output belongs to get, headers and news"};
    if (options.outputPath && options.output == OutputMode::Json) {
        return UsageError{"--output and --json exclude each other"};
    }
    if ((options.copy.total || options.copy.tag || !options.copy.resetAmount) &&
        options.action != Action::Copy) {
        return UsageError{"--total, --md5 and --no-reset belong to copy"};
    }
    if (auto error = CheckLineValue("--md5", options.copy.tag.value_or(""))) return error;
    if (auto error = CheckLineValue("--date", options.date.value_or(""))) return error;
    return CheckLineValue("--goi", options.goi.value_or(""));
}

}  // namespace

std::variant<Options, UsageError> ParseOptions(std::span<const std::string_view> args) {
    Options options;
    bool raw = false;
    bool json = false;
    std::vector<std::string_view> operands;
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
        if (arg == "-h" || arg == "--help") {
            options.help = true;
            continue;
        }
        if (arg == "--raw") {
            raw = true;
            continue;
        }
        if (arg == "--json") {
            json = true;
            continue;
        }
        if (arg == "--no-reset") {
            options.copy.resetAmount = false;
            continue;
        }
        const auto equals = arg.find('=');
        const std::string_view name = arg.substr(0, equals);
        if (name != "--socket" && name != "--wait" && name != "--date" && name != "--goi" &&
            name != "--output" && name != "--total" && name != "--md5") {
            return UsageError{"unknown option " + Quoted(arg)};
        }
        std::string_view value;
        if (equals != std::string_view::npos) {
            value = arg.substr(equals + 1);
        } else if (i + 1 < args.size()) {
            value = args[++i];
        } else {
            return UsageError{std::string(name) + " needs a value"};
        }
        if ((name == "--socket" || name == "--output") && value.empty()) {
            return UsageError{std::string(name) + " needs a path"};
        }
        if (name == "--socket") {
            options.socketPath = std::string(value);
        } else if (name == "--output") {
            options.outputPath = std::string(value);
        } else if (name == "--date") {
            options.date = std::string(value);
        } else if (name == "--goi") {
            options.goi = std::string(value);
        } else if (name == "--md5") {
            options.copy.tag = std::string(value);
        } else if (name == "--total") {
            options.copy.total = ParseByteCount(value);
            if (!options.copy.total)
                return UsageError{"--total takes a number of bytes, not " + Quoted(value)};
        } else {
            options.wait = ParseSeconds(value);
            if (!options.wait)
                return UsageError{"--wait takes seconds from 0 to 86400, not " + Quoted(value)};
        }
    }
    if (options.help) return options;
    if (raw && json) return UsageError{"--raw and --json exclude each other"};
    options.output = raw ? OutputMode::Raw : json ? OutputMode::Json : OutputMode::Text;
    auto applied = ApplyOperands(std::move(options), operands);
    if (const auto* complete = std::get_if<Options>(&applied)) {
        if (auto error = CheckOptionsFitTheCommand(*complete)) return *error;
    }
    return applied;
}

bool IsFetch(Action action) {
    return action == Action::Get || action == Action::Headers || action == Action::News;
}

}  // namespace qv::ctl
