#!/usr/bin/env bash
# Fails when a program given imports a C library function that macOS lacks:
# the portable build must call none of Linux's own.
set -euo pipefail
lacking='^(accept4|pipe2|dup3|copy_file_range|splice|vmsplice|tee|sendfile(64)?|signalfd(64)?|epoll_.*|inotify_.*|eventfd(_read|_write)?|timerfd_.*|memfd_create|prctl|ppoll|getrandom|fallocate(64)?|posix_fallocate(64)?|sync_file_range|syncfs|statx|renameat2|mremap|recvmmsg|sendmmsg|gettid|sched_[gs]etaffinity|clone3?|unshare|setns|pidfd_.*|close_range|fanotify_.*|getauxval|secure_getenv)$'
status=0
for program in "$@"; do
  imports=$(nm -D --undefined-only "$program" | awk '{ sub(/@.*/, "", $NF); print $NF }')
  [ -n "$imports" ] || { echo "no imports read from $program"; exit 1; }
  if found=$(grep -E "$lacking" <<<"$imports"); then
    echo "$program imports what macOS lacks:" $found
    status=1
  fi
done
exit $status
