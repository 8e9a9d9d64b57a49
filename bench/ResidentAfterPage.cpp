// Resident memory of an assistant that has fetched one large page and then a
// few small ones and a Status, against the same process idle before it: what a
// long-lived process keeps of a large job. A process of its own, so that
// nothing measured before is in its heap.
//
// Usage: qvbench_resident [MiB]   (512 by default)
// Prints one JSON object: the page size and the resident set in KiB idle,
// right after the large page and after the small ones.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include "ChannelRig.h"
#include "Inputs.h"

namespace {

long ResidentKiB() {
    std::ifstream statm("/proc/self/statm");
    long pages = 0;
    long resident = 0;
    statm >> pages >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

// A web server on 127.0.0.1 that answers each request with `body` and closes,
// on a thread of its own, as a server in another process would.
class PageServer {
public:
    explicit PageServer(std::string body) : body_(std::move(body)) {
        fd_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        bind(fd_, reinterpret_cast<sockaddr*>(&address), length);
        listen(fd_, 4);
        getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &length);
        port_ = ntohs(address.sin_port);
        thread_ = std::thread([this] { Serve(); });
    }
    ~PageServer() {
        shutdown(fd_, SHUT_RDWR);
        thread_.join();
        close(fd_);
    }
    std::string Url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/"; }

private:
    void Serve() {
        for (int connection; (connection = accept(fd_, nullptr, nullptr)) >= 0; close(connection)) {
            char request[4096];
            if (read(connection, request, sizeof request) <= 0) continue;
            const std::string head = "HTTP/1.0 200 OK\r\nContent-Length: " + std::to_string(body_.size()) + "\r\n\r\n";
            std::string_view rest = head;
            for (const std::string_view part : {std::string_view(head), std::string_view(body_)}) {
                for (rest = part; !rest.empty();) {
                    const ssize_t n = write(connection, rest.data(), rest.size());
                    if (n <= 0) break;
                    rest.remove_prefix(static_cast<std::size_t>(n));
                }
            }
        }
    }

    std::string body_;
    int fd_ = -1;
    int port_ = 0;
    std::thread thread_;
};

}  // namespace

int main(int argc, char** argv) {
    const std::size_t mebibytes = argc == 2 ? std::strtoul(argv[1], nullptr, 10) : 512;
    const std::size_t pageBytes = mebibytes << 20;
    qv::bench::ChannelRig rig;
    if (!rig.Ready()) {
        std::fprintf(stderr, "the channel did not come up\n");
        return 1;
    }
    const bool ok = [&] {
        PageServer small(qv::bench::HtmlText(64 * 1024));
        if (!rig.Fetch(small.Url())) return false;  // one page first: what everyday use holds
        const long idle = ResidentKiB();
        long afterLarge = 0;
        {
            PageServer large(qv::bench::HtmlText(pageBytes));
            if (!rig.Fetch(large.Url())) return false;
            afterLarge = ResidentKiB();
        }
        for (int i = 0; i < 4; ++i) {
            if (!rig.Fetch(small.Url())) return false;
        }
        if (!rig.Status()) return false;
        std::printf("{\"page_bytes\": %zu, \"idle_kib\": %ld, \"after_large_kib\": %ld, \"after_kib\": %ld}\n",
                    pageBytes, idle, afterLarge, ResidentKiB());
        return true;
    }();
    if (!ok) std::fprintf(stderr, "a reply did not come\n");
    return ok ? 0 : 1;
}
