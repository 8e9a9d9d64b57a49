#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "foundation/Clock.h"
#include "foundation/RunLoop.h"
#include "shell/HeadlessView.h"
#include "shell/RSSDownloadWindow.h"
#include "support/TestPeers.h"

namespace qv::test {

// A whole assistant window on a temporary channel path, a manual clock and
// the headless view.
class WindowFixture : public ::testing::Test {
protected:
    WindowFixture() { window = std::make_unique<RSSDownloadWindow>(loop, clock, view, String(channelPath)); }

    HeadlessEditField& Log() const { return window->ControlNamed<HeadlessEditField>("InputField"); }
    std::string LogText() const { return std::string(Log().Text().Bytes()); }

    ManualClock clock;
    RunLoop loop{clock};
    TempDir dir;
    std::string channelPath = dir.File("qvipc");
    HeadlessView view;
    std::unique_ptr<RSSDownloadWindow> window;
};

}  // namespace qv::test
