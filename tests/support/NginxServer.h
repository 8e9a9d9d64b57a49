#pragma once

#include <sys/types.h>

#include <string>

#include "support/TestPeers.h"

namespace qv::test {

// A real nginx on 127.0.0.1, on a free port, with its configuration, logs,
// pid file and document root in a temporary folder of its own. It runs in the
// foreground as one process, so that stopping it is a kill and a wait.
// Throws std::runtime_error when it cannot be started: a missing nginx is a
// failure, not a reason to skip.
class NginxServer {
public:
    NginxServer();
    ~NginxServer();  // stops it and waits for its end
    NginxServer(const NginxServer&) = delete;
    NginxServer& operator=(const NginxServer&) = delete;

    // Writes a file under the document root; nginx reads it at each request.
    void WriteFile(const std::string& name, const std::string& bytes) const;
    std::string Url(const std::string& path) const;
    std::string ErrorLog() const;

private:
    // True once it listens on `port`; false when it ended first (the port
    // was taken meanwhile) or was not ready in time.
    bool StartOn(int port);
    void Stop();

    TempDir dir_;
    pid_t pid_ = -1;
    int port_ = 0;
};

}  // namespace qv::test
