#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "foundation/Clock.h"
#include "foundation/Dictionary.h"
#include "foundation/Exceptions.h"
#include "foundation/FolderItem.h"
#include "foundation/String.h"
#include "foundation/TCPSocket.h"
#include "headers/InternetHeaders.h"

namespace qv {

// An HTTP/1.0 client on its own TCP socket: one plain connection per request,
// and the server's close ends the response. The scheme of a URL is thrown away
// (no TLS); there are no redirects, no chunked decoding, no keep-alive, and an
// HTTP status is no failure. Failures come as small integer codes only.
//
// The socket's own events (Connected, DataAvailable, Error, SendComplete) are
// the class's Event_ methods. The owner installs its handlers in `events`; an
// event without a handler is skipped.
class HTTPSocket : public TCPSocket {
public:
    using Headers = std::shared_ptr<InternetHeaders>;
    using File = std::shared_ptr<FolderItem>;

    struct Events {
        std::function<void(const String& url, std::int32_t httpStatus, const Headers& headers,
                           const String& content)>
            PageReceived;
        std::function<void(std::int32_t bytesReceived, std::int32_t totalBytes, const String& newData)>
            ReceiveProgress;
        std::function<void()> Connected;
        std::function<void(const String& url, std::int32_t httpStatus, const Headers& headers,
                           const File& file)>
            DownloadComplete;
        std::function<void(std::int32_t code)> Error;
        std::function<void(const Headers& headers, std::int32_t httpStatus)> HeadersReceived;
        std::function<bool(const Headers& headers, String& name, String& password)> AuthenticationRequired;
    };

    // `clock` paces the blocking forms' time-outs.
    HTTPSocket(RunLoop& loop, Clock& clock);
    ~HTTPSocket() override;

    Events events;

    // Public fields.
    Headers requestHeaders;
    std::int32_t DefaultPort = 0;
    String HTTPProxyAddress;
    std::int32_t HTTPProxyPort = 0;
    bool Yield = false;

    // Socket events.
    virtual void Event_SendComplete(bool userAborted);
    virtual void Event_Error();
    virtual void Event_DataAvailable();
    virtual void Event_Connected();

    // Requests that return at once; the answer comes by event.
    virtual void Get(const String& url) { _Start(url, "GET", nullptr, false); }
    virtual void Get(const String& url, const File& file) { _Start(url, "GET", file, false); }
    virtual void Post(const String& url) { _Start(url, "POST", nullptr, false); }
    virtual void Post(const String& url, const File& file) { _Start(url, "POST", file, false); }
    virtual void GetHeaders(const String& url) { _Start(url, "HEAD", nullptr, false); }

    // Requests that wait, with `timeout` seconds of inactivity at most (0 or
    // less: no limit). The owner hears no event but AuthenticationRequired.
    virtual String Get(const String& url, std::int32_t timeout) {
        _Wait(url, "GET", nullptr, timeout);
        return _pageText;
    }
    virtual String Post(const String& url, std::int32_t timeout) {
        _Wait(url, "POST", nullptr, timeout);
        return _pageText;
    }
    virtual bool Get(const String& url, const File& file, std::int32_t timeout) {
        _Wait(url, "GET", file, timeout);
        return mErrorCode == 0;
    }
    virtual bool Post(const String& url, const File& file, std::int32_t timeout) {
        _Wait(url, "POST", file, timeout);
        return mErrorCode == 0;
    }
    virtual Headers GetHeaders(const String& url, std::int32_t timeout) {
        _Wait(url, "HEAD", nullptr, timeout);
        return _pageHeaders;
    }

    virtual void SetRequestHeader(const String& name, const String& value);
    virtual void ClearRequestHeaders();
    Headers GetRequestHeaders() const { return requestHeaders; }

    virtual void SetFormData(const Dictionary* form);
    virtual String EncodeFormData(const Dictionary* form);
    virtual void SetPostContent(const String& content, const String& contentType);

    virtual std::int32_t ErrorCode() const { return mErrorCode; }
    // Nil also when the block held no header at all.
    virtual Headers PageHeaders() const;
    virtual std::int32_t HTTPStatusCode() const { return _httpStatusCode; }

protected:
    // A body too large for memory: the connection goes, and what came of the
    // body with it. The owner hears nothing, as from a server that stalled,
    // and its watchdog ends the fetch; the next request starts afresh.
    void InputOutOfRoom() override;

private:
    // Requests.
    void _InitializeRequestHeaders();
    void _ParseURL(const String& url);
    void _DoConnect(const String& url, const String& action, const File& file);
    void _SendRequest(const String& action);
    void _ResetVariables();
    String _DetermineEOLCharacter(const String& text) const;
    // Responses.
    void _HandleNewData();
    void _ParseHeaders(const String& block);
    void _ProcessData();
    void _ProcessPage();
    // Ends keeping the page in the input buffer: what was kept becomes the page text.
    void _SettlePage();
    // The page text goes, once nothing can deliver it again; see _KeepAsSpareRoom.
    void _ReleasePage();
    // Keeps `storage` as the room for the next page, if it is no larger than
    // everyday pages need, else gives it back to the heap.
    void _KeepAsSpareRoom(std::string storage);
    void SetError(std::int32_t code);
    // Forms and authentication.
    String _EncodeURLString(const String& text) const;
    bool _SetAuthentication();
    // Waiting and downloads.
    void WaitForPage();
    std::size_t _PageSize() const { return Input().KeptSize() + _pageText.Size(); }
    bool _SetDownloadFile(const File& file);
    void _KillDownloadStream();
    // Starts a request, in the mode of the form that asks.
    void _Start(const String& url, const char* action, const File& file, bool blocking);
    // Starts a blocking request with its time-out and waits for its end.
    void _Wait(const String& url, const char* action, const File& file, std::int32_t timeout);

    Clock& _clock;

    Headers _pageHeaders;
    String _server;
    String _path;
    std::int32_t _totalLength = 0;
    std::shared_ptr<BinaryStream> _downloadStream;
    File _downloadFile;
    // The page once complete; while it arrives it is kept in the input buffer.
    String _pageText;
    // The storage of the page before, lent to the next one.
    std::string _spareRoom;
    std::int32_t _currentLength = 0;
    // How much of the buffered start of a response was searched for the
    // header block's end without finding it.
    std::size_t _headerBytesSearched = 0;
    bool _pageComplete = false;
    String _postContent;
    String _postContentType;
    String _httpAction;
    String _processingURL;
    bool _connectionValid = false;
    std::int32_t _httpStatusCode = 0;
    String _authenticationKey;
    bool synchronous = false;
    std::int32_t timeoutSeconds = 0;
    std::int32_t mErrorCode = 0;
    bool threadProtection = false;
};

}  // namespace qv
