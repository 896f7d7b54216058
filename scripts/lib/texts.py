#!/usr/bin/env python3
"""Checks that what the pages of the repository say is what the site shows.

usage: texts.py SITE PAGE...

Markdown has dialects, so that a sign may be swallowed, or be shown, where nobody looks. Every
line of every page has to be on its page in the site, sign by sign; blanks, stars, and what
marks links and code apart.
"""

import html
import pathlib
import re
import sys

from page import LINK, page_name


def shown(path):
    """The text of a page of the site, without blanks."""
    text = re.sub(r"<[^>]*>", "", path.read_text(encoding="utf-8"))
    return re.sub(r"\s|\u200b|\*", "", html.unescape(text))


def plain(text):
    """A line, or a cell, of a page, as it is to be shown, without blanks."""
    text = re.sub(r"^\s*(#+|[-*]|\d+\.)\s|</?sub>|<a id=[^>]*></a>|`|\\(?=\|)", "", text)
    return re.sub(r"\s|\*", "", html.unescape(text))


def pieces(text):
    """The lines of a page, and the cells of its tables."""
    text = re.sub(r"<!--.*?-->|^\s*```\w*$", "", text, flags=re.M | re.S)
    # A link's text may go on in the next line.
    for line in LINK.sub(r"\2", text).splitlines():
        if not line.startswith("|"):
            yield line, plain(line)
        elif not re.fullmatch(r"[|: -]*", line):
            for cell in re.split(r"(?<!\\)\|", line):
                yield cell, plain(cell)


def main():
    """Compares all of them."""
    if len(sys.argv) < 3:
        print(__doc__, file=sys.stderr)
        sys.exit(2)
    faults = []
    for path in (pathlib.Path(name).resolve() for name in sys.argv[2:]):
        text = shown(pathlib.Path(sys.argv[1]) / f"{page_name(path)}.html")
        for piece, wanted in pieces(path.read_text(encoding="utf-8")):
            if wanted not in text:
                faults.append(f"{path}: not in the site as it is: {piece.strip()}")
    if faults:
        sys.exit("\n".join(faults))


if __name__ == "__main__":
    main()
