#include "foundation/FolderItem.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "support/Support.h"

namespace qv {
namespace {

using namespace std::string_view_literals;

std::string PathOf(const std::shared_ptr<FolderItem>& item) {
    return item ? std::string(item->NativePath().Bytes()) : std::string("<nil>");
}

// Paths are taken apart as text only, so these need no files.
// Paths are taken apart as text only, so these need no files.
TEST(FolderItemPathTest, PathsAreKeptAsGivenAndTakenApartAsText) {
    const std::pair<std::string_view, const char*> given[] = {
        {"", "<nil>"}, {"a\0b"sv, "<nil>"}, {"///", "/"}, {"/tmp/x//", "/tmp/x/"}, {"x//../y", "x//../y"}};
    for (const auto& [path, expected] : given) EXPECT_EQ(PathOf(GetFolderItem(String(path))), expected) << path;
    const struct {
        const char *path, *name, *parent;
    } parts[] = {{"/tmp/a", "a", "/tmp"}, {"//a", "a", "/"}, {"/", "/", "<nil>"}, {"a//b", "b", "a"},
                 {"rel", "rel", "."}, {".", ".", "<nil>"}};
    for (const auto& c : parts) {
        EXPECT_EQ(GetFolderItem(c.path)->Name().Bytes(), c.name) << c.path;
        EXPECT_EQ(PathOf(GetFolderItem(c.path)->Parent()), c.parent) << c.path;
    }
    // An empty name must not give the folder back: the copy would delete it.
    for (const std::string_view name : {""sv, "a/b"sv, "a\0b"sv}) EXPECT_FALSE(GetFolderItem("/x")->Child(String(name)));
    EXPECT_EQ(PathOf(GetFolderItem("/")->Child("x")), "/x");
    EXPECT_EQ(PathOf(GetFolderItem("/x")->Child("..")), "/x/..");
}

class FolderItemTest : public ::testing::Test {
protected:
    std::shared_ptr<FolderItem> Item(const std::string& name) const { return GetFolderItem(String(dir.File(name))); }
    void WriteFile(const std::string& name, const std::string& bytes) const {
        std::ofstream(dir.File(name), std::ios::binary) << bytes;
    }
    std::string ReadFile(const std::string& name) const {
        std::ifstream in(dir.File(name), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    test::TempDir dir;
};

TEST_F(FolderItemTest, WhatExistsAndWhatKindItIs) {
    WriteFile("data", std::string(1234, 'z'));
    Item("dir")->CreateAsFolder();
    ASSERT_EQ(::mkfifo(dir.File("fifo").c_str(), 0600), 0);
    ASSERT_EQ(::symlink(dir.File("nowhere").c_str(), dir.File("dangling").c_str()), 0);
    const struct {
        const char* name;
        bool exists, directory, special;
        std::uint64_t length;
    } cases[] = {
        {"data", true, false, false, 1234},  {"missing", false, false, false, 0}, {"dir", true, true, false, 0},
        {"dir/", true, true, false, 0},      {"data/", false, false, false, 0},   {"fifo", true, false, true, 0},
        {"dangling", true, false, false, 0},
    };
    for (const auto& c : cases) {
        const auto item = Item(c.name);
        EXPECT_EQ(item->Exists(), c.exists) << c.name;
        EXPECT_EQ(item->Directory(), c.directory) << c.name;
        EXPECT_EQ(item->IsSpecialFile(), c.special) << c.name;
        EXPECT_EQ(item->Length(), c.length) << c.name;
    }
    EXPECT_EQ(PathOf(Item("dir/")->Child("a")), dir.File("dir/a"));
}

TEST_F(FolderItemTest, DeleteNeverTakesContentsAndStreamsOpenOnlyRegularFilesWithoutWaiting) {
    Item("full")->CreateAsFolder();
    WriteFile("full/inner", "keep");
    ASSERT_EQ(::symlink(dir.File("full").c_str(), dir.File("link").c_str()), 0);
    Item("full")->Delete();
    Item("link")->Delete();
    EXPECT_EQ(ReadFile("full/inner"), "keep");
    EXPECT_FALSE(Item("link")->Exists()) << "the link goes, never its target";

    WriteFile("old", "old");
    EXPECT_TRUE(Item("old")->CreateBinaryFile("unknown"));
    EXPECT_EQ(ReadFile("old"), "") << "creating empties the file";
    Item("folder")->CreateAsFolder();
    ASSERT_EQ(::mkfifo(dir.File("fifo").c_str(), 0600), 0);
    // A FIFO with no writer would hold an ordinary open for ever.
    for (const char* name : {"folder", "fifo", "missing"}) {
        EXPECT_FALSE(Item(name)->OpenAsBinaryFile(false)) << name;
        EXPECT_FALSE(Item(name)->OpenAsBinaryFile(true)) << name;
    }
    EXPECT_FALSE(Item("folder")->CreateBinaryFile("unknown"));
    EXPECT_FALSE(Item("fifo")->CreateTextFile());
    Item("folder")->Delete();
    EXPECT_FALSE(Item("folder")->Exists()) << "an empty folder goes";
}

TEST_F(FolderItemTest, AnItemReachesTheSourceOnlyWhenWritingItWouldWriteTheSource) {
    WriteFile("f", "source");
    ASSERT_EQ(::link(dir.File("f").c_str(), dir.File("hard").c_str()), 0);
    ASSERT_EQ(::symlink(dir.File("f").c_str(), dir.File("link").c_str()), 0);
    WriteFile("other", "other");
    const std::pair<std::string, bool> cases[] = {
        {"f", true}, {"./f", true}, {"hard", true}, {"link", false}, {"other", false}, {"missing", false},
    };
    for (const auto& [name, reaches] : cases) EXPECT_EQ(Item(name)->Reaches(*Item("f")), reaches) << name;
    // A source given through its link reaches the file the link names.
    EXPECT_TRUE(Item("f")->Reaches(*Item("link")));
    EXPECT_TRUE(Item("link")->Reaches(*Item("link")));
}

TEST_F(FolderItemTest, BinaryStreamsReadWriteAndFollowTheFileAsItChanges) {
    std::string bytes(2 * 1024 * 1024 + 1, '1');
    for (std::size_t i = 1; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7 + i / 251);
    const auto out = Item("big")->CreateBinaryFile("unknown");
    out->Write("1");
    EXPECT_EQ(out->Position(), 1u);
    out->Write(String(bytes.substr(1)));
    out->Close();
    out->Close();
    out->Write("more");
    EXPECT_EQ(Item("big")->Length(), bytes.size()) << "a closed stream writes nothing";

    const auto in = Item("big")->OpenAsBinaryFile(false);
    EXPECT_TRUE(in->Read(0).IsEmpty());
    std::string read(in->Read(1).Bytes());
    read += in->Read(2 * 1024 * 1024 - 1).Bytes();
    EXPECT_FALSE(in->EndOfFile());
    read += in->Read(100).Bytes();
    EXPECT_EQ(in->Position(), bytes.size());
    EXPECT_TRUE(in->EndOfFile());
    EXPECT_TRUE(read == bytes);
    in->Write("ignored");
    EXPECT_EQ(in->Position(), bytes.size()) << "a read-only stream writes nothing";

    // A writeable open neither empties the file nor appends; the end is asked afresh.
    WriteFile("moving", "abcdef");
    const auto reader = Item("moving")->OpenAsBinaryFile(false);
    reader->Read(6);
    EXPECT_TRUE(reader->EndOfFile());
    const auto writer = Item("moving")->OpenAsBinaryFile(true);
    writer->Write("XYZ0123456");
    EXPECT_FALSE(reader->EndOfFile());
    EXPECT_EQ(ReadFile("moving"), "XYZ0123456");
    ASSERT_EQ(::truncate(dir.File("moving").c_str(), 3), 0);
    EXPECT_TRUE(reader->EndOfFile());
}

}  // namespace
}  // namespace qv
