#pragma once

#include <cstdint>

namespace qv {

// The values of LastErrorCode. They reach Quorvane in "HTTPError: " lines, where
// 0, 1 and -1 already mean something else (no failure, the watchdog, no error
// line), so every socket failure is a small number from 100 up.
//
//   code  meaning                                   from
//   100   any other failure                         unexpected errno values
//   102   connection refused, reset, lost, or       ECONNREFUSED, ECONNRESET, EPIPE,
//         closed by the peer; host unreachable;     ETIMEDOUT, EHOSTUNREACH, ENETUNREACH,
//         connect timed out                         ECONNABORTED, end of stream
//   103   the host name cannot be resolved          the resolver
//   105   address in use: a live instance holds     EADDRINUSE, the channel's token
//         the channel path
//   106   invalid state: the path is not ours to    a regular file, symlink, folder or
//         take, or the socket cannot do this now    another user's file at the path
//   107   invalid port: not within 1 to 65535       Connect
//   108   out of resources                          ENOMEM, ENOBUFS, EMFILE, ENFILE
namespace SocketError {
inline constexpr std::int32_t Other = 100;
inline constexpr std::int32_t LostConnection = 102;
inline constexpr std::int32_t NameNotResolved = 103;
inline constexpr std::int32_t AddressInUse = 105;
inline constexpr std::int32_t InvalidState = 106;
inline constexpr std::int32_t InvalidPort = 107;
inline constexpr std::int32_t OutOfResources = 108;

std::int32_t FromErrno(int error);
}  // namespace SocketError

}  // namespace qv
