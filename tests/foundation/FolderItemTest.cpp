#include "foundation/FolderItem.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

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

}  // namespace
}  // namespace qv
