#!/usr/bin/env bash
# Runs the screenshot program under Wine's X11 driver on a virtual X server:
#   screenshots-run.sh PROGRAM MAILBOX OUTPUT [NAME...]
# The prefix is the build's own (wineprefix-x11 beside the tests' null-driver prefix), with
# the window manager left out (Managed=N) and Wine drawing the frames (Decorated=N), so that
# a picture of the screen shows the dialog with its caption.
set -euo pipefail
prog="$1"; mailbox="$2"; output="$3"; shift 3
dir=$(cd "$(dirname "$prog")" && pwd)
while [ "$dir" != "/" ] && [ ! -f "$dir/CMakeCache.txt" ]; do dir=$(dirname "$dir"); done
mkdir -p "$output"
export WINEPREFIX="$dir/wineprefix-x11"
export WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml="
export TZ=UTC LANG=C.UTF-8 LC_ALL=C.UTF-8
wine=/usr/lib/wine/wine64
wineserver=/usr/lib/wine/wineserver64
[ -x "$wineserver" ] || wineserver=/usr/lib/wine/wineserver

inner() {
  if [ ! -f "$WINEPREFIX/.zelvo-ready" ]; then
    mkdir -p "$WINEPREFIX"
    "$wine" wineboot -i >/dev/null 2>&1 || true
    for value in Decorated Managed; do
      "$wine" reg add 'HKCU\Software\Wine\X11 Driver' /v "$value" /d N /f >/dev/null 2>&1
    done
    "$wineserver" -w >/dev/null 2>&1 || true
    touch "$WINEPREFIX/.zelvo-ready"
  fi
  local status=0
  "$wine" "$prog" "$(winepath -w "$mailbox" 2>/dev/null)" "$(winepath -w "$output" 2>/dev/null)" "$@" || status=$?
  "$wineserver" -k >/dev/null 2>&1 || true
  return $status
}

if [ "${ZELVO_IN_XVFB:-}" = 1 ]; then
  inner "$@"
else
  export ZELVO_IN_XVFB=1
  exec xvfb-run -a -s "-screen 0 1280x1024x24" "$0" "$prog" "$mailbox" "$output" "$@"
fi
