#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "channel/Frame.h"
#include "foundation/IPCSocket.h"
#include "qvctl/CopyRun.h"
#include "support/LoopDriver.h"
#include "support/TestPeers.h"

namespace qv::ctl {
namespace {

using std::chrono::hours;
using std::chrono::seconds;

const std::vector<Field> kCopyFields = {{"Command", "CopyFile"}, {"SrcFileInfo", "L2E="}};
const std::string kCopyFrame = "Command:CopyFile\rSrcFileInfo:L2E=\r";
const std::string kAbortFrame = "Command:CopyFileAbort\r";
const std::string kProgress =
    "Response: CopyFile\r\nSrcFileInfoMD5: qvctl\r\nStatus: InProgress\r\nBarPos: 4\r\nMsgStr: "
    "m\r\nHTTPError: \r\n";

std::string End(const std::string& status) {
    return "Response: CopyFile\r\nSrcFileInfoMD5: qvctl\r\nStatus: " + status + "\r\nHTTPError: \r\n";
}

// qvctl's copy against a stand-in for the assistant on the same loop; the
// stand-in decodes what it receives into message texts. It takes one peer, as
// the assistant does, so each run needs a rig of its own.
struct Rig {
    Rig() {
        assistant.SetPath(String(path));
        assistant.onDataAvailable = [this] {
            frames.Append(assistant.ReadAll().Bytes());
            while (const auto payload = frames.TakeFrame())
                received.emplace_back(DecodePayload(payload->Bytes()).Bytes());
        };
        assistant.onError = [this] { assistantLost = true; };
        assistant.Listen();
    }

    void Start(std::optional<Duration> wait = std::nullopt) {
        run = std::make_unique<CopyRun>(loop, path, kCopyFields, wait);
        run->onReply = [this](const String& reply) { replies.emplace_back(reply.Bytes()); };
        run->Start();
        EXPECT_TRUE(test::RunUntil(loop, [&] { return !received.empty(); }));
        EXPECT_EQ(received, std::vector<std::string>{kCopyFrame});
    }
    void Reply(const std::string& text) {
        const std::size_t before = replies.size();
        assistant.Write(MakeFrame(String(text)));
        EXPECT_TRUE(test::RunUntil(loop, [&] { return replies.size() > before; })) << text;
    }
    // Passes enough for a frame that qvctl wrote to reach the stand-in.
    void Settle() {
        for (int pass = 0; pass < 5; ++pass) loop.RunOnce(std::chrono::milliseconds(5));
    }

    ManualClock clock;
    RunLoop loop{clock};
    test::TempDir dir;
    std::string path = dir.File("qvipc");
    IPCSocket assistant{loop};
    FrameBuffer frames;
    std::vector<std::string> received;
    bool assistantLost = false;
    std::unique_ptr<CopyRun> run;
    std::vector<std::string> replies;
};

TEST(QvctlCopyRunTest, ProgressReportsComeThroughAndTheEndReportEndsTheRun) {
    const struct {
        const char* status;
        CopyEnd end;
    } cases[] = {{"Complete", CopyEnd::Complete}, {"Abort", CopyEnd::Abort}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.status);
        Rig rig;
        rig.Start();
        rig.Reply(kProgress);
        rig.Reply(kProgress);
        EXPECT_FALSE(rig.run->Result());
        rig.Reply(End(c.status));
        EXPECT_EQ(rig.run->Result(), Outcome::Done);
        EXPECT_EQ(rig.run->End(), c.end);
        EXPECT_EQ(rig.replies, (std::vector<std::string>{kProgress, kProgress, End(c.status)}));
        EXPECT_TRUE(test::RunUntil(rig.loop, [&] { return rig.assistantLost; })) << "qvctl leaves at the end";
    }
}

TEST(QvctlCopyRunTest, AnAbortAskedForBeforeTheCopyRunsIsHeldUntilItsFirstProgressReport) {
    Rig rig;
    rig.Start();
    EXPECT_FALSE(rig.run->RequestAbort());
    rig.Settle();
    EXPECT_EQ(rig.received.size(), 1u)
        << "an early abort would wait behind the copy in the assistant's queue";
    rig.Reply(kProgress);
    ASSERT_TRUE(test::RunUntil(rig.loop, [&] { return rig.received.size() == 2; }));
    EXPECT_EQ(rig.received.back(), kAbortFrame);
    EXPECT_FALSE(rig.run->Result()) << "the end report is still to come";
    rig.Reply(End("Abort"));
    EXPECT_EQ(rig.run->End(), CopyEnd::Abort);
}

TEST(QvctlCopyRunTest, AnAbortDuringTheCopyGoesAtOnceAndOnlyOnce) {
    Rig rig;
    rig.Start();
    rig.Reply(kProgress);
    EXPECT_TRUE(rig.run->RequestAbort());
    EXPECT_TRUE(rig.run->RequestAbort());
    ASSERT_TRUE(test::RunUntil(rig.loop, [&] { return rig.received.size() == 2; }));
    rig.Reply(kProgress);
    rig.Settle();
    EXPECT_EQ(rig.received, (std::vector<std::string>{kCopyFrame, kAbortFrame}));
    rig.Reply(End("Complete"));  // the abort came too late for this copy
    EXPECT_EQ(rig.run->End(), CopyEnd::Complete);
}

TEST(QvctlCopyRunTest, WithoutAWaitItWaitsForeverAndWithOneProgressDoesNotCount) {
    Rig open;
    open.Start();
    open.Reply(kProgress);
    test::AdvanceBy(open.loop, open.clock, hours(48));
    EXPECT_FALSE(open.run->Result());

    Rig limited;
    limited.Start(seconds(5));
    limited.Reply(kProgress);
    test::AdvanceBy(limited.loop, limited.clock, seconds(5));
    EXPECT_EQ(limited.run->Result(), Outcome::NoReply);
    EXPECT_FALSE(limited.run->End());
}

TEST(QvctlCopyRunTest, AnAssistantThatLeavesBeforeTheEndIsUnreachable) {
    Rig rig;
    rig.Start();
    rig.Reply(kProgress);
    rig.assistant.Close();
    ASSERT_TRUE(test::RunUntil(rig.loop, [&] { return rig.run->Result().has_value(); }));
    EXPECT_EQ(rig.run->Result(), Outcome::Unreachable);
    EXPECT_FALSE(rig.run->End());
}

}  // namespace
}  // namespace qv::ctl
