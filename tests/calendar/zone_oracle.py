#!/usr/bin/env python3
"""Writes the UTC offsets that Python's zoneinfo gives for every zone of the named-zone table
at instants spread over 2024 to 2030, and on both sides of every change of offset in those
years, for the time zone test to compare with. zoneinfo reads the time zone database pinned
in tools/tzgen/tzdata.zi, the release the tables come from, never the machine's own.

    python3 tests/calendar/zone_oracle.py --output FILE

Each line: the zone's row name, "|", then "seconds:offset" pairs separated by ",", with
seconds since 1970 in UTC and the offset in seconds. Rows that the database no longer has
under any name (the solar-time zones of 1987 to 1989) are left out.
"""

import argparse
import datetime
import os
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "tools", "tzgen"))
import fixed_tables  # noqa: E402
import pinned_tzdata  # noqa: E402
import tzgen  # noqa: E402

FIRST = int(datetime.datetime(2024, 1, 1, tzinfo=datetime.timezone.utc).timestamp())
LAST = int(datetime.datetime(2031, 1, 1, tzinfo=datetime.timezone.utc).timestamp())
STEP = 302400  # three and a half days, so that the instants walk through the week


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--output", "-o", required=True)
    args = parser.parse_args()
    try:
        pinned_tzdata.activate()
    except pinned_tzdata.PinnedDataError as error:
        print("zone_oracle: %s" % error, file=sys.stderr)
        return 1
    lines = []
    for name in fixed_tables.NAMED_ZONES:
        source = tzgen.MISSING_ZONES.get(name, name)
        if source.startswith("+"):
            continue
        zone = pinned_tzdata.load(source)
        instants = set(range(FIRST, LAST, STEP))
        transitions = tzgen.Transitions(zone)
        for year in range(2024, 2031):
            for moment, _before, _after in transitions.year(year):
                instants.update((moment - 1, moment))
        pairs = ["%d:%d" % (t, tzgen.offset_at(zone, t)) for t in sorted(instants) if FIRST <= t < LAST]
        lines.append(name + "|" + ",".join(pairs))
    with open(args.output, "w", encoding="ascii", newline="\n") as f:
        f.write("\n".join(lines) + "\n")
    return 0


if __name__ == "__main__":
    sys.exit(main())
