#include "CopyFiles.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <stdexcept>

#include "Inputs.h"

namespace qv::bench {

namespace {

constexpr std::size_t kBlock = 8 * 1024 * 1024;

}  // namespace

void WriteNoiseFile(const std::string& path, std::uint64_t size) {
    const std::string block = NoiseBytes(kBlock);
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    for (std::uint64_t written = 0; written < size; written += kBlock) {
        out.write(block.data(),
                  static_cast<std::streamsize>(std::min<std::uint64_t>(kBlock, size - written)));
    }
    if (!out.flush()) throw std::runtime_error("cannot write " + path);
}

void ReadThrough(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::string block(kBlock, '\0');
    while (in.read(block.data(), static_cast<std::streamsize>(block.size())) || in.gcount() > 0) {
    }
}

bool SameBytes(const std::string& first, const std::string& second) {
    std::ifstream a(first, std::ios::binary);
    std::ifstream b(second, std::ios::binary);
    std::string blockA(kBlock, '\0');
    std::string blockB(kBlock, '\0');
    while (a && b) {
        a.read(blockA.data(), static_cast<std::streamsize>(kBlock));
        b.read(blockB.data(), static_cast<std::streamsize>(kBlock));
        if (a.gcount() != b.gcount() || blockA.compare(0, static_cast<std::size_t>(a.gcount()), blockB, 0,
                                                       static_cast<std::size_t>(b.gcount())) != 0) {
            return false;
        }
    }
    return a.eof() && b.eof();
}

bool DropPageCache() {
    sync();
    std::ofstream control("/proc/sys/vm/drop_caches");
    control << "3\n";
    return static_cast<bool>(control.flush());
}

}  // namespace qv::bench
