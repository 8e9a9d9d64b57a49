#pragma once

#include <cstdint>
#include <string>

namespace qv::bench {

// Big files for the copy benchmark, made and checked a block at a time.

// `size` bytes that do not compress, the same on every run.
void WriteNoiseFile(const std::string& path, std::uint64_t size);
// Reads the whole file once, which leaves it in the page cache.
void ReadThrough(const std::string& path);
bool SameBytes(const std::string& first, const std::string& second);
// Writes back what is dirty and empties the kernel's page cache, which only
// root may do; false when it could not be emptied.
bool DropPageCache();

}  // namespace qv::bench
