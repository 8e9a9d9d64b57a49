#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace qv::ctl {

// What `qvctl copy SOURCE DEST_FOLDER DEST_PATH` was given.
struct CopyArguments {
    std::string source;
    // The folder that DEST_PATH is below.
    std::string destinationFolder;
    // "a/b/c.txt": folders that the assistant makes where missing, then the file.
    std::string destinationPath;
    // --total: the bytes the progress counts against; SOURCE's size without it.
    std::optional<std::int64_t> total = std::nullopt;
    // --md5: the tag that every report of the copy echoes.
    std::optional<std::string> tag = std::nullopt;
    // False with --no-reset: the assistant's running total carries on from the
    // copy before, as for the second file of a transfer of several.
    bool resetAmount = true;
};

}  // namespace qv::ctl
