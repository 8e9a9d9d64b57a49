#include <new>

#include "foundation/TextFunctions.h"
#include "http/HTTPSocket.h"

namespace qv {

namespace {

struct BlockEnd {
    const LineEnd* lineEnd = nullptr;  // none while the block goes on
    std::size_t at = std::string_view::npos;
};

// Where a header block ends in `bytes`, of which none of the blank lines
// starts before `from`. The blank line of the first line end tried that occurs
// decides, not the earliest occurrence: a body that holds the detected line
// end twice can win over the real end. The detection reads all the bytes, so
// it waits until some blank line has come.
BlockEnd FindBlockEnd(std::string_view bytes, std::size_t from) {
    const auto occurs = [&](const LineEnd* end) {
        return bytes.find(end->twice, from) != std::string_view::npos;
    };
    if (!occurs(&kLF) && !occurs(&kCRLF) && !occurs(&kCR)) return {};
    for (const LineEnd* candidate : {&InternetHeaders::LineEndOf(bytes), &kLF, &kCRLF, &kCR}) {
        if (occurs(candidate)) return {candidate, bytes.find(candidate->twice, from)};
    }
    return {};
}

}  // namespace

void HTTPSocket::Event_SendComplete(bool /*userAborted*/) {}

void HTTPSocket::Event_Connected() {
    _connectionValid = true;
    _ResetVariables();
    if (!synchronous && events.Connected) events.Connected();
    if (_httpAction.IsEmpty()) _httpAction = "GET";
    _SendRequest(_httpAction);
}

void HTTPSocket::Event_DataAvailable() {
    _HandleNewData();
}

// The server's close is the end of the page, whatever its code: a reset in
// mid-body gives a short page, complete, with no error. Only a connection that
// never stood is an Error. A close that leaves bytes unread hands them on and
// completes nothing: the page is stranded, and the owner's watchdog ends it.
void HTTPSocket::Event_Error() {
    const bool wasValid = _connectionValid;
    _connectionValid = false;
    if (wasValid) {
        if (BytesAvailable() == 0) {
            _ProcessPage();
        } else {
            _HandleNewData();
        }
    } else {
        SetError(LastErrorCode());
    }
}

void HTTPSocket::_HandleNewData() {
    // An owner's handler that pumps events from in here must not come back in;
    // the bytes wait in the socket for the next event.
    if (threadProtection) return;
    threadProtection = true;

    if (_pageHeaders) {
        _ProcessData();
        threadProtection = false;
        return;
    }

    // What was searched before holds no blank line, so one that has come now
    // reaches at most 3 bytes back into it: a block that arrives in many small
    // pieces is searched once, not once per piece.
    const std::string_view buffered = Input().View();
    const std::size_t searched = _headerBytesSearched <= buffered.size() ? _headerBytesSearched : 0;
    const BlockEnd blockEnd = FindBlockEnd(buffered, searched > 3 ? searched - 3 : 0);
    _headerBytesSearched = buffered.size();
    if (blockEnd.lineEnd) {
        _ParseHeaders(Read(static_cast<std::int32_t>(blockEnd.at)));
        if (_httpStatusCode == 401 && _SetAuthentication()) {
            _DoConnect(_processingURL, _httpAction, _downloadFile);
            threadProtection = false;
            return;
        }
        if (!synchronous && events.HeadersReceived) events.HeadersReceived(_pageHeaders, _httpStatusCode);
        Read(static_cast<std::int32_t>(blockEnd.lineEnd->twice.size()));
        if (!_downloadStream && !SameText(_httpAction, "HEAD")) {
            // The page grows where the socket reads it, in the room of the page
            // before, by the bytes that come: a Content-length is only a claim.
            try {
                Input().Keep(std::move(_spareRoom));
            } catch (const std::bad_alloc&) {
                InputOutOfRoom();
                threadProtection = false;
                return;
            }
        }
        _ProcessData();
    }
    threadProtection = false;
}

void HTTPSocket::_ParseHeaders(const String& block) {
    const String lineEnd = _DetermineEOLCharacter(block);
    _pageHeaders = std::make_shared<InternetHeaders>();
    const String firstLine = NthField(block, lineEnd, 1);
    _httpStatusCode = CvtReal64ToSInt32(Val(NthField(firstLine, " ", 2)));
    _pageHeaders->_ParseHeaders(block);
    if (_pageHeaders->NameCount("Content-length") > 0) {
        _totalLength = CvtReal64ToSInt32(Val(_pageHeaders->Value("Content-length")));
    }
}

// The piece is everything unread: a download writes it out, a page keeps it
// where it lies and copies it only for a ReceiveProgress handler.
void HTTPSocket::_ProcessData() {
    if (SameText(_httpAction, "HEAD")) {
        ReadAll();  // the bytes are gone, nothing counts
        return;
    }
    const bool progress = !synchronous && events.ReceiveProgress;
    String piece;
    std::size_t size = 0;
    if (_downloadStream) {
        piece = ReadAll();
        size = piece.Size();
        _downloadStream->Write(piece);
    } else {
        const std::string_view claimed = Input().Claim();
        size = claimed.size();
        if (progress) piece = String(claimed);
    }
    // Counted as the field's 32 bits wrap, not as undefined overflow.
    _currentLength = static_cast<std::int32_t>(static_cast<std::uint32_t>(_currentLength) +
                                               static_cast<std::uint32_t>(size));
    if (progress) events.ReceiveProgress(_currentLength, _totalLength, piece);
    if (_httpStatusCode == 401 && !IsConnected()) _ProcessPage();
}

void HTTPSocket::_SettlePage() {
    String kept = Input().TakeKept();
    if (!kept.IsEmpty()) _pageText = std::move(kept);
}

void HTTPSocket::_ProcessPage() {
    if (_pageComplete) return;  // a page is delivered once
    _pageComplete = true;
    _SettlePage();
    const bool wasDownload = _downloadStream != nullptr;
    const File file = _downloadFile;
    _KillDownloadStream();
    if (SameText(_httpAction, "HEAD") || synchronous) return;
    if (wasDownload) {
        if (events.DownloadComplete)
            events.DownloadComplete(_processingURL, _httpStatusCode, _pageHeaders, file);
    } else if (events.PageReceived) {
        events.PageReceived(_processingURL, _httpStatusCode, _pageHeaders, _pageText);
    }
    // A connection that ended can never bring this page back (only a closed
    // live one can, at the next failed connect): its memory goes.
    if (!_connectionValid) _ReleasePage();
}

void HTTPSocket::_ReleasePage() {
    _KeepAsSpareRoom(std::move(_pageText).ReleaseStorage());
}

void HTTPSocket::_KeepAsSpareRoom(std::string storage) {
    // The room of a page of everyday size stays for the next one; a large
    // page's goes back, so that an idle process is back near its idle size.
    // Judged by the bytes the page held: the room grows in steps well ahead of
    // them, and pages of it never written cost address space, not memory.
    constexpr std::size_t kMostSpareRoom = std::size_t{64} << 20;
    if (storage.size() <= kMostSpareRoom && storage.capacity() > _spareRoom.capacity()) {
        _spareRoom = std::move(storage);
    }
}

void HTTPSocket::InputOutOfRoom() {
    Close();
    Purge();
}

void HTTPSocket::SetError(std::int32_t code) {
    mErrorCode = code;
    if (synchronous) return;  // the caller of a blocking form reads the page after this
    if (events.Error) events.Error(code);
    _ReleasePage();
}

HTTPSocket::Headers HTTPSocket::PageHeaders() const {
    return _pageHeaders && _pageHeaders->Count() > 0 ? _pageHeaders : nullptr;
}

}  // namespace qv
