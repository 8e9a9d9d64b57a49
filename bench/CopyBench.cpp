// The copy engine against cp, and the CPU that the copy's pauses cost. A
// program of its own: whole 1 GiB copies, each followed by seconds of settling,
// taking turns with cp's pair by pair (PairedRuns.h). See bench/README.md.
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "CopyFiles.h"
#include "PairedRuns.h"
#include "Processes.h"
#include "foundation/IPCSocket.h"
#include "protocol/CommandText.h"
#include "protocol/Frame.h"
#include "qvctl/CopyCommand.h"
#include "shell/HeadlessView.h"
#include "shell/RSSDownloadWindow.h"

namespace qv::bench {
namespace {

namespace fs = std::filesystem;
using SteadyClock = std::chrono::steady_clock;

constexpr std::uint64_t kFileSize = std::uint64_t{1} << 30;
constexpr int kPairs = 21;
// Not counted: on this kind of virtual disk the first copies into fresh blocks
// can take several times as long, whichever program makes them.
constexpr int kWarmUpPairs = 2;
constexpr int kPauses = 100;
// The pause after each progress report, which the copy figure leaves out.
constexpr double kPauseSeconds = 0.05;
// After each copy its file goes, what that leaves to the kernel (write-back of
// the copy, the freeing of its blocks) is done, the page cache is emptied and
// the source read into it again, and the machine is given time to finish with
// the memory just freed: a guest that reports free pages to its host (as this
// VM does, 2 s after they were freed) would otherwise do that work during the
// next copy, or not, by the timing alone. So the next copy, whichever program
// makes it, meets the same state.
constexpr auto kSettleTime = std::chrono::seconds(3);

double SecondsSince(SteadyClock::time_point start) {
    return std::chrono::duration<double>(SteadyClock::now() - start).count();
}

// Of the process, or of this thread alone (RUSAGE_THREAD).
double CpuSeconds(int who = RUSAGE_SELF) {
    rusage usage{};
    getrusage(who, &usage);
    return CpuSecondsOf(usage);
}

// A whole assistant window on a channel path of its own, with the system's
// clock, and a peer on the same loop that sends commands and keeps the
// replies. The dispatcher's timer is off: the bench calls its action itself,
// once the command has been queued, so that nothing else is timed.
class Assistant {
public:
    explicit Assistant(const std::string& folder)
        : channelPath_(folder + "/qvipc"), window_(loop_, clock_, view_, String(channelPath_)), peer_(loop_) {
        window_.channel.CommandDispatchTimer
            .SetMode(Timer::ModeOff);
        peer_.SetPath(String(channelPath_));
        peer_.onDataAvailable = [this] { replies_.Append(peer_.ReadAll().Bytes()); };
        peer_.Connect();
        RunUntil([&] { return Channel().IsConnected() && peer_.IsConnected(); });
    }

    // Sends the CopyFile commands and waits until the window has queued them all.
    void Queue(const std::vector<std::string>& commandTexts) {
        for (const std::string& text : commandTexts) peer_.Write(MakeFrame(String(text)));
        RunUntil([&] { return window_.channel.CommandQueueItemArray.size() == commandTexts.size(); });
    }
    // One tick of the dispatcher: the head of the queue runs to its end.
    void Dispatch() { window_.channel.CommandDispatchTimer_Action(); }

    // The replies that have come since the last call, once `count` are in.
    std::vector<std::string> Replies(std::size_t count) {
        std::vector<std::string> texts;
        RunUntil([&] {
            while (const auto payload = replies_.TakeFrame())
                texts.emplace_back(DecodePayload(payload->Bytes()).Bytes());
            return texts.size() >= count;
        });
        return texts;
    }

private:
    IPCSocket& Channel() {
        return window_.channel.QVIPCSocket;
    }
    void RunUntil(const std::function<bool()>& done) {
        const auto deadline = SteadyClock::now() + std::chrono::seconds(10);
        while (!done()) {
            if (SteadyClock::now() > deadline)
                throw std::runtime_error("the assistant did not answer in time");
            loop_.RunOnce(std::chrono::milliseconds(10));
        }
    }

    SystemClock clock_;
    RunLoop loop_{clock_};
    HeadlessView view_;
    std::string channelPath_;
    RSSDownloadWindow window_;
    IPCSocket peer_;
    FrameBuffer replies_;
};

std::string CopyCommandText(const std::string& source, std::uint64_t size, const std::string& folder,
                            const std::string& name) {
    const ctl::LocalCopy copy{{source, folder, name}, static_cast<std::int64_t>(size)};
    return std::string(CommandText(ctl::CopyFileFields(copy, Ticks(SystemClock()))).Bytes());
}

std::size_t ProgressReports(const std::vector<std::string>& replies, const std::string& expectedEnd) {
    if (replies.empty() || replies.back().find("\r\nStatus: " + expectedEnd + "\r\n") == std::string::npos) {
        throw std::runtime_error("the copy did not end with " + expectedEnd);
    }
    return static_cast<std::size_t>(
        std::count_if(replies.begin(), replies.end(), [](const std::string& reply) {
            return reply.find("\r\nStatus: InProgress\r\n") != std::string::npos;
        }));
}

struct CopyFigures {
    // Wall-clock: the assistant's less its pauses, cp's less its process start.
    Pairs pairs;
    // CPU time of the same copies: the assistant's thread, cp's process less
    // its start's.
    Pairs cpuPairs;
    std::vector<double> progressReports;
    bool cacheDropped = true;
};

// The copies in pairs (PairedRuns.h); two pairs before them are not kept. Each
// copy is compared with the source and followed by the same settling (see
// kSettleTime), so whatever the kernel still owes for one copy is paid before
// the next, by neither. cp's process start, which the assistant, already
// running, never pays, is measured with each: a cp of an empty file just
// before.
CopyFigures CompareWithCp(Assistant& assistant, const std::string& folder, const std::string& source) {
    CopyFigures figures;
    const auto settle = [&](const std::string& copy) {
        if (!SameBytes(source, copy)) throw std::runtime_error(copy + " differs from the source");
        sync();
        fs::remove(copy);
        figures.cacheDropped = DropPageCache() && figures.cacheDropped;
        ReadThrough(source);
        std::this_thread::sleep_for(kSettleTime);
    };
    const std::string empty = folder + "/empty.bin";
    std::ofstream{empty};
    const auto runCp = [&] {
        const std::string copy = folder + "/by-cp.bin";
        const RunTime start = TimeProgram({"cp", empty, copy});
        fs::remove(copy);
        const RunTime time = TimeProgram({"cp", source, copy});
        std::fprintf(stderr, "cp %.3f s, its start %.3f s\n", time.wall, start.wall);
        settle(copy);
        figures.cpuPairs.peer.push_back(time.cpu - start.cpu);
        return time.wall - start.wall;
    };
    const auto runAssistant = [&] {
        const std::string name = "by-assistant.bin";
        assistant.Queue({CopyCommandText(source, kFileSize, folder, name)});
        const double cpuStart = CpuSeconds(RUSAGE_THREAD);
        const auto start = SteadyClock::now();
        assistant.Dispatch();
        const double wall = SecondsSince(start);
        figures.cpuPairs.ours.push_back(CpuSeconds(RUSAGE_THREAD) - cpuStart);
        const auto reports = static_cast<double>(ProgressReports(assistant.Replies(1), "Complete"));
        figures.progressReports.push_back(reports);
        std::fprintf(stderr, "assistant %.3f s with %.0f progress reports\n", wall, reports);
        settle(folder + "/" + name);
        return wall - kPauseSeconds * reports;
    };
    figures.cacheDropped = DropPageCache();
    ReadThrough(source);  // the source comes from the page cache for both
    figures.pairs = RunPairs(kPairs, runAssistant, runCp, kWarmUpPairs);
    // The warm-ups' copies came first.
    for (std::vector<double>* kept : {&figures.cpuPairs.ours, &figures.cpuPairs.peer, &figures.progressReports})
        kept->erase(kept->begin(), kept->end() - kPairs);
    return figures;
}

struct PauseFigures {
    int pauses = 0;
    double wallSeconds = 0;
    double cpuSeconds = 0;
};

// Copies of a one-byte file: each makes one progress report and one 50 ms
// pause, and little else, so nearly all of their time is pause. The peer
// sends nothing meanwhile and reads the replies only afterwards. Everything
// the copies do counts, so the figure bounds the pauses' share from above.
PauseFigures MeasurePauses(Assistant& assistant, const std::string& folder) {
    const std::string tiny = folder + "/tiny.bin";
    std::ofstream(tiny, std::ios::binary) << 'x';
    assistant.Queue(std::vector<std::string>(kPauses, CopyCommandText(tiny, 1, folder, "tiny.copy")));
    PauseFigures figures;
    const double cpuStart = CpuSeconds();
    const auto start = SteadyClock::now();
    for (int i = 0; i < kPauses; ++i) assistant.Dispatch();
    figures.wallSeconds = SecondsSince(start);
    figures.cpuSeconds = CpuSeconds() - cpuStart;
    const std::vector<std::string> replies = assistant.Replies(2 * kPauses);
    std::size_t reports = 0;
    for (std::size_t i = 0; i < replies.size(); i += 2) {
        reports += ProgressReports({replies[i], replies[i + 1]}, "Complete");
    }
    figures.pauses = static_cast<int>(reports);
    return figures;
}

int Run(const std::string& parent, const std::string& jsonPath) {
    std::string pattern = parent + "/qvcopybench.XXXXXX";
    if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make a folder under " + parent);
    const std::string folder = pattern;
    struct statvfs space {};
    if (statvfs(folder.c_str(), &space) != 0 ||
        static_cast<std::uint64_t>(space.f_bavail) * space.f_frsize < 3 * kFileSize + (kFileSize / 2)) {
        fs::remove_all(folder);
        throw std::runtime_error(folder + " has less than 3.5 GiB free");
    }
    std::fprintf(stderr, "files under %s\n", folder.c_str());
    const auto cleanUp = [&] { fs::remove_all(folder); };
    try {
        const std::string source = folder + "/source.bin";
        WriteNoiseFile(source, kFileSize);
        Assistant assistant(folder);
        const CopyFigures copy = CompareWithCp(assistant, folder, source);
        fs::remove(source);
        const PauseFigures pauses = MeasurePauses(assistant, folder);

        std::ofstream json(jsonPath);
        json << FigureJson("Copy", "wall", copy.pairs,
                           {"\"ours_cpu\": " + JsonList(copy.cpuPairs.ours),
                            "\"peer_cpu\": " + JsonList(copy.cpuPairs.peer),
                            "\"progress_reports\": " + JsonList(copy.progressReports),
                            std::string("\"page_cache_dropped\": ") + (copy.cacheDropped ? "true" : "false")})
             << "\n{\"figure\": \"CopyPauses\", \"count\": " << pauses.pauses
             << ", \"wall_seconds\": " << pauses.wallSeconds << ", \"cpu_seconds\": " << pauses.cpuSeconds << "}\n";
        if (!json) throw std::runtime_error("cannot write " + jsonPath);
    } catch (...) {
        cleanUp();
        throw;
    }
    cleanUp();
    return 0;
}

}  // namespace
}  // namespace qv::bench

// qvcopybench OUTPUT.json [FOLDER]: the files go under FOLDER (default $TMPDIR
// or /tmp), in a folder of their own that is removed at the end.
int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: qvcopybench OUTPUT.json [FOLDER]\n");
        return 1;
    }
    const char* tmp = std::getenv("TMPDIR");
    const std::string parent = argc == 3 ? argv[2] : (tmp && *tmp ? tmp : "/tmp");
    try {
        return qv::bench::Run(parent, argv[1]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "qvcopybench: %s\n", error.what());
        return 1;
    }
}
