#!/usr/bin/env python3
"""Checks that links lead somewhere. Nothing is fetched: other sites are taken as they are.

usage: links.py site FOLDER     the pages of a built site: files, anchors, images, styles
       links.py pages FILE...   Markdown pages of the repository: files and headings

Exits with 1 when a link is dead, and names them all.
"""

import html.parser
import pathlib
import re
import sys
import urllib.parse

from page import LINK, SPAN, slug


class Html(html.parser.HTMLParser):
    """What a page of the site links to, and what in it can be linked to."""

    def __init__(self, path):
        super().__init__()
        self.links = []
        self.anchors = set()
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attrs):
        for name, value in attrs:
            if name == "id" or (name == "name" and tag == "a"):
                self.anchors.add(value)
            elif name in ("href", "src", "data", "xlink:href"):
                self.links.append(value or "")


class Markdown:
    """The same of a page of the repository."""

    def __init__(self, path):
        self.links = []
        self.anchors = set()
        text = re.sub(r"^\s*(```+).*?^\s*\1\s*$", "", path.read_text("utf-8"), flags=re.M | re.S)
        for heading in re.findall(r"^#{1,6} (.*)$", text, re.M):
            self.add_heading(slug(heading))
        self.anchors.update(re.findall(r'<a id="([\w-]+)"></a>', text))
        for paragraph in re.split(r"\n\s*\n|^#{1,6} ", text, flags=re.M):
            self.add_links(SPAN.sub("", paragraph))

    def add_heading(self, anchor):
        """Headings of one text are numbered."""
        number, numbered = 0, anchor
        while numbered in self.anchors:
            number += 1
            numbered = f"{anchor}-{number}"
        self.anchors.add(numbered)

    def add_links(self, text):
        """Links within the text of another, as an image's, count too."""
        for match in LINK.finditer(text):
            self.links.append(match[3])
            self.add_links(match[2])


class Checker:
    """Follows the links of pages, each read once."""

    def __init__(self, read):
        self.read = read
        self.pages = {}
        self.followed = 0
        self.dead = []

    def page(self, path):
        """What is known of a page, or None for what is none."""
        if path not in self.pages:
            known = path.suffix in (".html", ".svg", ".md")
            self.pages[path] = self.read(path) if known else None
        return self.pages[path]

    def why_dead(self, path, link):
        """The reason, or None."""
        parts = urllib.parse.urlsplit(link)
        if parts.scheme or parts.netloc:
            return None
        self.followed += 1
        target = (path.parent / urllib.parse.unquote(parts.path)).resolve() if parts.path else path
        if not target.exists():
            return "there is no such file"
        page = self.page(target) if parts.fragment and target.is_file() else None
        if parts.fragment and (
            page is None or urllib.parse.unquote(parts.fragment) not in page.anchors
        ):
            return "there is no such place in it"
        return None

    def check(self, path):
        """All links of one page."""
        path = path.resolve()
        for link in sorted(set(self.page(path).links)):
            reason = self.why_dead(path, link)
            if reason:
                self.dead.append(f"{path}: {link}: {reason}")


def site_paths(folder):
    """The pages of a site, and the drawings, which link, too."""
    return sorted(folder.glob("**/*.html")) + sorted(folder.glob("**/*.svg"))


def main():
    """Checks, and tells."""
    if len(sys.argv) < 3 or sys.argv[1] not in ("site", "pages"):
        print(__doc__, file=sys.stderr)
        sys.exit(2)
    if sys.argv[1] == "site":
        checker, paths = Checker(Html), site_paths(pathlib.Path(sys.argv[2]))
    else:
        checker, paths = Checker(Markdown), [pathlib.Path(name) for name in sys.argv[2:]]
    for path in paths:
        checker.check(path)
    print("\n".join(checker.dead) or f"{checker.followed} links in {len(paths)} files")
    if checker.dead or not checker.followed:
        sys.exit("links.py: dead links" if checker.dead else "links.py: no link was found")


if __name__ == "__main__":
    main()
