#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>

#include "qvctl/Command.h"
#include "qvctl/CopyCommand.h"
#include "qvctl/Options.h"

namespace qv::ctl {

namespace {

std::optional<Duration> ParseSeconds(std::string_view text) {
    double seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(seconds) || seconds < 0 ||
        seconds > std::chrono::duration<double>(kMaxWait).count()) {
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

using Set = std::optional<UsageError>;

// An option that turns on its flag.
template <bool OptionReading::*flag>
Set Switch(OptionReading& reading, std::string_view) {
    reading.*flag = true;
    return std::nullopt;
}

// An option whose value is kept as it is.
template <std::optional<std::string> Options::*field>
Set Text(OptionReading& reading, std::string_view value) {
    reading.options.*field = std::string(value);
    return std::nullopt;
}

}  // namespace

std::span<const OptionInfo> OptionTable() {
    static const std::string wait = SecondsText(kMaxWait);
    static const OptionInfo options[] = {
        {"--socket", "", "PATH",
         "The channel (default: $" + std::string(kSocketVariable) + " where it is set,\nelse " +
             std::string(kDefaultSocketPath) + ").",
         Text<&Options::socketPath>},
        {"--wait", "", "SECONDS",
         "How long to wait, 0 to " + wait +
             ", fractions allowed:\n"
             "  status, abort: at most this long for the reply\n"
             "    (default " +
             SecondsText(kReplyWait) +
             "); qvctl ends as soon as it is in.\n"
             "  get, headers, news: the same (default " +
             SecondsText(kFetchWait) +
             ", since the\n"
             "    assistant gives up on a fetch after " +
             SecondsText(kAssistantFetchLimit) +
             ").\n"
             "  show, hide: how long to stay connected (default " +
             SecondsText(kLinger) +
             ").\n"
             "  send: how long to collect replies (default " +
             SecondsText(kReplyWait) +
             ").\n"
             "  copy: at most this long for the end report\n"
             "    (default: no limit).",
         [](OptionReading& r, std::string_view value) -> Set {
             r.options.wait = ParseSeconds(value);
             if (r.options.wait) return std::nullopt;
             return UsageError{"--wait takes seconds from 0 to " + wait + ", not '" + std::string(value) +
                               "'"};
         }},
        {"--raw", "", "",
         "Show every byte: CR as \\r, LF as \\n and a line break,\n"
         "a backslash as \\\\, other control bytes as \\xHH.",
         Switch<&OptionReading::raw>},
        {"--json", "", "",
         "One JSON object per reply, on one line:\n"
         "  {\"fields\":[{\"name\":\"Response\",\"value\":\"Status\"},...],\n"
         "   \"body\":\"<Base64>\"}\n"
         "The fields are the lines up to the first empty line,\n"
         "each cut at its first \": \" (a line without one is all\n"
         "name, with an empty value); the body is everything\n"
         "behind the empty line, \"\" when there is none.",
         Switch<&OptionReading::json>},
        {"--output", "", "FILE",
         "The body goes to FILE (\"-\": standard\n"
         "output), created or emptied first, as a shell\n"
         "redirection would do. Not with --json.",
         Text<&Options::outputPath>, "get headers news"},
        {"--dump-header", "", "FILE",
         "The reply's lines go to FILE (\"-\":\n"
         "standard output), not to standard error (get,\n"
         "news) or standard output (headers). Not with\n"
         "--json.",
         Text<&Options::headerPath>, "get headers news"},
        {"--date", "", "TEXT", "The form's key date (default empty).", Text<&Options::date>, "news"},
        {"--goi", "", "TEXT", "The form's key goi (default empty).", Text<&Options::goi>, "news"},
        {"--total", "", "BYTES",
         "The bytes the assistant's progress counts against\n(default SOURCE's size).",
         [](OptionReading& r, std::string_view value) -> Set {
             r.options.copy.total = ParseByteCount(value);
             if (r.options.copy.total) return std::nullopt;
             return UsageError{"--total takes a number of bytes, not '" + std::string(value) + "'"};
         },
         "copy"},
        {"--md5", "", "TAG",
         "The tag that every report echoes (default \"" + std::string(kDefaultCopyTag) + "\").",
         [](OptionReading& r, std::string_view value) -> Set {
             r.options.copy.tag = std::string(value);
             return std::nullopt;
         },
         "copy"},
        {"--no-reset", "", "", "The assistant's byte count goes on from the copy\nbefore.",
         [](OptionReading& r, std::string_view) -> Set {
             r.options.copy.resetAmount = false;
             return std::nullopt;
         },
         "copy"},
        {"--quiet", "-q", "",
         "Only the output proper and errors: no progress, no\n"
         "notes, and the lines of get and news nowhere.",
         Switch<&OptionReading::quiet>},
        {"--verbose", "-v", "", "Also show each command's lines as they are sent.",
         Switch<&OptionReading::verbose>},
        {"--interactive", "-i", "", "The same as the command session.", Switch<&OptionReading::interactive>,
         "session"},
        {"--help", "-h", "", "This text, or with a command only that command's.",
         [](OptionReading& r, std::string_view) -> Set {
             r.options.help = true;
             return std::nullopt;
         }},
        {"--version", "", "", "The version of qvctl.",
         [](OptionReading& r, std::string_view) -> Set {
             r.options.version = true;
             return std::nullopt;
         }},
    };
    return options;
}

bool Takes(const OptionInfo& option, Action action) {
    if (option.commands.empty()) return true;
    const std::string_view name = CommandOf(action).name;
    for (std::string_view rest = option.commands; !rest.empty();) {
        const std::size_t end = std::min(rest.find(' '), rest.size());
        if (rest.substr(0, end) == name) return true;
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return false;
}

}  // namespace qv::ctl
