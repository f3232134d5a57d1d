#!/usr/bin/env bash
# The product's main job on the embedded sample mailbox: builds the command-line tool and
# shows what it makes of the mailbox's rules, read-only (nothing in the sample is changed).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh >/dev/null
cmake --preset native >/dev/null
cmake --build --preset native -j2 --target zelvo-rules >/dev/null
tool=build/native/tools/zelvo-rules/zelvo-rules
mailbox=samples/mailbox
"$tool" --version
echo
echo "--- zelvo-rules check $mailbox/script.sieve"
"$tool" check "$mailbox/script.sieve"
echo
echo "--- zelvo-rules list --mailbox $mailbox"
"$tool" list --mailbox "$mailbox"
echo
echo "--- zelvo-rules junk --mailbox $mailbox"
"$tool" junk --mailbox "$mailbox"
for command in ooo show; do
  # Later commands join the tour when the tool has them.
  if "$tool" "$command" --help >/dev/null 2>&1; then
    case $command in
      ooo) echo; echo "--- zelvo-rules ooo --mailbox $mailbox"; "$tool" ooo --mailbox "$mailbox" ;;
      show) echo; echo "--- zelvo-rules show 3 --mailbox $mailbox"; "$tool" show 3 --mailbox "$mailbox" ;;
    esac
  fi
done
echo
echo "Try a change on a copy: cp -r $mailbox /tmp/box && $tool disable 3 --mailbox /tmp/box"
