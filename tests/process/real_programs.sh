#!/usr/bin/env bash
# The real qvassistant and qvctl, in what only real processes show: start-up,
# the socket's mode, the end with the peer or by a signal, a stale or a lost
# display, qvctl's exit codes and messages, and one fetch from a real nginx.
# It runs in a mount namespace of its own with an empty /tmp, so the machine's
# /tmp/qvipc is never touched; exits 77 (skipped) where no namespace can be made.
set -euo pipefail
source "$(dirname "$0")/common.sh"
private_tmp "$@"
assistant=$1 qvctl=$2
channel=/tmp/qvipc
work=$(mktemp -d /tmp/qvtest.XXXXXX)
pids=()
trap 'for p in "${pids[@]}"; do kill -9 "$p" 2>/dev/null || true; done' EXIT
# Holds the channel open and silent until killed, as Quorvane does between commands.
peer() { python3 -c 'import socket, time; s = socket.socket(socket.AF_UNIX); s.connect("/tmp/qvipc"); time.sleep(60)' & pids+=($!); peer_pid=$!; }
start() {
  "$assistant" 2>"$work/err" & pids+=($!); assistant_pid=$!
  for _ in $(seq 100); do [ -S $channel ] && return 0; sleep 0.05; done
  local status=running
  kill -0 "$assistant_pid" 2>/dev/null || { status=0; wait "$assistant_pid" || status=$?; }
  fail "no socket at $channel (line ${BASH_LINENO[0]}, $status): $(cat "$work/err"); $(ls -la /tmp)"
}
ends_with_zero() {
  for _ in $(seq 100); do kill -0 "$assistant_pid" 2>/dev/null || break; sleep 0.05; done
  local status=0
  wait "$assistant_pid" || status=$?
  [ "$status" = 0 ] || fail "exit status $status after $1"
  [ ! -e $channel ] || fail "socket file left behind after $1"
}

# A stale DISPLAY (a closed SSH forwarding) leaves it headless, not aborted.
DISPLAY=:87 start
[ "$(stat -c %a $channel)" = 600 ] || fail "socket mode $(stat -c %a $channel)"
sleep 0.3
kill -0 "$assistant_pid" || fail "ended without a peer"
# A peer of another user (only a real root can be one) is refused without a
# word, even where the file lets it in.
if [ "$QV_PRIVATE_TMP" = root ]; then
  chmod 666 $channel
  [ "$(setpriv --reuid=65534 --regid=65534 --clear-groups /usr/bin/python3 -c 'import socket; s = socket.socket(socket.AF_UNIX)
s.connect("/tmp/qvipc"); s.settimeout(3); print(s.recv(1) or "closed")')" = closed ] || fail "another user's peer was heard"
fi
peer
wait_for 'grep -q "Connected to Quorvane" $work/err' "no peer logged"
[ "$(cat "$work/err")" = $'Connecting to Quorvane...\nConnected to Quorvane...' ] || fail "log: $(cat "$work/err")"
kill "$peer_pid"
ends_with_zero "its peer left"
[ "$(ls -A /tmp)" = "$(basename "$work")" ] || fail "left in /tmp: $(ls -A /tmp)"
for signal in TERM HUP; do
  start
  kill -$signal "$assistant_pid"
  ends_with_zero "SIG$signal"
done

# A socket file that someone deletes before the peer came: the assistant ends
# within 5 s, and the next start serves.
start
rm $channel
for _ in $(seq 120); do kill -0 "$assistant_pid" 2>/dev/null || break; sleep 0.05; done
kill -0 "$assistant_pid" 2>/dev/null && fail "still running with its socket file gone"
wait "$assistant_pid" || fail "exit status $? after its socket file went"
start
"$qvctl" status >/dev/null || fail "no status after a deleted socket file"
ends_with_zero "qvctl left after the restart"

# Another user can hold nothing that keeps the assistant from starting: not
# the name of a lock beside the socket, nor any abstract socket name. A file
# of theirs at the path itself does block, and is left alone.
if [ "$QV_PRIVATE_TMP" = root ]; then
  holder='import fcntl, os, socket, sys, time
info = os.stat("/tmp")
names = [f"qvassistant:{uid}:{info.st_dev}:{info.st_ino}:qvipc" for uid in (0, os.getuid())]
held = [socket.socket(socket.AF_UNIX) for _ in names]
for s, name in zip(held, names): s.bind("\0" + name)
lock = open(f"/tmp/.qvassistant-{info.st_dev}-{info.st_ino}-qvipc.lock", "w")
fcntl.flock(lock, fcntl.LOCK_EX)
print("held", flush=True)
time.sleep(60)'
  setpriv --reuid=65534 --regid=65534 --clear-groups /usr/bin/python3 -c "$holder" >"$work/holder" & pids+=($!); holder_pid=$!
  wait_for 'grep -q held "$work/holder"' "the other user's holder did not start"
  start
  "$qvctl" status >/dev/null || fail "another user's holder kept the assistant out"
  ends_with_zero "qvctl left, with another user's holder about"
  kill "$holder_pid"
  setpriv --reuid=65534 --regid=65534 --clear-groups touch $channel
  "$assistant" 2>/dev/null || fail "exit status $? with another user's file at the path"
  [ -f $channel ] && [ "$(stat -c %u $channel)" = 65534 ] || fail "another user's file at the path was touched"
  rm $channel
fi

# qvctl's 3, and what it says: no assistant; a socket file that nothing listens
# on; an assistant busy with its peer.
unreached() {
  local status=0
  "$qvctl" status 2>"$work/out" || status=$?
  [ "$status" = 3 ] && grep -q "^qvctl: $1" "$work/out" || fail "$1: $status $(cat "$work/out")"
}
unreached "no assistant at /tmp/qvipc (no socket file): start it with qvassistant"
python3 -c 'import socket; socket.socket(socket.AF_UNIX).bind("/tmp/qvipc")'
unreached "nothing listens at /tmp/qvipc: the assistant has ended"
rm /tmp/qvipc
start
peer
wait_for 'grep -q "Connected to Quorvane" $work/err' "no peer logged"
unreached "the assistant at /tmp/qvipc is busy with another peer"
kill "$peer_pid"
ends_with_zero "the busy assistant's peer left"

# One page from a real nginx, byte for byte, and exit 4 for a refused fetch.
port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
mkdir -p "$work/www"
printf '\x89PNG\0\r\n\r\n\x7f\xfe end' >"$work/www/data.bin"
cat >"$work/nginx.conf" <<EOF
daemon off; master_process off; pid $work/nginx.pid; error_log $work/nginx.log;
events {}
http { access_log off; client_body_temp_path $work; proxy_temp_path $work; fastcgi_temp_path $work;
       uwsgi_temp_path $work; scgi_temp_path $work; server { listen 127.0.0.1:$port; root $work/www; } }
EOF
/usr/sbin/nginx -p "$work/" -c "$work/nginx.conf" -e "$work/nginx.log" & pids+=($!)
wait_for '[ -s $work/nginx.pid ]' "nginx did not start"
start
"$qvctl" get --wait 15 "http://127.0.0.1:$port/data.bin" >"$work/page" 2>"$work/report" || fail "get: $?"
cmp -s "$work/page" "$work/www/data.bin" || fail "the page differs"
[ "$(head -n 4 "$work/report")" = $'Response: GetPageURL\nHTTPURL: http://127.0.0.1:'$port$'/data.bin\nHTTPStatus: 200\nHTTPError: 0' ] ||
  fail "report: $(cat "$work/report")"
grep -q "^Content-Length: $(stat -c %s "$work/www/data.bin")$" "$work/report" || fail "no length in the report"
ends_with_zero "the fetch"
start
status=0
"$qvctl" get --wait 15 "http://127.0.0.1:1/" 2>"$work/report" || status=$?
[ "$status" = 4 ] && [ "$(cat "$work/report")" = $'qvctl: the assistant could not fetch http://127.0.0.1:1/\n  HTTPError 102: connection refused, reset or lost, or the host unreachable' ] ||
  fail "refused fetch: $status $(cat "$work/report")"
ends_with_zero "the refused fetch"

# A source that keeps growing while it is copied, so that a copy runs until it
# is stopped.
head -c 1048576 /dev/urandom >"$work/growing.bin"
(while :; do head -c 65536 /dev/zero; sleep 0.01; done) >>"$work/growing.bin" & pids+=($!)
# SIGTERM in the middle of a copy ends the process at once, as the channel's
# loss would there: no end report, the partial file left as it is.
start
"$qvctl" copy --md5 cut-short "$work/growing.bin" "$work" partial.bin >"$work/cut" 2>&1 & copy_pid=$!
wait_for 'grep -q "Status: InProgress" $work/cut' "no progress report"
kill -TERM "$assistant_pid"
ends_with_zero "SIGTERM during a copy"
wait "$copy_pid" || true
! grep -q "Status: Complete\|Status: Abort" "$work/cut" || fail "an end report after SIGTERM"
[ -f "$work/partial.bin" ] || fail "the partial copy is gone"

# A real display that goes away while a peer is connected: Qt ends the
# process, and it ends as Quit(0) does.
if command -v Xvfb >/dev/null && [ -n "${QV_WITH_QT:-}" ]; then
  exec 4<> <(:)
  Xvfb -displayfd 4 -screen 0 640x480x24 -nolisten tcp >/dev/null 2>&1 & pids+=($!); xvfb_pid=$!
  read -r -t 10 display <&4 || fail "Xvfb did not start"
  DISPLAY=":$display" start
  peer
  sleep 0.5
  ! grep -q "Connecting to Quorvane" "$work/err" || fail "headless on a real display"
  kill "$xvfb_pid"
  ends_with_zero "the loss of the display"
fi
echo "process tests passed"
