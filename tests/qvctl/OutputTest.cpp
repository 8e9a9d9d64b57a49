#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "qvctl/CopyProgress.h"
#include "qvctl/ReplyFormat.h"
#include "support/Support.h"

namespace qv::ctl {
namespace {

using namespace std::string_literals;

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
        {"empty", OutputMode::Text, "", "\n"},
        {"raw lone CR and LF", OutputMode::Raw, "a\rb\nc", "a\\rb\\n\nc\n"},
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
        {"\xc3\xa9 \xf0\x9f\x98\x80", "\"\xc3\xa9 \xf0\x9f\x98\x80\""}, {"\xe9\xe2\x82", R"("\ufffd\ufffd\ufffd")"},
        {"\xc0\xaf\xed\xa0\x80", R"("\ufffd\ufffd\ufffd\ufffd\ufffd")"}, {"\xf4\x90\x80\x80", R"("\ufffd\ufffd\ufffd\ufffd")"},
        {"\xf5\x80\x80\x80", R"("\ufffd\ufffd\ufffd\ufffd")"}, {"\xc2\xbf\xf0\x90\x80\xbf", "\"\xc2\xbf\xf0\x90\x80\xbf\""}};
    for (const auto& [value, json] : escapes) {
        EXPECT_EQ(RenderReply(String(value + ": " + value + "\r\n"), OutputMode::Json),
                  Json(R"({"name":)" + json + R"(,"value":)" + json + "}"));
    }
}

std::string Progress(const std::string& barPos) {
    return "Response: CopyFile\r\nSrcFileInfoMD5: qvctl\r\nStatus: InProgress\r\nBarPos: " + barPos +
           "\r\nMsgStr: m\r\nHTTPError: \r\n";
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
        {half, 47, "[##########          ]  50% 00:08 left"},
        {half, 38, " 50% 00:08 left"},
        {half, 5, " 50%"},
        {half, 4, ""},
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
    const std::string complete = "Response: CopyFile\r\nSrcFileInfoMD5: qvctl\r\nStatus: Complete\r\nHTTPError: \r\n";
    const std::pair<std::size_t, std::string> steps[] = {{1 << 20, Progress("100")}, {3 << 20, Progress("300")},
                                                         {4 << 20, complete}};
    for (const auto& [size, report] : steps) {
        clock.Advance(std::chrono::seconds(1));
        test::WriteFile(destination, std::string(size, 'x'));
        onTerminal.Show(String(report));
    }
    EXPECT_EQ(terminal.str(), "\r[#####               ]  25% 1.0 MiB of 4.0 MiB\x1b[K"
                              "\r[###############     ]  75% 3.0 MiB of 4.0 MiB 2.0 MiB/s 00:00 left\x1b[K"
                              "\r[####################] 100% 4.0 MiB of 4.0 MiB\x1b[K\nCopied 4.0 MiB in 00:03, 1.3 MiB/s\n");

    // Out of sight, the destination's share comes from the bar position; an abort ends the line.
    std::ostringstream aborted;
    Screen outOfSight(aborted, error, [] { return std::optional<std::size_t>(80); }, true);
    CopyDisplay display(outOfSight, OutputMode::Text, Verbosity::Normal, clock, {{"", dir.Path(), "missing"}, 4 << 20});
    display.Show(String(Progress("200")));
    EXPECT_EQ(display.Unfinished(), "qvctl: left the copy unfinished\n");
    display.Show(String("Response: CopyFile\r\nSrcFileInfoMD5: qvctl\r\nStatus: Abort\r\nHTTPError: \r\n"));
    EXPECT_EQ(aborted.str(), "\r[##########          ]  50% 2.0 MiB of 4.0 MiB\x1b[K\n"
                             "Aborted after 2.0 MiB of 4.0 MiB; the assistant removed the partial copy\n");
    EXPECT_EQ(onTerminal.Unfinished(), "qvctl: left the copy unfinished; the partial file " + destination +
                                            " stays, 4.0 MiB of 4.0 MiB\n");
}

}  // namespace
}  // namespace qv::ctl
