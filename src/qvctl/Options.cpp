#include "qvctl/Options.h"

#include <charconv>
#include <chrono>
#include <cmath>

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
    return std::nullopt;
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

// Everything after the options: the command word and, for send, its fields.
std::variant<Options, UsageError> ApplyOperands(Options options, std::span<const std::string_view> operands) {
    if (operands.empty()) return UsageError{"no command given"};
    const auto action = ActionNamed(operands.front());
    if (!action) return UsageError{"unknown command '" + std::string(operands.front()) + "'"};
    options.action = *action;
    const auto rest = operands.subspan(1);
    if (*action != Action::Send) {
        if (!rest.empty()) return UsageError{"'" + std::string(operands.front()) + "' takes no arguments"};
        return options;
    }
    if (rest.empty()) return UsageError{"send needs at least one NAME=VALUE"};
    for (const std::string_view pair : rest) {
        const auto equals = pair.find('=');
        if (equals == std::string_view::npos || equals == 0) {
            return UsageError{"'" + std::string(pair) + "' is not NAME=VALUE"};
        }
        options.fields.push_back({std::string(pair.substr(0, equals)), std::string(pair.substr(equals + 1))});
    }
    return options;
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
        const auto equals = arg.find('=');
        const std::string_view name = arg.substr(0, equals);
        if (name != "--socket" && name != "--wait")
            return UsageError{"unknown option '" + std::string(arg) + "'"};
        std::string_view value;
        if (equals != std::string_view::npos) {
            value = arg.substr(equals + 1);
        } else if (i + 1 < args.size()) {
            value = args[++i];
        } else {
            return UsageError{std::string(name) + " needs a value"};
        }
        if (name == "--socket") {
            if (value.empty()) return UsageError{"--socket needs a path"};
            options.socketPath = std::string(value);
        } else {
            options.wait = ParseSeconds(value);
            if (!options.wait)
                return UsageError{"--wait takes seconds from 0 to 86400, not '" + std::string(value) + "'"};
        }
    }
    if (options.help) return options;
    if (raw && json) return UsageError{"--raw and --json exclude each other"};
    options.output = raw ? OutputMode::Raw : json ? OutputMode::Json : OutputMode::Text;
    return ApplyOperands(std::move(options), operands);
}

}  // namespace qv::ctl
