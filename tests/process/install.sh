#!/usr/bin/env bash
# What `cmake --install` puts in place, installed into a private /tmp (see
# common.sh): the files, each program's --version, and the installed qvctl's
# status report from the installed assistant. Exits 77 where no namespace can
# be made.
set -euo pipefail
source "$(dirname "$0")/common.sh"
private_tmp "$@"
cmake=$1 build=$2 version=$3
# The install scripts name the build and source folders by their real paths;
# where those are in the old /tmp, they are bound back into this one.
for dir in "$build" "$0"; do
  case $dir in /proc/self/fd/9/*)
    top=${dir#/proc/self/fd/9/} && top=${top%%/*}
    [ -d "/tmp/$top" ] || { mkdir "/tmp/$top" && mount --no-canonicalize --rbind "/proc/self/fd/9/$top" "/tmp/$top"; } ;;
  esac
done
prefix=$(mktemp -d /tmp/qvinstall.XXXXXX)
"$cmake" --install "$build" --prefix "$prefix" >/dev/null
for file in bin/qvassistant bin/qvctl share/man/man1/qvassistant.1.gz share/man/man1/qvctl.1.gz share/doc/qvassistant/copyright \
            share/bash-completion/completions/qvctl; do
  [ -f "$prefix/$file" ] || fail "not installed: $file"
done
[ "$(timeout 10 "$prefix/bin/qvassistant" --version)" = "qvassistant $version" ] &&
  [ "$("$prefix/bin/qvctl" --version)" = "qvctl $version" ] || fail "--version"
[ "$(timeout 10 "$prefix/bin/qvassistant" --help | head -n 1)" = "Usage: qvassistant [--help | --version]" ] ||
  fail "qvassistant --help"
[ ! -e /tmp/qvipc ] || fail "--version or --help started the assistant"

# Headless; any arguments but a lone --help or --version are ignored, so it starts.
DISPLAY= "$prefix/bin/qvassistant" --version --from-quorvane & pid=$!
trap 'kill -9 $pid 2>/dev/null || true' EXIT
wait_for '[ -S /tmp/qvipc ]' "no socket at /tmp/qvipc"
# A session from a pipe, whose last line needs no LF.
[ "$(printf status | "$prefix/bin/qvctl" session | sed -n 's/^Status: //p')" = Ready ] || fail "qvctl session"
status=0
wait $pid || status=$?
[ "$status" = 0 ] && [ ! -e /tmp/qvipc ] || fail "the assistant's end: status $status"
echo "install tests passed"
