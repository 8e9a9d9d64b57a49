#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "shell/HeadlessView.h"
#include "shell/RSSDownloadWindow.h"
#include "support/Support.h"

namespace qv::test {

// A whole assistant window on a temporary channel path, a manual clock and the
// headless view; with Connect, a peer on its channel.
class WindowFixture : public ::testing::Test {
protected:
    WindowFixture() : window(std::make_unique<RSSDownloadWindow>(loop, clock, view, String(channelPath))) {}

    HeadlessEditField& Log() const { return static_cast<HeadlessEditField&>(*window->InputField); }
    std::string LogText() const { return std::string(Log().Text().Bytes()); }
    void Connect() {
        peer = std::make_unique<ChannelPeer>(channelPath);
        ASSERT_TRUE(RunUntil(loop, [&] { return window->channel.IsConnected(); }));
    }
    // Lets the window read what the peer sent, without moving the clock: a
    // local socket holds the bytes as soon as the peer's write returns.
    void Deliver() {
        for (int pass = 0; pass < 3; ++pass) loop.RunOnce(Duration::zero());
    }
    // Runs the dispatcher's tick number `n`, 2000 ms apart from creation.
    void Tick(int n) { AdvanceTo(loop, clock, created + std::chrono::milliseconds(2000 * n)); }

    ManualClock clock;
    RunLoop loop{clock};
    TimePoint created = clock.Now();  // where the dispatcher's beat starts
    TempDir dir;
    std::string channelPath = dir.File("qvipc");
    HeadlessView view;
    std::unique_ptr<RSSDownloadWindow> window;
    std::unique_ptr<ChannelPeer> peer;
};

}  // namespace qv::test
