#!/usr/bin/env bash
# Builds everything and runs every test: natively, with AddressSanitizer and
# UndefinedBehaviorSanitizer, cross-built for Windows under Wine, and the Sieve reader's
# fuzz target for a bounded time. Ends with one line "total: N passed, N failed".
#
#   scripts/test.sh [--quick]     --quick: native build and tests only
set -uo pipefail
cd "$(dirname "$0")/.."

quick=0
[ "${1:-}" = "--quick" ] && quick=1

scripts/setup.sh || exit 1

presets=(native)
[ $quick -eq 1 ] || presets+=(asan windows)

passed=0
failed=0
status=0
logdir=build/logs
mkdir -p "$logdir"

for preset in "${presets[@]}"; do
  echo "=== $preset: configure and build"
  if ! cmake --preset "$preset" >"$logdir/$preset-configure.log" 2>&1; then
    cat "$logdir/$preset-configure.log"; status=1; continue
  fi
  if ! cmake --build --preset "$preset" -j2 >"$logdir/$preset-build.log" 2>&1; then
    grep -E -A5 'error|FAILED' "$logdir/$preset-build.log" | head -80; status=1; continue
  fi
  echo "=== $preset: tests"
  ctest --preset "$preset" 2>&1 | tee "$logdir/$preset-ctest.log" | grep -E 'tests passed|Failed|\*\*\*|Not Run' || true
  line=$(grep -E '[0-9]+% tests passed, [0-9]+ tests? failed out of [0-9]+' "$logdir/$preset-ctest.log" | tail -1)
  if [ -z "$line" ]; then
    echo "$preset: no test summary"; status=1; continue
  fi
  total=$(echo "$line" | sed -E 's/.*out of ([0-9]+).*/\1/')
  bad=$(echo "$line" | sed -E 's/.* ([0-9]+) tests? failed.*/\1/')
  passed=$((passed + total - bad))
  failed=$((failed + bad))
  [ "$bad" -eq 0 ] || status=1
done

if [ $quick -eq 0 ] && [ -x scripts/fuzz.sh ]; then
  echo "=== fuzz: Sieve reader"
  if scripts/fuzz.sh "${ZELVO_FUZZ_SECONDS:-60}" >"$logdir/fuzz.log" 2>&1; then
    passed=$((passed + 1))
    tail -3 "$logdir/fuzz.log"
  else
    failed=$((failed + 1)); status=1
    tail -40 "$logdir/fuzz.log"
  fi
fi

echo "total: $passed passed, $failed failed"
exit $status
