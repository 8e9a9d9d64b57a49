#pragma once

#include <cstdint>
#include <string>

namespace qv::test {

// A folder under /tmp for one test, removed with everything in it.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::string& Path() const { return path_; }
    std::string File(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

// A plain blocking TCP server on 127.0.0.1 with a port the system chose.
class TcpListener {
public:
    TcpListener();
    ~TcpListener();
    TcpListener(const TcpListener&) = delete;
    TcpListener& operator=(const TcpListener&) = delete;
    std::int32_t Port() const { return port_; }
    // Takes the next connection; -1 if none came within a few seconds.
    int Accept();
    // Takes a connection that is already waiting; -1 if there is none.
    int AcceptNow();
    void StopListening();

private:
    int fd_ = -1;
    std::int32_t port_ = 0;
};

// Blocking helpers on a plain descriptor.
void WriteAll(int fd, const std::string& bytes);
// Reads what arrives until the peer closes or nothing more comes for `quietMs`.
std::string ReadAvailable(int fd, int quietMs = 100);
// Closes with a reset instead of an orderly end.
void ResetConnection(int fd);
// Connects a plain local stream socket to `path`; -1 on failure.
int ConnectLocal(const std::string& path);

}  // namespace qv::test
