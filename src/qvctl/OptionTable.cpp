#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>

#include "qvctl/Options.h"

namespace qv::ctl {

namespace {

// A day: long enough for any use, and far from overflowing the clock's type.
constexpr double kMaxWaitSeconds = 24 * 60 * 60;

std::optional<Duration> ParseSeconds(std::string_view text) {
    double seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(seconds) || seconds < 0 ||
        seconds > kMaxWaitSeconds) {
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

constexpr CommandSpec kCommands[] = {
    {"status", Action::Status, "", "Command \"Status\"; waits for the status report."},
    {"show", Action::Show, "", "Command \"Show\"; no reply comes."},
    {"hide", Action::Hide, "", "Command \"Hide\"; no reply comes."},
    {"abort", Action::Abort, "", "Command \"CopyFileAbort\"; waits for the copy end report."},
    {"get", Action::Get, "URL", "Command \"GetPageURL\": the assistant fetches the page."},
    {"headers", Action::Headers, "URL", "Command \"GetHeadersURL\": only the headers of the page."},
    {"news", Action::News, "URL",
     "Command \"GetNews\": the assistant posts a form with the\n"
     "keys date and goi to URL (empty when not given)."},
    {"copy", Action::Copy, "SOURCE DEST_FOLDER DEST_PATH",
     "Command \"CopyFile\": the assistant copies the file SOURCE\n"
     "to DEST_PATH (\"a/b/c.txt\") below the folder DEST_FOLDER,\n"
     "making missing folders, and reports its progress about\n"
     "once a second until the end report. Ctrl-C asks the\n"
     "assistant to abort and waits for the end report; a\n"
     "second Ctrl-C leaves at once."},
    {"send", Action::Send, "NAME=VALUE...",
     "Any command: each pair becomes one line \"NAME:VALUE\"\n"
     "ended by CR, in the order given. The name ends at the\n"
     "first \"=\", so a value may hold \"=\". Put \"--\" before a\n"
     "pair that begins with \"-\"."},
    {"session", Action::Session, "",
     "Keeps one connection and reads commands line by line,\n"
     "from the terminal with line editing and history, or\n"
     "from standard input when it is a file or a pipe. Each\n"
     "line is a command as above with its options; \"quit\"\n"
     "or the end of input waits for the replies still due,\n"
     "then leaves; \"help [COMMAND]\" shows this help. Replies\n"
     "print as they arrive, also while a copy runs, so that\n"
     "abort works then. Ctrl-C aborts a running copy, or\n"
     "else leaves at once."},
};

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
         return UsageError{"--wait takes seconds from 0 to 86400, not '" + std::string(value) + "'"};
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
     "The body goes to FILE instead of standard output.\n"
     "FILE is created or emptied first, as a shell\n"
     "redirection would do. Not with --json.",
     [](OptionReading& r, std::string_view value) -> Set {
         if (auto error = NeedsPath("--output", value)) return error;
         r.options.outputPath = std::string(value);
         return std::nullopt;
     },
     "get headers news"},
    {"--date", "", "TEXT", "The form's key date (default empty).",
     [](OptionReading& r, std::string_view value) -> Set {
         r.options.date = std::string(value);
         return std::nullopt;
     },
     "news"},
    {"--goi", "", "TEXT", "The form's key goi (default empty).",
     [](OptionReading& r, std::string_view value) -> Set {
         r.options.goi = std::string(value);
         return std::nullopt;
     },
     "news"},
    {"--total", "", "BYTES", "The bytes the assistant's progress counts against\n(default SOURCE's size).",
     [](OptionReading& r, std::string_view value) -> Set {
         r.options.copy.total = ParseByteCount(value);
         if (r.options.copy.total) return std::nullopt;
         return UsageError{"--total takes a number of bytes, not '" + std::string(value) + "'"};
     },
     "copy"},
    {"--md5", "", "TAG", "The tag that every report echoes (default \"qvctl\").",
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
    {"--interactive", "-i", "", "The same as the command session.",
     [](OptionReading& r, std::string_view) -> Set {
         r.interactive = true;
         return std::nullopt;
     },
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

}  // namespace

std::span<const CommandSpec> CommandTable() {
    return kCommands;
}

const CommandSpec& CommandOf(Action action) {
    return *std::ranges::find(kCommands, action, &CommandSpec::action);
}

std::span<const OptionSpec> OptionTable() {
    return kOptions;
}

bool Takes(const OptionSpec& option, Action action) {
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
