// Receiving a 64 MiB body from nginx on loopback: HTTPSocket, asynchronous on
// the run loop with the system clock, from Get to PageReceived, against curl
// fetching the same URL into /dev/null. The two take turns within each
// iteration, each going first every other time, so that both see the machine
// in the same state. Times are wall-clock, as a user waits for them; the
// figures are the medians of the iterations, so that one fetch disturbed by
// the machine does not move them.

#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Inputs.h"
#include "NginxServer.h"
#include "foundation/Clock.h"
#include "foundation/RunLoop.h"
#include "http/HTTPSocket.h"

extern char** environ;

namespace {

constexpr std::size_t kBodyBytes = std::size_t{64} << 20;
// Far beyond either fetch; reached only when something is broken.
constexpr auto kPatience = std::chrono::seconds(30);

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double Median(std::vector<double> values) {
    if (values.empty()) return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
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

void BM_HttpReceive(benchmark::State& state) {
    std::optional<qv::test::NginxServer> server;
    try {
        server.emplace();
    } catch (const std::exception& e) {
        state.SkipWithError(e.what());
        return;
    }
    server->WriteFile("body", qv::bench::NoiseBytes(kBodyBytes));
    const std::string url = server->Url("/body");
    Receiver receiver;
    std::vector<double> socketSeconds;
    std::vector<double> curlSeconds;
    bool curlFirst = false;
    for (auto _ : state) {
        curlFirst = !curlFirst;
        std::optional<double> curl;
        std::optional<double> socket;
        if (curlFirst) {
            curl = TimeCurl(url);
            socket = receiver.TimeFetch(url);
        } else {
            socket = receiver.TimeFetch(url);
            curl = TimeCurl(url);
        }
        if (!socket || !curl) {
            state.SkipWithError(!socket ? "HTTPSocket did not receive the whole page" : "curl failed");
            break;
        }
        socketSeconds.push_back(*socket);
        curlSeconds.push_back(*curl);
        state.SetIterationTime(*socket);
    }
    state.counters["socket_ms"] = Median(socketSeconds) * 1e3;
    state.counters["curl_ms"] = Median(curlSeconds) * 1e3;
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kBodyBytes));
}

}  // namespace

BENCHMARK(BM_HttpReceive)->Iterations(9)->UseManualTime()->Unit(benchmark::kMillisecond);
