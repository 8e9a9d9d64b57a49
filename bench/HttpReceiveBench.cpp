// Receiving a 64 MiB body from nginx on loopback: HTTPSocket, asynchronous on
// the run loop with the system clock, from Get to PageReceived, against curl
// fetching the same URL into /dev/null. Wall-clock times, as a user waits for
// them, pair by pair (PairedRuns.h). curl's process start, which the
// assistant, already running, never pays, is left out: a fetch of an empty
// file just before each is taken off. What remains moves with the machine's
// speed as ours does; with the start in, the ratio moved with it (a machine
// twice as slow for both gave 0.89 where it had given 0.78).

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
#include "Processes.h"
#include "foundation/Clock.h"
#include "foundation/RunLoop.h"
#include "http/HTTPSocket.h"

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
// thrown away. Seconds taken.
double TimeCurl(const std::string& url) {
    return TimeProgram({"curl", "-0", "-s", "-o", "/dev/null", url}).wall;
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
            const double start = TimeCurl(emptyUrl);
            return TimeCurl(url) - start;
        });
    return FigureJson("HttpReceive", "wall", pairs);
}

}  // namespace qv::bench
