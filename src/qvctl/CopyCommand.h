#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "foundation/String.h"
#include "qvctl/Options.h"

namespace qv::ctl {

// The tag of a copy when --md5 is not given.
inline constexpr std::string_view kDefaultCopyTag = "qvctl";

// A copy's arguments as the assistant must be given them. The assistant
// answers a copy that cannot start with nothing at all, so what qvctl can see
// wrong on its own side it refuses before asking.
struct LocalCopy {
    // SOURCE and DEST_FOLDER made absolute: the assistant would resolve a
    // relative path against its own working directory.
    CopyArguments arguments;
    std::int64_t sourceSize = 0;
};

// SOURCE must be a file (a folder is never copied), DEST_FOLDER a folder, and
// the way to DEST_PATH below it clear (see the checks); otherwise the text of
// the error.
std::variant<LocalCopy, std::string> Localize(const CopyArguments& arguments);
// The file that the copy writes.
std::string DestinationOf(const LocalCopy& copy);

// The fields of the CopyFile command, in an order the assistant can read:
// SrcFileInfo has to come before SrcFileInfoMD5, whose name begins with it.
// The locators are the paths in Base64; `startTicks` is the shared tick clock
// at which the transfer counts as begun.
std::vector<Field> CopyFileFields(const LocalCopy& copy, std::int32_t startTicks);

// How a copy ended, read from its end report; none for any other reply.

}  // namespace qv::ctl
