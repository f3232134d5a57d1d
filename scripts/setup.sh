#!/usr/bin/env bash
# Installs what the build and the tests need, from Debian's archive. Safe to run again:
# it asks apt only when something is missing.
set -euo pipefail

packages=(
  cmake ninja-build g++ python3 python3-dateutil tzdata
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  libboost1.81-dev libssl-dev
  g++-mingw-w64-x86-64-posix mingw-w64-tools wine64 xvfb
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
