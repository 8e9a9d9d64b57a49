// Cutting frames out of the receive buffer, each case at two sizes a tenfold
// apart, both beyond the processor's last cache (32 MiB here), so that what
// changes between them is the amount of work, not where the bytes live: the
// time per MiB of stream should not grow with the size. Rates count bytes of
// the stream.
//
// Both sizes must also meet memory in the same state. Left alone, the C
// library hands out blocks of 32 MiB and more as fresh pages from the kernel
// and takes smaller ones from memory already touched, and the endpoint keeps
// its buffer's room only up to 64 MiB; the larger size would pay the kernel's
// first touch of every page, the smaller one hardly, and the ratio would show
// that. So while these cases run, freed memory stays with the process and
// serves again (mallopt), and each iteration takes a fresh buffer: both sizes
// run in memory already touched.

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Inputs.h"
#include "protocol/Frame.h"

namespace {

constexpr std::size_t kReadBytes = 4096;

struct SmallFrameStream {
    std::string bytes;
    std::size_t frames = 0;
};

// At least `size` bytes of frames of small commands back to back, as one read
// brings them; a thousand different commands in turn.
const SmallFrameStream& SmallFrames(std::size_t size) {
    static std::map<std::size_t, SmallFrameStream> made;
    SmallFrameStream& stream = made[size];
    if (stream.bytes.empty()) {
        std::vector<std::string> frames;
        for (int i = 0; i < 1000; ++i) {
            const std::string command = "Command\rGetPageURL\rGetPageURL\rhttp://news.example.org/story/" +
                                        std::to_string(i) + ".html";
            frames.emplace_back(qv::MakeFrame(qv::String(command)).Bytes());
        }
        stream.bytes.reserve(size + frames.front().size() * 2);
        for (; stream.bytes.size() < size; ++stream.frames) stream.bytes += frames[stream.frames % frames.size()];
    }
    return stream;
}

// One frame of about `bytes` bytes: an incompressible message of three
// quarters that size, which Base64 brings back up to it.
const std::string& LargeFrame(std::size_t bytes) {
    static std::map<std::size_t, std::string> made;
    std::string& frame = made[bytes];
    if (frame.empty()) frame = qv::MakeFrame(qv::String(qv::bench::NoiseBytes(bytes / 4 * 3))).Bytes();
    return frame;
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
    qv::FrameBuffer buffer;
    buffer.Append(stream.bytes);
    std::size_t taken = 0;
    while (const std::optional<qv::String> payload = buffer.TakeFrame()) {
        benchmark::DoNotOptimize(qv::DecodePayload(payload->Bytes()));
        ++taken;
    }
    return taken == stream.frames && buffer.Pending().empty();
}

bool TakeLargeFrame(const std::string_view& frame) {
    qv::FrameBuffer buffer;
    std::optional<qv::String> payload;
    for (std::size_t at = 0; at < frame.size(); at += kReadBytes) {
        buffer.Append(frame.substr(at, kReadBytes));
        payload = buffer.TakeFrame();
    }
    benchmark::DoNotOptimize(payload);
    return payload && buffer.Pending().empty();
}

// A first intake, not timed, touches the memory that the timed ones reuse.
template <class Input>
void RunIntake(benchmark::State& state, const Input& input, bool (*intake)(const Input&), std::size_t bytes) {
    const ReusedMemory reused;
    if (!intake(input)) state.SkipWithError("frames lost");
    for (auto _ : state) {
        if (!intake(input)) state.SkipWithError("frames lost");
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
}

void BM_IntakeSmallFrames(benchmark::State& state) {
    const SmallFrameStream& stream = SmallFrames(static_cast<std::size_t>(state.range(0)));
    RunIntake(state, stream, TakeSmallFrames, stream.bytes.size());
}

void BM_IntakeLargeFrame(benchmark::State& state) {
    const std::string_view frame = LargeFrame(static_cast<std::size_t>(state.range(0)));
    RunIntake(state, frame, TakeLargeFrame, frame.size());
}

}  // namespace

constexpr std::int64_t kSmallerStream = std::int64_t{32} << 20;
constexpr std::int64_t kLargerStream = std::int64_t{320} << 20;

BENCHMARK(BM_IntakeSmallFrames)->Arg(kSmallerStream)->Arg(kLargerStream)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IntakeLargeFrame)->Arg(kSmallerStream)->Arg(kLargerStream)->Unit(benchmark::kMillisecond);
