#!/usr/bin/env python3
"""Makes a page of the repository into what Doxygen reads for the site.

usage: page.py FILE

A Markdown page is written for readers of the repository. In the site

- every page and heading gets the name by which others link to it;
- a link to another page, or to a public header, leads to that one's place in the site;
- a link to anything else of the repository becomes its text, since that is not there;
- "<!-- sample of README.md -->" is replaced by the README's program, and
  "<!-- output of vorndb log-reference -->" by that of the release build's tool.
"""

import html
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
NAMES = {
    "README.md": "readme",
    "CONTRIBUTING.md": "contributing",
    "CHANGELOG.md": "changelog",
    "abi/README.md": "abi",
    "docs/mainpage.md": "index",
}
MESSAGES = "<!-- output of vorndb log-reference -->\n"
# Of a paragraph, whose lines may end within one.
SPAN = re.compile(r"(`+)(.+?)\1(?!`)", re.S)
LINK = re.compile(r"(!?)\[((?:[^][]|\[[^][]*\])*)\]\(([^()\s]+)\)")


def page_name(path):
    """The name in the site of a Markdown page, or None."""
    relative = path.relative_to(ROOT).as_posix()
    if relative in NAMES:
        return NAMES[relative]
    return path.stem if re.fullmatch(r"docs/\w+\.md", relative) else None


def slug(heading):
    """A heading's anchor, as repository pages form it."""
    text = LINK.sub(r"\2", heading).replace("`", "").strip().lower()
    return re.sub(r"[^\w\- ]", "", text).replace(" ", "-")


def is_inside(path):
    """Whether the path is one of the repository."""
    return path == ROOT or ROOT in path.parents


class Page:
    """One Markdown page on its way into the site."""

    def __init__(self, path):
        self.path = path
        self.name = page_name(path)
        self.slugs = {}
        self.quoted = False  # whether a line begins between quotes

    def heading(self, match):
        """A heading with its name."""
        marks, text = match[1], match[2].strip()
        if len(marks) == 1:
            return f"# {text}" if self.name == "index" else f"# {text} {{#{self.name}}}"
        anchor = slug(text)
        number = self.slugs.get(anchor, 0)
        self.slugs[anchor] = number + 1
        suffix = f"-{number}" if number else ""
        # Doxygen shows the tags of code in a heading.
        return f"{marks} {self.inline(text.replace('`', ''))} {{#{self.name}-{anchor}{suffix}}}"

    def link(self, match):
        """A link as the site can follow it, or its text."""
        image, text, target = match.groups()
        # Doxygen wants it in one line.
        text = re.sub(r"\s*\n\s*", " ", text)
        if re.match(r"[a-z]+:", target):
            return f"{image}[{text}]({target})"
        place, _, anchor = target.partition("#")
        path = (self.path.parent / place).resolve() if place else self.path
        if image:
            return f"![{text}]({path.name})"
        name = page_name(path) if path.suffix == ".md" and is_inside(path) else None
        if name:
            return f'[{text}](@ref {name}{"-" + anchor if anchor else ""})'
        if path.parent == ROOT / "include" and path.suffix == ".h":
            return f"[{text}](@ref {path.stem})"
        return text

    def inline(self, text):
        """A paragraph: links and characters outside of code."""
        spans = []

        def keep(match):
            code = match[2].strip()
            if "\\|" in code or "%" in code:
                # Between backticks the backslash that a table needs would be shown, and
                # the percent sign would not.
                parts = html.escape(code, quote=False).split('"')
                parts[::2] = [part.replace("%", "\\%") for part in parts[::2]]
                spans.append("<code>" + '"'.join(parts) + "</code>")
            elif "'" in code and "`" not in code:
                # It would end at the quote.
                spans.append(f"`` {code} ``")
            else:
                spans.append(match[0])
            return f"\0{len(spans) - 1}\0"

        text = LINK.sub(self.link, SPAN.sub(keep, text))
        text = re.sub(r'<a id="([\w-]+)"></a>', rf"\\anchor {self.name}-\1\n", text)
        text = "\n".join(map(self.percents, text.split("\n")))
        text = re.sub(r"@(?!ref )", r"\\@", text)
        # Two stars beside a code span would stay.
        text = re.sub(r"\*\*(.+?)\*\*", r"<b>\1</b>", text, flags=re.S)
        return re.sub(r"\0(\d+)\0", lambda match: spans[int(match[1])], text)

    def percents(self, line):
        """Percent signs kept; between quotes, which may go on in the next line, they are."""
        if re.match(r"\s*([|#-]|\d+\.|$)", line):
            self.quoted = False
        parts = line.split('"')
        for number, part in enumerate(parts):
            if self.quoted == bool(number % 2):
                parts[number] = re.sub(r"(?<!\\)%(?=\w)", r"\\%", part)
        self.quoted ^= len(parts) % 2 == 0
        return '"'.join(parts)

    def convert(self, text):
        """The whole page."""
        done, paragraph, fence = [], [], None

        def finish():
            if paragraph:
                done.append(self.inline("\n".join(paragraph)))
                paragraph.clear()

        for line in text.splitlines():
            mark = re.match(r"\s*(```+)", line)
            title = re.match(r"(#{1,6}) (.*)$", line)
            if not fence and not mark and not title and line and not line.startswith("<!--"):
                paragraph.append(line)
                continue
            finish()
            if fence or mark:
                fence = mark[1] if mark and not fence else None if mark else fence
                done.append(line)
            elif line == "<!-- sample of README.md -->":
                done += readme_sample()
            else:
                done.append(self.heading(title) if title else line)
                self.quoted = False
        finish()
        return "\n".join(done) + "\n"


def log_reference():
    """The log's messages, without the title."""
    tool = ROOT / "build/release/tools/vorndb/vorndb"
    output = subprocess.run([tool, "log-reference"], check=True, capture_output=True, text=True)
    return output.stdout.partition("\n")[2]


def readme_sample():
    """The README's program, in its fence."""
    readme = (ROOT / "README.md").read_text(encoding="utf-8")
    return re.search(r"<!-- sample -->\n(```cpp\n.*?^```)$", readme, re.M | re.S)[1].splitlines()


def main():
    """Prints the file as Doxygen is to see it."""
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    path = pathlib.Path(sys.argv[1]).resolve()
    text = path.read_text(encoding="utf-8")
    if MESSAGES in text:
        text = text.replace(MESSAGES, log_reference())
    sys.stdout.reconfigure(encoding="utf-8")
    print(Page(path).convert(text), end="")


if __name__ == "__main__":
    main()
