// Receiving a 64 MiB body from nginx on loopback: HTTPSocket, asynchronous on
// the run loop with the system clock, from Get to PageReceived, against curl
// fetching the same URL into /dev/null. Wall-clock times, as a user waits for
// them, pair by pair (PairedRuns.h). curl's process start, which the
// assistant, already running, never pays, is left out: a fetch of an empty
// file just before each is taken off. What remains moves with the machine's
// speed as ours does; with the start in, the ratio moved with it (a machine
// twice as slow for both gave 0.89 where it had given 0.78).

#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Figures.h"
#include "Inputs.h"
#include "NginxServer.h"
#include "PairedRuns.h"
#include "foundation/Clock.h"
#include "foundation/RunLoop.h"
#include "http/HTTPSocket.h"

extern char** environ;

namespace qv::bench {

namespace {

constexpr std::size_t kBodyBytes = std::size_t{64} << 20;
constexpr int kPairs = 31;
// Far beyond either fetch; reached only when something is broken.
constexpr auto kPatience = std::chrono::seconds(30);

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// curl as a person runs it: process start, an HTTP/1.0 request, the body
// thrown away. Seconds taken, or nullopt when curl failed.
std::optional<double> TimeCurl(const std::string& url) {
    std::vector<std::string> args = {"curl", "-0", "-s", "-o", "/dev/null", url};
    std::vector<char*> argv;
    for (std::string& arg : args) argv.push_back(arg.data());
    argv.push_back(nullptr);
    const Clock::time_point start = Clock::now();
    pid_t pid = -1;
    if (posix_spawnp(&pid, "curl", nullptr, nullptr, argv.data(), environ) != 0) return std::nullopt;
    int status = 0;
    waitpid(pid, &status, 0);
    const double seconds = SecondsSince(start);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) return std::nullopt;
    return seconds;
}

// One HTTPSocket used for every fetch, as the assistant uses its one socket.
class Receiver {
public:
    Receiver() {
        http_.events.PageReceived = [this](const qv::String&, std::int32_t status,
                                           const qv::HTTPSocket::Headers&, const qv::String& content) {
            done_ = true;
            pageOk_ = status == 200 && content.Size() == kBodyBytes;
        };
        http_.events.Error = [this](std::int32_t) { done_ = true; };
    }

    // Seconds from Get to PageReceived, or nullopt when no whole page came.
    std::optional<double> TimeFetch(const std::string& url) {
        done_ = pageOk_ = false;
        const Clock::time_point start = Clock::now();
        http_.Get(qv::String(url));
        while (!done_ && Clock::now() - start < kPatience) loop_.RunOnce(std::chrono::milliseconds(100));
        const double seconds = SecondsSince(start);
        if (!pageOk_) return std::nullopt;
        return seconds;
    }

private:
    qv::SystemClock clock_;
    qv::RunLoop loop_{clock_};
    qv::HTTPSocket http_{loop_, clock_};
    bool done_ = false;
    bool pageOk_ = false;
};

}  // namespace

std::string MeasureHttpReceive() {
    qv::test::NginxServer server;
    server.WriteFile("body", NoiseBytes(kBodyBytes));
    server.WriteFile("empty", "");
    const std::string url = server.Url("/body");
    const std::string emptyUrl = server.Url("/empty");
    Receiver receiver;
    const Pairs pairs = RunPairs(
        kPairs,
        [&] {
            const std::optional<double> seconds = receiver.TimeFetch(url);
            if (!seconds) throw std::runtime_error("HTTPSocket did not receive the whole page");
            return *seconds;
        },
        [&] {
            const std::optional<double> start = TimeCurl(emptyUrl);
            const std::optional<double> seconds = TimeCurl(url);
            if (!seconds || !start) throw std::runtime_error("curl failed");
            return *seconds - *start;
        });
    return FigureJson("HttpReceive", "wall", pairs);
}

}  // namespace qv::bench
