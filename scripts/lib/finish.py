#!/usr/bin/env python3
"""Finishes the pages that Doxygen has made.

usage: finish.py SITE

Drawings with links become a part of their page, instead of a frame of a fixed size in it, and
those without an image; what may be wider than the page gets a box to scroll in. What no link
leads to is removed.
"""

import pathlib
import re
import sys

FRAME = re.compile(r'<iframe [^>]*src="([^"]+\.svg)".*?</iframe>', re.S)
IMAGE = re.compile(r'<object type="image/svg\+xml" data="([^"]+)".*?</object>', re.S)
WIDE = "markdownTable|doxtable|params|memname|directory"
TABLE = re.compile(rf'<table class="(?:{WIDE})">.*?</table>', re.S)


def inlined(site):
    """What takes the place of a frame."""

    def replace(match):
        text = (site / match[1]).read_text(encoding="utf-8")
        drawing = re.search(r"<svg.*</svg>", text, re.S)[0]
        # Every drawing has the same.
        drawing = re.sub(r' id="\w+"|<!--.*?-->\n?', "", drawing, flags=re.S)
        drawing = drawing.replace(' target="_top"', "").replace(' target="_parent"', "")
        return f'<div class="drawing">{drawing}</div>'

    return replace


def finished(site, page):
    """A page as it is to be."""
    page = FRAME.sub(inlined(site), page)
    page = IMAGE.sub(r'<div class="drawing"><img src="\1" alt=""/></div>', page)
    return TABLE.sub(r'<div class="wide">\g<0></div>', page)


def reachable(site, first):
    """The names of all files that the first leads to."""
    found, waiting = {first}, [first]
    while waiting:
        name = waiting.pop()
        if pathlib.PurePath(name).suffix not in (".html", ".css"):
            continue
        text = (site / name).read_text(encoding="utf-8")
        targets = set(re.findall(r"""(?:href="|src="|url\(["']?)([\w.-]+)""", text))
        new = {target for target in targets - found if (site / target).exists()}
        found |= new
        waiting += sorted(new)
    return found


def main():
    """Rewrites all pages."""
    if len(sys.argv) != 2:
        print(__doc__, file=sys.stderr)
        sys.exit(2)
    site = pathlib.Path(sys.argv[1])
    pages = {
        path: finished(site, path.read_text(encoding="utf-8"))
        for path in sorted(site.glob("*.html"))
    }
    for path, text in pages.items():
        path.write_text(text, encoding="utf-8")
    used = reachable(site, "index.html")
    for path in site.iterdir():
        if path.name not in used:
            path.unlink()


if __name__ == "__main__":
    main()
