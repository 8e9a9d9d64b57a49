#pragma once

#include <string_view>

namespace qv {

// The words and names of the channel's messages, in one place for the
// assistant, qvctl and the tests' peers alike.

// The value of a command's "Command" field: what the assistant is asked to do.
namespace CommandWord {
inline constexpr std::string_view Status = "Status";
inline constexpr std::string_view Hide = "Hide";
inline constexpr std::string_view Show = "Show";
inline constexpr std::string_view GetHeadersURL = "GetHeadersURL";
inline constexpr std::string_view GetPageURL = "GetPageURL";
inline constexpr std::string_view GetNews = "GetNews";
inline constexpr std::string_view CopyFile = "CopyFile";
inline constexpr std::string_view CopyFileAbort = "CopyFileAbort";
}  // namespace CommandWord

// The names of the fields of commands and reports.
namespace FieldName {
// Commands.
inline constexpr std::string_view Command = "Command";
inline constexpr std::string_view GetHeadersURL = "GetHeadersURL";
inline constexpr std::string_view GetPageURL = "GetPageURL";
inline constexpr std::string_view WebAddress = "WebAddress";
inline constexpr std::string_view DateStr = "DateStr";
inline constexpr std::string_view GOIStr = "GOIStr";
inline constexpr std::string_view SrcFileInfo = "SrcFileInfo";
inline constexpr std::string_view SrcFileInfoMD5 = "SrcFileInfoMD5";
inline constexpr std::string_view DstFileInfo = "DstFileInfo";
inline constexpr std::string_view DstFilePath = "DstFilePath";
inline constexpr std::string_view StartTicks = "StartTicks";
inline constexpr std::string_view TotalSize = "TotalSize";
inline constexpr std::string_view isResetAmountTransferred = "isResetAmountTransferred";
// Reports.
inline constexpr std::string_view Response = "Response";
inline constexpr std::string_view Status = "Status";
inline constexpr std::string_view HTTPURL = "HTTPURL";
inline constexpr std::string_view HTTPStatus = "HTTPStatus";
inline constexpr std::string_view HTTPError = "HTTPError";
inline constexpr std::string_view BarPos = "BarPos";
inline constexpr std::string_view MsgStr = "MsgStr";
}  // namespace FieldName

// The values of a copy report's "Status" line.
namespace CopyStatus {
inline constexpr std::string_view InProgress = "InProgress";
inline constexpr std::string_view Complete = "Complete";
inline constexpr std::string_view Abort = "Abort";
}  // namespace CopyStatus

}  // namespace qv
