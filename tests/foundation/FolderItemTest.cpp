#include "foundation/FolderItem.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <utility>
#include <vector>

#include "support/Support.h"

namespace qv {
namespace {

// What the copy relies on of files; the copy's own tests show the rest.
TEST(FolderItemTest, PathsStreamsAndKindsOfFiles) {
    test::TempDir dir;
    const auto item = [&](const std::string& name) { return GetFolderItem(String(dir.File(name))); };
    EXPECT_FALSE(GetFolderItem(""));
    EXPECT_EQ(GetFolderItem("/tmp/x//")->NativePath().Bytes(), "/tmp/x/") << "one trailing slash: a folder only";
    EXPECT_EQ(GetFolderItem("a//b")->Parent()->NativePath().Bytes(), "a");
    EXPECT_EQ(GetFolderItem("b")->Parent()->NativePath().Bytes(), ".");
    EXPECT_FALSE(GetFolderItem("/")->Parent());
    EXPECT_FALSE(GetFolderItem("/x")->Child("")) << "an empty name must not give the folder back";
    EXPECT_FALSE(GetFolderItem("/x")->Child("a/b"));

    const std::string bytes = "1" + test::Pattern(2 * 1024 * 1024, 7);
    const auto out = item("big")->CreateBinaryFile("unknown");
    out->Write("1");
    EXPECT_EQ(out->Position(), 1u);
    out->Write(String(bytes.substr(1)));
    out->Close();
    out->Write("more");
    EXPECT_EQ(item("big")->Length(), bytes.size()) << "a closed stream writes nothing";
    const auto in = item("big")->OpenAsBinaryFile(false);
    std::string read(in->Read(1).Bytes());
    EXPECT_EQ(read, "1");
    read += in->Read(2 * 1024 * 1024 - 1).Bytes();
    EXPECT_FALSE(in->EndOfFile());
    read += in->Read(100).Bytes();
    EXPECT_TRUE(in->EndOfFile() && read == bytes);
    EXPECT_TRUE(in->Read(0).IsEmpty());
    in->Write("ignored");
    EXPECT_EQ(in->Position(), bytes.size()) << "a read-only stream writes nothing";
    const auto writer = item("big")->OpenAsBinaryFile(true);
    writer->Write("XYZ");
    EXPECT_EQ(item("big")->Length(), bytes.size()) << "a writeable open neither empties nor appends";
    // The end is asked of the file afresh, as it grows and shrinks under a reader.
    const auto grows = item("small")->CreateBinaryFile("unknown");
    const auto reader = item("small")->OpenAsBinaryFile(false);
    EXPECT_TRUE(reader->EndOfFile());
    grows->Write("abc");
    EXPECT_FALSE(reader->EndOfFile());
    ASSERT_EQ(::truncate(dir.File("small").c_str(), 0), 0);
    EXPECT_TRUE(reader->EndOfFile());

    // A FIFO with no writer would hold an ordinary open for ever.
    ASSERT_EQ(::mkfifo(dir.File("fifo").c_str(), 0600), 0);
    EXPECT_TRUE(item("fifo")->IsSpecialFile() && !item("big")->IsSpecialFile());
    EXPECT_FALSE(item("fifo")->OpenAsBinaryFile(false) || item("fifo")->CreateBinaryFile("unknown"));
    item("folder")->CreateAsFolder();
    EXPECT_TRUE(item("folder/")->Directory() && !item("big")->Directory() && !item("big/")->Exists());
}

TEST(FolderItemTest, ExtentsCopyTheDataAndKeepTheHolesOfTheSource) {
    test::TempDir dir;
    constexpr std::size_t kMiB = 1024 * 1024;
    const struct {
        const char* layout;
        std::size_t size;
        std::vector<std::pair<std::size_t, std::size_t>> data;  // offset, length
    } cases[] = {
        {"a hole between data, and one at the end", 9 * kMiB, {{0, 4096}, {3 * kMiB, 5000}}},
        {"a hole at the start, data across a chunk's end", 5 * kMiB, {{2 * kMiB - 100, 300}, {5 * kMiB - 10, 10}}},
        {"no data at all", 3 * kMiB, {}}, {"no hole at all", kMiB + 3, {{0, kMiB + 3}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.layout);
        const std::string from = dir.File("from"), to = dir.File("to");
        test::WriteFile(from, "");
        ASSERT_EQ(::truncate(from.c_str(), static_cast<off_t>(c.size)), 0);
        for (const auto& [offset, length] : c.data) {
            const auto writer = GetFolderItem(String(from))->OpenAsBinaryFile(true);
            (void)writer->Reserve(static_cast<std::int32_t>(offset));  // moves the position
            writer->Write(String(test::Pattern(length, 3)));
        }
        const auto source = GetFolderItem(String(from))->OpenAsBinaryFile(false);
        const auto target = GetFolderItem(String(to))->CreateBinaryFile("unknown");
        while (!source->EndOfFile()) ASSERT_TRUE(target->WriteExtent(*source, source->Reserve(2 * kMiB)));
        target->Close();
        EXPECT_TRUE(test::ReadFile(to) == test::ReadFile(from));
        struct stat copied {}, original {};
        ASSERT_EQ(::stat(to.c_str(), &copied), 0);
        ASSERT_EQ(::stat(from.c_str(), &original), 0);
        EXPECT_LE(copied.st_blocks, original.st_blocks + 16) << "holes stay holes";
    }
}

}  // namespace
}  // namespace qv
