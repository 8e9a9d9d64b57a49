#!/usr/bin/env bash
# qvctl on a pseudo-terminal, driven by terminal.py: the session's prompt, Ctrl-C,
# history and copy bar; a one-shot copy's bar under resizes, TERM=dumb and
# signals; path completion. In a private /tmp (common.sh); 77 without a namespace.
set -euo pipefail
source "$(dirname "$0")/common.sh"
private_tmp "$@"
exec python3 "$(dirname "$0")/terminal.py" "$@"
