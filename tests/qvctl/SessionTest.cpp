#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "channel/Frame.h"
#include "foundation/IPCSocket.h"
#include "qvctl/Session.h"
#include "support/LoopDriver.h"
#include "support/TestPeers.h"

namespace qv::ctl {
namespace {

using namespace std::string_literals;
using std::chrono::milliseconds;
using std::chrono::seconds;

const std::string kStatusReport = "Response: Status\r\nStatus: Ready\r\nHTTPError: \r\n";

std::string FrameOf(const std::string& text) {
    return std::string(MakeFrame(String(text)).Bytes());
}

// qvctl's side against a stand-in for the assistant: a listener on a
// temporary path, on the same loop, with a manual clock for the waits.
class QvctlSessionTest : public ::testing::Test {
protected:
    QvctlSessionTest() {
        assistant.SetPath(String(path));
        assistant.onDataAvailable = [this] { received += assistant.ReadAll().Bytes(); };
        assistant.onError = [this] { assistantLost = true; };
        assistant.Listen();
    }

    void Start(WaitFor waitFor, Duration wait = seconds(5), const std::string& text = "Command:Status\r") {
        session = std::make_unique<Session>(loop, SessionPlan{path, MakeFrame(String(text)), waitFor, wait});
        session->onReply = [this](const String& reply) { replies.emplace_back(reply.Bytes()); };
        session->Start();
    }

    // Until the assistant holds the whole command frame.
    void WaitForCommand() {
        ASSERT_TRUE(test::RunUntil(loop, [&] { return received.ends_with("_End"); })) << received;
    }

    bool Ended() {
        return test::RunUntil(loop, [&] { return session->Result().has_value(); });
    }

    ManualClock clock;
    RunLoop loop{clock};
    test::TempDir dir;
    std::string path = dir.File("qvipc");
    IPCSocket assistant{loop};
    std::string received;
    bool assistantLost = false;
    std::unique_ptr<Session> session;
    std::vector<std::string> replies;
};

TEST_F(QvctlSessionTest, SendsOneFrameOfItsCommandAndEndsAtTheFirstReply) {
    Start(WaitFor::FirstReply, seconds(5), "Command:Status\rGetPageURL:http://x/\r");
    WaitForCommand();
    ASSERT_TRUE(received.starts_with("Start_"));
    const std::string payload = received.substr(6, received.size() - 10);
    EXPECT_EQ(DecodePayload(payload).Bytes(), "Command:Status\rGetPageURL:http://x/\r");
    EXPECT_EQ(received, FrameOf("Command:Status\rGetPageURL:http://x/\r"));

    assistant.Write(String(FrameOf(kStatusReport)));
    ASSERT_TRUE(Ended());
    EXPECT_EQ(session->Result(), Outcome::Done);
    EXPECT_EQ(replies, std::vector<std::string>{kStatusReport});
    EXPECT_TRUE(test::RunUntil(loop, [&] { return assistantLost; })) << "qvctl leaves once it has its reply";
}

TEST_F(QvctlSessionTest, EveryReplyWithinTheWaitIsTakenWhateverTheCutOfTheStream) {
    Start(WaitFor::EveryReply, seconds(5));
    WaitForCommand();
    const std::string first = FrameOf("HTTPError: 503\r\n");
    const std::string second = FrameOf("Response: GetPageURL\r\n\r\nbody\0\r\n"s);
    const std::string stream = "noise" + first + second;
    const std::size_t cut = 5 + first.size() + 3;  // inside the second frame's payload
    assistant.Write(String(stream.substr(0, cut)));
    ASSERT_TRUE(test::RunUntil(loop, [&] { return replies.size() == 1; }));
    assistant.Write(String(stream.substr(cut)));
    ASSERT_TRUE(test::RunUntil(loop, [&] { return replies.size() == 2; }));

    test::AdvanceBy(loop, clock, seconds(5) - milliseconds(1));
    EXPECT_FALSE(session->Result()) << "an open-ended wait lasts its whole length";
    test::AdvanceBy(loop, clock, milliseconds(1));
    EXPECT_EQ(session->Result(), Outcome::Done);
    EXPECT_EQ(replies,
              (std::vector<std::string>{"HTTPError: 503\r\n", "Response: GetPageURL\r\n\r\nbody\0\r\n"s}));
}

TEST_F(QvctlSessionTest, WithoutAnExpectedReplyItStaysConnectedForTheWholeWait) {
    Start(WaitFor::NoReply, seconds(3), "Command:Show\r");
    WaitForCommand();
    test::AdvanceBy(loop, clock, seconds(3) - milliseconds(1));
    EXPECT_FALSE(session->Result());
    EXPECT_FALSE(assistantLost);
    test::AdvanceBy(loop, clock, milliseconds(1));
    EXPECT_EQ(session->Result(), Outcome::Done);
    EXPECT_TRUE(test::RunUntil(loop, [&] { return assistantLost; }));
    EXPECT_TRUE(replies.empty());
}

// Each case needs a fresh stand-in: it takes one peer only.
class QvctlSessionSilenceTest : public QvctlSessionTest, public ::testing::WithParamInterface<WaitFor> {};

TEST_P(QvctlSessionSilenceTest, SilenceUntilTheWaitEndsIsNoReply) {
    Start(GetParam(), seconds(5));
    WaitForCommand();
    test::AdvanceBy(loop, clock, seconds(5) - milliseconds(1));
    EXPECT_FALSE(session->Result());
    test::AdvanceBy(loop, clock, milliseconds(1));
    EXPECT_EQ(session->Result(), Outcome::NoReply);
    EXPECT_TRUE(replies.empty());
}

INSTANTIATE_TEST_SUITE_P(RepliesExpected, QvctlSessionSilenceTest,
                         ::testing::Values(WaitFor::FirstReply, WaitFor::EveryReply));

struct LeaveCase {
    WaitFor waitFor;
    bool replyFirst;
    Outcome outcome;
};

class QvctlSessionLeaveTest : public QvctlSessionTest, public ::testing::WithParamInterface<LeaveCase> {};

TEST_P(QvctlSessionLeaveTest, AnAssistantThatLeavesEarlyIsUnreachableUnlessSendHadAReply) {
    Start(GetParam().waitFor);
    WaitForCommand();
    if (GetParam().replyFirst) assistant.Write(String(FrameOf("HTTPError: 503\r\n")));
    assistant.Close();
    ASSERT_TRUE(Ended());
    EXPECT_EQ(session->Result(), GetParam().outcome);
    EXPECT_EQ(replies.size(), GetParam().replyFirst ? 1u : 0u);
}

INSTANTIATE_TEST_SUITE_P(Cases, QvctlSessionLeaveTest,
                         ::testing::Values(LeaveCase{WaitFor::FirstReply, false, Outcome::Unreachable},
                                           LeaveCase{WaitFor::NoReply, false, Outcome::Unreachable},
                                           LeaveCase{WaitFor::NoReply, true, Outcome::Unreachable},
                                           LeaveCase{WaitFor::EveryReply, false, Outcome::Unreachable},
                                           LeaveCase{WaitFor::EveryReply, true, Outcome::Done}));

TEST(QvctlSessionUnreachableTest, NothingListeningIsUnreachableForEveryKindOfWait) {
    ManualClock clock;
    RunLoop loop{clock};
    test::TempDir dir;
    for (const WaitFor waitFor : {WaitFor::FirstReply, WaitFor::NoReply, WaitFor::EveryReply}) {
        SCOPED_TRACE(static_cast<int>(waitFor));
        Session session(loop,
                        SessionPlan{dir.File("qvipc"), MakeFrame("Command:Status\r"), waitFor, seconds(5)});
        EXPECT_EQ(RunSession(loop, session), Outcome::Unreachable);
    }
}

}  // namespace
}  // namespace qv::ctl
