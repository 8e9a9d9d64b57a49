#!/usr/bin/env bash
# Installs from Debian's packages whatever the build and the tests need and this
# machine lacks. Safe to run again: it installs nothing when all is there.
set -euo pipefail

packages=(
  cmake ninja-build g++ pkg-config   # the build
  libc-ares-dev                      # name lookup without blocking
  libdeflate-dev                     # the payload's compressed stream
  zlib1g-dev                         # zlib: the reference for that stream in tests and benchmarks
  libgtest-dev                       # the tests
  clang libclang-rt-14-dev           # the fuzz targets (libFuzzer, sanitizers)
  nginx-light                        # the real web server of the process tests
  curl                               # the peer of the HTTP receive benchmark
  qt6-base-dev libxcb1-dev            # the window (without it the build is headless)
  xvfb                               # the window's process test on a virtual screen
  python3                            # the window test's peer, the terminal tests, the bench reports
  libedit-dev                        # qvctl's line editing in its session mode
  libbsd-dev                         # getpeereid for the portable build (-DQV_PORTABLE=ON)
  dpkg-dev                           # dpkg-shlibdeps: the .deb's dependencies (cpack -G DEB)
  lintian                            # the .deb's check: lintian build/*.deb
)

missing=()
for package in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed'; then
    missing+=("$package")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
echo "Installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
