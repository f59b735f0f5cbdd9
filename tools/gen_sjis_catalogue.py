#!/usr/bin/env python3
"""Compile the Japanese message catalogue (UTF-8 text) into a C++ table of
Shift-JIS strings.

    gen_sjis_catalogue.py [--header runtime/messages.h] INPUT.txt OUTPUT.cpp

INPUT holds one text per line, `NUMBER: "TEXT"`, with the escapes \\n, \\"
and \\\\; blank lines and lines starting with '#' are ignored. Every number
from 0 to kaf_message_count - 1 (read from the header) must appear exactly
once. Every character must be ASCII or a two-byte character of JIS X 0208:
the reporter takes any byte with the high bit set as the lead byte of a
two-byte character, so single-byte half-width katakana would swallow the
byte after them. Any fault stops the build with the file and line named.
"""

import argparse
import os
import re
import sys

SENTINEL = "This is the last runtime error in Japanese."
LINE_RE = re.compile(r'^(\d+): "(.*)"$')
COUNT_RE = re.compile(r"kaf_message_count\s*=\s*(\d+)\s*;")
INSERTION_LETTERS = set("CDEFGHILQUVYZ")
MAX_SLOTS = 10


class Catalogue:
    def __init__(self, path):
        self.path = path
        self.errors = []

    def error(self, line, text):
        where = f"{self.path}:{line}" if line else self.path
        self.errors.append(f"{where}: error: {text}")


def unescape(body):
    """Returns (text, problem); problem is None when the body is well formed."""
    out = []
    i = 0
    while i < len(body):
        c = body[i]
        if c == "\\":
            if i + 1 == len(body):
                return None, "backslash at the end of the text"
            e = body[i + 1]
            if e == "n":
                out.append("\n")
            elif e in '"\\':
                out.append(e)
            else:
                return None, f"unknown escape \\{e}"
            i += 2
            continue
        if c == '"':
            return None, "unescaped quotation mark inside the text"
        out.append(c)
        i += 1
    return "".join(out), None


def encode(text):
    """Returns (bytes, problem) for one text."""
    out = bytearray()
    for c in text:
        o = ord(c)
        if o < 0x80:
            if (o < 0x20 and c != "\n") or o == 0x7F:
                return None, f"control character U+{o:04X}"
            out.append(o)
            continue
        if 0xFF61 <= o <= 0xFF9F:
            return None, (f"half-width katakana {c!r} (U+{o:04X}): use the "
                          "full-width form")
        try:
            b = c.encode("shift_jis")
        except UnicodeEncodeError:
            return None, f"{c!r} (U+{o:04X}) has no Shift-JIS (JIS X 0208) code"
        if (len(b) != 2 or not (0x81 <= b[0] <= 0x9F or 0xE0 <= b[0] <= 0xFC)
                or b.decode("shift_jis") != c):
            return None, f"{c!r} (U+{o:04X}) is not a two-byte Shift-JIS character"
        out += b
    return bytes(out), None


def check_insertions(raw):
    """Reads the insertion codes as the reporter does; returns a problem or None."""
    sequential = positional = False
    slots = set()
    count = 0
    i = 0
    while i < len(raw):
        c = raw[i]
        if c >= 0x80:
            i += 2
            continue
        if c != ord("$"):
            i += 1
            continue
        n = raw[i + 1] if i + 1 < len(raw) else 0
        if chr(n).isascii() and chr(n).isalpha():
            if positional:
                return "sequential insertion after a positional one"
            if chr(n) not in INSERTION_LETTERS:
                return f"unknown insertion letter ${chr(n)}"
            sequential = True
            slot = count
            count += 1
            i += 2
        elif (ord("1") <= n <= ord("9") and i + 2 < len(raw)
              and chr(raw[i + 2]).isascii() and chr(raw[i + 2]).isalpha()):
            if sequential:
                return "positional insertion after a sequential one"
            if chr(raw[i + 2]) not in INSERTION_LETTERS:
                return f"unknown insertion letter ${chr(n)}{chr(raw[i + 2])}"
            positional = True
            slot = n - ord("1")
            i += 3
        else:
            # The reporter would print it as it stands, but a literal "$" in
            # a text is more likely a mistyped code: the catalogue has none.
            return "'$' that starts no insertion code"
        if slot in slots:
            return f"slot {slot + 1} filled twice"
        slots.add(slot)
    if len(slots) > MAX_SLOTS:
        return f"{len(slots)} insertion slots (at most {MAX_SLOTS})"
    if slots and max(slots) + 1 != len(slots):
        return "insertion slots are not numbered 1 to n without a gap"
    return None


def c_literal(raw):
    """A C string literal for the bytes; every non-ASCII byte as a three-digit
    octal escape (which cannot run on into a following digit)."""
    out = ['"']
    for b in raw:
        if b == 0x0A:
            out.append("\\n")
        elif b == 0x22:
            out.append('\\"')
        elif b == 0x5C:
            out.append("\\\\")
        elif b == 0x3F:
            out.append("\\?")  # never part of a trigraph
        elif 0x20 <= b < 0x7F:
            out.append(chr(b))
        else:
            out.append(f"\\{b:03o}")
    out.append('"')
    return "".join(out)


def read_count(header):
    try:
        with open(header, encoding="utf-8") as f:
            m = COUNT_RE.search(f.read())
    except OSError as e:
        sys.exit(f"{header}: error: {e.strerror}")
    if not m:
        sys.exit(f"{header}: error: no kaf_message_count definition")
    return int(m.group(1))


def parse(path, count):
    cat = Catalogue(path)
    texts = {}
    first_line = {}
    try:
        with open(path, encoding="utf-8", newline="") as f:
            lines = f.read().split("\n")
    except UnicodeDecodeError as e:
        sys.exit(f"{path}: error: not UTF-8 ({e.reason} at byte {e.start})")
    except OSError as e:
        sys.exit(f"{path}: error: {e.strerror}")
    if lines and lines[-1] == "":
        lines.pop()
    for lineno, line in enumerate(lines, 1):
        if "\r" in line:
            cat.error(lineno, "carriage return in the line")
            continue
        if not line.strip() or line.startswith("#"):
            continue
        m = LINE_RE.match(line)
        if not m:
            cat.error(lineno, 'expected NUMBER: "TEXT"')
            continue
        number = int(m.group(1))
        if number >= count:
            cat.error(lineno, f"text number {number} is outside 0 to {count - 1} "
                              f"(the catalogue has {count} texts)")
            continue
        if number in first_line:
            cat.error(lineno, f"text number {number} appears twice "
                              f"(first on line {first_line[number]})")
            continue
        first_line[number] = lineno
        text, problem = unescape(m.group(2))
        if problem:
            cat.error(lineno, f"text {number}: {problem}")
            continue
        raw, problem = encode(text)
        if problem:
            cat.error(lineno, f"text {number}: {problem}")
            continue
        problem = check_insertions(raw)
        if problem:
            cat.error(lineno, f"text {number}: {problem}")
            continue
        if number == count - 1 and text != SENTINEL:
            cat.error(lineno, f"text {number} must be the sentinel {SENTINEL!r}")
        texts[number] = raw
    for number in range(count):
        if number not in first_line:
            before = max((first_line[k], k) for k in first_line if k < number) \
                if any(k < number for k in first_line) else None
            where = (f"after line {before[0]} (text {before[1]})" if before
                     else "at the start")
            cat.error(0, f"text number {number} is missing (expected {where}); "
                         f"the catalogue needs all {count} texts")
    if len(first_line) != count and not cat.errors:
        cat.error(0, f"{len(first_line)} texts instead of {count}")
    return texts, cat.errors


def render(texts, count, source):
    rows = [
        "// Generated by tools/gen_sjis_catalogue.py from "
        f"{source}; edit that file, not this one.",
        "// Japanese runtime message catalogue in Shift-JIS: "
        f"{count} texts indexed by message number.",
        '#include "runtime/messages.h"',
        "",
        f"static_assert(kaf_message_count == {count}, "
        '"regenerate the Japanese catalogue");',
        "",
        "extern const char *const J_rtmsg[kaf_message_count] = {",
    ]
    for number in range(count):
        rows.append(f"    /* {number:3} */ {c_literal(texts[number])},")
    rows.append("};")
    return "\n".join(rows) + "\n"


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("--header", help="header defining kaf_message_count "
                    "(default: messages.h beside INPUT)")
    ap.add_argument("input")
    ap.add_argument("output")
    args = ap.parse_args()
    header = args.header or os.path.join(os.path.dirname(args.input), "messages.h")
    count = read_count(header)
    texts, errors = parse(args.input, count)
    if errors:
        for e in errors:
            print(e, file=sys.stderr)
        print(f"{args.input}: {len(errors)} error(s); no catalogue written",
              file=sys.stderr)
        return 1
    out_dir = os.path.dirname(os.path.abspath(args.output))
    os.makedirs(out_dir, exist_ok=True)
    # Written aside and renamed, so that a reader (or a second build step
    # racing for the same output) never sees half a file.
    tmp = f"{args.output}.tmp{os.getpid()}"
    with open(tmp, "w", encoding="ascii", newline="\n") as f:
        f.write(render(texts, count, "runtime/messages_ja.txt"))
    os.replace(tmp, args.output)
    return 0


if __name__ == "__main__":
    sys.exit(main())
