#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "channel/Frame.h"

namespace qv {
namespace {

struct Cut {
    std::vector<std::string> payloads;
    std::string pending;
    bool operator==(const Cut&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Cut& cut) {
    out << "{";
    for (const auto& p : cut.payloads) out << "[" << p << "]";
    return out << " pending [" << cut.pending << "]}";
}

// Feeds `pieces` one read at a time, taking frames after each read.
Cut Feed(const std::vector<std::string>& pieces) {
    FrameBuffer buffer;
    Cut cut;
    for (const std::string& piece : pieces) {
        buffer.Append(piece);
        while (const auto payload = buffer.TakeFrame()) cut.payloads.emplace_back(payload->Bytes());
    }
    cut.pending = std::string(buffer.Pending());
    return cut;
}

TEST(FrameBufferTest, CutsFramesByTheLongStandingRule) {
    struct Case {
        const char* what;
        std::string input;
        Cut expected;
    };
    const Case cases[] = {
        {"one frame", "Start_QUJD_End", {{"QUJD"}, ""}},
        {"two frames in one read", "Start_QQ==_EndStart_Qg==_End", {{"QQ==", "Qg=="}, ""}},
        {"garbage ahead goes with the frame", "noise\r\nStart_QQ==_End", {{"QQ=="}, ""}},
        {"empty frame", "Start__EndStart_QQ==_End", {{"", "QQ=="}, ""}},
        {"stray end ahead: an empty payload, then the frame", "x_EndStart_QQ==_End", {{"", "QQ=="}, ""}},
        {"end marker inside the start marker", "Start_EndQQ==_End", {{""}, "QQ==_End"}},
        {"markers in any letter case", "sTaRt_QQ==_eNd", {{"QQ=="}, ""}},
        {"start without end waits", "Start_QQ==", {{}, "Start_QQ=="}},
        {"end without start waits", "QQ==_End", {{}, "QQ==_End"}},
        {"bytes behind the last frame wait", "Start_QQ==_EndStar", {{"QQ=="}, "Star"}},
    };
    for (const Case& c : cases) EXPECT_EQ(Feed({c.input}), c.expected) << c.what;
}

TEST(FrameBufferTest, AStreamSplitAtAnyByteIsCutAsIfItCameWhole) {
    const std::string stream = "junk_EndStart_QUJD_Endxx Start__End Start_RQ==_End";
    const Cut whole = Feed({stream});
    ASSERT_EQ(whole, (Cut{{"", "QUJD", "", "RQ=="}, ""}));
    for (std::size_t at = 0; at <= stream.size(); ++at) {
        EXPECT_EQ(Feed({stream.substr(0, at), stream.substr(at)}), whole) << "split at " << at;
    }
}

TEST(FrameBufferTest, AFrameArrivingOneByteAtATimeIsTakenOnceWhole) {
    const std::string frame = "Start_" + std::string(5000, 'A') + "_End";
    std::vector<std::string> bytes;
    for (char c : frame) bytes.emplace_back(1, c);
    EXPECT_EQ(Feed(bytes), (Cut{{std::string(5000, 'A')}, ""}));
}

TEST(FrameBufferTest, MadeFramesDecodeToTheirTextWithAnyBytes) {
    std::string text = "Response: X\r\n\r\n";
    for (int i = 0; i < 256; ++i) text.push_back(static_cast<char>(i));
    const String frame = MakeFrame(String(text));
    const std::string_view bytes = frame.Bytes();
    ASSERT_EQ(bytes.substr(0, 6), "Start_");
    ASSERT_EQ(bytes.substr(bytes.size() - 4), "_End");
    FrameBuffer buffer;
    buffer.Append(bytes);
    const auto payload = buffer.TakeFrame();
    ASSERT_TRUE(payload);
    const String decoded = DecodePayload(payload->Bytes());
    EXPECT_TRUE(decoded.Bytes() == text);
    EXPECT_EQ(decoded.GetEncoding(), Encoding::UTF8);
    EXPECT_TRUE(DecodePayload("not base64 at all!").IsEmpty());
    EXPECT_TRUE(DecodePayload("QUJDRA==").IsEmpty()) << "Base64, but no packed message";
}

}  // namespace
}  // namespace qv
