#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <variant>
#include <vector>

#include "foundation/IPCSocket.h"
#include "qvctl/Console.h"
#include "qvctl/ReplyFormat.h"
#include "support/Support.h"

namespace qv::ctl {
namespace {

using namespace std::string_literals;
using std::chrono::milliseconds;
using std::chrono::seconds;
using Texts = std::vector<std::string>;
using test::Frame;

const std::string kStatus = "Response: Status\r\nStatus: Ready\r\nHTTPError: \r\n";
std::string Progress(const std::string& barPos) { return test::CopyProgress("qvctl", barPos, "m"); }
const std::string kProgress = Progress("4");
std::string End(const std::string& status) { return test::CopyEnd("qvctl", status); }

// The console against a stand-in for the assistant on the same loop, with a manual clock. The stand-in
// takes one peer, as the assistant does (so each run needs a rig of its own), and decodes what it receives.
struct Rig {
    Rig() {
        assistant.SetPath(String(path));
        assistant.onDataAvailable = [this] {
            frames.Append(assistant.ReadAll().Bytes());
            while (const auto payload = frames.TakeFrame()) received.emplace_back(DecodePayload(payload->Bytes()).Bytes());
        };
        assistant.onError = [this] { assistantLost = true; };
        assistant.Listen();
        test::WriteFile(dir.File("src.bin"), std::string(4096, 'x'));
        std::filesystem::create_directory(dir.File("out"));
    }
    // A one-shot command: the console with one line.
    void Run(std::vector<std::string> args) {
        const std::vector<std::string_view> views(args.begin(), args.end());
        const auto parsed = ParseOptions(views);
        ASSERT_TRUE(std::holds_alternative<Options>(parsed)) << std::get<UsageError>(parsed).message;
        Session(std::get<Options>(parsed));
        console->Run(std::get<Options>(parsed));
        console->EndOfInput();
    }
    void Session(const Options& options = {}) { console = std::make_unique<Console>(loop, options, path, screen); }
    void Reply(const std::string& bytes) {
        const std::size_t before = out.str().size() + error.str().size();
        assistant.Write(String(bytes));
        EXPECT_TRUE(test::RunUntil(loop, [&] { return out.str().size() + error.str().size() > before || console->Result(); }));
    }
    void WaitForCommands(std::size_t count) { ASSERT_TRUE(test::RunUntil(loop, [&] { return received.size() >= count; })); }
    // Passes enough for a frame that qvctl wrote to reach the stand-in.
    void Settle() { test::RunUntil(loop, [] { return false; }, milliseconds(30)); }

    ManualClock clock;
    RunLoop loop{clock};
    test::TempDir dir;
    std::string path = dir.File("qvipc");
    IPCSocket assistant{loop};
    FrameBuffer frames;
    Texts received;
    bool assistantLost = false;
    std::ostringstream out, error;
    Screen screen{out, error, [] { return std::optional<std::size_t>(); }, true};
    std::unique_ptr<Console> console;
};

TEST(QvctlConsoleTest, EachCommandSendsItsFieldsAndEndsByWhatComesOrByTheAssistantLeaving) {
    const std::string page = "Response: GetPageURL\r\nHTTPURL: u\r\nHTTPStatus: 200\r\nHTTPError: 0\r\nServer: t\r\n\r\nbody\0"s;
    const struct {
        std::vector<std::string> args;
        std::string sent;
        Texts replies;  // each written at once
        bool leaves;
        ExitStatus status;
        Duration endsAfter;  // from the last write; zero: at once
        std::string out, error;
    } cases[] = {
        {{"status"}, "Command:Status\r", {Frame(kStatus)}, false, ExitStatus::Ok, {},
         "Response: Status\nStatus: Ready\nHTTPError: \n", ""},
        {{"status", "--wait", "1.5"}, "Command:Status\r", {}, false, ExitStatus::NoReply, milliseconds(1500), "",
         "qvctl: no reply in time to status\n"},
        {{"abort", "-q"}, "Command:CopyFileAbort\r", {}, true, ExitStatus::Unreachable, {}, "",
         "qvctl: the assistant at PATH went away before the reply\n"},
        // Every reply within the wait counts, whatever the cut of the stream.
        {{"send", "Command=Status", "E="}, "Command:Status\rE:\r",
         {"noise" + Frame("HTTPError: 503\r\n") + Frame("X").substr(0, 3), Frame("X").substr(3)}, false, ExitStatus::Ok,
         seconds(5), "HTTPError: 503\nX\n", ""},
        {{"send", "A=b", "--raw"}, "A:b\r", {Frame("HTTPError: 503\r\n")}, true, ExitStatus::Ok, {},
         "HTTPError: 503\\r\\n\n", ""},
        // Nothing comes back: it stays for the whole wait, as the assistant ends with its peer.
        {{"hide"}, "Command:Hide\r", {}, false, ExitStatus::Ok, seconds(3), "", ""},
        {{"show", "-v"}, "Command:Show\r", {}, true, ExitStatus::Unreachable, {}, "",
         "qvctl: > Command:Show\nqvctl: the assistant at PATH went away before the reply\n"},
        // A fetch's lines go beside its body; for headers they are the output.
        {{"get", "http://h/a b"}, "Command:GetPageURL\rGetPageURL:http://h/a b\r", {Frame(page)}, false, ExitStatus::Ok,
         {}, "body\0"s, "Response: GetPageURL\nHTTPURL: u\nHTTPStatus: 200\nHTTPError: 0\nServer: t\n"},
        {{"get", "u", "-q", "--dump-header=-"}, "Command:GetPageURL\rGetPageURL:u\r", {Frame(page)}, false,
         ExitStatus::Ok, {}, "Response: GetPageURL\nHTTPURL: u\nHTTPStatus: 200\nHTTPError: 0\nServer: t\nbody\0"s, ""},
        {{"headers", "h", "--output", "-"}, "Command:GetHeadersURL\rGetHeadersURL:h\r", {Frame(page)}, false,
         ExitStatus::Ok, {}, "Response: GetPageURL\nHTTPURL: u\nHTTPStatus: 200\nHTTPError: 0\nServer: t\nbody\0"s, ""},
        {{"news", "h/n", "--date", "2026-11-22 10:00", "--goi", "\xc3\xa9:x"},
         "Command:GetNews\rWebAddress:h/n\rDateStr:2026-11-22 10:00\rGOIStr:\xc3\xa9:x\r", {Frame("HTTPError: 103\r\n")},
         false, ExitStatus::FetchFailed, {}, "", "qvctl: the assistant could not fetch h/n\n  HTTPError 103: host name not found\n"},
        // Any HTTP status is a page; the first HTTPError line is the assistant's, not a server's.
        {{"get", "u", "--raw"}, "Command:GetPageURL\rGetPageURL:u\r", {Frame("HTTPStatus: 404\r\nHTTPError: 0\r\n\r\n\r\n\0"s)},
         false, ExitStatus::Ok, {}, "\r\n\0"s, "HTTPStatus: 404\\r\\n\nHTTPError: 0\\r\\n\n"},
        {{"get", "u"}, "Command:GetPageURL\rGetPageURL:u\r", {Frame("HTTPError: 0\r\n")}, false, ExitStatus::FetchFailed,
         {}, "", "qvctl: the assistant could not fetch u\n  HTTPError 0: an unknown code\n"},
        {{"news", "u"}, "Command:GetNews\rWebAddress:u\rDateStr:\rGOIStr:\r",
         {Frame("HTTPStatus: 200\r\nHTTPError: 1\r\nHTTPError: 0\r\n\r\nx")}, false, ExitStatus::FetchFailed, {}, "x",
         "qvctl: the assistant could not fetch u\n  HTTPError 1: no answer within the assistant's limit of 60 s (a timeout)\n"},
        {{"get", "u", "--json"}, "Command:GetPageURL\rGetPageURL:u\r", {Frame("HTTPError: 0\r\n\r\n\0\xff"s)}, false,
         ExitStatus::Ok, {}, R"({"fields":[{"name":"HTTPError","value":"0"}],"body":"AP8="})" "\n", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.args));
        Rig rig;
        rig.Run(c.args);
        rig.WaitForCommands(1);
        EXPECT_EQ(rig.received, Texts{c.sent});
        for (const std::string& bytes : c.replies) rig.Reply(bytes);
        if (c.leaves) rig.assistant.Close();
        if (c.endsAfter > Duration::zero()) {
            test::AdvanceBy(rig.loop, rig.clock, c.endsAfter - milliseconds(1));
            EXPECT_FALSE(rig.console->Result()) << "it lasts its whole wait";
            EXPECT_FALSE(rig.assistantLost);
            test::AdvanceBy(rig.loop, rig.clock, milliseconds(1));
        }
        ASSERT_TRUE(test::RunUntil(rig.loop, [&] { return rig.console->Result().has_value(); }));
        EXPECT_EQ(rig.console->Result(), c.status);
        EXPECT_TRUE(c.leaves || test::RunUntil(rig.loop, [&] { return rig.assistantLost; })) << "qvctl leaves at the end";
        EXPECT_EQ(rig.out.str(), c.out);
        std::string error = c.error;
        if (const auto at = error.find("PATH"); at != std::string::npos) error.replace(at, 4, rig.path);
        EXPECT_EQ(rig.error.str(), error);
    }
}

TEST(QvctlConsoleTest, ACopyHoldsAnEarlyAbortUntilItRunsAndEndsWithItsEndReport) {
    Rig rig;
    rig.Run({"copy", rig.dir.File("src.bin"), rig.dir.File("out"), "a/c.bin"});
    rig.WaitForCommands(1);
    EXPECT_TRUE(rig.console->Interrupt());
    rig.Settle();
    EXPECT_EQ(rig.received.size(), 1u) << "an early abort would wait behind the copy in the assistant's queue";
    rig.Reply(Frame(kProgress));
    rig.WaitForCommands(2);
    EXPECT_EQ(rig.received.back(), "Command:CopyFileAbort\r");
    EXPECT_FALSE(rig.console->Interrupt()) << "a second one is the caller's: it leaves";
    // Only the end report ends it: not a tag that looks like a status line, nor
    // a status before the Response line, nor another case, nor another reply.
    const std::string notTheEnd = "Response: CopyFile\r\nSrcFileInfoMD5: Status: Abort\r\nStatus: InProgress\r\n";
    for (const std::string& reply : {notTheEnd, "Status: Abort\r\n"s + notTheEnd, "Response: CopyFile\r\nStatus: abort\r\n"s, kStatus})
        rig.Reply(Frame(reply));
    test::AdvanceBy(rig.loop, rig.clock, std::chrono::hours(48));
    EXPECT_EQ(rig.received.size(), 2u) << "the abort goes once";
    EXPECT_FALSE(rig.console->Result()) << "without --wait a copy waits for ever";
    rig.Reply(Frame(End("Abort")));
    EXPECT_EQ(rig.console->Result(), ExitStatus::CopyAborted);
    const std::string shown = kProgress + notTheEnd + "Status: Abort\r\n" + notTheEnd + "Response: CopyFile\r\nStatus: abort\r\n";
    EXPECT_EQ(rig.out.str(), RenderReply(String(shown + kStatus + End("Abort")), OutputMode::Text))
        << "off a terminal, every report as it is";

    Rig limited;
    limited.Run({"copy", "--wait=5", limited.dir.File("src.bin"), limited.dir.File("out"), "c.bin"});
    limited.WaitForCommands(1);
    limited.Reply(Frame(kProgress));
    test::AdvanceBy(limited.loop, limited.clock, seconds(5));
    EXPECT_EQ(limited.console->Result(), ExitStatus::NoReply) << "progress does not count";
    Rig silent;  // a copy the assistant dropped
    silent.Run({"copy", silent.dir.File("src.bin"), silent.dir.File("out"), "c.bin"});
    test::AdvanceBy(silent.loop, silent.clock, kFirstReportWait);
    EXPECT_EQ(silent.console->Result(), ExitStatus::NoReply);
    EXPECT_TRUE(silent.error.str().starts_with("qvctl: the assistant did not start the copy"));
    Rig refused;  // checked before anything is sent: the assistant never hears of it
    refused.Run({"copy", refused.dir.File("nope"), refused.dir.File("out"), "c.bin"});
    EXPECT_EQ(refused.console->Result(), ExitStatus::Usage);
    refused.Settle();
    EXPECT_FALSE(refused.assistantLost) << "no connection was made";
}

TEST(QvctlConsoleTest, ASessionRunsItsLinesInOrderAndEndsOnceTheirRepliesAreIn) {
    Rig rig;
    rig.Session();
    rig.console->Start();
    // Lines are cut into words as a shell would: blanks, '...', "...", and a backslash before any character.
    for (const char* line : {"  # a comment", "\tstatus  --json ", "bogus", "copy ", "'open", "show", "status --socket /x"}) {
        rig.console->TakeLine(line);
    }
    rig.console->TakeLine("copy '" + rig.dir.File("src") + "'.bin \"" + rig.dir.File("out") + "\" c\\.b'i'n");
    rig.console->TakeLine("status");
    rig.console->TakeLine("quit");
    rig.console->TakeLine("status");
    rig.WaitForCommands(4);
    EXPECT_EQ(rig.received[0], "Command:Status\r");
    EXPECT_EQ(rig.received[1], "Command:Show\r");
    EXPECT_EQ(rig.received[3], "Command:Status\r") << "nothing after quit";
    rig.Reply(Frame(kStatus));
    rig.Reply(Frame(End("Complete")));  // ends the show ahead of it too
    EXPECT_FALSE(rig.console->Result()) << "a reply is still due";
    rig.Reply(Frame(kStatus));
    ASSERT_TRUE(test::RunUntil(rig.loop, [&] { return rig.console->Result().has_value(); }));
    EXPECT_EQ(rig.console->Result(), ExitStatus::Usage) << "the first failure's";
    EXPECT_EQ(rig.out.str(), R"({"fields":[{"name":"Response","value":"Status"},{"name":"Status","value":"Ready"},)"
                             R"({"name":"HTTPError","value":""}],"body":""})" "\n" +
                                 RenderReply(String(End("Complete") + kStatus), OutputMode::Text));
    EXPECT_EQ(rig.error.str(), "qvctl: unknown command 'bogus'\nqvctl: copy needs SOURCE DEST_FOLDER DEST_PATH\n"
                               "qvctl: a quote is left open\nqvctl: a session has its one connection already\n"
                               "qvctl: queued behind the copy; the assistant runs it once the copy has ended\n");
}

std::string Json(const std::string& fields, const std::string& body = "") {
    return R"({"fields":[)" + fields + R"(],"body":")" + body + "\"}\n";
}

TEST(QvctlOutputTest, RepliesAsTextRawOrJson) {
    const struct {
        const char* what;
        OutputMode mode;
        std::string text, expected;
    } cases[] = {
        {"text: a lone CR stays, and the end is a line break", OutputMode::Text, "a\rb\r\r\nc\r", "a\rb\r\nc\r\n"},
        {"empty", OutputMode::Text, "", "\n"}, {"raw lone CR and LF", OutputMode::Raw, "a\rb\nc", "a\\rb\\n\nc\n"},
        {"raw backslash and control bytes", OutputMode::Raw, "C:\\r\0\t\x1b\x7f\xc3\xa9"s,
         "C:\\\\r\\x00\\x09\\x1B\\x7F\xc3\xa9\n"},
        {"json body behind the first empty line", OutputMode::Json, "HTTPStatus: 200\r\n\r\na\0\r\n\r\nb"s,
         Json(R"({"name":"HTTPStatus","value":"200"})", "YQANCg0KYg==")},
        {"json cut at the first colon-blank; none: all name", OutputMode::Json, "Location: h: x\r\nOdd:line\r\nE: 5",
         Json(R"({"name":"Location","value":"h: x"},{"name":"Odd:line","value":""},{"name":"E","value":"5"})")},
        {"json empty first line: all body", OutputMode::Json, "\r\n\0\x01\xff"s, Json("", "AAH/")},
    };
    for (const auto& c : cases) EXPECT_EQ(RenderReply(String(c.text), c.mode), c.expected) << c.what;

    const std::pair<std::string, std::string> escapes[] = {
        {R"(say "a\b")", R"("say \"a\\b\"")"}, {"a\rb\n\t\0\x1f"s, R"("a\u000Db\u000A\u0009\u0000\u001F")"},
        {"\xc3\xa9 \xef\xbf\xbd\xf0\x9f\x98\x80", "\"\xc3\xa9 \xef\xbf\xbd\xf0\x9f\x98\x80\""}, {"\xe9\xe2\x82", R"("\ufffd\ufffd\ufffd")"},
        {"\xc0\xaf\xed\xa0\x80", R"("\ufffd\ufffd\ufffd\ufffd\ufffd")"}, {"\xf4\x90\x80\x80", R"("\ufffd\ufffd\ufffd\ufffd")"},
        {"\xf5\x80\x80\x80", R"("\ufffd\ufffd\ufffd\ufffd")"}, {"\xc2\xbf\xf0\x90\x80\xbf", "\"\xc2\xbf\xf0\x90\x80\xbf\""}};
    for (const auto& [value, json] : escapes) {
        EXPECT_EQ(RenderReply(String(value + ": " + value + "\r\n"), OutputMode::Json),
                  Json(R"({"name":)" + json + R"(,"value":)" + json + "}"));
    }
}

TEST(QvctlOutputTest, ProgressLinesGiveUpTheSizesTheRateAndTheBarToFitTheirTerminal) {
    constexpr std::int64_t kMiB = 1 << 20;
    const CopyFigures half{512 * kMiB, 1024 * kMiB, 64.0 * kMiB};
    const struct {
        CopyFigures figures;
        std::size_t columns;
        std::string line;
    } cases[] = {
        {half, 80, "[##########          ]  50% 512.0 MiB of 1.00 GiB 64.0 MiB/s 00:08 left"},
        {half, 47, "[##########          ]  50% 00:08 left"}, {half, 38, " 50% 00:08 left"},
        {half, 5, " 50%"}, {half, 4, ""},
        {{5000, 4000, std::nullopt}, 80, "[####################] 100% 3.9 KiB of 3.9 KiB"},  // a destination grown past
        {{0, 0, std::nullopt}, 80, "[####################] 100% 0 bytes of 0 bytes"},
    };
    for (const auto& c : cases) EXPECT_EQ(ProgressLine(c.figures, c.columns), c.line) << c.columns;
    const std::pair<std::int64_t, std::string> sizes[] = {{1023, "1023 bytes"}, {1024, "1.0 KiB"}, {1536, "1.5 KiB"}, {kMiB, "1.0 MiB"},
                                                          {1536 * kMiB, "1.50 GiB"}, {std::int64_t{1} << 60, "1048576.00 TiB"}};
    for (const auto& [bytes, text] : sizes) EXPECT_EQ(SizeText(bytes), text);
    const std::pair<Duration, std::string> durations[] = {{std::chrono::milliseconds(59999), "00:59"}, {std::chrono::seconds(3599), "59:59"},
                                                          {std::chrono::seconds(3600), "1:00:00"}, {std::chrono::seconds(-5), "00:00"}};
    for (const auto& [duration, text] : durations) EXPECT_EQ(DurationText(duration), text);
}

TEST(QvctlOutputTest, OnATerminalACopyIsMeasuredOnItsDestinationAndEndsInASummary) {
    test::TempDir dir;
    const LocalCopy copy{{"", dir.Path(), "copy.bin"}, 4 << 20};
    const std::string destination = dir.File("copy.bin");
    ManualClock clock;
    std::ostringstream terminal, error;
    Screen screen(terminal, error, [] { return std::optional<std::size_t>(80); }, true);
    CopyDisplay onTerminal(screen, OutputMode::Text, Verbosity::Normal, clock, copy);
    const std::pair<std::size_t, std::string> steps[] = {{1 << 20, Progress("100")}, {3 << 20, Progress("300")},
                                                         {4 << 20, End("Complete")}};
    for (const auto& [size, report] : steps) {
        clock.Advance(std::chrono::seconds(1));
        test::WriteFile(destination, std::string(size, 'x'));
        onTerminal.Show(String(report));
    }
    EXPECT_EQ(terminal.str(), "\r[#####               ]  25% 1.0 MiB of 4.0 MiB\x1b[K"
                              "\r[###############     ]  75% 3.0 MiB of 4.0 MiB 2.0 MiB/s 00:00 left\x1b[K"
                              "\r[####################] 100% 4.0 MiB of 4.0 MiB\x1b[K\nCopied 4.0 MiB in 00:03, 1.3 MiB/s\n");

    // Out of sight, the destination's share comes from the bar position; an abort ends the line.
    CopyDisplay display(screen, OutputMode::Text, Verbosity::Normal, clock, {{"", dir.Path(), "missing"}, 4 << 20});
    for (const char* barPos : {"0", "200"}) display.Show(String(Progress(barPos)));
    EXPECT_EQ(display.Unfinished(), "qvctl: left the copy unfinished\n");
    display.Show(String(End("Abort")));
    EXPECT_EQ(terminal.str().substr(terminal.str().find("/s\n") + 3),
              "\r[                    ]   0% 0 bytes of 4.0 MiB\x1b[K\r[##########          ]  50% 2.0 MiB of 4.0 MiB\x1b[K\n"
              "Aborted after 2.0 MiB of 4.0 MiB; the assistant removed the partial copy\n");
    EXPECT_EQ(onTerminal.Unfinished(), "qvctl: left the copy unfinished; the partial file " + destination +
                                            " stays, 4.0 MiB of 4.0 MiB\n");
}

}  // namespace
}  // namespace qv::ctl
