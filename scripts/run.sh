#!/usr/bin/env bash
# Builds the assistant on a fresh Debian machine and starts it. It listens at
# /tmp/qvipc and ends when its peer goes away (or on Ctrl-C).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build --target qvassistant
exec build/bin/qvassistant
