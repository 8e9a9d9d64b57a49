# Sourced by the process tests.

# Runs the calling script again, with its arguments, in a mount namespace of
# its own with an empty /tmp, so the machine's /tmp/qvipc is never touched;
# exits 77 (skipped) where no namespace can be made. QV_PRIVATE_TMP then says
# whether a real root (root) or a mapped one (user) runs it.
private_tmp() {
  [ -z "${QV_PRIVATE_TMP:-}" ] || return 0
  local private=(unshare --mount) who=root args=() arg
  [ "$(id -u)" -eq 0 ] || private=(unshare --user --map-root-user --mount) who=user
  "${private[@]}" true 2>/dev/null || { echo "no private /tmp can be made: skipped"; exit 77; }
  # A checkout under /tmp stays reachable through a descriptor of the old /tmp.
  for arg in "$(realpath "$0")" "$@"; do
    case $arg in /tmp/*) args+=("/proc/self/fd/9/${arg#/tmp/}") ;; *) args+=("$arg") ;; esac
  done
  exec env QV_PRIVATE_TMP=$who "${private[@]}" bash -c 'exec 9</tmp && mount -t tmpfs tmpfs /tmp && cd /tmp && exec bash "$0" "$@"' "${args[@]}"
}

fail() { echo "FAILED: $*"; exit 1; }
wait_for() { for _ in $(seq 100); do eval "$1" && return 0; sleep 0.05; done; fail "$2"; }
