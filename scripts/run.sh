#!/usr/bin/env bash
# Builds the assistant and qvctl on a fresh Debian machine and starts the
# assistant in the foreground. It listens at /tmp/qvipc and ends when its peer
# goes away (or on Ctrl-C); build/bin/qvctl talks to it from a second terminal.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build --target qvassistant qvctl
exec build/bin/qvassistant
