#include "foundation/FolderItem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace qv {

namespace {

bool HoldsNul(std::string_view text) {
    return text.find('\0') != std::string_view::npos;
}

// Strips trailing "/" but leaves a path made only of "/" as the root.
std::string WithoutTrailingSlashes(std::string_view path) {
    const std::size_t last = path.find_last_not_of('/');
    if (last == std::string_view::npos) return path.empty() ? std::string() : std::string("/");
    return std::string(path.substr(0, last + 1));
}

}  // namespace

std::shared_ptr<FolderItem> FolderItem::Make(std::string path, bool mustBeFolder) {
    // The constructor is private, so make_shared cannot reach it.
    return std::shared_ptr<FolderItem>(new FolderItem(std::move(path), mustBeFolder));
}

std::shared_ptr<FolderItem> GetFolderItem(const String& path, std::int32_t /*format*/) {
    const std::string_view given = path.Bytes();
    if (given.empty() || HoldsNul(given)) return nullptr;
    std::string stripped = WithoutTrailingSlashes(given);
    const bool mustBeFolder = stripped != "/" && stripped.size() < given.size();
    return FolderItem::Make(std::move(stripped), mustBeFolder);
}

bool FolderItem::Reaches(const FolderItem& other) const {
    struct stat mine {};
    if (::lstat(SystemPath().c_str(), &mine) != 0) return false;
    const auto same = [&](const struct stat& theirs) {
        return mine.st_dev == theirs.st_dev && mine.st_ino == theirs.st_ino;
    };
    struct stat entry {};
    struct stat target {};
    return (::lstat(other.SystemPath().c_str(), &entry) == 0 && same(entry)) ||
           (::stat(other.SystemPath().c_str(), &target) == 0 && same(target));
}

bool FolderItem::Exists() const {
    struct stat status {};
    return ::lstat(SystemPath().c_str(), &status) == 0;
}

bool FolderItem::TargetExists() const {
    struct stat status {};
    return ::stat(SystemPath().c_str(), &status) == 0;
}

bool FolderItem::Directory() const {
    struct stat status {};
    return ::stat(SystemPath().c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool FolderItem::IsSpecialFile() const {
    struct stat status {};
    return ::stat(SystemPath().c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

std::uint64_t FolderItem::Length() const {
    struct stat status {};
    if (::stat(SystemPath().c_str(), &status) != 0 || S_ISDIR(status.st_mode)) return 0;
    return static_cast<std::uint64_t>(status.st_size);
}

String FolderItem::Name() const {
    if (path_ == "/") return String(path_);
    const std::size_t slash = path_.rfind('/');
    return String(slash == std::string::npos ? path_ : path_.substr(slash + 1));
}

std::shared_ptr<FolderItem> FolderItem::Parent() const {
    if (path_ == "/" || path_ == "." || path_ == "..") return nullptr;
    const std::size_t slash = path_.rfind('/');
    if (slash == std::string::npos) return Make(".");
    // "a//b" has the parent "a"; "/a" has the root.
    return Make(WithoutTrailingSlashes(std::string_view(path_).substr(0, slash + 1)));
}

std::shared_ptr<FolderItem> FolderItem::Child(const String& name) const {
    const std::string_view component = name.Bytes();
    if (component.empty() || HoldsNul(component) || component.find('/') != std::string_view::npos) {
        return nullptr;
    }
    std::string joined = path_;
    if (joined != "/") joined += '/';
    joined += component;
    return Make(std::move(joined));
}

void FolderItem::CreateAsFolder() const {
    ::mkdir(SystemPath().c_str(), 0777);
}

void FolderItem::Delete() const {
    const std::string at = SystemPath();
    struct stat status {};
    if (::lstat(at.c_str(), &status) != 0) return;
    if (S_ISDIR(status.st_mode)) {
        ::rmdir(at.c_str());
    } else {
        ::unlink(at.c_str());
    }
}

std::shared_ptr<BinaryStream> FolderItem::Open(int flags) const {
    // O_NONBLOCK so that a FIFO never holds the thread waiting for its other
    // end; a regular file is the same either way, and nothing else is kept.
    Descriptor descriptor;
    do {
        descriptor.Reset(::open(SystemPath().c_str(), flags | O_CLOEXEC | O_NONBLOCK, 0666));
    } while (!descriptor && errno == EINTR);
    struct stat status {};
    if (!descriptor || ::fstat(descriptor.Get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        ::fcntl(descriptor.Get(), F_SETFL, 0) != 0) {
        return nullptr;
    }
    return std::shared_ptr<BinaryStream>(new BinaryStream(std::move(descriptor)));
}

std::shared_ptr<BinaryStream> FolderItem::OpenAsBinaryFile(bool writeable) const {
    return Open(writeable ? O_RDWR : O_RDONLY);
}

std::shared_ptr<BinaryStream> FolderItem::CreateBinaryFile(const String& /*type*/) const {
    return Open(O_WRONLY | O_CREAT | O_TRUNC);
}

std::shared_ptr<BinaryStream> FolderItem::CreateTextFile() const {
    return Open(O_WRONLY | O_CREAT | O_TRUNC);
}

}  // namespace qv
