#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

// Every call that differs between Linux and the BSD family (macOS, FreeBSD)
// lives in this folder and nowhere else. A Linux build takes Linux's own
// calls (QV_LINUX_CALLS); the portable build (-DQV_PORTABLE=ON, and every
// system but Linux) takes the POSIX forms that the BSD family runs, so Linux
// runs and tests them too. docs/ARCHITECTURE.md ("Platform calls") tables
// each call's forms and the tests that exercise them.
namespace qv::platform {

// A socket, or a connection taken from a listener: non-blocking and
// close-on-exec, and with SIGPIPE off where the system sets that per socket.
// -1 and errno on failure.
int MakeSocket(int family, int type);
int AcceptConnection(int listener);
// A non-blocking, close-on-exec pipe; false and errno on failure.
bool MakeSelfPipe(int ends[2]);

// send(2) that never raises SIGPIPE: a peer that is gone is EPIPE, as any
// other error. The process's own handling of SIGPIPE (qvctl's writes to a
// closed standard output) stays as it is.
ssize_t SendWithoutSignal(int fd, const void* bytes, std::size_t size);
// The user id of a local socket's peer; false when it cannot be told.
bool PeerUserId(int fd, uid_t& uid);

// Copies `length` bytes of `source` from `from` to `destination` at `to`, and
// gives the offset behind the last byte written there: `to + length` unless
// the source ended early or a write fell short. Only bytes: no metadata.
off_t CopyFileBytes(int source, off_t from, int destination, off_t to, std::uint64_t length);

// Time since boot on the clock that the desktop application reads for its
// tick count too, not counting sleep.
std::chrono::nanoseconds Uptime();

// The folder of this user's session that the system keeps for small files of
// its own, or the empty text where it has none. The caller checks that it is
// private before trusting it.
std::string SessionFolder();

}  // namespace qv::platform
