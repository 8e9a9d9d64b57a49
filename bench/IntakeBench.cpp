// Cutting frames out of the receive buffer, each case at two sizes a tenfold
// apart, both beyond the processor's last cache (32 MiB here), so that what
// changes between them is the amount of work, not where the bytes live: the
// time per MiB of stream should not grow with the size. Rates count bytes of
// the stream. CPU time of this thread, pair by pair (PairedRuns.h): the
// larger size is "ours", the smaller its peer.
//
// Both sizes must also meet memory in the same state. Left alone, the C
// library hands out blocks of 32 MiB and more as fresh pages from the kernel
// and takes smaller ones from memory already touched, and the endpoint keeps
// its buffer's room only up to 64 MiB; the larger size would pay the kernel's
// first touch of every page, the smaller one hardly, and the ratio would show
// that. So while these cases run, freed memory stays with the process and
// serves again (mallopt), and each run takes a fresh buffer: after the first
// pair, which is not kept, both sizes run in memory already touched.

#include <malloc.h>

#include <cstddef>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "Figures.h"
#include "Inputs.h"
#include "PairedRuns.h"
#include "protocol/Frame.h"

namespace qv::bench {

namespace {

constexpr std::size_t kReadBytes = 4096;
constexpr std::size_t kSmallerStream = std::size_t{32} << 20;
constexpr std::size_t kLargerStream = std::size_t{320} << 20;
constexpr int kPairs = 15;
constexpr double kMiB = 1024.0 * 1024.0;

struct SmallFrameStream {
    std::string bytes;
    std::size_t frames = 0;
};

// At least `size` bytes of frames of small commands back to back, as one read
// brings them; a thousand different commands in turn.
SmallFrameStream SmallFrames(std::size_t size) {
    std::vector<std::string> frames;
    for (int i = 0; i < 1000; ++i) {
        const std::string command =
            "Command\rGetPageURL\rGetPageURL\rhttp://news.example.org/story/" + std::to_string(i) + ".html";
        frames.emplace_back(MakeFrame(String(command)).Bytes());
    }
    SmallFrameStream stream;
    stream.bytes.reserve(size + frames.front().size() * 2);
    for (; stream.bytes.size() < size; ++stream.frames) stream.bytes += frames[stream.frames % frames.size()];
    return stream;
}

// One frame of about `bytes` bytes: an incompressible message of three
// quarters that size, which Base64 brings back up to it.
std::string LargeFrame(std::size_t bytes) {
    return std::string(MakeFrame(String(NoiseBytes(bytes / 4 * 3))).Bytes());
}

// Freed memory stays in the process while it lives, and is put back to the
// C library's defaults when it goes.
class ReusedMemory {
public:
    ReusedMemory() {
        mallopt(M_MMAP_MAX, 0);
        mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    }
    ~ReusedMemory() {
        mallopt(M_MMAP_MAX, kDefaultMmapMax);
        mallopt(M_TRIM_THRESHOLD, kDefaultTrimThreshold);
        malloc_trim(0);
    }
    ReusedMemory(const ReusedMemory&) = delete;
    ReusedMemory& operator=(const ReusedMemory&) = delete;

private:
    static constexpr int kDefaultMmapMax = 65536;
    static constexpr int kDefaultTrimThreshold = 128 * 1024;
};

// One intake of the whole stream; false when frames were lost.
bool TakeSmallFrames(const SmallFrameStream& stream) {
    FrameBuffer buffer;
    buffer.Append(stream.bytes);
    std::size_t taken = 0;
    while (const std::optional<String> payload = buffer.TakeFrame()) {
        if (DecodePayload(payload->Bytes()).IsEmpty()) return false;
        ++taken;
    }
    return taken == stream.frames && buffer.Pending().empty();
}

bool TakeLargeFrame(const std::string_view& frame) {
    FrameBuffer buffer;
    std::optional<String> payload;
    for (std::size_t at = 0; at < frame.size(); at += kReadBytes) {
        buffer.Append(frame.substr(at, kReadBytes));
        payload = buffer.TakeFrame();
    }
    return payload && buffer.Pending().empty();
}

// CPU seconds per MiB of one intake of `input`.
template <class Input>
double SecondsPerMiB(const Input& input, bool (*intake)(const Input&), std::size_t bytes) {
    bool whole = true;
    const double seconds = CpuSeconds(1, [&] { whole = intake(input); });
    if (!whole) throw std::runtime_error("frames lost");
    return seconds / (static_cast<double>(bytes) / kMiB);
}

}  // namespace

std::string MeasureIntakeSmallFrames() {
    const ReusedMemory reused;
    const SmallFrameStream larger = SmallFrames(kLargerStream);
    const SmallFrameStream smaller = SmallFrames(kSmallerStream);
    const Pairs pairs =
        RunPairs(kPairs, [&] { return SecondsPerMiB(larger, TakeSmallFrames, larger.bytes.size()); },
                 [&] { return SecondsPerMiB(smaller, TakeSmallFrames, smaller.bytes.size()); });
    return FigureJson("IntakeSmallFrames", "cpu", pairs);
}

std::string MeasureIntakeLargeFrame() {
    const ReusedMemory reused;
    const std::string largerFrame = LargeFrame(kLargerStream);
    const std::string smallerFrame = LargeFrame(kSmallerStream);
    const std::string_view larger = largerFrame;
    const std::string_view smaller = smallerFrame;
    // A process's own pairs agree within 1 %, but this figure moves by a few
    // per cent from one process to the next: five processes of three pairs.
    const Pairs pairs = RunPairsInProcesses(
        5, kPairs / 5, [&] { return SecondsPerMiB(larger, TakeLargeFrame, larger.size()); },
        [&] { return SecondsPerMiB(smaller, TakeLargeFrame, smaller.size()); });
    return FigureJson("IntakeLargeFrame", "cpu", pairs);
}

}  // namespace qv::bench
