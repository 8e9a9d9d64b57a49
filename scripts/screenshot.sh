#!/usr/bin/env bash
# Makes docs/window.png, the README's picture of the window: the assistant on
# an Xvfb screen in a private /tmp, with a peer connected. Builds first.
set -euo pipefail
cd "$(dirname "$0")/.."
if [ -z "${QV_PRIVATE_TMP:-}" ]; then
  scripts/setup.sh
  for tool in xdotool:xdotool import:imagemagick; do
    command -v "${tool%%:*}" >/dev/null || { [ "$(id -u)" -eq 0 ] && apt-get install -y -qq "${tool#*:}" >/dev/null; }
  done
  cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
  cmake --build build --target qvassistant
  private=(unshare --mount)
  [ "$(id -u)" -eq 0 ] || private=(unshare --user --map-root-user --mount)
  exec env QV_PRIVATE_TMP=1 "${private[@]}" bash -c 'mount -t tmpfs tmpfs /tmp && exec bash "$0"' "$0"
fi
pids=()
trap 'for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done; wait 2>/dev/null || true' EXIT
exec 4<> <(:)
Xvfb -displayfd 4 -screen 0 800x600x24 -nolisten tcp >/dev/null 2>&1 &
pids+=($!)
read -r -t 10 number <&4
export DISPLAY=":$number"
build/bin/qvassistant 2>/dev/null &
pids+=($!)
window=$(timeout 10 xdotool search --sync --onlyvisible --name '^QVAssistant$' | head -n1)
for _ in $(seq 50); do [ -S /tmp/qvipc ] && break; sleep 0.1; done
python3 -c 'import socket, time; s = socket.socket(socket.AF_UNIX); s.connect("/tmp/qvipc"); time.sleep(3)' &
pids+=($!)
sleep 1
import -window "$window" docs/window.png
echo "docs/window.png written"
