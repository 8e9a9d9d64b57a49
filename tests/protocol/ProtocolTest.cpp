#include <gtest/gtest.h>
#include <zlib.h>

#include <string>
#include <vector>

#include "foundation/TextFunctions.h"
#include "foundation/ZCompression.h"
#include "protocol/CommandText.h"
#include "protocol/Frame.h"
#include "protocol/PayloadCodec.h"
#include "protocol/Reports.h"
#include "protocol/Vocabulary.h"

namespace qv {
namespace {

std::string ZlibCompress(const std::string& text, int level) {
    uLongf size = compressBound(static_cast<uLong>(text.size()));
    std::string out(size, '\0');
    compress2(reinterpret_cast<Bytef*>(out.data()), &size, reinterpret_cast<const Bytef*>(text.data()),
              static_cast<uLong>(text.size()), level);
    out.resize(size);
    return out;
}

std::string ZlibUncompress(std::string_view stream, std::size_t size) {
    std::string out(size + 1, '\0');
    uLongf length = out.size();
    if (uncompress(reinterpret_cast<Bytef*>(out.data()), &length, reinterpret_cast<const Bytef*>(stream.data()),
                   static_cast<uLong>(stream.size())) != Z_OK) {
        return "(zlib refused)";
    }
    out.resize(length);
    return out;
}

struct Cut {
    std::vector<std::string> payloads;
    std::string pending;
    bool operator==(const Cut&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Cut& cut) {
    for (const auto& p : cut.payloads) out << "[" << p << "]";
    return out << " pending [" << cut.pending << "]";
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

TEST(FrameTest, FramesAreCutByTheLongStandingRuleWhereverTheStreamIsSplit) {
    const struct {
        const char* what;
        std::string input;
        Cut expected;
    } cases[] = {
        {"two frames in one read", "Start_QQ==_EndStart_Qg==_End", {{"QQ==", "Qg=="}, ""}},
        {"garbage ahead goes with the frame", "noise\r\nStart_QQ==_End", {{"QQ=="}, ""}},
        {"empty frame", "Start__EndStart_QQ==_End", {{"", "QQ=="}, ""}},
        {"stray end ahead: an empty payload, then the frame", "x_EndStart_QQ==_End", {{"", "QQ=="}, ""}},
        {"a stray end right behind a frame", "Start_QQ==_End_EndStart_Qg==_End", {{"QQ==", "", "Qg=="}, ""}},
        {"end marker inside the start marker", "Start_EndQQ==_End", {{""}, "QQ==_End"}},
        {"markers in any letter case", "sTaRt_QQ==_eNd", {{"QQ=="}, ""}},
        {"start without end waits", "Start_QQ==", {{}, "Start_QQ=="}},
        {"end without start waits", "QQ==_End", {{}, "QQ==_End"}},
        {"bytes behind the last frame wait", "Start_QQ==_EndStar", {{"QQ=="}, "Star"}},
    };
    for (const auto& c : cases) EXPECT_EQ(Feed({c.input}), c.expected) << c.what;

    const std::string stream = "junk_EndStart_QUJD_Endxx Start__End Start_RQ==_End";
    const Cut whole = Feed({stream});
    ASSERT_EQ(whole, (Cut{{"", "QUJD", "", "RQ=="}, ""}));
    for (std::size_t at = 0; at <= stream.size(); ++at) {
        EXPECT_EQ(Feed({stream.substr(0, at), stream.substr(at)}), whole) << "split at " << at;
    }
    const std::string frame = "Start_" + std::string(5000, 'A') + "_End";
    std::vector<std::string> bytes;
    for (char c : frame) bytes.emplace_back(1, c);
    EXPECT_EQ(Feed(bytes), (Cut{{std::string(5000, 'A')}, ""})) << "one byte at a time";
}

TEST(FrameTest, PackedMessagesCarrySizeModulo2To24LowestByteFirstAndAnyBytes) {
    const std::pair<std::size_t, std::string> prefixes[] = {
        {0, std::string("\x00\x00\x00", 3)},       {47, std::string("\x2F\x00\x00", 3)},
        {65536, std::string("\x00\x00\x01", 3)},   {0xFF00FF, std::string("\xFF\x00\xFF", 3)},
        {16842753, std::string("\x01\x00\x01", 3)},
    };
    int level = 0;
    for (const auto& [size, prefix] : prefixes) {
        std::string text(size, 'q');
        if (size > 0) text[size / 2] = 'x';
        const String packed = zCompress(String(text));
        ASSERT_EQ(packed.Bytes().substr(0, 3), prefix) << size;
        // A prefix that has wrapped is read back as the sender wrote it.
        EXPECT_TRUE(zDecompress(packed).Bytes() == text) << size;
        // zlib, the reference, reads our stream, and we read its streams at any level.
        EXPECT_TRUE(ZlibUncompress(packed.Bytes().substr(3), size) == text) << size;
        level = (level + 4) % 10;
        EXPECT_TRUE(zDecompress(String(prefix + ZlibCompress(text, level))).Bytes() == text) << size << " " << level;
    }
    EXPECT_EQ(zCompress(setToUTF8("\xC3\xA4\xC3\xB6")).Bytes().substr(0, 3), std::string("\x04\x00\x00", 3));

    std::string text = "Response: X\r\n\r\n";
    for (int i = 0; i < 256; ++i) text.push_back(static_cast<char>(i));
    const String frame = MakeFrame(String(text));
    ASSERT_TRUE(frame.Bytes().starts_with("Start_") && frame.Bytes().ends_with("_End"));
    FrameBuffer buffer;
    buffer.Append(frame.Bytes());
    const String decoded = DecodePayload(buffer.TakeFrame()->Bytes());
    EXPECT_TRUE(decoded.Bytes() == text);
    EXPECT_EQ(decoded.GetEncoding(), Encoding::UTF8);
}

TEST(FrameTest, WhatDoesNotDecompressToItsPrefixGivesTheEmptyText) {
    const std::string packed(zCompress("Command:Status\r").Bytes());
    std::string corrupt = packed;
    corrupt[5] = static_cast<char>(corrupt[5] ^ 0x55);
    std::string prefixTooSmall = packed;
    prefixTooSmall[0] = 3;  // the text has 15 bytes
    const std::string cases[] = {"", std::string("\x0F\x00", 2), packed.substr(0, 3), corrupt, prefixTooSmall,
                                 packed.substr(0, packed.size() - 2)};
    for (const std::string& data : cases) EXPECT_TRUE(zDecompress(String(data)).IsEmpty()) << data.size();
    EXPECT_TRUE(DecodePayload("not base64 at all!").IsEmpty());
    ZCompression codec;
    EXPECT_TRUE(codec.DecompressBytes(String(corrupt.substr(3)), 15).IsEmpty());
    EXPECT_EQ(codec.ErrorValue(), -3) << "bad data, in zlib's terms";
    EXPECT_EQ(zDecompress(String(packed)).Bytes(), "Command:Status\r");
}

TEST(CommandFieldsTest, AFieldIsReadByTheLongStandingRule) {
    const struct {
        const char *what, *name;
        std::string text, value;
        bool notFound;
    } cases[] = {
        {"plain", "Command", "Command:Status\r", "Status", false},
        {"last line without its CR", "Command", "GetPageURL:x\rCommand:Show", "Show", false},
        {"any separator, any case of the name", "command", "COMMAND=Hide\r", "Hide", false},
        {"a blank behind the separator stays", "Command", "Command: Status\r", " Status", false},
        {"the first of two lines wins", "Command", "Command:Hide\rCommand:Show\r", "Hide", false},
        {"CR LF: a later field is not found", "GetPageURL", "Command:GetPageURL\r\nGetPageURL:x\r\n", "", true},
        {"LF and colons are part of a value", "GetPageURL", "GetPageURL:http://a:8/\nb\r", "http://a:8/\nb", false},
        {"a longer name first is taken", "SrcFileInfo", "SrcFileInfoMD5:abc\rSrcFileInfo:eA==\r", "D5:abc", false},
        {"missing", "DateStr", "Command:GetNews\r", "", true},
        {"name at the very end", "Command", "Command", "", true},
        {"name, separator and nothing", "Command", "Command:", "", false},
    };
    for (const auto& c : cases) {
        bool notFound = !c.notFound;
        const String value = getCRFieldFromString(c.name, String(c.text), notFound);
        EXPECT_EQ(value.Bytes(), c.value) << c.what;
        EXPECT_EQ(notFound, c.notFound) << c.what;
        EXPECT_EQ(value.GetEncoding(), Encoding::UTF8) << c.what;
    }
}

TEST(ReportsTest, EveryReportByteForByteAndItsErrorLineForEveryCodeButMinusOne) {
    InternetHeaders headers;
    headers._ParseHeaders("HTTP/1.0 404 Not Found\r\nX-Two: a\r\nX-Two: b\r\n");
    const std::string body("\x00\x01\xFE\xFF\r\n\r\n", 8);
    const struct {
        String text;
        std::int32_t code;
        std::string message;
    } cases[] = {
        {StatusReport(), 0, "Response: Status\r\nStatus: Ready\r\nHTTPError: \r\n"},
        {CopyProgressReport("t", 0, "1.0 KB of 0.0 bytes"), 0,
         "Response: CopyFile\r\nSrcFileInfoMD5: t\r\nStatus: InProgress\r\nBarPos: \r\nMsgStr: 1.0 KB of 0.0 bytes\r\nHTTPError: \r\n"},
        {CopyEndReport("", CopyStatus::Abort), 0, "Response: CopyFile\r\nSrcFileInfoMD5: \r\nStatus: Abort\r\nHTTPError: \r\n"},
        {FetchReportOpening("getnews", "http://x/"), 1, "Response: GetNews\r\nHTTPError: 1\r\n"},
        {FetchReportOpening("GetPageURL", "u"), 503, "Response: GetPageURL\r\nHTTPURL: u\r\nHTTPError: 503\r\n"}, {String(), -1, ""},
        {PageReport(FetchReportOpening("GetHeadersURL", "u"), 404, &headers, String(body)), -1,
         "Response: GetHeadersURL\r\nHTTPURL: u\r\nHTTPStatus: 404\r\nHTTPError: 0\r\nX-Two: a\r\nX-Two: b\r\n\r\n" + body},
        {PageReport(FetchReportOpening("GetNews", "u"), 0, nullptr, String()), -1,
         "Response: GetNews\r\nHTTPStatus: \r\nHTTPError: 0\r\n\r\n"},
    };
    for (const auto& c : cases) EXPECT_EQ(MessageText(c.text, c.code).Bytes(), c.message) << c.code;
    // Read back: a copy's end, and nothing else, says how the copy ended.
    EXPECT_EQ(CopyEndOf(MessageText(CopyEndReport("t", CopyStatus::Complete), 0)), CopyEnd::Complete);
    EXPECT_EQ(CopyEndOf("Response: CopyFile\r\nStatus: InProgress\r\n"), std::nullopt);
    EXPECT_EQ(CopyEndOf("Response: Status\r\nStatus: Abort\r\n"), std::nullopt);
}

}  // namespace
}  // namespace qv
