#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "qvctl/Command.h"
#include "qvctl/Session.h"

namespace qv::ctl {
namespace {

using std::chrono::seconds;

TEST(QvctlCommandTest, EachCommandIsItsWordAndWaitsAsItsRepliesRequire) {
    struct Case {
        Action action;
        std::vector<Field> fields;
        std::string url;
        std::optional<std::string> date;
        std::optional<std::string> goi;
        const char* text;
        WaitFor waitFor;
        Duration wait;
    };
    const Case cases[] = {
        {Action::Status, {}, "", {}, {}, "Command:Status\r", WaitFor::FirstReply, seconds(5)},
        {Action::Abort, {}, "", {}, {}, "Command:CopyFileAbort\r", WaitFor::FirstReply, seconds(5)},
        {Action::Show, {}, "", {}, {}, "Command:Show\r", WaitFor::NoReply, seconds(3)},
        {Action::Hide, {}, "", {}, {}, "Command:Hide\r", WaitFor::NoReply, seconds(3)},
        {Action::Send,
         {{"Command", "Status"}, {"GetPageURL", "http://x/?a=b"}, {"Empty", ""}},
         "",
         {},
         {},
         "Command:Status\rGetPageURL:http://x/?a=b\rEmpty:\r",
         WaitFor::EveryReply,
         seconds(5)},
        // The assistant's watchdog answers a fetch within 60 s.
        {Action::Get,
         {},
         "http://h:81/a b?c=d",
         {},
         {},
         "Command:GetPageURL\rGetPageURL:http://h:81/a b?c=d\r",
         WaitFor::FirstReply,
         seconds(70)},
        {Action::Headers,
         {},
         "http://h/",
         {},
         {},
         "Command:GetHeadersURL\rGetHeadersURL:http://h/\r",
         WaitFor::FirstReply,
         seconds(70)},
        {Action::News,
         {},
         "http://h/news?x=1",
         "2026-11-22 10:00",
         "\xc3\xa9:x",
         "Command:GetNews\rWebAddress:http://h/news?x=1\rDateStr:2026-11-22 10:00\rGOIStr:\xc3\xa9:x\r",
         WaitFor::FirstReply,
         seconds(70)},
        {Action::News,
         {},
         "http://h/",
         {},
         {},
         "Command:GetNews\rWebAddress:http://h/\rDateStr:\rGOIStr:\r",
         WaitFor::FirstReply,
         seconds(70)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        Options options;
        options.action = c.action;
        options.fields = c.fields;
        options.url = c.url;
        options.date = c.date;
        options.goi = c.goi;
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
