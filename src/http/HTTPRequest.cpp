#include "foundation/TextFunctions.h"
#include "http/HTTPSocket.h"

namespace qv {

HTTPSocket::HTTPSocket(RunLoop& loop, Clock& clock) : TCPSocket(loop), _clock(clock) {
    onConnected = [this] { Event_Connected(); };
    onDataAvailable = [this] { Event_DataAvailable(); };
    onError = [this] { Event_Error(); };
    onSendComplete = [this] { Event_SendComplete(false); };
    _InitializeRequestHeaders();
    DefaultPort = 80;
}

HTTPSocket::~HTTPSocket() = default;

void HTTPSocket::SetRequestHeader(const String& name, const String& value) {
    if (!requestHeaders) _InitializeRequestHeaders();
    if (!value.IsEmpty()) {
        requestHeaders->SetHeader(name, value);
    } else {
        requestHeaders->Delete(name);
    }
}

// The defaults go too, for good: they are made again only while there is no
// header object at all.
void HTTPSocket::ClearRequestHeaders() {
    Deref(requestHeaders).DeleteAllHeaders();
}

void HTTPSocket::_InitializeRequestHeaders() {
    requestHeaders = std::make_shared<InternetHeaders>();
    requestHeaders->SetHeader("Accept", "*/*");
    requestHeaders->SetHeader("Accept-Language", "en");
}

// The scheme is dropped; no user, password, brackets or escapes are understood.
// What a URL of an unusual form turns into is part of the behaviour the
// assistant's peer knows, so it stays as it is.
void HTTPSocket::_ParseURL(const String& url) {
    const std::int32_t schemeEnd = InStr(0, url, "://");
    const String rest = schemeEnd > 0 ? Mid(url, schemeEnd + 3) : url;
    _server = NthField(rest, "/", 1);
    _path = Mid(rest, Len(_server) + 1);
    if (_path.IsEmpty()) _path = "/";
    std::int32_t port = CvtReal64ToSInt32(Val(NthField(_server, ":", 2)));
    if (port == 0) port = DefaultPort;
    SetPort(port);
    SetAddress(NthField(_server, ":", 1));
}

void HTTPSocket::_DoConnect(const String& url, const String& action, const File& file) {
    mErrorCode = 0;
    _ParseURL(url);
    _processingURL = url;
    if (!_SetDownloadFile(file)) return;
    if (!HTTPProxyAddress.IsEmpty()) {
        SetAddress(HTTPProxyAddress);
        SetPort(HTTPProxyPort);
        if (Port() == 0) SetPort(DefaultPort);
    }
    _httpAction = action;
    Close();
    _SettlePage();  // the page so far outlives the purge, until the next one starts
    Purge();
    Connect();
}

void HTTPSocket::_Start(const String& url, const char* action, const File& file, bool blocking) {
    synchronous = blocking;
    _DoConnect(url, action, file);
}

void HTTPSocket::_SendRequest(const String& action) {
    if (!requestHeaders) _InitializeRequestHeaders();
    requestHeaders->SetHeader("Host", _server);
    if (!_authenticationKey.IsEmpty()) SetRequestHeader("Authorization", _authenticationKey);
    if (SameText(action, "POST")) {
        // Straight to the header object: an empty type still gives a line.
        requestHeaders->SetHeader("Content-type", _postContentType);
        requestHeaders->SetHeader("Content-length", Format(static_cast<double>(LenB(_postContent)), "0"));
    } else {
        // Any other request wipes what was prepared for a later POST.
        _postContent = String();
        _postContentType = String();
        SetRequestHeader("Content-type", "");
        SetRequestHeader("Content-length", "");
    }
    if (!HTTPProxyAddress.IsEmpty()) _path = _processingURL;

    StringBuilder request;
    request.Append(action);
    request.Append(" ");
    request.Append(_path);
    request.Append(" HTTP/1.0");
    request.Append(kCRLF.once);
    request.Append(requestHeaders->_FormatHTTPHeaders());
    if (!_authenticationKey.IsEmpty()) {
        // Credentials go out in exactly one request and leave no trace.
        SetRequestHeader("Authorization", "");
        _authenticationKey = String();
    }
    request.Append(kCRLF.once);
    request.Append(kCRLF.once);
    request.Append(_postContent);
    Write(request.Take());
}

void HTTPSocket::_ResetVariables() {
    // The page's storage serves the next page, unless its reader still holds it.
    _KeepAsSpareRoom(std::move(_pageText).ReleaseStorage());
    _pageHeaders = nullptr;
    _httpStatusCode = 0;
    _totalLength = 0;
    _currentLength = 0;
    _headerBytesSearched = 0;
    _pageComplete = false;
}

String HTTPSocket::_DetermineEOLCharacter(const String& text) const {
    return InternetHeaders::_DetermineEOLCharacter(text);
}

}  // namespace qv
