#include "qvctl/CopyCommand.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "foundation/Base64.h"
#include "protocol/Vocabulary.h"

namespace qv::ctl {

namespace fs = std::filesystem;

namespace {

std::string Quoted(const fs::path& path) {
    return "'" + path.string() + "'";
}

// What the assistant would meet on its way to the destination and drop the
// copy for without a word; nothing when the way is clear.
std::optional<std::string> CheckDestination(const fs::path& source, const fs::path& folder,
                                            const std::string& destinationPath) {
    if (destinationPath.front() == '/' || destinationPath.back() == '/' ||
        destinationPath.find("//") != std::string::npos) {
        return "DEST_PATH " + Quoted(destinationPath) +
               " must be relative, with no empty part (no '/' at either " + "end, no '//')";
    }
    std::error_code error;
    const fs::path destination = folder / destinationPath;
    fs::path deepestFolder = folder;
    for (fs::path walked = folder; const fs::path& part : fs::path(destinationPath).parent_path()) {
        walked /= part;
        if (!fs::exists(walked, error)) break;
        if (!fs::is_directory(walked, error)) return Quoted(walked) + " is a file where a folder must be";
        deepestFolder = walked;
    }
    if (fs::exists(destination, error)) {
        if (fs::equivalent(destination, source, error)) return Quoted(destination) + " is SOURCE itself";
        if (fs::is_directory(destination, error) && !fs::is_empty(destination, error)) {
            return Quoted(destination) + " is a folder that is not empty";
        }
    }
    if (access(deepestFolder.c_str(), W_OK | X_OK) != 0) return "cannot write in " + Quoted(deepestFolder);
    return std::nullopt;
}

}  // namespace

std::variant<LocalCopy, std::string> Localize(const CopyArguments& arguments) {
    std::error_code error;
    LocalCopy copy{arguments, 0};
    copy.arguments.source = fs::absolute(arguments.source, error).string();
    copy.arguments.destinationFolder = fs::absolute(arguments.destinationFolder, error).string();
    if (const auto type = fs::status(copy.arguments.source, error).type(); type != fs::file_type::regular) {
        return "'" + arguments.source + "': " +
               (type == fs::file_type::not_found   ? "no such file"
                : type == fs::file_type::directory ? "a folder, not a file"
                : error                            ? error.message()
                                                   : "not a regular file (a FIFO, socket or device)");
    }
    if (!fs::is_directory(copy.arguments.destinationFolder, error)) {
        return "'" + arguments.destinationFolder + "': " +
               (fs::exists(copy.arguments.destinationFolder, error) ? "not a folder" : "no such folder");
    }
    if (auto refused = CheckDestination(copy.arguments.source, copy.arguments.destinationFolder,
                                        arguments.destinationPath)) {
        return *refused;
    }
    const std::uintmax_t size = fs::file_size(copy.arguments.source, error);
    if (error) return "cannot read the size of '" + arguments.source + "'";
    copy.sourceSize = static_cast<std::int64_t>(size);
    return copy;
}

std::string DestinationOf(const LocalCopy& copy) {
    return (fs::path(copy.arguments.destinationFolder) / copy.arguments.destinationPath).string();
}

std::vector<Field> CopyFileFields(const LocalCopy& copy, std::int32_t startTicks) {
    const CopyArguments& arguments = copy.arguments;
    return {{FieldName::Command, CommandWord::CopyFile},
            {FieldName::SrcFileInfo, std::string(Base64Encode(String(arguments.source)).Bytes())},
            {FieldName::SrcFileInfoMD5, arguments.tag.value_or(std::string(kDefaultCopyTag))},
            {FieldName::DstFileInfo, std::string(Base64Encode(String(arguments.destinationFolder)).Bytes())},
            {FieldName::DstFilePath, arguments.destinationPath},
            {FieldName::StartTicks, std::to_string(startTicks)},
            {FieldName::TotalSize, std::to_string(arguments.total.value_or(copy.sourceSize))},
            {FieldName::isResetAmountTransferred, arguments.resetAmount ? "true" : "false"}};
}

}  // namespace qv::ctl
