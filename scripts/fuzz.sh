#!/usr/bin/env bash
# Builds the fuzz preset (clang, libFuzzer, ASan + UBSan) and runs the Sieve reader's fuzz
# target for a bounded time.
#
#   scripts/fuzz.sh [SECONDS] [more libFuzzer options...]
#
# SECONDS defaults to 60. The seeds in fuzz/corpus/ stay as they are; what the run learns
# goes to build/fuzz/corpus/, and a failing input to build/fuzz/artifacts/.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-60}
[ $# -gt 0 ] && shift
case "$seconds" in
  ''|*[!0-9]*) echo "fuzz.sh: SECONDS must be a whole number, not '$seconds'" >&2; exit 2 ;;
esac

cd "$root"
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target sieve_reader_fuzzer -j2

out="$root/build/fuzz"
mkdir -p "$out/corpus" "$out/artifacts"
export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1}"
exec "$out/fuzz/sieve_reader_fuzzer" \
  -max_total_time="$seconds" -max_len=4096 -timeout=10 -rss_limit_mb=2048 \
  -dict="$root/fuzz/sieve.dict" -artifact_prefix="$out/artifacts/" -print_final_stats=1 \
  "$@" "$out/corpus" "$root/fuzz/corpus"
