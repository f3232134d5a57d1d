#!/usr/bin/env python3
"""Generates src/calendar/ZoneTableData.cpp, the time zone tables of the calendar layer.

The abbreviations, display zones, representative zones and the two Windows zone maps are
written out by hand in fixed_tables.py beside this script. The rows of the named-zone
table are derived here from the time zone database kept in the repository,
tools/tzgen/tzdata.zi (one release, named on its first line), compiled with zic and read
through Python's zoneinfo (pinned_tzdata.py); the machine's own tzdata plays no part, so
the output is the same everywhere:

    python3 tools/tzgen/tzgen.py --output src/calendar/ZoneTableData.cpp

To move to a newer release of the database, give its tzdata.zi (from the tzdata package of
that release, usr/share/zoneinfo/tzdata.zi, or built from the release's sources); it is
copied over tools/tzgen/tzdata.zi and the tables are regenerated from it. Commit both:

    python3 tools/tzgen/tzgen.py --import-tzdata NEW/tzdata.zi --output src/calendar/ZoneTableData.cpp

A named row states the rules in force in the reference year (--year, default 2025): the
two offsets, and for a zone with daylight saving time the yearly RRULE of each change with
its first onset in the unbroken run of years that followed the same rule. A zone without
daylight saving time gets its offset and, standing alone, the date of its last change.
Onsets are wall-clock times before the change, as iCalendar writes DTSTART. A few rows are
kept as the product has always carried them (TELLING_ROWS); the solar-time zones that the
database dropped keep their mean offset.

The output depends only on the database release and the reference year, both recorded in
the generated file. Diagnostics (zones whose changes follow no yearly rule) go to stderr.
"""

import argparse
import calendar
import datetime
import os
import shutil
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import fixed_tables  # noqa: E402
import pinned_tzdata  # noqa: E402

UTC = datetime.timezone.utc
DAY_NAMES = ["MO", "TU", "WE", "TH", "FR", "SA", "SU"]

# Rows that keep the product's own values, whatever the database says now.
TELLING_ROWS = {
    "Africa/Casablanca": ("+0000", "+0100", "20160605T030000", "20150719T020000",
                          "FREQ=YEARLY;BYMONTH=6;BYMONTHDAY=5", "FREQ=YEARLY;BYMONTH=7;BYMONTHDAY=19", [31]),
    "Africa/Cairo": ("+0200", "+0300", "20140926T000000", "20140801T000000",
                     "FREQ=YEARLY;BYMONTH=9;BYDAY=-1FR", "FREQ=YEARLY;BYMONTH=8;BYMONTHDAY=1", [49]),
    "Africa/Tunis": ("+0100", "", "20080330T020000", "", "", "", None),
    "America/Asuncion": ("-0400", "-0300", "20130324T000000", "20101003T000000",
                         "FREQ=YEARLY;BYMONTH=3;BYDAY=4SU", "FREQ=YEARLY;BYMONTH=10;BYDAY=1SU", None),
}
# Zones that the database no longer has: the solar-time zones of 1987 to 1989 keep their
# mean offset, the others are the zones they were links to.
MISSING_ZONES = {
    "Asia/Riyadh87": "+0307", "Asia/Riyadh88": "+0307", "Asia/Riyadh89": "+0307",
    "Mideast/Riyadh87": "+0307", "Mideast/Riyadh88": "+0307", "Mideast/Riyadh89": "+0307",
    "Canada/East-Saskatchewan": "America/Regina",
    "US/Pacific-New": "America/Los_Angeles",
}

SAMPLE_STEP = 2 * 86400  # no rule of the database keeps an offset for less than this


def offset_at(zone, t):
    return int(datetime.datetime.fromtimestamp(t, tz=zone).utcoffset().total_seconds())


class Transitions:
    """The moments at which a zone's UTC offset changes, found year by year."""

    def __init__(self, zone):
        self.zone = zone
        self.by_year = {}

    def year(self, year):
        if year not in self.by_year:
            found = []
            start = int(datetime.datetime(year, 1, 1, tzinfo=UTC).timestamp()) - 86400
            end = int(datetime.datetime(year + 1, 1, 1, tzinfo=UTC).timestamp()) - 86400
            t = start
            before = offset_at(self.zone, t)
            while t < end:
                u = min(t + SAMPLE_STEP, end)
                after = offset_at(self.zone, u)
                if after != before:
                    lo, hi = t, u  # offset(lo) == before, offset(hi) != before
                    while hi - lo > 1:
                        mid = (lo + hi) // 2
                        if offset_at(self.zone, mid) == before:
                            lo = mid
                        else:
                            hi = mid
                    found.append((hi, before, offset_at(self.zone, hi)))
                    before = offset_at(self.zone, hi)
                    # A second change inside the same step is found from the first one on.
                    t = hi
                    continue
                t = u
            self.by_year[year] = found
        return self.by_year[year]


def wall_before(transition):
    t, before, _after = transition
    return datetime.datetime.fromtimestamp(t + before, tz=UTC).replace(tzinfo=None)


def format_offset(seconds):
    sign = "-" if seconds < 0 else "+"
    seconds = abs(seconds)
    text = "%s%02d%02d" % (sign, seconds // 3600, seconds // 60 % 60)
    if seconds % 60:
        text += "%02d" % (seconds % 60)
    return text


def format_wall(moment):
    return moment.strftime("%Y%m%dT%H%M%S")


def fit_rule(walls):
    """The yearly RRULE that gives every one of these wall-clock onsets, or None."""
    months = {w.month for w in walls}
    times = {w.time() for w in walls}
    if len(months) != 1 or len(times) != 1:
        return None
    month = months.pop()
    days = [w.day for w in walls]
    weekdays = {w.weekday() for w in walls}
    lengths = [calendar.monthrange(w.year, w.month)[1] for w in walls]
    if len(weekdays) == 1:
        weekday = DAY_NAMES[weekdays.pop()]
        ordinals = {(d - 1) // 7 + 1 for d in days}
        if len(ordinals) == 1 and ordinals != {5}:
            return "FREQ=YEARLY;BYMONTH=%d;BYDAY=%d%s" % (month, ordinals.pop(), weekday)
        if all(d + 7 > n for d, n in zip(days, lengths)):
            return "FREQ=YEARLY;BYMONTH=%d;BYDAY=-1%s" % (month, weekday)
        low, high = min(days), max(days)
        if high - low <= 6:
            # The weekday on or after a fixed day; over a full weekday cycle every day of
            # the seven is seen, so the first one is the day the rule counts from.
            first = high - 6 if high - low == 6 else low
            return "FREQ=YEARLY;BYMONTH=%d;BYMONTHDAY=%s;BYDAY=%s" % (
                month, ",".join(str(d) for d in range(first, first + 7)), weekday)
    if len(set(days)) == 1:
        return "FREQ=YEARLY;BYMONTH=%d;BYMONTHDAY=%d" % (month, days[0])
    return None


def fit_rule_accepts(rule, wall):
    """Whether a wall-clock onset is one that the fitted rule gives."""
    parts = dict(p.split("=") for p in rule.split(";"))
    if int(parts["BYMONTH"]) != wall.month:
        return False
    length = calendar.monthrange(wall.year, wall.month)[1]
    if "BYMONTHDAY" in parts:
        if wall.day not in [int(x) for x in parts["BYMONTHDAY"].split(",")]:
            return False
        return "BYDAY" not in parts or DAY_NAMES[wall.weekday()] == parts["BYDAY"]
    day = parts["BYDAY"]
    ordinal, name = int(day[:-2]), day[-2:]
    if DAY_NAMES[wall.weekday()] != name:
        return False
    if ordinal > 0:
        return (wall.day - 1) // 7 + 1 == ordinal
    return wall.day + 7 > length


def fixed_row(zone, transitions, before_year, offset_moment):
    """A row without daylight saving time: the offset, and the last change standing alone."""
    standard = offset_at(zone, offset_moment)
    last = ""
    for y in range(before_year, 1849, -1):
        found = transitions.year(y)
        if found:
            last = format_wall(wall_before(found[-1]))
            break
    return (format_offset(standard), "", last, "", "", "")


def fit_years(transitions, years):
    """Rules and offsets that give every change of these years, one each way a year, or None."""
    ups, downs = [], []
    for y in years:
        changes = transitions.year(y)
        up = [t for t in changes if t[2] > t[1]]
        down = [t for t in changes if t[2] < t[1]]
        if len(up) != 1 or len(down) != 1:
            return None
        ups.append(up[0])
        downs.append(down[0])
    if len({t[2] for t in ups}) != 1 or len({t[2] for t in downs}) != 1:
        return None
    daylight_rule = fit_rule([wall_before(t) for t in ups])
    standard_rule = fit_rule([wall_before(t) for t in downs])
    if not daylight_rule or not standard_rule:
        return None
    return standard_rule, daylight_rule, downs[0][2], ups[0][2]


def derive_row(name, year, span, diagnostics):
    zone = pinned_tzdata.load(name)
    transitions = Transitions(zone)
    years = list(range(year, year + span))
    end_moment = int(datetime.datetime(year + span - 1, 7, 1, tzinfo=UTC).timestamp())
    # No change in the last years of the span: the zone keeps one offset now.
    if not any(transitions.year(y) for y in years[-5:]):
        changed = [y for y in years if transitions.year(y)]
        if changed:
            diagnostics.append("%s (changes stop in %d)" % (name, changed[-1]))
        return fixed_row(zone, transitions, year + span - 1, end_moment)
    # The longest run of years up to the end of the span that one pair of yearly rules gives.
    fitted = None
    for length in range(span, 1, -1):
        fitted = fit_years(transitions, years[-length:])
        if fitted:
            if length != span:
                diagnostics.append("%s (rules hold from %d)" % (name, years[-length]))
            break
    if not fitted:
        # No yearly rule covers these changes: the reference year's dates stand in.
        diagnostics.append("%s (no yearly rule)" % name)
        own = transitions.year(year)
        up = [t for t in own if t[2] > t[1]]
        down = [t for t in own if t[2] < t[1]]
        if not up or not down:
            return fixed_row(zone, transitions, year + span - 1, end_moment)
        dw, sw = wall_before(up[0]), wall_before(down[0])
        return (format_offset(down[0][2]), format_offset(up[0][2]), format_wall(sw), format_wall(dw),
                "FREQ=YEARLY;BYMONTH=%d;BYMONTHDAY=%d" % (sw.month, sw.day),
                "FREQ=YEARLY;BYMONTH=%d;BYMONTHDAY=%d" % (dw.month, dw.day))
    standard_rule, daylight_rule, standard_offset, daylight_offset = fitted

    def first_onset(rule, going_up, offset):
        # Back from the end of the span while every year has this change by this rule.
        first = None
        for y in range(year + span - 1, 1849, -1):
            changes = [t for t in transitions.year(y) if (t[2] > t[1]) == going_up]
            if len(changes) != 1 or changes[0][2] != offset:
                break
            wall = wall_before(changes[0])
            if not fit_rule_accepts(rule, wall):
                break
            if first is not None and wall.time() != first.time():
                break
            first = wall
        return format_wall(first)

    return (format_offset(standard_offset), format_offset(daylight_offset),
            first_onset(standard_rule, False, standard_offset), first_onset(daylight_rule, True, daylight_offset),
            standard_rule, daylight_rule)


def iso_to_offset(text):
    sign = -1 if text.startswith("-") else 1
    body = text.lstrip("+-")[2:]  # after "PT"
    hours, rest = body.split("H")
    minutes = rest.rstrip("M")
    return format_offset(sign * (int(hours) * 3600 + int(minutes) * 60))


def numeric(value, abbreviations):
    return abbreviations.get(value, value) if value else ""


def windows_zones(name, row, display_keys):
    key = (row[0], row[1], row[4], row[5])
    zones = list(display_keys.get(key, []))
    own = fixed_tables.REPRESENTATIVE_ZONES.index(name) if name in fixed_tables.REPRESENTATIVE_ZONES else -1
    if own >= 0 and own not in zones:
        zones.append(own)
    return zones[:4]


def c_string(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def c_row(row, zones):
    cells = ", ".join(c_string(c) for c in row)
    numbers = (list(zones) + [-1, -1, -1, -1])[:4]
    return "    {%s, {%s}}," % (cells, ", ".join(str(n) for n in numbers))


def generate(version, year, span):
    abbreviations = {a: iso_to_offset(o) for a, o, _d in fixed_tables.ABBREVIATIONS}
    display_keys = {}
    for row in fixed_tables.DISPLAY_ZONES:
        key = (numeric(row[1], abbreviations), numeric(row[2], abbreviations), row[5], row[6])
        display_keys.setdefault(key, row[7])
    diagnostics = []
    named = []
    for name in fixed_tables.NAMED_ZONES:
        if name in TELLING_ROWS:
            *row, zones = TELLING_ROWS[name]
            row = tuple(row)
            if zones is None:
                zones = windows_zones(name, row, display_keys)
        elif name in MISSING_ZONES and MISSING_ZONES[name].startswith("+"):
            row = (MISSING_ZONES[name], "", "", "", "", "")
            zones = []
        else:
            source = MISSING_ZONES.get(name, name)
            row = derive_row(source, year, span, diagnostics)
            zones = windows_zones(source, row, display_keys)
        named.append((name, row, zones))

    out = []
    out.append("// Generated by tools/tzgen/tzgen.py from tools/tzgen/tzdata.zi; do not edit. To move to")
    out.append("// a newer release of the time zone database:")
    out.append("//     python3 tools/tzgen/tzgen.py --import-tzdata NEW/tzdata.zi "
               "--output src/calendar/ZoneTableData.cpp")
    out.append("// Time zone database %s, reference year %d, rules fitted over %d years." % (version, year, span))
    out.append("")
    out.append('#include "calendar/ZoneTables.h"')
    out.append("")
    out.append("namespace zelvo::timezone::tables {")
    out.append("")
    out.append('const char tzdataVersion[] = %s;' % c_string(version))
    out.append("const int referenceYear = %d;" % year)
    out.append("")
    out.append("const ZoneAbbreviation abbreviations[] = {")
    for a, o, d in fixed_tables.ABBREVIATIONS:
        out.append("    {%s, %s, %s}," % (c_string(a), c_string(o), "true" if d else "false"))
    out.append("};")
    out.append("const size_t abbreviationCount = sizeof abbreviations / sizeof abbreviations[0];")
    out.append("")
    out.append("const ZoneSourceRow displayZones[] = {")
    for row in fixed_tables.DISPLAY_ZONES:
        out.append(c_row(row[:7], row[7]))
    out.append("};")
    out.append("const size_t displayZoneCount = sizeof displayZones / sizeof displayZones[0];")
    out.append("")
    out.append("const ZoneSourceRow namedZones[] = {")
    for name, row, zones in named:
        out.append(c_row((name,) + tuple(row), zones))
    out.append("};")
    out.append("const size_t namedZoneCount = sizeof namedZones / sizeof namedZones[0];")
    out.append("")
    out.append("const char* const representativeZones[] = {")
    for i, name in enumerate(fixed_tables.REPRESENTATIVE_ZONES):
        out.append("    %s,  // %d" % (c_string(name), i))
    out.append("};")
    out.append("const size_t representativeZoneCount = sizeof representativeZones / sizeof representativeZones[0];")
    out.append("")
    out.append("const WindowsZoneName windowsKeyToZone[] = {")
    for key, zone in fixed_tables.WINDOWS_KEY_TO_ZONE:
        out.append("    {%s, %s}," % (c_string(key), c_string(zone)))
    out.append("};")
    out.append("const size_t windowsKeyToZoneCount = sizeof windowsKeyToZone / sizeof windowsKeyToZone[0];")
    out.append("")
    out.append("const WindowsZoneName zoneToWindowsKey[] = {")
    for zone, key in fixed_tables.ZONE_TO_WINDOWS_KEY:
        out.append("    {%s, %s}," % (c_string(zone), c_string(key)))
    out.append("};")
    out.append("const size_t zoneToWindowsKeyCount = sizeof zoneToWindowsKey / sizeof zoneToWindowsKey[0];")
    out.append("")
    out.append("}  // namespace zelvo::timezone::tables")
    return "\n".join(out) + "\n", diagnostics


def main():
    parser = argparse.ArgumentParser(
        description="Generate the calendar layer's time zone tables (src/calendar/ZoneTableData.cpp) from "
                    "the fixed tables and the pinned time zone database (tzdata.zi) beside this script.",
        epilog="Move to a newer tzdata release: python3 tools/tzgen/tzgen.py --import-tzdata NEW/tzdata.zi "
               "--output src/calendar/ZoneTableData.cpp")
    parser.add_argument("--output", "-o", help="file to write; standard output when left out")
    parser.add_argument("--quiet", action="store_true", help="leave out the diagnostics")
    parser.add_argument("--import-tzdata", metavar="TZDATA_ZI",
                        help="first replace the pinned tools/tzgen/tzdata.zi with this release's tzdata.zi")
    parser.add_argument("--year", type=int, default=2025, help="reference year of the derived rules (default 2025)")
    parser.add_argument("--span", type=int, default=28,
                        help="years from the reference year over which a yearly rule must hold (default 28, "
                             "a full cycle of weekdays)")
    args = parser.parse_args()
    try:
        if args.import_tzdata:
            new = pinned_tzdata.version(args.import_tzdata)
            old = pinned_tzdata.version() if os.path.exists(pinned_tzdata.SOURCE) else "none"
            if os.path.abspath(args.import_tzdata) != pinned_tzdata.SOURCE:
                shutil.copyfile(args.import_tzdata, pinned_tzdata.SOURCE)
            print("pinned time zone data: %s, was %s" % (new, old), file=sys.stderr)
        version = pinned_tzdata.activate()
        text, diagnostics = generate(version, args.year, args.span)
    except pinned_tzdata.PinnedDataError as error:
        print("tzgen: %s" % error, file=sys.stderr)
        return 1
    if diagnostics and not args.quiet:
        print("zones whose rules change within the span or follow no yearly rule: " + ", ".join(diagnostics),
              file=sys.stderr)
    if args.output:
        with open(args.output, "w", encoding="utf-8", newline="\n") as f:
            f.write(text)
    else:
        sys.stdout.write(text)
    return 0


if __name__ == "__main__":
    sys.exit(main())
