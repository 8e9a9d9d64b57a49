#pragma once

#include <sys/socket.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "foundation/Resolver.h"
#include "foundation/SocketCore.h"

namespace qv {

// A TCP client socket. Connect returns at once: the name lookup (c-ares) and
// the connect both run under the loop, and Connected or Error follows. A name
// with several addresses is connected to as ConnectionRace does it.
class TCPSocket : public SocketCore {
public:
    explicit TCPSocket(RunLoop& loop);
    ~TCPSocket() override;

    const String& Address() const { return address_; }
    void SetAddress(const String& address) { address_ = address; }
    // Reads back what was set; 0 means none.
    std::int32_t Port() const { return port_; }
    void SetPort(std::int32_t port) { port_ = port; }
    // Where names are looked up from the next Connect on; the system's
    // configuration unless a test says otherwise.
    void SetResolverSettings(ResolverSettings settings);

    // Connects to Address and Port, ending any connection or attempt before.
    // Virtual so that a harness can hand over a connected socket pair instead.
    virtual void Connect();

protected:
    void OnClose() override;

private:
    String address_;
    std::int32_t port_ = 0;
    ResolverSettings resolverSettings_;
    std::unique_ptr<Resolver> resolver_;
};

}  // namespace qv
