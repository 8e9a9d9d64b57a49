#include "support/NginxServer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

extern char** environ;

namespace qv::test {

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kNginx = "/usr/sbin/nginx";
constexpr int kAttempts = 5;

// A port that was free a moment ago; nginx may still lose it to another
// process, which the caller handles by trying again.
int FreePort() {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    const bool bound = bind(fd, reinterpret_cast<sockaddr*>(&address), length) == 0 &&
                       getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0;
    close(fd);
    if (!bound) throw std::runtime_error("no free port on 127.0.0.1");
    return ntohs(address.sin_port);
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

// Every path nginx would otherwise take from its build (under /var) lies in
// `dir`, so that it needs no rights beyond the test's own.
std::string Config(const std::string& dir, int port) {
    std::ostringstream config;
    config << "daemon off;\n"
           << "master_process off;\n"
           << "pid " << dir << "/nginx.pid;\n"
           << "error_log " << dir << "/error.log;\n"
           << "events { worker_connections 16; }\n"
           << "http {\n"
           << "  access_log " << dir << "/access.log;\n"
           << "  client_body_temp_path " << dir << "/body;\n"
           << "  proxy_temp_path " << dir << "/proxy;\n"
           << "  fastcgi_temp_path " << dir << "/fastcgi;\n"
           << "  uwsgi_temp_path " << dir << "/uwsgi;\n"
           << "  scgi_temp_path " << dir << "/scgi;\n"
           << "  types { text/html html; application/octet-stream bin; }\n"
           << "  server {\n"
           << "    listen 127.0.0.1:" << port << ";\n"
           << "    root " << dir << "/root;\n"
           << "  }\n"
           << "}\n";
    return config.str();
}

}  // namespace

NginxServer::NginxServer() {
    if (access(kNginx, X_OK) != 0) {
        throw std::runtime_error(std::string(kNginx) + " is missing: install nginx-light (scripts/setup.sh)");
    }
    std::filesystem::create_directory(dir_.File("root"));
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (StartOn(FreePort())) return;
    }
    throw std::runtime_error("nginx did not start:\n" + ErrorLog());
}

NginxServer::~NginxServer() {
    Stop();
}

bool NginxServer::StartOn(int port) {
    std::ofstream(dir_.File("nginx.conf")) << Config(dir_.Path(), port);
    std::filesystem::remove(dir_.File("nginx.pid"));
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    // What it says before it has read its configuration lands in the log too.
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, dir_.File("error.log").c_str(),
                                     O_WRONLY | O_CREAT | O_APPEND, 0600);
    const std::string prefix = dir_.Path() + "/";
    const std::string conf = dir_.File("nginx.conf");
    const std::string log = dir_.File("error.log");
    const char* argv[] = {kNginx, "-p", prefix.c_str(), "-c", conf.c_str(), "-e", log.c_str(), nullptr};
    const int spawned = posix_spawn(&pid_, kNginx, &actions, nullptr, const_cast<char**>(argv), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0) throw std::runtime_error(std::string("cannot start ") + kNginx);

    const auto deadline = Clock::now() + std::chrono::seconds(10);
    while (Clock::now() < deadline) {
        if (waitpid(pid_, nullptr, WNOHANG) == pid_) {
            pid_ = -1;
            return false;
        }
        // It writes its pid file once its listening socket is bound: from then
        // on the port is its own and connections wait in its backlog.
        if (ReadFile(dir_.File("nginx.pid")) == std::to_string(pid_) + "\n") {
            port_ = port;
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    Stop();
    return false;
}

void NginxServer::Stop() {
    if (pid_ < 0) return;
    kill(pid_, SIGTERM);
    const auto deadline = Clock::now() + std::chrono::seconds(5);
    while (waitpid(pid_, nullptr, WNOHANG) != pid_) {
        if (Clock::now() >= deadline) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    pid_ = -1;
}

void NginxServer::WriteFile(const std::string& name, const std::string& bytes) const {
    std::ofstream(dir_.File("root/" + name), std::ios::binary) << bytes;
}

std::string NginxServer::Url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(port_) + path;
}

std::string NginxServer::ErrorLog() const {
    return ReadFile(dir_.File("error.log"));
}

}  // namespace qv::test
