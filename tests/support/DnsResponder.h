#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "foundation/Descriptor.h"
#include "foundation/RunLoop.h"

namespace qv::test {

// A name server on 127.0.0.1 (a port the system chose), answering on the
// test's own loop: A and AAAA questions for the names it knows, "no such
// name" for the others. Point a resolver at it with a configuration file of
// `nameserver 127.0.0.1` and its port.
class DnsResponder {
public:
    explicit DnsResponder(RunLoop& loop);
    std::uint16_t Port() const { return port_; }
    // `addresses` in text form, of either family, in the order they are given.
    void Serve(const std::string& name, std::vector<std::string> addresses) { names_[name] = std::move(addresses); }

private:
    void Answer();

    Descriptor fd_;
    std::uint16_t port_ = 0;
    RunLoop::Watch watch_;
    std::map<std::string, std::vector<std::string>> names_;
};

}  // namespace qv::test
