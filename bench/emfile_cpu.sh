#!/usr/bin/env bash
# CPU time of the assistant over 5 seconds in which it has no descriptor to
# spare (its limit lowered to the descriptors it holds, as `prlimit` does to a
# running process) while peers knock at its channel: the first knock becomes
# its peer, the others find it out of descriptors. Goal: under 1 percent of one
# core. Prints one line of JSON. Runs in a private /tmp.
# Usage: bench/emfile_cpu.sh path/to/qvassistant [seconds]
set -euo pipefail
if [ "${QV_PRIVATE_TMP:-}" != 1 ]; then
  exec unshare --mount --propagation private env QV_PRIVATE_TMP=1 "$0" "$@"
fi
mount -t tmpfs tmpfs /tmp
assistant=$(realpath "$1")
seconds=${2:-5}
ticks=$(getconf CLK_TCK)
cpu_ticks() { awk '{print $14 + $15}' "/proc/$1/stat"; }

env -u DISPLAY "$assistant" 2>/dev/null &
pid=$!
trap 'kill $pid 2>/dev/null || true' EXIT
for _ in $(seq 100); do [ -S /tmp/qvipc ] && break; sleep 0.05; done
# The limit is one above the highest descriptor number that may be opened: at
# the lowest number not in use, every new descriptor fails.
held=$(ls "/proc/$pid/fd" | sort -n | awk '$1 == n { n++ } END { print n + 0 }' n=0)
prlimit --pid "$pid" --nofile="$held:$(prlimit --pid "$pid" --nofile --raw --noheadings | awk '{print $3}')"

# Knocks until the time is up, each knock waiting up to 0.2 s for an answer.
python3 - "$seconds" <<'PY' &
import socket, sys, time
end = time.monotonic() + float(sys.argv[1])
held = []
while time.monotonic() < end:
    s = socket.socket(socket.AF_UNIX)
    s.settimeout(0.2)
    try:
        s.connect("/tmp/qvipc")
        s.recv(1)
    except OSError:
        pass
    held.append(s)
    time.sleep(0.05)
PY
knocker=$!
before=$(cpu_ticks "$pid")
sleep "$seconds"
after=$(cpu_ticks "$pid")
wait "$knocker" || true
awk -v used="$((after - before))" -v hz="$ticks" -v s="$seconds" -v held="$held" 'BEGIN {
  printf "{\"cpu_percent\": %.3f, \"seconds\": %d, \"descriptors\": %d}\n", 100 * used / hz / s, s, held
}'
