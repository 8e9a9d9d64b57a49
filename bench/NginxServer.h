#pragma once

#include <sys/types.h>

#include <string>

#include "support/Support.h"

namespace qv::test {

// The peer of the receive benchmark: a real nginx on 127.0.0.1, on a free port, with its configuration, logs and
// document root in a temporary folder of its own, in the foreground as one
// process. Throws std::runtime_error when it cannot start.
class NginxServer {
public:
    NginxServer();
    ~NginxServer();
    NginxServer(const NginxServer&) = delete;
    NginxServer& operator=(const NginxServer&) = delete;

    // A file under the document root; nginx reads it at each request.
    void WriteFile(const std::string& name, const std::string& bytes) const;
    std::string Url(const std::string& path) const;

private:
    TempDir dir_;
    pid_t pid_ = -1;
    int port_ = 0;
};

}  // namespace qv::test
