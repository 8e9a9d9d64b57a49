#include "support/DnsResponder.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <stdexcept>

namespace qv::test {

namespace {

constexpr std::uint16_t kTypeA = 1;
constexpr std::uint16_t kTypeAAAA = 28;
constexpr std::size_t kHeader = 12;

void PutShort(std::string& out, std::uint16_t value) {
    out.push_back(static_cast<char>(value >> 8));
    out.push_back(static_cast<char>(value & 0xFF));
}

}  // namespace

DnsResponder::DnsResponder(RunLoop& loop) : fd_(socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (bind(fd_.Get(), reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        getsockname(fd_.Get(), reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        throw std::runtime_error("cannot serve names on 127.0.0.1");
    }
    port_ = ntohs(address.sin_port);
    watch_ = loop.AddWatch(fd_.Get(), POLLIN, [this](short) { Answer(); });
}

void DnsResponder::Answer() {
    char query[512];
    sockaddr_storage from{};
    socklen_t fromLength = sizeof from;
    const ssize_t got = recvfrom(fd_.Get(), query, sizeof query, 0, reinterpret_cast<sockaddr*>(&from), &fromLength);
    if (got < static_cast<ssize_t>(kHeader) + 5) return;
    // The question: labels up to the empty one, then its type and class.
    std::string name;
    std::size_t at = kHeader;
    while (at < static_cast<std::size_t>(got) && query[at] != 0) {
        const auto label = static_cast<std::size_t>(static_cast<unsigned char>(query[at]));
        if (!name.empty()) name += '.';
        name.append(query + at + 1, std::min(label, static_cast<std::size_t>(got) - at - 1));
        at += label + 1;
    }
    const std::size_t questionEnd = at + 5;
    if (questionEnd > static_cast<std::size_t>(got)) return;
    const auto type = static_cast<std::uint16_t>((static_cast<unsigned char>(query[at + 1]) << 8) |
                                                  static_cast<unsigned char>(query[at + 2]));
    const auto known = names_.find(name);
    std::string records;
    std::uint16_t count = 0;
    for (const std::string& text : known == names_.end() ? std::vector<std::string>{} : known->second) {
        unsigned char bytes[16];
        const bool v6 = text.find(':') != std::string::npos;
        if ((v6 ? kTypeAAAA : kTypeA) != type || inet_pton(v6 ? AF_INET6 : AF_INET, text.c_str(), bytes) != 1) continue;
        PutShort(records, 0xC00C);  // the name, as in the question
        PutShort(records, type);
        PutShort(records, 1);  // class IN
        records.append(4, '\0');  // TTL 0
        PutShort(records, v6 ? 16 : 4);
        records.append(reinterpret_cast<const char*>(bytes), v6 ? 16 : 4);
        ++count;
    }
    std::string reply(query, questionEnd);
    reply[2] = static_cast<char>(0x80 | (query[2] & 0x01));           // a response; recursion as asked
    reply[3] = static_cast<char>(0x80 | (known == names_.end() ? 3 : 0));  // recursion available; no such name
    reply[6] = static_cast<char>(count >> 8);
    reply[7] = static_cast<char>(count & 0xFF);
    reply.replace(8, 4, 4, '\0');
    reply += records;
    sendto(fd_.Get(), reply.data(), reply.size(), 0, reinterpret_cast<sockaddr*>(&from), fromLength);
}

}  // namespace qv::test
