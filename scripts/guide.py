#!/usr/bin/env python3
"""Writes the list in docs/integration.md of what a host defines, from the comments of common_include/.

  scripts/guide.py            writes
  scripts/guide.py --check [SYMBOLS]
                              tells instead what is out of date; SYMBOLS is a file of names, one a line, that have to be
                              those of the list

The list begins with <!-- host symbols --> and ends with <!-- end -->.
A host's symbol is declared under a comment that says "When: ... Threads: ...".
"""
import collections
import pathlib
import re
import sys

root = pathlib.Path(__file__).resolve().parent.parent
guide = root / "docs/integration.md"


Row = collections.namedtuple("Row", "header names when threads")


def declarations():
    """A row for each comment that declares symbols of the host."""
    rows = []
    for path in sorted((root / "common_include").rglob("*.h")):
        text = re.sub(r"^#ifdef __cplusplus.*?^#endif$", "", path.read_text(), flags=re.M | re.S)
        text = re.sub(r"^#.*$|__attribute__\(\(.*?\)\)\)?", "", text, flags=re.M)
        text = re.sub(r"\{[^{}]*\}", "", re.sub(r"/\*\*@[{}]\*/", "", text))
        header = path.relative_to(root / "common_include")
        for piece in re.finditer(r"/\*\*(.*?)\*/|([^;/]*);", text, re.S):
            comment, statement = piece.groups()
            if comment is not None:
                said = re.search(r"When: (.*)\. Threads: (.*)\.$", re.sub(r"\s+\*?\s*", " ", comment).strip(" *"))
                rows.append(Row(header, [], *said.groups()) if said else Row(header, [], None, None))
            elif not re.search(r"\btypedef\b|^\s*(struct|enum)\s+\w+\s*$", statement):
                name = re.search(r"(\w+)\s*\(", statement) or re.search(r"extern .*?(\w+)\s*$", statement)
                if name:
                    rows[-1].names.append(name.group(1))
    rows = [row for row in rows if row.names]
    silent = [name for row in rows for name in row.names if row.when is None]
    if silent:
        sys.exit(f"no word on when and from which threads: {', '.join(silent)}")
    return rows


def cell(names):
    """The names of a row; those of the store by what is put in place of the setting's name."""
    forms = collections.defaultdict(list)
    for name in names:
        setting = re.fullmatch(r"(para_[gs]et_isp_)(\w+)(_cur|_max)", name)
        forms["{}NAME{}".format(setting[1], setting[3]) if setting else name].append(setting[2] if setting else "")
    return "<br>".join(f"`{form}`" + (f" ({len(found)}): {', '.join(found)}" if found[0] else "")
                       for form, found in forms.items())


def symbols():
    rows = declarations()
    lines = [f"{sum(len(row.names) for row in rows)} symbols.", "", "| Symbol | Header | Called by | On threads |",
             "|---|---|---|---|"]
    lines += [f"| {cell(row.names)} | `{row.header}` | {row.when} | {row.threads} |" for row in rows]
    return "\n".join(lines) + "\n"


text = guide.read_text()
wanted = re.sub("(?<=<!-- host symbols -->\n).*?(?=<!-- end -->\n)", lambda _: symbols(), text, flags=re.S)
if sys.argv[1:2] != ["--check"]:
    guide.write_text(wanted)
    sys.exit()
if wanted != text:
    sys.exit(f"{guide.name} is out of date: scripts/guide.py")
if sys.argv[2:]:
    listed = {name for row in declarations() for name in row.names}
    taken = set(pathlib.Path(sys.argv[2]).read_text().split())
    if listed != taken:
        sys.exit(f"declared and not taken: {sorted(listed - taken)}; taken and not declared: {sorted(taken - listed)}")
