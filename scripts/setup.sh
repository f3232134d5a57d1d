#!/usr/bin/env bash
# Installs what the build and the tests need, from Debian's archive. Safe to run again:
# it asks apt only when something is missing.
set -euo pipefail

# tzdata gives the tool the machine's zone at run time; the tests and the zone table
# generator use the release pinned in tools/tzgen/tzdata.zi instead, compiled with zic from
# libc-bin, so the machine's tzdata version never matters to them.
packages=(
  cmake ninja-build g++ python3 python3-dateutil tzdata libc-bin
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  libboost1.81-dev libssl-dev
  g++-mingw-w64-x86-64-posix mingw-w64-tools wine64 xvfb xauth
  clang-14 libclang-rt-14-dev
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

if [ ${#missing[@]} -gt 0 ]; then
  echo "setup: installing ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  $SUDO apt-get update -q
  $SUDO apt-get install -y -q "${missing[@]}"
else
  echo "setup: all packages present"
fi
