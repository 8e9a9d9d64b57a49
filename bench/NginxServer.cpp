#include "NginxServer.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

extern char** environ;

namespace qv::test {

NginxServer::NginxServer() {
    std::filesystem::create_directory(dir_.File("root"));
    const std::string d = dir_.Path();
    const std::string pidFile = dir_.File("nginx.pid");
    // A port that was free a moment ago may be taken meanwhile: a few tries.
    for (int attempt = 0; attempt < 5 && port_ == 0; ++attempt) {
        const int port = TcpListener().Port();
        std::ofstream(dir_.File("nginx.conf"))
            << "daemon off;\nmaster_process off;\npid " << pidFile << ";\nerror_log " << d << "/error.log;\n"
            << "events {}\nhttp {\n  access_log off;\n  client_body_temp_path " << d << ";\n  proxy_temp_path "
            << d << ";\n  fastcgi_temp_path " << d << ";\n  uwsgi_temp_path " << d << ";\n  scgi_temp_path " << d
            << ";\n  server { listen 127.0.0.1:" << port << "; root " << d << "/root; }\n}\n";
        std::filesystem::remove(pidFile);
        const std::string prefix = d + "/", conf = dir_.File("nginx.conf");
        const char* argv[] = {"/usr/sbin/nginx", "-p", prefix.c_str(), "-c", conf.c_str(), "-e", "stderr", nullptr};
        if (posix_spawn(&pid_, argv[0], nullptr, nullptr, const_cast<char**>(argv), environ) != 0) break;
        // It writes its pid file once its socket is bound; then connections wait in its backlog.
        for (int wait = 0; wait < 1000 && port_ == 0; ++wait) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            std::ifstream in(pidFile);
            if (std::string(std::istreambuf_iterator<char>(in), {}) == std::to_string(pid_) + "\n") port_ = port;
            if (port_ == 0 && waitpid(pid_, nullptr, WNOHANG) == pid_) pid_ = -1;  // it lost the port
            if (pid_ < 0) break;
        }
        if (port_ == 0 && pid_ > 0) kill(pid_, SIGKILL), waitpid(pid_, nullptr, 0);
    }
    if (port_ == 0) throw std::runtime_error("nginx did not start (is nginx-light installed?)");
}

NginxServer::~NginxServer() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
}

void NginxServer::WriteFile(const std::string& name, const std::string& bytes) const {
    std::ofstream(dir_.File("root/" + name), std::ios::binary) << bytes;
}

std::string NginxServer::Url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(port_) + path;
}

}  // namespace qv::test
