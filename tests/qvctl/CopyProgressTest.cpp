#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "qvctl/CopyProgress.h"

namespace qv::ctl {
namespace {

std::string Progress(const std::string& barPos, const std::string& message) {
    return "Response: CopyFile\r\nSrcFileInfoMD5: qvctl\r\nStatus: InProgress\r\nBarPos: " + barPos +
           "\r\nMsgStr: " + message + "\r\nHTTPError: \r\n";
}

const std::string kComplete =
    "Response: CopyFile\r\nSrcFileInfoMD5: qvctl\r\nStatus: Complete\r\nHTTPError: \r\n";

TEST(QvctlCopyProgressTest, TheBarShowsBarPosOutOfFourHundredClampedAndTheMessage) {
    struct Case {
        std::string barPos;
        std::string line;
    };
    const Case cases[] = {
        {"", "[                    ]   0% m"},  // the assistant writes 0 as nothing
        {"20", "[#                   ]   5% m"},
        {"200", "[##########          ]  50% m"},
        {"399", "[################### ]  99% m"},
        {"400", "[####################] 100% m"},
        // A total that is too small overshoots; a total below 400 divides by zero.
        {"500", "[####################] 100% m"},
        {"9223372036854775807", "[####################] 100% m"},
        {"-9223372036854775808", "[                    ]   0% m"},
        {"x", "[                    ]   0% m"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.barPos);
        EXPECT_EQ(ProgressLine(c.barPos, "m", 80), c.line);
    }
}

TEST(QvctlCopyProgressTest, TheLineStopsShortOfTheLastColumnSoItNeverWraps) {
    const std::string message = "12.0 MB of 3.500 GB, 00:07 elapsed";
    EXPECT_EQ(ProgressLine("1", message, 80),
              "[                    ]   0% 12.0 MB of 3.500 GB, 00:07 elapsed");
    EXPECT_EQ(ProgressLine("1", message, 38), "[                    ]   0% 12.0 MB o");
    EXPECT_EQ(ProgressLine("1", message, 1), "");
}

TEST(QvctlCopyProgressTest, OnATerminalProgressRedrawsOneLineAndTheEndReportFollowsOnItsOwn) {
    std::ostringstream out;
    CopyDisplay display(out, OutputMode::Text, 80);
    display.Show(String(Progress("", "2.0 MB of 1.000 GB, 00:00 elapsed")));
    display.Show(String(Progress("200", "512.0 MB of 1.000 GB, 00:01 elapsed")));
    display.Show(String(kComplete));
    display.EndLine();  // nothing left open
    EXPECT_EQ(out.str(),
              "\r[                    ]   0% 2.0 MB of 1.000 GB, 00:00 elapsed\x1b[K"
              "\r[##########          ]  50% 512.0 MB of 1.000 GB, 00:01 elapsed\x1b[K"
              "\n" +
                  kComplete);
}

TEST(QvctlCopyProgressTest, ElsewhereOrInAnotherModeEveryReportIsPrintedAsAReply) {
    struct Case {
        OutputMode mode;
        std::optional<std::size_t> terminalColumns;
        std::string out;
    };
    const std::string progress = Progress("7", "m");
    const Case cases[] = {
        {OutputMode::Text, std::nullopt, progress + kComplete},
        {OutputMode::Raw, 80,
         "Response: CopyFile\\r\\n\nSrcFileInfoMD5: qvctl\\r\\n\nStatus: InProgress\\r\\n\nBarPos: 7\\r\\n\n"
         "MsgStr: m\\r\\n\nHTTPError: \\r\\n\n"
         "Response: CopyFile\\r\\n\nSrcFileInfoMD5: qvctl\\r\\n\nStatus: Complete\\r\\n\nHTTPError: "
         "\\r\\n\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(static_cast<int>(c.mode));
        std::ostringstream out;
        CopyDisplay display(out, c.mode, c.terminalColumns);
        display.Show(String(progress));
        display.Show(String(kComplete));
        display.EndLine();
        EXPECT_EQ(out.str(), c.out);
    }
}

}  // namespace
}  // namespace qv::ctl
