#include <algorithm>
#include <limits>

#include "foundation/TextFunctions.h"
#include "http/HTTPSocket.h"

namespace qv {

namespace {

// How long a pass of the wait sleeps on the socket when nothing has moved: the
// wait sleeps in poll(2) instead of spinning; its events and deadlines are the same.
constexpr std::chrono::milliseconds kIdleWait(10);

}  // namespace

void HTTPSocket::_Wait(const String& url, const char* action, const File& file, std::int32_t timeout) {
    timeoutSeconds = timeout;
    _Start(url, action, file, true);
    WaitForPage();
}

// The time-out counts from the last sign of life, and there are exactly two:
// the connection coming or going, and the page growing. A download does not
// grow the page, so only its connection renews the deadline. A refused file
// was reported by _DoConnect, and its code is wiped here on purpose: the
// caller sees -1 after the time-out, or waits for ever without one.
void HTTPSocket::WaitForPage() {
    bool lastConnectionState = false;
    std::size_t lastPageLength = 0;
    _pageComplete = false;
    mErrorCode = 0;
    // The span in ticks, at most what the wrapping comparison can tell.
    const auto span = static_cast<std::int32_t>(
        std::min<std::int64_t>(std::int64_t{timeoutSeconds} * 60, std::numeric_limits<std::int32_t>::max()));
    std::int32_t deadline = TicksAfter(Ticks(_clock), span);
    while (!_pageComplete && mErrorCode == 0) {
        Poll();
        bool moved = true;
        if (_connectionValid != lastConnectionState) {
            lastConnectionState = _connectionValid;
            deadline = TicksAfter(Ticks(_clock), span);
        } else if (_PageSize() != lastPageLength) {
            lastPageLength = _PageSize();
            deadline = TicksAfter(Ticks(_clock), span);
        } else {
            moved = false;
        }
        if (timeoutSeconds > 0 && TicksBetween(deadline, Ticks(_clock)) > 0) {
            Close();
            SetError(-1);
            break;
        }
        if (_pageComplete || mErrorCode != 0) break;
        if (Yield) {
            // The whole application runs meanwhile, and waits with us in the
            // loop's own wait, where its timers keep their beat.
            Loop().RunOnce(moved ? Duration::zero() : Duration(kIdleWait));
        } else if (!moved) {
            const RunLoop::SourceId self[] = {Source()};
            Loop().Await(self, kIdleWait);
        }
    }
}

// The file is always emptied before a download, through a text file made and
// closed at once, and never appended to.
bool HTTPSocket::_SetDownloadFile(const File& file) {
    _KillDownloadStream();
    if (!file) return true;
    if (file->Exists() && file->Directory()) {
        SetError(1);
        return false;
    }
    const std::shared_ptr<BinaryStream> text = file->CreateTextFile();
    if (!text) {
        SetError(1);
        return false;
    }
    text->Close();
    _downloadStream = file->OpenAsBinaryFile(true);
    if (!_downloadStream) {
        SetError(1);
        return false;
    }
    _downloadFile = file;
    return true;
}

void HTTPSocket::_KillDownloadStream() {
    _downloadFile = nullptr;
    if (_downloadStream) {
        _downloadStream->Close();
        _downloadStream = nullptr;
    }
}

}  // namespace qv
