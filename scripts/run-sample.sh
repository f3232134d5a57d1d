#!/usr/bin/env bash
# The product's main job on the embedded sample mailbox: builds the command-line tool and
# shows what it makes of the mailbox's rules.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh >/dev/null
cmake --preset native >/dev/null
cmake --build --preset native -j2 --target zelvo-rules >/dev/null
tool=build/native/tools/zelvo-rules/zelvo-rules
sample=samples/mailbox/script.sieve
"$tool" --version
"$tool" check "$sample"
echo "--- the script as the add-in would store it:"
"$tool" format "$sample"
