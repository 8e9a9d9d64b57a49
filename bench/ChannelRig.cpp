#include "ChannelRig.h"

#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <string_view>

namespace qv::bench {

namespace {

using Clock = std::chrono::steady_clock;

// Far beyond any delivery; reached only when something is broken.
constexpr auto kPatience = std::chrono::seconds(30);

int ConnectLocal(const std::string& path) {
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (fd < 0 || path.size() >= sizeof address.sun_path) return -1;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

}  // namespace

ChannelRig::ChannelRig(KeepFrames keep) : keep_(keep) {
    char pattern[] = "/tmp/qvbench-channel-XXXXXX";
    if (!mkdtemp(pattern)) return;
    dir_ = pattern;
    const std::string path = dir_ + "/qvipc";
    window_ = std::make_unique<RSSDownloadWindow>(loop_, clock_, view_, String(path));
    window_->CommandStr = "GetPageURL";
    window_->fetcher.InputURL = "http://news.example.org/index.html";
    peer_ = ConnectLocal(path);
    if (peer_ < 0) return;
    const auto& channel = window_->channel.QVIPCSocket;
    const Clock::time_point start = Clock::now();
    while (!channel.IsConnected() && Clock::now() - start < kPatience)
        loop_.RunOnce(std::chrono::milliseconds(10));
    ready_ = channel.IsConnected();
    reader_ = std::thread([this] { Drain(); });
}

ChannelRig::~ChannelRig() {
    window_.reset();
    if (peer_ >= 0) shutdown(peer_, SHUT_RDWR);
    if (reader_.joinable()) reader_.join();
    if (peer_ >= 0) close(peer_);
    if (!dir_.empty()) std::filesystem::remove_all(dir_);
}

bool ChannelRig::DeliverPage(const HTTPSocket::Headers& headers, const String& content) {
    const std::size_t before = framesReceived_.load(std::memory_order_acquire);
    window_->fetcher.sendPageToQuorvane(headers, content, 200);
    const auto& channel = window_->channel.QVIPCSocket;
    const Clock::time_point start = Clock::now();
    // Sending is the loop's work; the peer's last reads are its own.
    while (channel.BytesLeftToSend() > 0) {
        if (Clock::now() - start > kPatience) return false;
        loop_.RunOnce(std::chrono::milliseconds(1));
    }
    std::unique_lock lock(framesMutex_);
    return frameArrived_.wait_until(lock, start + kPatience, [&] {
        return framesReceived_.load(std::memory_order_relaxed) != before;
    });
}

bool ChannelRig::Fetch(const std::string& url) {
    return RunCommand("GetPageURL", "GetPageURL:" + url + "\r");
}

bool ChannelRig::Status() {
    return RunCommand("Status", "Command:Status\r");
}

bool ChannelRig::RunCommand(const char* word, const std::string& text) {
    const std::size_t before = framesReceived_.load(std::memory_order_acquire);
    window_->CommandStr = word;
    window_->processCommand(String(text));
    const Clock::time_point start = Clock::now();
    while (framesReceived_.load(std::memory_order_acquire) == before) {
        if (Clock::now() - start > kPatience) return false;
        loop_.RunOnce(std::chrono::milliseconds(1));
    }
    return true;
}

std::string ChannelRig::LastFrame() {
    const std::lock_guard lock(framesMutex_);
    return lastFrame_;
}

// A frame holds exactly two underscores, those of "Start_" and "_End" (Base64
// has none), so counting them finds the frames' ends without decoding.
void ChannelRig::Drain() {
    static constexpr std::size_t kEndLetters = 3;  // "End", behind the second underscore
    std::string buffer(256 * 1024, '\0');
    std::string frame;
    std::size_t underscores = 0;
    std::size_t endLettersToCome = 0;
    for (;;) {
        const ssize_t got = read(peer_, buffer.data(), buffer.size());
        if (got <= 0) return;
        std::string_view rest(buffer.data(), static_cast<std::size_t>(got));
        while (!rest.empty()) {
            std::size_t take = rest.size();
            bool ends = false;
            if (endLettersToCome > 0) {
                take = std::min(endLettersToCome, rest.size());
                endLettersToCome -= take;
                ends = endLettersToCome == 0;
            } else if (const std::size_t underscore = rest.find('_'); underscore != std::string_view::npos) {
                take = underscore + 1;
                if (++underscores == 2) {
                    underscores = 0;
                    endLettersToCome = kEndLetters;
                }
            }
            if (keep_ == KeepFrames::Yes) frame.append(rest.substr(0, take));
            rest.remove_prefix(take);
            if (ends) {
                {
                    const std::lock_guard lock(framesMutex_);
                    if (keep_ == KeepFrames::Yes) {
                        lastFrame_ = std::move(frame);
                        frame.clear();
                    }
                    framesReceived_.fetch_add(1, std::memory_order_release);
                }
                frameArrived_.notify_all();
            }
        }
    }
}

HTTPSocket::Headers TypicalHeaders(std::size_t contentLength) {
    auto headers = std::make_shared<InternetHeaders>();
    headers->AppendHeader("Date", "Mon, 04 Mar 2024 09:12:44 GMT");
    headers->AppendHeader("Server", "nginx/1.22.1");
    headers->AppendHeader("Content-Type", "text/html; charset=utf-8");
    headers->AppendHeader("Content-Length", String(std::to_string(contentLength)));
    headers->AppendHeader("Last-Modified", "Mon, 04 Mar 2024 08:55:02 GMT");
    headers->AppendHeader("Connection", "close");
    return headers;
}

}  // namespace qv::bench
