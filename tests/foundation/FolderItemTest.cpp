#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "foundation/FolderItem.h"

namespace qv {
namespace {

using namespace std::string_view_literals;

std::string PathOf(const std::shared_ptr<FolderItem>& item) {
    return item ? std::string(item->NativePath().Bytes()) : std::string("<nil>");
}

// Paths are taken apart as text only, so these need no files.
TEST(FolderItemPathTest, GetFolderItemKeepsThePathAsGiven) {
    const std::pair<std::string_view, const char*> cases[] = {
        {"", "<nil>"},          {"a\0b"sv, "<nil>"},    {"/", "/"},     {"///", "/"},
        {"/tmp/x//", "/tmp/x/"}, {"x//../y", "x//../y"}, {"rel", "rel"},
    };
    for (const auto& [given, expected] : cases) {
        EXPECT_EQ(PathOf(GetFolderItem(String(given), 0)), expected) << given;
    }
}

TEST(FolderItemPathTest, NameAndParent) {
    const struct {
        const char* path;
        const char* name;
        const char* parent;
    } cases[] = {
        {"/tmp/a", "a", "/tmp"}, {"//a", "a", "/"},   {"/", "/", "<nil>"}, {"a//b", "b", "a"},
        {"rel", "rel", "."},     {"x/..", "..", "x"}, {".", ".", "<nil>"},
    };
    for (const auto& c : cases) {
        const auto item = GetFolderItem(c.path, 0);
        EXPECT_EQ(item->Name().Bytes(), c.name) << c.path;
        EXPECT_EQ(PathOf(item->Parent()), c.parent) << c.path;
    }
}

TEST(FolderItemPathTest, ChildTakesExactlyOneComponent) {
    const auto folder = GetFolderItem("/tmp/base", 0);
    const std::pair<std::string_view, const char*> cases[] = {
        // An empty name must not give the folder back: the copy would delete it.
        {"", "<nil>"},          {"a/b", "<nil>"}, {"a\0b"sv, "<nil>"}, {"f.txt", "/tmp/base/f.txt"},
        {"..", "/tmp/base/.."},
    };
    for (const auto& [name, expected] : cases) {
        EXPECT_EQ(PathOf(folder->Child(String(name))), expected) << name;
    }
    EXPECT_EQ(PathOf(GetFolderItem("/", 0)->Child("x")), "/x");
}

// Each test works in its own folder under /tmp, removed with all it holds.
class FolderItemTest : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/qv-folderitem-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        root_ = pattern;
    }
    void TearDown() override {
        std::error_code ignored;
        std::filesystem::remove_all(root_, ignored);
    }

    std::string PathTo(const std::string& name) const { return root_ + "/" + name; }
    std::shared_ptr<FolderItem> Item(const std::string& name) const {
        return GetFolderItem(String(PathTo(name)));
    }
    void WriteFile(const std::string& name, const std::string& bytes) const {
        std::ofstream(PathTo(name), std::ios::binary) << bytes;
    }
    std::string ReadFile(const std::string& name) const {
        std::ifstream in(PathTo(name), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

    std::string root_;
};

TEST_F(FolderItemTest, MissingChildIsAnItemThatDoesNotExist) {
    const auto missing = GetFolderItem(String(root_))->Child("missing");
    ASSERT_TRUE(missing);
    EXPECT_FALSE(missing->Exists());
    EXPECT_EQ(missing->Length(), 0u);
    EXPECT_FALSE(missing->OpenAsBinaryFile(false));

    WriteFile("data", std::string(1234, 'z'));
    EXPECT_TRUE(Item("data")->Exists());
    EXPECT_FALSE(Item("data")->Directory());
    EXPECT_EQ(Item("data")->Length(), 1234u);
}

TEST_F(FolderItemTest, DeleteNeverRemovesAFolderWithContents) {
    Item("full")->CreateAsFolder();
    Item("empty")->CreateAsFolder();
    EXPECT_TRUE(Item("full")->Directory());
    WriteFile("full/inner", "keep");

    Item("full")->Delete();
    Item("empty")->Delete();
    Item("full/inner/below")->CreateAsFolder();
    EXPECT_EQ(ReadFile("full/inner"), "keep");
    EXPECT_FALSE(Item("empty")->Exists());
    EXPECT_FALSE(Item("full/inner/below")->Exists());

    Item("full/inner")->Delete();
    EXPECT_FALSE(Item("full/inner")->Exists());
}

TEST_F(FolderItemTest, SymlinksAreDeletedNotFollowed) {
    Item("folder")->CreateAsFolder();
    WriteFile("folder/inner", "kept");
    ASSERT_EQ(::symlink(PathTo("folder").c_str(), PathTo("link").c_str()), 0);
    ASSERT_EQ(::symlink(PathTo("nowhere").c_str(), PathTo("dangling").c_str()), 0);
    EXPECT_TRUE(Item("link")->Directory());
    EXPECT_TRUE(Item("dangling")->Exists());

    Item("link")->Delete();
    Item("dangling")->Delete();
    EXPECT_FALSE(Item("link")->Exists());
    EXPECT_FALSE(Item("dangling")->Exists());
    EXPECT_EQ(ReadFile("folder/inner"), "kept");
}

TEST_F(FolderItemTest, CreatingEmptiesAFileAndRefusesAFolder) {
    WriteFile("binary", "old");
    WriteFile("text", "old");
    EXPECT_TRUE(Item("binary")->CreateBinaryFile("unknown"));
    EXPECT_TRUE(Item("text")->CreateTextFile());
    EXPECT_EQ(ReadFile("binary") + ReadFile("text"), "");

    Item("folder")->CreateAsFolder();
    EXPECT_FALSE(Item("folder")->OpenAsBinaryFile(false));
    EXPECT_FALSE(Item("folder")->OpenAsBinaryFile(true));
    EXPECT_FALSE(Item("folder")->CreateBinaryFile("unknown"));
    EXPECT_TRUE(Item("folder")->Directory());
}

TEST_F(FolderItemTest, ATrailingSlashNamesAFolderOnly) {
    WriteFile("five.bin", "12345");
    Item("dir")->CreateAsFolder();
    const auto file = Item("five.bin/");
    EXPECT_FALSE(file->Exists());
    EXPECT_FALSE(file->OpenAsBinaryFile(false));
    EXPECT_TRUE(Item("dir/")->Directory());
    EXPECT_EQ(PathOf(Item("dir/")->Child("a")), PathTo("dir/a"));
}

TEST_F(FolderItemTest, SpecialFilesAreNeverOpenedNorWaitedFor) {
    ASSERT_EQ(::mkfifo(PathTo("fifo").c_str(), 0600), 0);
    WriteFile("plain", "x");
    Item("folder")->CreateAsFolder();
    EXPECT_TRUE(Item("fifo")->IsSpecialFile());
    EXPECT_TRUE(GetFolderItem("/dev/null")->IsSpecialFile());
    EXPECT_FALSE(Item("plain")->IsSpecialFile());
    EXPECT_FALSE(Item("folder")->IsSpecialFile());
    // Opening a FIFO with no writer would wait for ever.
    EXPECT_FALSE(Item("fifo")->OpenAsBinaryFile(false));
    EXPECT_FALSE(Item("fifo")->CreateBinaryFile("unknown"));
}

TEST_F(FolderItemTest, AnItemReachesTheSourceOnlyWhenWritingItWouldWriteTheSource) {
    WriteFile("f", "source");
    ASSERT_EQ(::link(PathTo("f").c_str(), PathTo("hard").c_str()), 0);
    ASSERT_EQ(::symlink(PathTo("f").c_str(), PathTo("link").c_str()), 0);
    WriteFile("other", "other");
    const auto source = Item("f");
    const std::pair<std::string, bool> cases[] = {
        {"f", true}, {"./f", true}, {"hard", true}, {"link", false}, {"other", false}, {"missing", false},
    };
    for (const auto& [name, reaches] : cases) EXPECT_EQ(Item(name)->Reaches(*source), reaches) << name;
    // A source given through its link reaches the file the link names.
    EXPECT_TRUE(source->Reaches(*Item("link")));
    EXPECT_TRUE(Item("link")->Reaches(*Item("link")));
}

using BinaryStreamTest = FolderItemTest;

TEST_F(BinaryStreamTest, ReadStopsAtTheEnd) {
    WriteFile("empty", "");
    EXPECT_TRUE(Item("empty")->OpenAsBinaryFile(false)->EndOfFile());

    WriteFile("ten", "0123456789");
    const auto stream = Item("ten")->OpenAsBinaryFile(false);
    EXPECT_TRUE(stream->Read(0).IsEmpty());
    EXPECT_TRUE(stream->Read(-1).IsEmpty());
    EXPECT_EQ(stream->Read(4).Bytes(), "0123");
    EXPECT_FALSE(stream->EndOfFile());
    EXPECT_EQ(stream->Read(100).Bytes(), "456789");
    EXPECT_EQ(stream->Position(), 10u);
    EXPECT_TRUE(stream->EndOfFile());
}

TEST_F(BinaryStreamTest, LargeFileRoundTripsInChunks) {
    constexpr std::int32_t kChunk = 2 * 1024 * 1024;
    std::string bytes(kChunk + 1, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7 + i / 251);

    const auto out = Item("big")->CreateBinaryFile("unknown");
    out->Write(String(bytes));
    out->Close();
    EXPECT_EQ(Item("big")->Length(), bytes.size());

    const auto in = Item("big")->OpenAsBinaryFile(false);
    std::string read(in->Read(kChunk).Bytes());
    EXPECT_FALSE(in->EndOfFile());
    read += in->Read(kChunk).Bytes();
    EXPECT_TRUE(in->EndOfFile());
    EXPECT_TRUE(read == bytes);
}

TEST_F(BinaryStreamTest, EndOfFileFollowsTheFileAsItChanges) {
    WriteFile("moving", "");
    const auto reader = Item("moving")->OpenAsBinaryFile(false);
    EXPECT_TRUE(reader->EndOfFile());

    const auto writer = Item("moving")->OpenAsBinaryFile(true);
    writer->Write("0123456789");
    EXPECT_EQ(writer->Position(), 10u);
    EXPECT_FALSE(reader->EndOfFile());
    EXPECT_EQ(reader->Read(5).Bytes(), "01234");

    ASSERT_EQ(::truncate(PathTo("moving").c_str(), 3), 0);
    EXPECT_TRUE(reader->EndOfFile());
}

TEST_F(BinaryStreamTest, WritesGoOnlyWhereTheyMay) {
    WriteFile("file", "abcdef");
    const auto readOnly = Item("file")->OpenAsBinaryFile(false);
    readOnly->Write("changed!");
    EXPECT_EQ(readOnly->Position(), 0u);

    // A writeable open neither empties the file nor appends to it.
    const auto writeable = Item("file")->OpenAsBinaryFile(true);
    writeable->Write("XY");
    writeable->Close();
    writeable->Close();
    writeable->Write("more");
    EXPECT_TRUE(writeable->Read(1).IsEmpty());
    EXPECT_TRUE(writeable->EndOfFile());
    EXPECT_EQ(ReadFile("file"), "XYcdef");
}

TEST_F(BinaryStreamTest, LastReferenceClosesTheDescriptor) {
    // Once the stream's descriptor is free again, the next open gets its number back.
    const int before = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    ASSERT_GE(before, 0);
    ::close(before);
    WriteFile("file", "x");
    ASSERT_TRUE(Item("file")->OpenAsBinaryFile(false));
    const int after = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    ::close(after);
    EXPECT_EQ(after, before);
}

}  // namespace
}  // namespace qv
