#include "qvctl/CopyCommand.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "foundation/Base64.h"
#include "protocol/Report.h"

namespace qv::ctl {

namespace fs = std::filesystem;

std::variant<LocalCopy, std::string> Localize(const CopyArguments& arguments) {
    std::error_code error;
    LocalCopy copy{arguments, 0};
    copy.arguments.source = fs::absolute(arguments.source, error).string();
    copy.arguments.destinationFolder = fs::absolute(arguments.destinationFolder, error).string();
    if (!fs::is_regular_file(copy.arguments.source, error)) return "'" + arguments.source + "' is not a file";
    if (!fs::is_directory(copy.arguments.destinationFolder, error)) {
        return "'" + arguments.destinationFolder + "' is not a folder";
    }
    const std::uintmax_t size = fs::file_size(copy.arguments.source, error);
    if (error) return "cannot read the size of '" + arguments.source + "'";
    copy.sourceSize = static_cast<std::int64_t>(size);
    return copy;
}

std::vector<Field> CopyFileFields(const LocalCopy& copy, std::int32_t startTicks) {
    const CopyArguments& arguments = copy.arguments;
    return {{"Command", "CopyFile"},
            {"SrcFileInfo", std::string(Base64Encode(String(arguments.source)).Bytes())},
            {"SrcFileInfoMD5", arguments.tag.value_or(std::string(kDefaultCopyTag))},
            {"DstFileInfo", std::string(Base64Encode(String(arguments.destinationFolder)).Bytes())},
            {"DstFilePath", arguments.destinationPath},
            {"StartTicks", std::to_string(startTicks)},
            {"TotalSize", std::to_string(arguments.total.value_or(copy.sourceSize))},
            {"isResetAmountTransferred", arguments.resetAmount ? "true" : "false"}};
}

std::optional<CopyEnd> CopyEndOf(const String& messageText) {
    const auto fields = ReportFields(SplitReport(messageText.Bytes()).lines);
    if (fields.empty() ||
        fields.front() != std::pair<std::string_view, std::string_view>("Response", "CopyFile")) {
        return std::nullopt;
    }
    const auto status = std::ranges::find(fields, "Status", [](const auto& field) { return field.first; });
    if (status == fields.end()) return std::nullopt;
    if (status->second == "Complete") return CopyEnd::Complete;
    if (status->second == "Abort") return CopyEnd::Abort;
    return std::nullopt;
}

}  // namespace qv::ctl
