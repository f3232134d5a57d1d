#!/usr/bin/env python3
"""Writes rules and their first occurrences as python3-dateutil computes them, for the
recurrence iterator's test to compare with.

    python3 tests/calendar/rrule_oracle.py --output FILE [--count N] [--seed S]

Each line of the output: the rule text (with UNTIL in UTC), "|", the first moment,
"|", the occurrences separated by ",". All times are UTC in the basic form.
The rules are drawn at random from a fixed seed, so every run writes the same file.
"""

import argparse
import datetime
import itertools
import random
import sys

from dateutil import rrule as du

DAYS = ["MO", "TU", "WE", "TH", "FR", "SA", "SU"]
FREQS = ["YEARLY", "MONTHLY", "WEEKLY", "DAILY"]
LIMIT = 12


def sample(rng, values, low, high):
    return sorted(rng.sample(values, rng.randint(low, high)))


def draw_rule(rng):
    freq = rng.choice(FREQS)
    parts = ["FREQ=" + freq]
    if rng.random() < 0.4:
        parts.append("INTERVAL=%d" % rng.randint(2, 4))
    has_day_list = False
    if freq == "YEARLY" and rng.random() < 0.6 or freq != "YEARLY" and rng.random() < 0.2:
        parts.append("BYMONTH=" + ",".join(str(m) for m in sample(rng, list(range(1, 13)), 1, 3)))
    if rng.random() < 0.35:
        days = sample(rng, list(range(1, 29)) + list(range(-28, 0)), 1, 3)
        parts.append("BYMONTHDAY=" + ",".join(str(d) for d in days))
        has_day_list = True
    if rng.random() < 0.5:
        if freq in ("YEARLY", "MONTHLY") and rng.random() < 0.6:
            # Ordinals alone; a list that mixes them with plain days reads differently.
            limit = 4 if freq == "MONTHLY" or "BYMONTH=" in ";".join(parts) else 50
            items = set()
            for _ in range(rng.randint(1, 2)):
                n = rng.choice([i for i in range(-limit, limit + 1) if i != 0])
                items.add("%d%s" % (n, rng.choice(DAYS)))
            parts.append("BYDAY=" + ",".join(sorted(items)))
        else:
            parts.append("BYDAY=" + ",".join(sample(rng, DAYS, 1, 4)))
        has_day_list = True
    if freq != "DAILY" and rng.random() < 0.15:
        parts.append("BYHOUR=" + ",".join(str(h) for h in sample(rng, list(range(24)), 1, 2)))
    if rng.random() < 0.1:
        parts.append("BYMINUTE=" + ",".join(str(m) for m in sample(rng, [0, 15, 30, 45], 1, 2)))
    if has_day_list and freq != "DAILY" and rng.random() < 0.3:
        parts.append("BYSETPOS=" + ",".join(str(p) for p in sample(rng, [1, 2, 3, -1, -2], 1, 2)))
    if freq == "WEEKLY" and rng.random() < 0.4:
        parts.append("WKST=" + rng.choice(DAYS))
    start = datetime.datetime(rng.randint(1995, 2035), rng.randint(1, 12), rng.randint(1, 28),
                              rng.randint(0, 23), rng.choice([0, 0, 30, 45]), rng.choice([0, 0, 15]))
    if freq == "WEEKLY" and "BYSETPOS=" in ";".join(parts):
        # dateutil counts BYSETPOS in the first week from the first moment on, where the
        # whole week counts for us; starting on the week's first day keeps the two alike.
        week_start = DAYS.index(next((p[5:] for p in parts if p.startswith("WKST=")), "MO"))
        start -= datetime.timedelta(days=(start.weekday() - week_start) % 7)
    bound = rng.random()
    if bound < 0.3:
        parts.append("COUNT=%d" % rng.randint(1, 10))
    else:
        # Without a near UNTIL a far one still keeps a sparse rule from a walk to year 9999.
        days = rng.randint(0, 3 * 365) if bound < 0.6 else 40 * 365
        until = start + datetime.timedelta(days=days, hours=rng.randint(0, 23))
        parts.append("UNTIL=" + until.strftime("%Y%m%dT%H%M%S"))
    return ";".join(parts), start


def occurrences(text, start):
    rule = du.rrulestr(text, dtstart=start)
    # A rule whose COUNT outlasts its occurrences sends dateutil to year 9999 and ours
    # to the end of a 400-year cycle; such rules are left out, after a probe of 50 years.
    if rule._count:
        probe = rule.replace(count=None, until=start + datetime.timedelta(days=50 * 365))
        if len(list(itertools.islice(probe, rule._count))) < min(rule._count, LIMIT):
            return []
    return list(itertools.islice(rule, LIMIT))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--output", "-o", required=True)
    parser.add_argument("--count", type=int, default=300)
    parser.add_argument("--seed", type=int, default=20150329)
    args = parser.parse_args()
    rng = random.Random(args.seed)
    lines = []
    while len(lines) < args.count:
        text, start = draw_rule(rng)
        found = occurrences(text, start)
        if not found:
            continue
        ours = ";".join(p + "Z" if p.startswith("UNTIL=") else p for p in text.split(";"))
        lines.append("%s|%s|%s" % (ours, start.strftime("%Y%m%dT%H%M%SZ"),
                                   ",".join(t.strftime("%Y%m%dT%H%M%SZ") for t in found)))
    with open(args.output, "w", encoding="ascii", newline="\n") as f:
        f.write("\n".join(lines) + "\n")
    return 0


if __name__ == "__main__":
    sys.exit(main())
