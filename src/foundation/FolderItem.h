#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "foundation/BinaryStream.h"
#include "foundation/String.h"

namespace qv {

// A reference to a file or folder by its POSIX path; the item need not exist.
// The path is kept as given, neither resolved nor made absolute, so an item
// names exactly what its creator named. Every operation asks the file system
// afresh, and none raises an exception on a file-system failure: callers test
// the result (nil) or Exists afterwards.
class FolderItem {
public:
    // With the one trailing "/" of a path that names a folder only.
    String NativePath() const { return String(SystemPath()); }

    // lstat: a dangling symbolic link exists, so Delete can remove it.
    bool Exists() const;
    // Exists with symbolic links followed: a dangling link names nothing to read.
    bool TargetExists() const;
    // Follows symbolic links: a link to a folder is a folder.
    bool Directory() const;
    // Size of the file in bytes; 0 for a folder or a missing item.
    std::uint64_t Length() const;

    // The last component of the path; "/" for the root.
    String Name() const;
    // The path without its last component. A relative one-component path has
    // ".", the current folder, as its parent. Nil for "/", "." and "..", whose
    // parents cannot be named without resolving the path.
    std::shared_ptr<FolderItem> Parent() const;
    // Nil for an empty name or one holding "/" or NUL: a name is one component,
    // and an empty one must never give this folder back, since the copy deletes
    // whatever it is handed as its destination. "." and ".." are joined as given.
    std::shared_ptr<FolderItem> Child(const String& name) const;

    // A FIFO, a socket or a device (links followed): no file to copy, and
    // opening a FIFO would wait for a writer.
    bool IsSpecialFile() const;
    // True when writing to or deleting this item would reach the file that
    // `other` names: the same entry however the paths are written, a hard link
    // of it, or the target of `other` where that is a symbolic link. A
    // symbolic link here that points at `other` is an entry of its own, which
    // goes without touching `other`. The copy must never write onto its source.
    bool Reaches(const FolderItem& other) const;
    // mkdir with mode 0777 less the umask; failure is not reported.
    void CreateAsFolder() const;
    // rmdir for a folder, which only succeeds when it is empty, unlink otherwise
    // (a symbolic link goes, never its target). Never recursive; failure is not reported.
    void Delete() const;

    // Opens an existing regular file. Nil on failure, and for anything else
    // (a folder, a FIFO, a device), without ever waiting to open it.
    std::shared_ptr<BinaryStream> OpenAsBinaryFile(bool writeable) const;
    // Creates the file or empties an existing regular one, open for writing;
    // mode 0666 less the umask. Nil on failure. This platform keeps no file
    // types, so the type is ignored.
    std::shared_ptr<BinaryStream> CreateBinaryFile(const String& type) const;
    std::shared_ptr<BinaryStream> CreateTextFile() const;

private:
    friend std::shared_ptr<FolderItem> GetFolderItem(const String& path, std::int32_t format);
    FolderItem(std::string path, bool mustBeFolder) : path_(std::move(path)), mustBeFolder_(mustBeFolder) {}

    static std::shared_ptr<FolderItem> Make(std::string path, bool mustBeFolder = false);
    // The path handed to the system: with its trailing "/" where the item must
    // be a folder, so that "five.bin/" names nothing when five.bin is a file.
    std::string SystemPath() const { return mustBeFolder_ ? path_ + "/" : path_; }
    std::shared_ptr<BinaryStream> Open(int flags) const;

    std::string path_;  // without trailing "/", for taking apart
    bool mustBeFolder_;
};

// The item at a POSIX path, whether or not it exists. Trailing "/" mean, as
// POSIX has it, that the item must be a folder: "x/" does not exist when x is
// a file. Nil for the empty text or one holding a NUL byte. The format is
// always 0 for this platform's one path form, and is ignored.
std::shared_ptr<FolderItem> GetFolderItem(const String& path, std::int32_t format = 0);

}  // namespace qv
