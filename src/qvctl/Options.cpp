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

std::optional<UsageError> NeedsPath(std::string_view name, std::string_view value) {
    if (!value.empty()) return std::nullopt;
    return UsageError{std::string(name) + " needs a path"};
}

using Set = std::optional<UsageError>;

constexpr OptionSpec kOptions[] = {
    {"--socket", "", "PATH", "The channel (default /tmp/qvipc).",
     [](OptionReading& r, std::string_view value) -> Set {
         if (auto error = NeedsPath("--socket", value)) return error;
         r.options.socketPath = std::string(value);
         return std::nullopt;
     }},
    {"--wait", "", "SECONDS",
     "How long to wait, 0 to 86400, fractions allowed:\n"
     "  status, abort: at most this long for the reply\n"
     "    (default 5); qvctl ends as soon as it is in.\n"
     "  get, headers, news: the same (default 70, since the\n"
     "    assistant gives up on a fetch after 60).\n"
     "  show, hide: how long to stay connected (default 3).\n"
     "  send: how long to collect replies (default 5).\n"
     "  copy: at most this long for the end report\n"
     "    (default: no limit).",
     [](OptionReading& r, std::string_view value) -> Set {
         r.options.wait = ParseSeconds(value);
         if (r.options.wait) return std::nullopt;
         return UsageError{"--wait takes seconds from 0 to 86400, not " + Quoted(value)};
     }},
    {"--raw", "", "",
     "Show every byte: CR as \\r, LF as \\n and a line break,\n"
     "a backslash as \\\\, other control bytes as \\xHH.",
     [](OptionReading& r, std::string_view) -> Set {
         r.raw = true;
         return std::nullopt;
     }},
    {"--json", "", "",
     "One JSON object per reply, on one line:\n"
     "  {\"fields\":[{\"name\":\"Response\",\"value\":\"Status\"},...],\n"
     "   \"body\":\"<Base64>\"}\n"
     "The fields are the lines up to the first empty line,\n"
     "each cut at its first \": \" (a line without one is all\n"
     "name, with an empty value); the body is everything\n"
     "behind the empty line, \"\" when there is none.",
     [](OptionReading& r, std::string_view) -> Set {
         r.json = true;
         return std::nullopt;
     }},
    {"--output", "", "FILE",
     "get, headers, news: the body goes to FILE instead of\n"
     "standard output. FILE is created or emptied first, as\n"
     "a shell redirection would do. Not with --json.",
     [](OptionReading& r, std::string_view value) -> Set {
         if (auto error = NeedsPath("--output", value)) return error;
         r.options.outputPath = std::string(value);
         return std::nullopt;
     }},
    {"--date", "", "TEXT", "news: the form's key date (default empty).",
     [](OptionReading& r, std::string_view value) -> Set {
         r.options.date = std::string(value);
         return std::nullopt;
     }},
    {"--goi", "", "TEXT", "news: the form's key goi (default empty).",
     [](OptionReading& r, std::string_view value) -> Set {
         r.options.goi = std::string(value);
         return std::nullopt;
     }},
    {"--total", "", "BYTES",
     "copy: the bytes the progress counts against\n"
     "(default SOURCE's size).",
     [](OptionReading& r, std::string_view value) -> Set {
         r.options.copy.total = ParseByteCount(value);
         if (r.options.copy.total) return std::nullopt;
         return UsageError{"--total takes a number of bytes, not " + Quoted(value)};
     }},
    {"--md5", "", "TAG", "copy: the tag that every report echoes\n(default \"qvctl\").",
     [](OptionReading& r, std::string_view value) -> Set {
         r.options.copy.tag = std::string(value);
         return std::nullopt;
     }},
    {"--no-reset", "", "",
     "copy: the assistant's byte count goes on from the\n"
     "copy before.",
     [](OptionReading& r, std::string_view) -> Set {
         r.options.copy.resetAmount = false;
         return std::nullopt;
     }},
    {"--help", "-h", "", "This text.",
     [](OptionReading& r, std::string_view) -> Set {
         r.options.help = true;
         return std::nullopt;
     }},
};

const OptionSpec* FindOption(std::string_view name) {
    for (const OptionSpec& option : kOptions) {
        if (option.name == name || (!option.alias.empty() && option.alias == name)) return &option;
    }
    return nullptr;
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

std::span<const OptionSpec> OptionTable() {
    return kOptions;
}

std::variant<Options, UsageError> ParseOptions(std::span<const std::string_view> args) {
    OptionReading reading;
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
    }
    Options& options = reading.options;
    if (options.help) return options;
    if (reading.raw && reading.json) return UsageError{"--raw and --json exclude each other"};
    options.output = reading.raw ? OutputMode::Raw : reading.json ? OutputMode::Json : OutputMode::Text;
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
