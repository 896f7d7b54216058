#!/usr/bin/env python3
"""Draws what each operation of Database calls, as the compiler has found it.

usage: calls.py FOLDER OUTPUT

FOLDER holds the call graphs that GCC writes with -fcallgraph-info (*.ci), of unoptimised
code, so that no call is folded into another. OUTPUT receives one Graphviz source per
operation, the comments that put the drawings on the operations' pages (calls.dox), and the
calls in their order (calls.txt: operation, depth, function).

Shown are the members of the public classes, and what is called of SQLite, of the system and
of the platform's lock; of our other functions those on the way to one of these. The standard
library, lambdas and small wrappers are stepped through. Log lines are a mark.
"""

import pathlib
import re
import subprocess
import sys

# The classes whose members have pages.
HEADERS = pathlib.Path(__file__).parents[2] / "include"
PUBLIC = [path.stem for path in HEADERS.glob("*.h")]

OUTSIDE = re.compile(r"sqlite3_\w+$|usleep$|VornMutex::(Lock|Unlock)$")
LOG = re.compile(r"vorn::(PrintTrace|PrintLog|PrintProtected)$")
# What only hands a call on.
WRAPPER = re.compile(r"vorn::(FunctionRef|ScopeExit)\b|\{lambda")
INDIRECT = "__indirect_call"


def demangled(titles):
    """The titles' functions as C++ writes them, with parameters."""
    text = "\n".join(title.rpartition(":")[2] for title in titles)
    done = subprocess.run(["c++filt"], input=text, capture_output=True, text=True, check=True)
    return dict(zip(titles, done.stdout.splitlines()))


def without_brackets(text, opening, closing):
    """The text without what stands between brackets, and without them."""
    kept, depth = [], 0
    for character in text:
        depth += character == opening
        if depth == 0:
            kept.append(character)
        depth -= character == closing
    return "".join(kept)


def short_name(function):
    """Classes and name: no result, parameters or template arguments."""
    name = function.replace("(anonymous namespace)::", "").replace("operator()", "operator_call")
    name = re.sub(r"\{lambda\(.*?\)#\d+\}(?=::operator_call)", "{lambda}", name)
    name = without_brackets(name, "<", ">")
    lambda_of = "{lambda}::" if "{lambda}" in name else ""
    name = without_brackets(name, "(", ")").replace(" const", "").strip()
    return lambda_of + name.split(" ")[-1]


class Graph:
    """All calls in the sources, with the places that make callables known."""

    def __init__(self, folder):
        self.calls = {}  # caller's key to callees' keys, in the order of the code
        self.names = {}  # key to short name
        self.files = {}  # key to the file it is defined in
        self.signatures = {}  # key to the function as the source has it
        edges, labels = [], {}
        for path in sorted(folder.glob("**/*.ci")):
            for line in path.read_text(encoding="utf-8").splitlines():
                values = dict(re.findall(r'(\w+): "([^"]*)"', line))
                if line.startswith("node:"):
                    if "shape : ellipse" not in line or values["title"] not in labels:
                        labels[values["title"]] = values["label"]
                elif line.startswith("edge:"):
                    edges.append((values["sourcename"], values["targetname"]))
        if not edges:
            sys.exit(f"calls.py: no call graph in {folder}")
        titles = sorted({title for edge in edges for title in edge} | set(labels))
        functions = demangled(titles)
        self.mangled = {}
        for title in titles:
            key = self.key(title, functions)
            self.names[key] = short_name(functions[title])
            signature, _, place = labels.get(title, "").rpartition("\\n")
            if place:
                self.files[key] = pathlib.PurePath(place.split(":")[0]).name
                self.signatures[key] = signature
            self.mangled.setdefault(key, title.rpartition(":")[2])
        # In the compiler's order, that of the course of a function.
        for source, target in edges:
            callees = self.calls.setdefault(self.key(source, functions), [])
            callee = self.key(target, functions)
            if callee not in callees:
                callees.append(callee)

    @staticmethod
    def key(title, functions):
        """One for both names of a constructor; another for each file's local function."""
        return (title.rpartition(":")[0], functions[title])

    def operations(self):
        """The members of Database but its constructor and destructor."""
        members = {self.names[key]: key for key in self.calls}
        return {
            name.partition("::")[2]: members[name]
            for name in sorted(members)
            if re.match(r"Database::(?!~?Database$)\w+$", name)
        }

    def is_ours(self, key):
        """Whether its code stands in this project, but for the log's."""
        name = self.names[key]
        return (
            name.split("::")[0] in PUBLIC + ["vorn", "{lambda}"]
            or "(anonymous namespace)::" in key[1]
        ) and not LOG.match(name)

    def handed_over(self, call, reached):
        """What a FunctionRef calls: the callables that this operation has made one of."""
        signature = self.mangled[call].removeprefix("_ZNK").partition("cl")[0]
        found = []
        for key in reached:
            made = re.match(r"_ZN(4vorn11FunctionRefI.*?E)C[12]I(.*)ERKT_$", self.mangled[key])
            if not made or made[1] != signature:
                continue
            target = f"_ZN{made[1]}4CallI{made[2]}"
            found += [key for key in self.calls if self.mangled[key].startswith(target)]
        return found

    def reachable(self, start):
        """What the operation may call, with what each of these calls."""
        reached = {start: []}
        while True:
            before = sum(len(callees) for callees in reached.values()) + len(reached)
            for key in list(reached):
                callees = [] if LOG.match(self.names[key]) else list(self.calls.get(key, []))
                indirect = [callee for callee in callees if callee[1] == INDIRECT]
                if indirect and self.is_ours(key):
                    if not self.names[key].endswith("FunctionRef::operator_call"):
                        sys.exit(f"calls.py: unknown indirect call in {key[1]}")
                    callees = self.handed_over(key, reached) + callees
                reached[key] = callees
                for callee in callees:
                    reached.setdefault(callee, [])
            if before == sum(len(callees) for callees in reached.values()) + len(reached):
                return reached


class Drawing:
    """The part of the graph that is shown of one operation."""

    def __init__(self, graph, operation, start):
        self.graph = graph
        self.operation = operation
        self.start = start
        self.reached = graph.reachable(self.start)
        self.edges = []
        self.logging = set()
        self.order = [self.start]
        for key in self.order:
            self.add_calls_of(key)

    def is_goal(self, key):
        """Whether it is shown for its own sake."""
        name = self.graph.names[key]
        parts = name.split("::")
        member = len(parts) == 2 and parts[0] in PUBLIC and parts[1].lstrip("~") != parts[0]
        return member or bool(OUTSIDE.match(name))

    def leads_to_goal(self, key, seen=None):
        """Whether it is one, or calls one by whatever way."""
        seen = seen if seen is not None else set()
        seen.add(key)
        return self.is_goal(key) or any(
            self.leads_to_goal(callee, seen) for callee in self.reached[key] if callee not in seen
        )

    def is_shown(self, key):
        """Whether it gets a box."""
        if self.is_goal(key):
            return True
        ours = self.graph.is_ours(key) and not WRAPPER.search(self.graph.names[key])
        return ours and self.leads_to_goal(key)

    def add_calls_of(self, caller):
        """The boxes that it calls, through all that gets none."""
        waiting, seen = list(self.reached[caller]), set()
        while waiting:
            key = waiting.pop(0)
            if key in seen:
                continue
            seen.add(key)
            if LOG.match(self.graph.names[key]):
                self.logging.add(caller)
            elif self.is_shown(key):
                self.edges.append((caller, key))
                if key not in self.order:
                    self.order.append(key)
            else:
                waiting = list(self.reached[key]) + waiting

    def box(self, key):
        """A node's attributes."""
        name = self.graph.names[key]
        if OUTSIDE.match(name):
            return f'label="{name}", shape=plain'
        label = name.removeprefix("vorn::").replace("::operator_call", "")
        lines = [label]
        attributes = ""
        if self.is_goal(key):
            attributes = f', URL="\\ref {name}", fillcolor="#eef3fa", color="#4a6a96"'
        elif key in self.graph.files:
            lines.append(self.graph.files[key])
            attributes = ', style="filled,dashed"'
        if key in self.logging:
            lines[0] += " \N{TRIGRAM FOR HEAVEN}"
        if key == self.start:
            attributes += ", penwidth=2"
        return 'label="' + "\\n".join(lines) + f'"{attributes}'

    def source(self):
        """The Graphviz source."""
        numbers = {key: number for number, key in enumerate(self.order)}
        lines = [
            f'digraph "Database::{self.operation}" {{',
            "  graph [rankdir=LR, nodesep=0.12, ranksep=0.3]",
            '  node [fontname="sans-serif", fontsize=10, shape=box, style=filled,',
            '    fillcolor=white, color="#999999", height=0.25, margin="0.08,0.04"]',
            '  edge [color="#666666", arrowsize=0.6]',
        ]
        lines += [f"  n{numbers[key]} [{self.box(key)}]" for key in self.order]
        lines += [f"  n{numbers[caller]} -> n{numbers[key]}" for caller, key in self.edges]
        return "\n".join(lines + ["}"]) + "\n"

    def calls(self, caller=None, depth=0):
        """The calls in their order, one per line; there is no recursion."""
        caller = caller or self.start
        lines = [f"{self.operation} {depth} {self.graph.names[caller]}"]
        for source, key in self.edges:
            if source == caller:
                lines += self.calls(key, depth + 1)
        return lines

    def comment(self):
        """What puts the drawing on the operation's page."""
        signature = self.graph.signatures[self.start]
        return (
            f"/** @fn {signature}\n    @par What it calls\n"
            "    Found by the compiler. Dashed: not public. \N{TRIGRAM FOR HEAVEN}: writes log lines.\n"
            f"    @dotfile {self.operation}.dot\n*/\n"
        )


def main():
    """Writes the files."""
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    graph = Graph(pathlib.Path(sys.argv[1]))
    output = pathlib.Path(sys.argv[2])
    output.mkdir(parents=True, exist_ok=True)
    calls, comments = [], []
    for operation, start in graph.operations().items():
        drawing = Drawing(graph, operation, start)
        (output / f"{operation}.dot").write_text(drawing.source(), encoding="utf-8")
        calls += drawing.calls()
        comments.append(drawing.comment())
    (output / "calls.txt").write_text("\n".join(calls) + "\n", encoding="utf-8")
    (output / "calls.dox").write_text("\n".join(comments), encoding="utf-8")


if __name__ == "__main__":
    main()
