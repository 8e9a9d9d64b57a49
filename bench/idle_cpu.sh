#!/usr/bin/env bash
# CPU time of the assistant over a minute of idleness with a peer connected:
# with its window on a virtual screen, and headless. Goal: under 0.5 percent of
# one core each. Runs in a private /tmp, so a real assistant is not disturbed.
# Usage: bench/idle_cpu.sh path/to/qvassistant [seconds]
set -euo pipefail
if [ "${QV_PRIVATE_TMP:-}" != 1 ]; then
  exec unshare --mount --propagation private env QV_PRIVATE_TMP=1 "$0" "$@"
fi
mount -t tmpfs tmpfs /tmp
mkdir -p /tmp/.X11-unix && chmod 1777 /tmp/.X11-unix
assistant=$(realpath "$1")
seconds=${2:-60}
ticks=$(getconf CLK_TCK)

cpu_ticks() { awk '{print $14 + $15}' "/proc/$1/stat"; }

# Holds the channel open without a word, as an idle Quorvane does.
hold_peer() { python3 -c 'import socket,sys,time; s=socket.socket(socket.AF_UNIX); s.connect("/tmp/qvipc"); time.sleep(float(sys.argv[1]))' "$1"; }

measure() {  # $1: label; environment decides windowed or headless
  rm -f /tmp/qvipc
  "$assistant" 2>/dev/null &
  local pid=$!
  for _ in $(seq 100); do [ -S /tmp/qvipc ] && break; sleep 0.1; done
  hold_peer $((seconds + 5)) &
  local peer=$!
  sleep 2  # past start-up
  local before after
  before=$(cpu_ticks "$pid")
  sleep "$seconds"
  after=$(cpu_ticks "$pid")
  kill "$pid" "$peer" 2>/dev/null || true
  wait "$pid" "$peer" 2>/dev/null || true
  awk -v label="$1" -v used="$((after - before))" -v hz="$ticks" -v s="$seconds" 'BEGIN {
    pct = 100 * used / hz / s
    printf "%-9s %.3f%% of one core over %d s (%s)\n", label, pct, s, pct < 0.5 ? "goal met" : "GOAL MISSED"
  }'
}

Xvfb :97 -screen 0 800x600x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
trap 'kill $xvfb 2>/dev/null || true' EXIT
sleep 1
DISPLAY=:97 measure windowed
(unset DISPLAY; measure headless)
