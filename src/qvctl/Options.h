#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "foundation/Clock.h"
#include "protocol/CommandText.h"

namespace qv::ctl {

inline constexpr std::string_view kDefaultSocketPath = "/tmp/qvipc";
// Where a socket path is taken from when --socket does not give one, as
// ssh-agent's clients take theirs from SSH_AUTH_SOCK.
inline constexpr const char* kSocketVariable = "QVIPC_SOCKET";

// What `qvctl copy SOURCE DEST_FOLDER DEST_PATH` was given.
struct CopyArguments {
    std::string source;
    // The folder that DEST_PATH is below.
    std::string destinationFolder;
    // "a/b/c.txt": folders that the assistant makes where missing, then the file.
    std::string destinationPath;
    // --total: the bytes the progress counts against; SOURCE's size without it.
    std::optional<std::int64_t> total = std::nullopt;
    // --md5: the tag that every report of the copy echoes.
    std::optional<std::string> tag = std::nullopt;
    // False with --no-reset: the assistant's running total carries on from the
    // copy before, as for the second file of a transfer of several.
    bool resetAmount = true;
};

enum class Action { Status, Show, Hide, Abort, Send, Get, Headers, News, Copy, Session };

// get, headers and news: one fetch by the assistant, answered by one report.
bool IsFetch(Action action);

enum class OutputMode { Text, Raw, Json };
enum class Verbosity { Quiet, Normal, Verbose };

struct Options {
    Action action = Action::Status;
    // The NAME=VALUE pairs of `send`, in the order given; empty for the others.
    std::vector<Field> fields;
    // The address of get, headers and news.
    std::string url;
    // --date and --goi: the form of news.
    std::optional<std::string> date;
    std::optional<std::string> goi;
    // --output and --dump-header: where the body and the lines of a fetched
    // page go instead; "-" is standard output.
    std::optional<std::string> outputPath;
    std::optional<std::string> headerPath;
    // The arguments of copy.
    CopyArguments copy;
    // --socket; without it ChannelPath decides.
    std::optional<std::string> socketPath;
    // --wait; without it each command has its own default.
    std::optional<Duration> wait;
    OutputMode output = OutputMode::Text;
    Verbosity verbosity = Verbosity::Normal;
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
    bool quiet = false;
    bool verbose = false;
};

class Console;

// One command of qvctl. With the options' table below, the one source that
// parsing, usage errors, --help, the manual page and the completion are made of.
struct CommandInfo {
    std::string_view name;  // "copy"
    Action action;
    std::string_view operands;  // "SOURCE DEST_FOLDER DEST_PATH"; empty when it takes none
    std::string help;           // lines of help, without their indentation
    // Sends the command on the console, or says why it cannot.
    void (*run)(Console& console, const Options& options);
};

std::span<const CommandInfo> CommandTable();
const CommandInfo& CommandOf(Action action);

// One option of qvctl.
struct OptionInfo {
    std::string_view name;       // "--socket"
    std::string_view alias;      // "-h"; empty when there is none
    std::string_view valueName;  // "PATH"; empty when the option takes no value
    std::string help;            // lines of help, without their indentation
    // Sets what the option stands for; `value` is empty for a switch.
    std::optional<UsageError> (*apply)(OptionReading& reading, std::string_view value);
    // The commands that take it, as in "get headers news"; empty: every command.
    std::string_view commands = {};
};

std::span<const OptionInfo> OptionTable();
// Whether `option` belongs to `action`.
bool Takes(const OptionInfo& option, Action action);

// Reads the arguments behind the program name. Options may stand before or
// after the command; "--" ends the options, so a field of `send` may begin
// with "--". An option's value may follow it or be joined with "=". The
// values of get, headers and news go into command lines ended by CR, so they
// cannot hold one; the assistant speaks plain HTTP only, so https:// is
// refused. `help COMMAND` and `COMMAND --help` ask for the same.
std::variant<Options, UsageError> ParseOptions(std::span<const std::string_view> args);

// The channel: --socket, else the environment's QVIPC_SOCKET when it is set
// and not empty (`environment` is its value or null), else /tmp/qvipc.
std::string ChannelPath(const Options& options, const char* environment);

}  // namespace qv::ctl
