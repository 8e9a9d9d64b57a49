#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "qvctl/Command.h"
#include "qvctl/Session.h"

namespace qv::ctl {
namespace {

using std::chrono::seconds;

TEST(QvctlCommandTest, EachCommandIsItsWordAndWaitsAsItsRepliesRequire) {
    struct Case {
        Action action;
        std::vector<Field> fields;
        const char* text;
        WaitFor waitFor;
        Duration wait;
    };
    const Case cases[] = {
        {Action::Status, {}, "Command:Status\r", WaitFor::FirstReply, seconds(5)},
        {Action::Abort, {}, "Command:CopyFileAbort\r", WaitFor::FirstReply, seconds(5)},
        {Action::Show, {}, "Command:Show\r", WaitFor::NoReply, seconds(3)},
        {Action::Hide, {}, "Command:Hide\r", WaitFor::NoReply, seconds(3)},
        {Action::Send,
         {{"Command", "Status"}, {"GetPageURL", "http://x/?a=b"}, {"Empty", ""}},
         "Command:Status\rGetPageURL:http://x/?a=b\rEmpty:\r",
         WaitFor::EveryReply,
         seconds(5)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        Options options;
        options.action = c.action;
        options.fields = c.fields;
        EXPECT_EQ(CommandText(CommandFor(options).fields).Bytes(), c.text);
        const SessionPlan plan = PlanFor(options);
        EXPECT_EQ(plan.waitFor, c.waitFor);
        EXPECT_EQ(plan.wait, c.wait);
        options.wait = seconds(1);
        EXPECT_EQ(PlanFor(options).wait, seconds(1)) << "--wait overrides the default";
    }
}

}  // namespace
}  // namespace qv::ctl
