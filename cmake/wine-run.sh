#!/usr/bin/env bash
# Runs a cross-built Windows program under Wine, with a private prefix in the build folder.
# The prefix is found from the program's own path: the nearest folder holding CMakeCache.txt.
set -euo pipefail
prog="$1"; shift
dir=$(cd "$(dirname "$prog")" && pwd)
while [ "$dir" != "/" ] && [ ! -f "$dir/CMakeCache.txt" ]; do dir=$(dirname "$dir"); done
[ -f "$dir/CMakeCache.txt" ] || dir=$(cd "$(dirname "$prog")" && pwd)
# Always the build's own prefix and settings, never a prefix or overrides of the user's.
export WINEPREFIX="$dir/wineprefix"
export WINEDEBUG=-all
wineserver=/usr/lib/wine/wineserver64
[ -x "$wineserver" ] || wineserver=/usr/lib/wine/wineserver
# A program that crashes must end, not wait in the debugger until the test times out.
export WINEDLLOVERRIDES="mscoree,mshtml=;winedbg.exe=d"
# Wine takes the machine's zone from the host; the tests run on a UTC machine everywhere.
export TZ=UTC
if [ ! -f "$WINEPREFIX/.zelvo-ready" ]; then
  # Make the prefix once; several tests may start at the same moment, and all but the
  # first wait here until it is ready.
  mkdir -p "$WINEPREFIX"
  (
    flock 9
    if [ ! -f "$WINEPREFIX/.zelvo-ready" ]; then
      /usr/lib/wine/wine64 wineboot -i >/dev/null 2>&1 || true
      # Tests make hidden windows (rich edit controls): the null display driver needs no
      # X server.
      /usr/lib/wine/wine64 reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f >/dev/null 2>&1 || true
      # The set-up's own processes (the desktop among them) started with the old driver;
      # end them so that every test starts with a fresh server and the null driver.
      "$wineserver" -k >/dev/null 2>&1 || true
      "$wineserver" -w >/dev/null 2>&1 || true
      touch "$WINEPREFIX/.zelvo-ready"
    fi
  ) 9>"$dir/.wineprefix.lock"
fi
exec /usr/lib/wine/wine64 "$prog" "$@"
