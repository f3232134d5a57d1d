#!/usr/bin/env python3
"""Turns the English string table into the forms the build needs.

    generate_strings.py TABLE --header OUT.h --cpp OUT.cpp [--rc OUT.rc]

The header defines each symbolic name as its id and can be included from C++ and from
resource scripts alike; the table is the portable form behind Localization; the resource
script is the Windows STRINGTABLE. A malformed table stops the build with FILE:LINE.
"""
import argparse
import re
import sys

LINE = re.compile(r'^(\d+)\s+(IDS_[A-Z0-9_]+)\s+"((?:[^"\\]|\\.)*)"\s*$')
ESCAPES = {"n": "\n", "r": "\r", "t": "\t", "\\": "\\", '"': '"'}


class TableError(Exception):
    pass


def unescape(text, where):
    out = []
    i = 0
    while i < len(text):
        ch = text[i]
        if ch == "\\":
            nxt = text[i + 1] if i + 1 < len(text) else ""
            if nxt not in ESCAPES:
                raise TableError(f"{where}: unknown escape '\\{nxt}'")
            out.append(ESCAPES[nxt])
            i += 2
        else:
            out.append(ch)
            i += 1
    return "".join(out)


def read_table(path):
    entries = []
    ids = {}
    names = {}
    with open(path, encoding="utf-8") as f:
        for number, raw in enumerate(f, 1):
            line = raw.rstrip("\r\n")
            where = f"{path}:{number}"
            if not line.strip() or line.lstrip().startswith("#"):
                continue
            m = LINE.match(line)
            if not m:
                raise TableError(f'{where}: expected ID IDS_NAME "text"')
            sid, name, text = int(m.group(1)), m.group(2), unescape(m.group(3), where)
            if not 1 <= sid <= 65535:
                raise TableError(f"{where}: id {sid} is outside 1..65535")
            if sid in ids:
                raise TableError(f"{where}: id {sid} is already used on line {ids[sid]}")
            if name in names:
                raise TableError(f"{where}: {name} is already used on line {names[name]}")
            if "\0" in text:
                raise TableError(f"{where}: a text cannot hold a zero character")
            ids[sid] = number
            names[name] = number
            entries.append((sid, name, text))
    entries.sort()
    return entries


def utf16_units(text):
    data = text.encode("utf-16-le")
    return [data[i] | (data[i + 1] << 8) for i in range(0, len(data), 2)]


def cpp_literal(text):
    # ASCII stays readable; everything else is a universal character name, which both
    # compilers turn into their own wchar_t encoding.
    out = ['L"']
    for ch in text:
        cp = ord(ch)
        if ch == "\\":
            out.append("\\\\")
        elif ch == '"':
            out.append('\\"')
        elif ch == "\n":
            out.append("\\n")
        elif ch == "\r":
            out.append("\\r")
        elif ch == "\t":
            out.append("\\t")
        elif ch == "?":
            out.append("\\?")  # no trigraphs, whatever the compiler's mode
        elif 0x20 <= cp < 0x7F:
            out.append(ch)
        elif cp < 0xA0:
            # A universal character name may not name a control character: split the
            # literal so that the hex escape cannot swallow the characters after it.
            out.append(f'\\x{cp:x}" L"')
        elif cp <= 0xFFFF:
            out.append(f"\\u{cp:04x}")
        else:
            out.append(f"\\U{cp:08x}")
    out.append('"')
    return "".join(out)


def rc_literal(text):
    # The resource compiler reads wide strings as UTF-16 units; \x takes up to four hex
    # digits, so every unit outside printable ASCII is written with all four.
    out = ['L"']
    for unit in utf16_units(text):
        ch = chr(unit) if unit < 0x80 else None
        if ch == '"':
            out.append('""')
        elif ch == "\\":
            out.append("\\\\")
        elif ch == "\n":
            out.append("\\n")
        elif ch == "\r":
            out.append("\\r")
        elif ch == "\t":
            out.append("\\t")
        elif ch is not None and 0x20 <= unit < 0x7F:
            out.append(ch)
        else:
            out.append(f"\\x{unit:04x}")
    out.append('"')
    return "".join(out)


def write_if_changed(path, text):
    try:
        with open(path, encoding="utf-8", newline="") as f:
            if f.read() == text:
                return
    except FileNotFoundError:
        pass
    with open(path, "w", encoding="utf-8", newline="\n") as f:
        f.write(text)


def header(entries, source):
    lines = [
        f"// Generated from {source} by generate_strings.py; do not edit.",
        "// The ids of the product's texts, for C++ and for resource scripts.",
        "#ifndef ZELVO_STRINGS_STRINGIDS_H",
        "#define ZELVO_STRINGS_STRINGIDS_H",
        "",
    ]
    width = max((len(name) for _, name, _ in entries), default=0)
    lines += [f"#define {name.ljust(width)} {sid}" for sid, name, _ in entries]
    lines += ["", "#endif", ""]
    return "\n".join(lines)


def table(entries, source):
    if not entries:
        raise TableError("the table holds no text")
    lines = [
        f"// Generated from {source} by generate_strings.py; do not edit.",
        '#include "strings/StringTable.h"',
        "",
        "namespace Localization {",
        "namespace details {",
        "",
        "// Sorted by id.",
        "const StringEntry kEnglishStrings[] = {",
    ]
    lines += [f"    {{{sid}, {cpp_literal(text)}}},  // {name}" for sid, name, text in entries]
    lines += [
        "};",
        "const size_t kEnglishStringCount = sizeof(kEnglishStrings) / sizeof(kEnglishStrings[0]);",
        "",
        "}  // namespace details",
        "}  // namespace Localization",
        "",
    ]
    return "\n".join(lines)


def resource_script(entries, source):
    lines = [
        f"// Generated from {source} by generate_strings.py; do not edit.",
        "// The English string table of the product's modules.",
        "LANGUAGE 0x09, 0x01",  # LANG_ENGLISH, SUBLANG_ENGLISH_US
        "",
        "STRINGTABLE",
        "BEGIN",
    ]
    lines += [f"    {sid}, {rc_literal(text)}  // {name}" for sid, name, text in entries]
    lines += ["END", ""]
    return "\n".join(lines)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("table")
    parser.add_argument("--header", required=True)
    parser.add_argument("--cpp", required=True)
    parser.add_argument("--rc")
    parser.add_argument("--source-name", help="name of the table in the generated comments")
    args = parser.parse_args()
    source = args.source_name or args.table
    try:
        entries = read_table(args.table)
        write_if_changed(args.header, header(entries, source))
        write_if_changed(args.cpp, table(entries, source))
        if args.rc:
            write_if_changed(args.rc, resource_script(entries, source))
    except (TableError, OSError, UnicodeDecodeError) as e:
        print(f"generate_strings.py: {e}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
