#!/usr/bin/env bash
# qvctl on a terminal (a pseudo-terminal, driven by terminal.py): the session's
# prompt, Ctrl-C, history and copy bar; a one-shot copy's bar under resizes,
# TERM=dumb and signals; the bash completion of paths. In a private /tmp (see
# common.sh); exits 77 where no namespace can be made.
set -euo pipefail
source "$(dirname "$0")/common.sh"
private_tmp "$@"
exec python3 "$(dirname "$(realpath "$0")")/terminal.py" "$@"
