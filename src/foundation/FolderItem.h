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
    String NativePath() const { return String(path_); }

    // lstat: a dangling symbolic link exists, so Delete can remove it.
    bool Exists() const;
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

    // True when both name one and the same existing file, however the paths
    // are written (links followed): the copy must never write onto its source.
    bool IsSameFileAs(const FolderItem& other) const;
    // mkdir with mode 0777 less the umask; failure is not reported.
    void CreateAsFolder() const;
    // rmdir for a folder, which only succeeds when it is empty, unlink otherwise
    // (a symbolic link goes, never its target). Never recursive; failure is not reported.
    void Delete() const;

    // Opens an existing file that is not a folder. Nil on failure.
    std::shared_ptr<BinaryStream> OpenAsBinaryFile(bool writeable) const;
    // Creates the file or empties an existing one, open for writing; mode 0666
    // less the umask. Nil on failure. This platform keeps no file types, so the
    // type is ignored.
    std::shared_ptr<BinaryStream> CreateBinaryFile(const String& type) const;
    std::shared_ptr<BinaryStream> CreateTextFile() const;

private:
    friend std::shared_ptr<FolderItem> GetFolderItem(const String& path, std::int32_t format);
    explicit FolderItem(std::string path) : path_(std::move(path)) {}

    static std::shared_ptr<FolderItem> Make(std::string path);
    std::shared_ptr<BinaryStream> Open(int flags) const;

    std::string path_;
};

// The item at a POSIX path, whether or not it exists, with trailing "/" taken
// off (except for the root). Nil for the empty text or one holding a NUL byte.
// The format is always 0 for this platform's one path form, and is ignored.
std::shared_ptr<FolderItem> GetFolderItem(const String& path, std::int32_t format = 0);

}  // namespace qv
