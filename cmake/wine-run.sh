#!/usr/bin/env bash
# Runs a cross-built Windows program under Wine, with a private prefix in the build folder.
# The prefix is found from the program's own path: the nearest folder holding CMakeCache.txt.
set -euo pipefail
prog="$1"; shift
dir=$(cd "$(dirname "$prog")" && pwd)
while [ "$dir" != "/" ] && [ ! -f "$dir/CMakeCache.txt" ]; do dir=$(dirname "$dir"); done
[ -f "$dir/CMakeCache.txt" ] || dir=$(cd "$(dirname "$prog")" && pwd)
export WINEPREFIX="${WINEPREFIX:-$dir/wineprefix}"
export WINEDEBUG=-all
export WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml=}"
if [ ! -f "$WINEPREFIX/system.reg" ]; then
  # Make the prefix once; several tests may start at the same moment.
  mkdir -p "$WINEPREFIX"
  ( flock 9; [ -f "$WINEPREFIX/system.reg" ] || /usr/lib/wine/wine64 wineboot -i >/dev/null 2>&1 || true ) 9>"$dir/.wineprefix.lock"
fi
if [ ! -f "$WINEPREFIX/.null-graphics" ]; then
  # Tests make hidden windows (rich edit controls): the null display driver needs no X server.
  ( flock 9; [ -f "$WINEPREFIX/.null-graphics" ] || { /usr/lib/wine/wine64 reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f >/dev/null 2>&1; touch "$WINEPREFIX/.null-graphics"; } ) 9>"$dir/.wineprefix.lock"
fi
exec /usr/lib/wine/wine64 "$prog" "$@"
