"""Writes docs/log.md's part that stands in the sources, or checks it.

    log_reference.py update|check LIBRARY

LIBRARY is the built library with its symbols, from which the texts and the places are read
once more, by other means. Beside the reference stands a log with one line of each kind.
"""

import collections
import difflib
import os
import pathlib
import re
import subprocess
import sys
import textwrap
import tomllib

import log_sources

REFERENCE = pathlib.Path("docs/log.md")
EXPLANATIONS = pathlib.Path("docs/log-explanations.toml")
LOGS = pathlib.Path("tests/vorndb/logs")
EVERY_LINE = LOGS / "every_line.log"
STAND_IN = pathlib.Path("platform/dlog/dlog.cpp")

PREFIX = "%s: %s(%d) > "
# What prints converted messages, whatever they are.
PROTECTED = "%s"
WIDTH = 88

PRIORITIES = {3: "Debug", 4: "Info", 5: "Warning", 6: "Error"}

# What the conversions of a text may become.
CONVERSIONS = {"%d": r"-?\d+", "%s": r".*"}


def fail(message):
    """Ends the script."""
    sys.exit(f"log_reference.py: {message}")


def letters():
    """The letters of the priorities, by number, from the stand-in."""
    found = re.search(r'kLetters\[\] = "(\w+)"', STAND_IN.read_text(encoding="utf-8"))
    if not found:
        fail(f"{STAND_IN}: no letters of priorities")
    return found.group(1)


# --- The explanations ---------------------------------------------------------------------


def read_explanations(texts):
    """The chapters; each text has one entry."""
    chapters = tomllib.loads(EXPLANATIONS.read_text(encoding="utf-8"))["chapter"]
    entries = [entry for chapter in chapters for entry in chapter["message"]]
    for entry in entries:
        if sorted(entry) != ["action", "meaning", "text"] or not all(
            map(str.strip, entry.values())
        ):
            fail(f"{EXPLANATIONS}: an entry needs text, meaning and action: {entry}")
    explained = collections.Counter(entry["text"] for entry in entries)
    problems = [f"twice: {text}" for text, count in explained.items() if count > 1]
    problems += [f"no entry: {text}" for text in texts if text not in explained]
    problems += [f"no such line: {text}" for text in explained if text not in texts]
    if problems:
        fail("\n".join([f"{EXPLANATIONS}:", *problems]))
    return chapters


# --- What is written ----------------------------------------------------------------------


def priority_name(priority):
    """A priority as the reference names it."""
    return f"{PRIORITIES[priority]} ({priority}, {letters()[priority]})"


def filled(text):
    """A paragraph."""
    return textwrap.fill(
        " ".join(text.split()), WIDTH, break_long_words=False, break_on_hyphens=False
    )


def places(lines):
    """Files with their functions, in the order of the sources."""
    files = collections.OrderedDict()
    for line in lines:
        functions = files.setdefault(line.file, [])
        if line.function not in functions:
            functions.append(line.function)
    return files


def written_places(lines):
    """Where a message is written."""
    files = places(lines)
    if len(files) <= 2:
        parts = [f"`{file}`: {', '.join(f'`{n}`' for n in names)}" for file, names in files.items()]
        return "; ".join(parts) + "."
    rows = [f"| `{file}` | {', '.join(f'`{n}`' for n in names)} |" for file, names in files.items()]
    return "\n".join(["| File | Functions |", "|---|---|", *rows])


def messages_part(lines, chapters):
    """The sections of all messages."""
    parts = []
    for chapter in chapters:
        parts.append(f"## {chapter['title']}")
        for entry in chapter["message"]:
            own = [line for line in lines if line.text == entry["text"]]
            named = sorted({line.priority for line in own})
            parts.append(f"### `{entry['text']}`")
            parts.append("**" + " or ".join(map(priority_name, named)) + "**")
            few = len(places(own)) <= 2
            if few:
                parts[-1] += " from " + written_places(own)
            parts.append(filled(entry["meaning"]))
            parts.append(filled(f"*What to do:* {entry['action']}"))
            if not few:
                parts.append(written_places(own))
    return "\n\n".join(parts)


def priorities_part(lines):
    """What stands at each priority."""
    rows = ["| Priority | Lines |", "|---|---|"]
    for priority in sorted({line.priority for line in lines}, reverse=True):
        texts = dict.fromkeys(line.text for line in lines if line.priority == priority)
        rows.append(f"| {priority_name(priority)} | {', '.join(f'`{t}`' for t in texts)} |")
    return "\n".join(rows)


def reference(lines, chapters):
    """The whole reference, with its parts renewed."""
    text = REFERENCE.read_text(encoding="utf-8")
    parts = {"messages": messages_part(lines, chapters), "priorities": priorities_part(lines)}
    for name, part in parts.items():
        begin, end = f"<!-- {name} -->\n", f"<!-- /{name} -->\n"
        if text.count(begin) != 1 or text.count(end) != 1:
            fail(f"{REFERENCE}: the marks of {name} are missing")
        before, rest = text.split(begin)
        text = before + begin + "\n" + part + "\n\n" + end + rest.split(end)[1]
    return text


def every_line(lines):
    """A log with each line once, its numbers and texts made up."""
    log = []
    for number, line in enumerate(lines, 1):
        if line.text.count("%") == 3:  # the place
            arguments = [line.file, line.function, str(number)]
        elif line.text.startswith("DB file"):
            arguments = ["/opt/data", "app.db"]
        else:
            code = "0" if "SUCCESS" in line.text else "1"
            arguments = [{"%d": code}.get(part, "text") for part in re.findall("%[sd]", line.text)]
        message = re.sub("%[sd]", lambda _, rest=iter(arguments): next(rest), line.text)
        place = f"{line.file}: {line.function}({number})"
        log.append(f"{letters()[line.priority]} VORN 4711 4711 {place} > {message}\n")
    return "".join(log)


# --- What is compared ---------------------------------------------------------------------


def check_conversions(lines):
    """Whoever reads the log must know what may stand in a text."""
    for line in lines:
        for conversion in re.findall(r"%.?", line.text):
            if conversion not in CONVERSIONS:
                fail(f"{line.file}: {line.text}: {conversion} is not understood")
        if line.priority not in PRIORITIES:
            fail(f"{line.file}: {line.text}: priority {line.priority}")


def compare(what, from_sources, from_library):
    """Both must have found the same."""
    problems = [f"only in the sources: {found}" for found in from_sources - from_library]
    problems += [f"only in the library: {found}" for found in from_library - from_sources]
    if problems:
        fail("\n".join([f"{what} of sources and library differ:", *sorted(problems)]))


def check_library(lines, library):
    """The texts and the places, as they are found in the built library."""
    data = pathlib.Path(library).read_bytes()
    found = re.findall(re.escape(PREFIX.encode()) + rb"([^\0]*)\0", data)
    texts = {text.decode() for text in found}
    if PROTECTED not in texts:
        fail(f"{library} has no text of protected lines")
    compare("texts", {line.text for line in lines}, texts - {PROTECTED})

    symbols = subprocess.run(
        [os.environ.get("NM", "nm"), "--demangle", library],
        check=True,
        capture_output=True,
        text=True,
    ).stdout
    sites = re.findall(r"(\w+)::(~?\w+)\([^\n]*\)::kVornSite$", symbols, re.MULTILINE)
    compare("places", {(line.owner, line.function) for line in lines}, set(sites))


def check_logs(lines):
    """Lines that were really written are among those of the sources; each text is, somewhere."""
    line_of = re.compile(r"([VDIWEF]) VORN \d+ \d+ (\w+\.cpp): (~?\w+)\(\d+\) > (.*)")
    patterns = collections.defaultdict(list)
    for line in lines:
        pattern = "".join(CONVERSIONS.get(p, re.escape(p)) for p in re.split("(%[sd])", line.text))
        key = (letters()[line.priority], line.file, line.function)
        patterns[key].append((re.compile(pattern), line.text))
    unseen = {line.text for line in lines}
    for path in sorted(LOGS.glob("captured_*.log")):
        for number, written in enumerate(path.read_bytes().split(b"\n"), 1):
            match = line_of.fullmatch(written.decode(errors="replace").rstrip("\r"))
            if not match or match[4].startswith("<protected "):
                continue
            known = [
                text
                for pattern, text in patterns[match.groups()[:3]]
                if pattern.fullmatch(match[4])
            ]
            if not known:
                fail(f"{path}:{number}: no line of the sources: {match[0]}")
            unseen.difference_update(known)
    return unseen


def check_file(path, expected):
    """What stands in the tree must be what would be written."""
    actual = path.read_text(encoding="utf-8") if path.exists() else ""
    if actual != expected:
        difference = difflib.unified_diff(
            actual.splitlines(), expected.splitlines(), str(path), "sources", lineterm=""
        )
        print("\n".join(difference), file=sys.stderr)
        fail(f"{path} is not what the sources say: run scripts/log-reference.sh update")


def main():
    """Does what the command line says."""
    mode, library = sys.argv[1], sys.argv[2]
    lines = log_sources.Sources("src").lines()
    check_conversions(lines)
    check_library(lines, library)
    chapters = read_explanations(list(dict.fromkeys(line.text for line in lines)))
    files = {REFERENCE: reference(lines, chapters), EVERY_LINE: every_line(lines)}
    for path, text in files.items():
        if mode == "update":
            path.write_text(text, encoding="utf-8")
        else:
            check_file(path, text)
    unseen = check_logs(lines)
    texts = {line.text for line in lines}
    print(
        f"{len(lines)} lines with {len(texts)} texts, "
        f"{len(texts - unseen)} of them in captured logs; not: {', '.join(sorted(unseen))}"
    )


if __name__ == "__main__":
    main()
