#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

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

const std::string kProgress =
    "Response: CopyFile\r\nSrcFileInfoMD5: qvctl\r\nStatus: InProgress\r\nBarPos: 4\r\nMsgStr: m\r\nHTTPError: \r\n";

std::string End(const std::string& status) {
    return "Response: CopyFile\r\nSrcFileInfoMD5: qvctl\r\nStatus: " + status + "\r\nHTTPError: \r\n";
}

// qvctl's side against a stand-in for the assistant on the same loop, with a
// manual clock for the waits. The stand-in takes one peer, as the assistant
// does (so each run needs a rig of its own), and decodes what it receives.
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
    void Start(WaitFor waitFor, const std::string& text = "Command:Status\r") {
        session = std::make_unique<Session>(loop, SessionPlan{path, MakeFrame(String(text)), waitFor, seconds(5)});
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
    void Reply(const std::string& bytes) {
        const std::size_t before = replies.size();
        assistant.Write(String(bytes));
        EXPECT_TRUE(test::RunUntil(loop, [&] { return replies.size() > before; }));
    }
    // Passes enough for a frame that qvctl wrote to reach the stand-in.
    void Settle() {
        for (int pass = 0; pass < 5; ++pass) loop.RunOnce(milliseconds(5));
    }

    ManualClock clock;
    RunLoop loop{clock};
    test::TempDir dir;
    std::string path = dir.File("qvipc");
    IPCSocket assistant{loop};
    FrameBuffer frames;
    Texts received, replies;
    bool assistantLost = false;
    std::unique_ptr<Session> session;
    std::unique_ptr<CopyRun> copy;
};

std::string Frame(const std::string& text) { return std::string(MakeFrame(String(text)).Bytes()); }

TEST(QvctlSessionTest, EachKindOfWaitEndsByWhatComesOrByTheAssistantLeaving) {
    const std::string status = "Response: Status\r\nStatus: Ready\r\nHTTPError: \r\n";
    const std::string second = Frame("Response: X\r\n\r\nbody\0\r\n"s);
    const struct {
        WaitFor waitFor;
        Texts sent;  // each written at once; none: silence
        bool leaves;
        Outcome outcome;
        Duration endsAfter;  // from the last write; none: at once
    } cases[] = {
        {WaitFor::FirstReply, {Frame(status)}, false, Outcome::Done, Duration::zero()},
        {WaitFor::FirstReply, {}, false, Outcome::NoReply, seconds(5)},
        {WaitFor::FirstReply, {}, true, Outcome::Unreachable, Duration::zero()},
        // Every reply within the wait counts, whatever the cut of the stream.
        {WaitFor::EveryReply, {"noise" + Frame("HTTPError: 503\r\n") + second.substr(0, 3), second.substr(3)}, false,
         Outcome::Done, seconds(5)},
        {WaitFor::EveryReply, {}, false, Outcome::NoReply, seconds(5)},
        {WaitFor::EveryReply, {Frame("HTTPError: 503\r\n")}, true, Outcome::Done, Duration::zero()},
        {WaitFor::EveryReply, {}, true, Outcome::Unreachable, Duration::zero()},
        // Nothing comes back: it stays for the whole wait, as the assistant ends with its peer.
        {WaitFor::NoReply, {}, false, Outcome::Done, seconds(5)},
        {WaitFor::NoReply, {Frame("HTTPError: 503\r\n")}, true, Outcome::Unreachable, Duration::zero()},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << static_cast<int>(c.waitFor) << " " << c.sent.size() << c.leaves);
        Rig rig;
        rig.Start(c.waitFor);
        for (const std::string& bytes : c.sent) rig.Reply(bytes);
        if (c.leaves) rig.assistant.Close();
        if (c.endsAfter > Duration::zero()) {
            test::AdvanceBy(rig.loop, rig.clock, c.endsAfter - milliseconds(1));
            EXPECT_FALSE(rig.session->Result()) << "it lasts its whole wait";
            EXPECT_FALSE(rig.assistantLost);
            test::AdvanceBy(rig.loop, rig.clock, milliseconds(1));
        }
        ASSERT_TRUE(test::RunUntil(rig.loop, [&] { return rig.session->Result().has_value(); }));
        EXPECT_EQ(rig.session->Result(), c.outcome);
        EXPECT_TRUE(c.leaves || test::RunUntil(rig.loop, [&] { return rig.assistantLost; })) << "qvctl leaves at the end";
    }
    Rig rig;
    rig.Start(WaitFor::EveryReply);
    rig.Reply("noise" + Frame("HTTPError: 503\r\n") + second.substr(0, 3));
    rig.Reply(second.substr(3));
    EXPECT_EQ(rig.replies, (Texts{"HTTPError: 503\r\n", "Response: X\r\n\r\nbody\0\r\n"s}));
    Session nobody(rig.loop, SessionPlan{rig.dir.File("none"), MakeFrame("Command:Show\r"), WaitFor::NoReply, seconds(5)});
    EXPECT_EQ(RunSession(rig.loop, nobody), Outcome::Unreachable);
}

TEST(QvctlSessionTest, ACopyRunHoldsAnEarlyAbortUntilTheCopyRunsAndEndsWithItsEndReport) {
    Rig rig;
    rig.StartCopy();
    EXPECT_FALSE(rig.copy->RequestAbort());
    rig.Settle();
    EXPECT_EQ(rig.received.size(), 1u) << "an early abort would wait behind the copy in the assistant's queue";
    rig.Reply(Frame(kProgress));
    ASSERT_TRUE(test::RunUntil(rig.loop, [&] { return rig.received.size() == 2; }));
    EXPECT_EQ(rig.received.back(), "Command:CopyFileAbort\r");
    EXPECT_TRUE(rig.copy->RequestAbort());
    rig.Reply(Frame(kProgress));
    test::AdvanceBy(rig.loop, rig.clock, std::chrono::hours(48));
    EXPECT_EQ(rig.received.size(), 2u) << "the abort goes once";
    EXPECT_FALSE(rig.copy->Result()) << "without --wait a copy waits for ever";
    rig.Reply(Frame(End("Abort")));
    EXPECT_EQ(rig.copy->Result(), Outcome::Done);
    EXPECT_EQ(rig.copy->End(), CopyEnd::Abort);
    EXPECT_EQ(rig.replies, (Texts{kProgress, kProgress, End("Abort")}));

    Rig limited;
    limited.StartCopy(seconds(5));
    limited.Reply(Frame(kProgress));
    test::AdvanceBy(limited.loop, limited.clock, seconds(5));
    EXPECT_EQ(limited.copy->Result(), Outcome::NoReply) << "progress does not count";
    Rig silent;  // a copy the assistant dropped
    silent.StartCopy();
    test::AdvanceBy(silent.loop, silent.clock, kFirstReportWait - milliseconds(1));
    EXPECT_FALSE(silent.copy->Result());
    test::AdvanceBy(silent.loop, silent.clock, milliseconds(1));
    EXPECT_TRUE(silent.copy->Result() == Outcome::NoReply && silent.copy->NotStarted());
    EXPECT_FALSE(limited.copy->NotStarted());
    Rig lost;
    lost.StartCopy();
    lost.assistant.Close();
    ASSERT_TRUE(test::RunUntil(lost.loop, [&] { return lost.copy->Result().has_value(); }));
    EXPECT_EQ(lost.copy->Result(), Outcome::Unreachable);
    EXPECT_FALSE(lost.copy->End());
}

}  // namespace
}  // namespace qv::ctl
