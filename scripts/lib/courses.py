#!/usr/bin/env python3
"""Compares the diagrams of operations' courses with the calls in the code.

usage: courses.py CALLS DIAGRAM...

CALLS is what calls.py writes. A diagram that is named after an operation shows what that one
calls, as messages from lifeline to lifeline: the edge from a3 to b3, say, with the text t3.
Every message to another class or to SQLite has to be a call of the code, in the order of the
code, and every function of SQLite that is called has to be named somewhere. Files named in any
diagram have to exist.
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
# What requests have inherited.
BASES = ("BasePath", "BaseSet")


class Diagram:
    """A Graphviz source, as far as it is compared."""

    def __init__(self, path):
        text = path.read_text(encoding="utf-8").replace("\\n", " ")
        self.text = re.sub(r"^\s*//.*$", "", text, flags=re.M)
        self.operation = (re.search(r'digraph "?Database::(\w+)', self.text) or [None, None])[1]
        self.labels = dict(re.findall(r'\b(\w+) \[label="([^"]*)"', self.text))

    def messages(self):
        """Receiver and text of each message that is no answer."""
        for target, number in re.findall(r"[a-z]+\d+ -> ([a-z]+)(\d+)(?!\d| \[style)", self.text):
            yield self.labels[target], self.labels[f"t{number}"]

    def wanted(self):
        """The functions that messages call, as a set of possible names each."""
        for receiver, text in self.messages():
            name = re.match(r"\w+", text)[0]
            if receiver == "SQLite":
                yield {name}
            else:
                bases = BASES if receiver.endswith("Request") else ()
                yield {f"{owner}::{name}" for owner in (receiver, *bases)}


def check_course(diagram, calls):
    """What is wrong with a course."""
    rest = list(calls)
    for names in diagram.wanted():
        while rest and rest[0] not in names:
            rest.pop(0)
        if not rest:
            yield f"{' or '.join(sorted(names))} is not called, or not there"
            return
        rest.pop(0)
    for name in sorted(set(calls)):
        if name.startswith("sqlite3_") and name not in diagram.text:
            yield f"{name} is missing"


def check_files(diagram):
    """Files that do not exist."""
    files = {path.name for folder in ("include", "src") for path in (ROOT / folder).rglob("*")}
    for name in sorted(set(re.findall(r"\w+\.(?:cpp|h|map)\b", diagram.text))):
        if name not in files:
            yield f"there is no {name}"


def main():
    """Compares all of them."""
    if len(sys.argv) < 3:
        print(__doc__, file=sys.stderr)
        sys.exit(2)
    calls = {}
    for line in pathlib.Path(sys.argv[1]).read_text(encoding="utf-8").splitlines():
        operation, _, function = line.split(" ")
        calls.setdefault(operation, []).append(function)
    faults, courses = [], 0
    for path in map(pathlib.Path, sys.argv[2:]):
        diagram = Diagram(path)
        faults += [f"{path}: {fault}" for fault in check_files(diagram)]
        if diagram.operation:
            courses += 1
            faults += [
                f"{path}: {fault}" for fault in check_course(diagram, calls[diagram.operation])
            ]
    print("\n".join(faults) or f"{courses} courses are those of the code")
    if faults or not courses:
        sys.exit(1)


if __name__ == "__main__":
    main()
