#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "channel/Frame.h"
#include "foundation/IPCSocket.h"
#include "qvctl/CopyRun.h"
#include "qvctl/Session.h"
#include "support/Support.h"

namespace qv::ctl {
namespace {

using namespace std::string_literals;
using std::chrono::milliseconds;
using std::chrono::seconds;
using Texts = std::vector<std::string>;

const std::string kStatusReport = "Response: Status\r\nStatus: Ready\r\nHTTPError: \r\n";
const std::string kProgress =
    "Response: CopyFile\r\nSrcFileInfoMD5: qvctl\r\nStatus: InProgress\r\nBarPos: 4\r\nMsgStr: m\r\nHTTPError: \r\n";

std::string End(const std::string& status) {
    return "Response: CopyFile\r\nSrcFileInfoMD5: qvctl\r\nStatus: " + status + "\r\nHTTPError: \r\n";
}

// qvctl's side against a stand-in for the assistant on the same loop, with a
// manual clock for the waits. The stand-in takes one peer, as the assistant
// does (so each run needs a rig of its own), and decodes what it receives into
// message texts.
struct Rig {
    Rig() {
        assistant.SetPath(String(path));
        assistant.onDataAvailable = [this] {
            frames.Append(assistant.ReadAll().Bytes());
            while (const auto payload = frames.TakeFrame()) received.emplace_back(DecodePayload(payload->Bytes()).Bytes());
        };
        assistant.onError = [this] { assistantLost = true; };
        assistant.Listen();
    }
    void Start(WaitFor waitFor, Duration wait = seconds(5), const std::string& text = "Command:Status\r") {
        session = std::make_unique<Session>(loop, SessionPlan{path, MakeFrame(String(text)), waitFor, wait});
        session->onReply = [this](const String& reply) { replies.emplace_back(reply.Bytes()); };
        session->Start();
        ASSERT_TRUE(test::RunUntil(loop, [&] { return !received.empty(); }));
        EXPECT_EQ(received, Texts{text});
    }
    void StartCopy(std::optional<Duration> wait = std::nullopt) {
        copy = std::make_unique<CopyRun>(loop, path, std::vector<Field>{{"Command", "CopyFile"}}, wait);
        copy->onReply = [this](const String& reply) { replies.emplace_back(reply.Bytes()); };
        copy->Start();
        ASSERT_TRUE(test::RunUntil(loop, [&] { return !received.empty(); }));
    }
    void Reply(const std::string& text) {
        const std::size_t before = replies.size();
        assistant.Write(MakeFrame(String(text)));
        EXPECT_TRUE(test::RunUntil(loop, [&] { return replies.size() > before; })) << text;
    }
    // Passes enough for a frame that qvctl wrote to reach the stand-in.
    void Settle() {
        for (int pass = 0; pass < 5; ++pass) loop.RunOnce(milliseconds(5));
    }
    std::optional<Outcome> EndsAfter(Duration wait) {
        test::AdvanceBy(loop, clock, wait - milliseconds(1));
        if (session->Result()) return session->Result();
        test::AdvanceBy(loop, clock, milliseconds(1));
        return session->Result();
    }

    ManualClock clock;
    RunLoop loop{clock};
    test::TempDir dir;
    std::string path = dir.File("qvipc");
    IPCSocket assistant{loop};
    FrameBuffer frames;
    Texts received;
    bool assistantLost = false;
    std::unique_ptr<Session> session;
    std::unique_ptr<CopyRun> copy;
    Texts replies;
};

TEST(QvctlSessionTest, AFirstReplyEndsTheSessionAndQvctlLeaves) {
    Rig rig;
    rig.Start(WaitFor::FirstReply, seconds(5), "Command:Status\rGetPageURL:http://x/\r");
    rig.Reply(kStatusReport);
    EXPECT_EQ(rig.session->Result(), Outcome::Done);
    EXPECT_EQ(rig.replies, Texts{kStatusReport});
    EXPECT_TRUE(test::RunUntil(rig.loop, [&] { return rig.assistantLost; })) << "qvctl leaves once it has its reply";
}

TEST(QvctlSessionTest, EveryReplyWithinTheWaitIsTakenWhateverTheCutOfTheStream) {
    Rig rig;
    rig.Start(WaitFor::EveryReply);
    const std::string first(MakeFrame("HTTPError: 503\r\n").Bytes());
    const std::string stream = "noise" + first + std::string(MakeFrame(String("Response: X\r\n\r\nbody\0\r\n"s)).Bytes());
    const std::size_t cut = 5 + first.size() + 3;  // inside the second frame's payload
    rig.assistant.Write(String(stream.substr(0, cut)));
    ASSERT_TRUE(test::RunUntil(rig.loop, [&] { return rig.replies.size() == 1; }));
    rig.assistant.Write(String(stream.substr(cut)));
    ASSERT_TRUE(test::RunUntil(rig.loop, [&] { return rig.replies.size() == 2; }));
    EXPECT_EQ(rig.EndsAfter(seconds(5)), Outcome::Done) << "an open-ended wait lasts its whole length";
    EXPECT_EQ(rig.replies, (Texts{"HTTPError: 503\r\n", "Response: X\r\n\r\nbody\0\r\n"s}));
}

TEST(QvctlSessionTest, WithoutAnExpectedReplyItStaysConnectedForTheWholeWait) {
    Rig rig;
    rig.Start(WaitFor::NoReply, seconds(3), "Command:Show\r");
    test::AdvanceBy(rig.loop, rig.clock, seconds(3) - milliseconds(1));
    EXPECT_FALSE(rig.session->Result());
    EXPECT_FALSE(rig.assistantLost);
    test::AdvanceBy(rig.loop, rig.clock, milliseconds(1));
    EXPECT_EQ(rig.session->Result(), Outcome::Done);
    EXPECT_TRUE(test::RunUntil(rig.loop, [&] { return rig.assistantLost; }));
}

TEST(QvctlSessionTest, SilenceOrAnAssistantThatLeavesEndsTheSessionByItsKind) {
    struct Case {
        WaitFor waitFor;
        bool leaves, replyFirst;
        Outcome outcome;
    };
    for (const Case& c : {Case{WaitFor::FirstReply, false, false, Outcome::NoReply},
                          Case{WaitFor::EveryReply, false, false, Outcome::NoReply},
                          Case{WaitFor::FirstReply, true, false, Outcome::Unreachable},
                          Case{WaitFor::NoReply, true, true, Outcome::Unreachable},
                          Case{WaitFor::EveryReply, true, false, Outcome::Unreachable},
                          Case{WaitFor::EveryReply, true, true, Outcome::Done}}) {
        SCOPED_TRACE(testing::Message() << static_cast<int>(c.waitFor) << c.leaves << c.replyFirst);
        Rig rig;
        rig.Start(c.waitFor);
        if (c.replyFirst) rig.Reply("HTTPError: 503\r\n");
        if (c.leaves) {
            rig.assistant.Close();
            ASSERT_TRUE(test::RunUntil(rig.loop, [&] { return rig.session->Result().has_value(); }));
            EXPECT_EQ(rig.session->Result(), c.outcome);
        } else {
            EXPECT_EQ(rig.EndsAfter(seconds(5)), c.outcome);
        }
    }
    Rig rig;
    Session nobody(rig.loop, SessionPlan{rig.dir.File("nothing"), MakeFrame("Command:Status\r"), WaitFor::NoReply, seconds(5)});
    EXPECT_EQ(RunSession(rig.loop, nobody), Outcome::Unreachable);
}

TEST(QvctlSessionTest, ACopyRunTakesItsReportsUntilTheEndReport) {
    Rig rig;
    rig.StartCopy();
    rig.Reply(kProgress);
    test::AdvanceBy(rig.loop, rig.clock, std::chrono::hours(48));
    EXPECT_FALSE(rig.copy->Result()) << "without --wait a copy waits for ever";
    rig.Reply(End("Abort"));
    EXPECT_EQ(rig.copy->Result(), Outcome::Done);
    EXPECT_EQ(rig.copy->End(), CopyEnd::Abort);
    EXPECT_EQ(rig.replies, (Texts{kProgress, End("Abort")}));
    EXPECT_TRUE(test::RunUntil(rig.loop, [&] { return rig.assistantLost; })) << "qvctl leaves at the end";
}

TEST(QvctlSessionTest, AnAbortWaitsForTheFirstProgressReportAndGoesOnce) {
    Rig rig;
    rig.StartCopy();
    EXPECT_FALSE(rig.copy->RequestAbort());
    rig.Settle();
    EXPECT_EQ(rig.received.size(), 1u) << "an early abort would wait behind the copy in the assistant's queue";
    rig.Reply(kProgress);
    ASSERT_TRUE(test::RunUntil(rig.loop, [&] { return rig.received.size() == 2; }));
    EXPECT_EQ(rig.received.back(), "Command:CopyFileAbort\r");
    EXPECT_TRUE(rig.copy->RequestAbort());
    rig.Reply(kProgress);
    rig.Settle();
    EXPECT_EQ(rig.received.size(), 2u) << "only once";
    EXPECT_FALSE(rig.copy->Result());
    rig.Reply(End("Complete"));  // the abort came too late for this copy
    EXPECT_EQ(rig.copy->End(), CopyEnd::Complete);
}

TEST(QvctlSessionTest, ACopyRunWithAWaitOrALostAssistantEndsWithoutAnEnd) {
    Rig rig;
    rig.StartCopy(seconds(5));
    rig.Reply(kProgress);
    test::AdvanceBy(rig.loop, rig.clock, seconds(5));
    EXPECT_EQ(rig.copy->Result(), Outcome::NoReply) << "progress does not count";
    EXPECT_FALSE(rig.copy->End());

    Rig lost;
    lost.StartCopy();
    lost.Reply(kProgress);
    lost.assistant.Close();
    ASSERT_TRUE(test::RunUntil(lost.loop, [&] { return lost.copy->Result().has_value(); }));
    EXPECT_EQ(lost.copy->Result(), Outcome::Unreachable);
}

}  // namespace
}  // namespace qv::ctl
