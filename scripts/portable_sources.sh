#!/usr/bin/env bash
# Fails on what ties the sources in the folder given (src/) to Linux outside
# the platform layer (foundation/platform/): the flags and names that no
# import list shows, an abstract socket name, and the Linux-only calls.
set -euo pipefail
flags='\b(SOCK_NONBLOCK|SOCK_CLOEXEC|MSG_NOSIGNAL|SO_PEERCRED|ucred|__linux__|CLOCK_BOOTTIME|O_PATH|O_TMPFILE)\b|/run/user|sun_path\[0\]|"\\0'
calls='(^|[^.>])\b(accept4|pipe2|dup3|copy_file_range|splice|vmsplice|sendfile|signalfd|epoll_[a-z_]+|inotify_[a-z_]+|eventfd|timerfd_[a-z]+|memfd_create|prctl|ppoll|getrandom|fallocate|statx|renameat2)\s*\('
found=$(grep -rnE --include='*.cpp' --include='*.h' --exclude-dir=platform "$flags|$calls" "$1" || true)
[ -z "$found" ] || { echo "Linux-only outside the platform layer:"; echo "$found"; exit 1; }
[ -n "$(find "$1" -name '*.cpp')" ] || { echo "no sources in $1"; exit 1; }
