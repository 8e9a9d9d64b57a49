#include "Nginx.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>
#include <vector>

extern char** environ;

namespace qv::bench {

namespace {

sockaddr_in Loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return address;
}

// A port that is free now; another process may still take it first.
int FreePort() {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = Loopback(0);
    socklen_t length = sizeof address;
    int port = 0;
    if (fd >= 0 && bind(fd, reinterpret_cast<sockaddr*>(&address), length) == 0 &&
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
        port = ntohs(address.sin_port);
    }
    if (fd >= 0) close(fd);
    return port;
}

bool Accepts(int port) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = Loopback(port);
    const bool accepted =
        fd >= 0 && connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    if (fd >= 0) close(fd);
    return accepted;
}

// One process in the foreground, everything it writes kept in `dir`, and the
// file served by sendfile as a production set-up would.
std::string Configuration(const std::string& dir, int port) {
    std::ostringstream text;
    text << "daemon off;\n"
         << "master_process off;\n"
         << "pid " << dir << "/nginx.pid;\n"
         << "error_log " << dir << "/error.log;\n"
         << "events { worker_connections 64; }\n"
         << "http {\n"
         << "  access_log off;\n";
    for (const char* kind : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"}) {
        text << "  " << kind << "_temp_path " << dir << "/temp/" << kind << ";\n";
    }
    text << "  default_type application/octet-stream;\n"
         << "  sendfile on;\n"
         << "  server { listen 127.0.0.1:" << port << "; root " << dir << "/root; }\n"
         << "}\n";
    return text.str();
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

}  // namespace

Nginx::Nginx(const std::string& name, const std::string& body) {
    char pattern[] = "/tmp/qvbench-nginx-XXXXXX";
    if (!mkdtemp(pattern)) {
        problem_ = "no temporary folder";
        return;
    }
    dir_ = pattern;
    std::filesystem::create_directories(dir_ + "/root");
    std::filesystem::create_directories(dir_ + "/temp");
    std::ofstream(dir_ + "/root/" + name, std::ios::binary) << body;
    // The free port may be taken before nginx binds it; then another one.
    for (int attempt = 0; attempt < 3 && !Running(); ++attempt) Start(FreePort());
}

Nginx::~Nginx() {
    Stop();
    if (!dir_.empty()) std::filesystem::remove_all(dir_);
}

std::string Nginx::Url(const std::string& name) const {
    return "http://127.0.0.1:" + std::to_string(port_) + "/" + name;
}

bool Nginx::Start(int port) {
    const std::string config = dir_ + "/nginx.conf";
    std::ofstream(config) << Configuration(dir_, port);
    const std::string errorLog = dir_ + "/error.log";

    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&files, 2, errorLog.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    // Debian installs it in /usr/sbin, which an ordinary user's PATH may lack.
    const std::string program = std::filesystem::exists("/usr/sbin/nginx") ? "/usr/sbin/nginx" : "nginx";
    std::vector<std::string> args = {program, "-p", dir_, "-c", config, "-e", errorLog};
    std::vector<char*> argv;
    for (std::string& arg : args) argv.push_back(arg.data());
    argv.push_back(nullptr);
    pid_t pid = -1;
    const int spawned = posix_spawnp(&pid, program.c_str(), &files, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    if (spawned != 0) {
        problem_ = "cannot start nginx (Debian's nginx-light): " + std::string(strerror(spawned));
        return false;
    }

    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (std::chrono::steady_clock::now() < deadline) {
        int status = 0;
        if (waitpid(pid, &status, WNOHANG) == pid) {
            problem_ = "nginx ended at once: " + ReadFile(errorLog);
            return false;
        }
        if (Accepts(port)) {
            pid_ = pid;
            port_ = port;
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    problem_ = "nginx did not come up: " + ReadFile(errorLog);
    return false;
}

void Nginx::Stop() {
    if (pid_ <= 0) return;
    kill(pid_, SIGTERM);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
}

}  // namespace qv::bench
