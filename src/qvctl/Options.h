#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "foundation/Clock.h"
#include "protocol/CommandText.h"
#include "qvctl/CopyArguments.h"

namespace qv::ctl {

inline constexpr std::string_view kDefaultSocketPath = "/tmp/qvipc";

enum class Action { Status, Show, Hide, Abort, Send, Get, Headers, News, Copy, Session };

// get, headers and news: one fetch by the assistant, answered by one report.
bool IsFetch(Action action);

enum class OutputMode { Text, Raw, Json };

struct Options {
    Action action = Action::Status;
    // The NAME=VALUE pairs of `send`, in the order given; empty for the others.
    std::vector<Field> fields;
    // The address of get, headers and news.
    std::string url;
    // --date and --goi: the form of news.
    std::optional<std::string> date;
    std::optional<std::string> goi;
    // --output: where the body of a fetched page goes instead of standard output.
    std::optional<std::string> outputPath;
    // The arguments of copy.
    CopyArguments copy;
    std::string socketPath{kDefaultSocketPath};
    // --wait; without it each command has its own default.
    std::optional<Duration> wait;
    OutputMode output = OutputMode::Text;
    // --help or `help [COMMAND]`; the command, when one is named.
    bool help = false;
    std::optional<Action> helpTopic;
    bool version = false;
};

struct UsageError {
    std::string message;
};

// The options while they are read: the raw and json switches are only known
// to exclude each other once all arguments are in.
struct OptionReading {
    Options options;
    bool raw = false;
    bool json = false;
    bool interactive = false;
};

// One command of qvctl. With the options' table below, the one source that
// parsing, usage errors, --help, the manual page and the completion are made of.
struct CommandSpec {
    std::string_view name;  // "copy"
    Action action;
    std::string_view operands;  // "SOURCE DEST_FOLDER DEST_PATH"; empty when it takes none
    std::string_view help;      // lines of help, without their indentation
};

std::span<const CommandSpec> CommandTable();
const CommandSpec& CommandOf(Action action);

// One option of qvctl.
struct OptionSpec {
    std::string_view name;       // "--socket"
    std::string_view alias;      // "-h"; empty when there is none
    std::string_view valueName;  // "PATH"; empty when the option takes no value
    std::string_view help;       // lines of help, without their indentation
    // Sets what the option stands for; `value` is empty for a switch.
    std::optional<UsageError> (*apply)(OptionReading& reading, std::string_view value);
    // The commands that take it, as in "get headers news"; empty: every command.
    std::string_view commands = {};
};

std::span<const OptionSpec> OptionTable();
// Whether `option` belongs to `action`.
bool Takes(const OptionSpec& option, Action action);

// Reads the arguments behind the program name. Options may stand before or
// after the command; "--" ends the options, so a field of `send` may begin
// with "--". An option's value may follow it or be joined with "=". The
// values of get, headers and news go into command lines ended by CR, so they
// cannot hold one. `help COMMAND` and `COMMAND --help` ask for the same.
std::variant<Options, UsageError> ParseOptions(std::span<const std::string_view> args);

}  // namespace qv::ctl
