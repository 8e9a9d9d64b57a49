#!/usr/bin/env bash
# The assistant's real window under Xvfb: it appears with its title and size,
# Hide and Show from its peer change its visibility, Select All and Copy put
# the log on the clipboard, and Quit from the menu ends it with status 0.
# Leaves a screenshot of the window at the path given.
set -euo pipefail
assistant=$1 qvctl=$2 screenshot=$3
channel=/tmp/qvipc
work=$(mktemp -d)
pids=()
cleanup() {
  for ((i = ${#pids[@]} - 1; i >= 0; i--)); do kill "${pids[i]}" 2>/dev/null || true; done
  wait 2>/dev/null || true
  rm -rf "$work"
  rm -f "$channel"
}
trap cleanup EXIT
fail() { echo "FAILED: $*"; exit 1; }

display=""
for n in $(seq 90 120); do
  if [ ! -e "/tmp/.X$n-lock" ] && [ ! -e "/tmp/.X11-unix/X$n" ]; then display=":$n"; break; fi
done
[ -n "$display" ] || fail "no free display number"
Xvfb "$display" -screen 0 800x600x24 -nolisten tcp >"$work/xvfb.log" 2>&1 &
pids+=($!)
export DISPLAY=$display
for _ in $(seq 100); do xdotool getdisplaygeometry >/dev/null 2>&1 && break; sleep 0.1; done

# A peer as Quorvane is: frames of packed commands on the channel. A step
# "wait" holds until the script writes a line to the peer's input, "hold"
# stays connected and silent for 30 s.
cat >"$work/peer.py" <<'PY'
import base64, socket, sys, time, zlib
path, *steps = sys.argv[1:]
s = socket.socket(socket.AF_UNIX)
s.connect(path)
def frame(word):
    text = ("Command:" + word + "\r").encode()
    packed = bytes([len(text) & 255, (len(text) >> 8) & 255, len(text) >> 16]) + zlib.compress(text)
    return b"Start_" + base64.b64encode(packed) + b"_End"
for step in steps:
    if step == "wait":
        sys.stdin.readline()
    elif step == "hold":
        time.sleep(30)
    else:
        s.sendall(frame(step))
time.sleep(0.2)
PY
visible() { xdotool search --onlyvisible --name '^QVAssistant$' >/dev/null 2>&1; }
wait_until() {
  for _ in $(seq 60); do "$@" && return 0; sleep 0.1; done
  return 1
}

rm -f "$channel"
"$assistant" 2>"$work/assistant.err" &
assistant_pid=$!
pids+=($assistant_pid)
window=$(timeout 10 xdotool search --sync --name '^QVAssistant$' | head -n1) || fail "no window"
geometry=$(xdotool getwindowgeometry "$window" | awk '/Geometry/ {print $2}')
width=${geometry%x*} height=${geometry#*x}
[ "$width" = 540 ] || fail "window width $width"
[ "$height" -ge 188 ] || fail "window height $height"
wait_until test -S "$channel" || fail "not listening"

# Hide and Show, as a peer sends them; each runs at the next dispatcher tick.
exec 3> >(python3 "$work/peer.py" "$channel" Hide wait Show wait)
pids+=($!)
wait_until bash -c '! xdotool search --onlyvisible --name "^QVAssistant$" >/dev/null 2>&1' || fail "Hide did not hide"
echo >&3
wait_until visible || fail "Show did not show"

import -window "$window" "$screenshot" 2>/dev/null || fail "no screenshot"

# Select All, then Copy: the log goes to the clipboard.
xdotool windowfocus --sync "$window" 2>/dev/null || true
xdotool key --clearmodifiers ctrl+a ctrl+c
clipboard_holds_log() {
  case "$(timeout 5 xclip -o -selection clipboard 2>/dev/null || true)" in
    *"Connecting to Quorvane..."*"Connected to Quorvane..."*) return 0 ;;
  esac
  return 1
}
wait_until clipboard_holds_log || fail "the clipboard does not hold the log"

# Quit from the menu, by its shortcut: status 0, and the socket file goes.
xdotool key --clearmodifiers ctrl+q
for _ in $(seq 50); do kill -0 "$assistant_pid" 2>/dev/null || break; sleep 0.1; done
kill -0 "$assistant_pid" 2>/dev/null && fail "Quit did not end the assistant"
status=0
wait "$assistant_pid" || status=$?
[ "$status" = 0 ] || fail "exit status $status"
[ ! -e "$channel" ] || fail "socket file left behind"
exec 3>&-

# qvctl's Hide reaches the real window too.
"$assistant" 2>>"$work/assistant.err" &
assistant_pid=$!
pids+=($assistant_pid)
timeout 10 xdotool search --sync --onlyvisible --name '^QVAssistant$' >/dev/null || fail "no second window"
wait_until test -S "$channel" || fail "not listening again"
"$qvctl" hide --wait 3 &
pids+=($!)
wait_until bash -c '! xdotool search --onlyvisible --name "^QVAssistant$" >/dev/null 2>&1' || fail "qvctl hide did not hide"
wait_until bash -c "! kill -0 $assistant_pid 2>/dev/null" || fail "qvctl's departure did not end the assistant"

# The display goes away while a peer is connected: Qt ends the process, and it
# ends as Quit(0) does, with status 0 and its socket file removed.
"$assistant" 2>>"$work/assistant.err" &
assistant_pid=$!
pids+=($assistant_pid)
timeout 10 xdotool search --sync --onlyvisible --name '^QVAssistant$' >/dev/null || fail "no third window"
wait_until test -S "$channel" || fail "not listening a third time"
python3 "$work/peer.py" "$channel" hold &
pids+=($!)
sleep 0.5  # the peer is connected and silent
kill "${pids[0]}"
for _ in $(seq 50); do kill -0 "$assistant_pid" 2>/dev/null || break; sleep 0.1; done
kill -0 "$assistant_pid" 2>/dev/null && fail "the lost display left the assistant running"
status=0
wait "$assistant_pid" || status=$?
[ "$status" = 0 ] || fail "exit status $status after the display was lost"
[ ! -e "$channel" ] || fail "socket file left behind after the display was lost"
echo "1 passed, 0 failed"
