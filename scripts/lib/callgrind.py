"""Reads what valgrind's callgrind has counted, and tells where a library spends it."""

import collections
import re

# Where calls out of the library go, by the callee's name; the first that fits.
GROUPS = (
    ("name and type", re.compile(r"sqlite3_column_(name|type)")),
    ("sqlite", re.compile(r"sqlite3_")),
    ("formatting", re.compile(r"(__)?v?snprintf")),
    ("lock", re.compile(r"VornMutex::")),
    ("log", re.compile(r"VornLogger::|__dlog_print")),
    (
        "streams",
        re.compile(r"std::(__cxx11::)?(basic_)?[io]?(string)?(ios|stream|buf)|std::locale"),
    ),
    ("texts and memory", re.compile(r"")),
)


class Profile:
    """Instructions of each function, and of each call with all that it calls."""

    def __init__(self, path):
        self.own = collections.Counter()  # by object and function
        self.calls = collections.Counter()  # by caller's object, callee's object, callee
        names = {"ob": {}, "fn": {}}
        at = {"ob": "", "fn": "", "cob": "", "cfn": ""}
        is_call = False
        self.stated = None
        with open(path, encoding="utf-8", errors="replace") as lines:
            for line in lines:
                field = re.match(r"(c?)(ob|fn)=\((\d+)\)(?: (.*))?", line)
                if field:
                    called, kind, number, name = field.groups()
                    if name:
                        names[kind][number] = name.strip()
                    at[called + kind] = names[kind][number]
                    if not called and kind == "fn":
                        at["cob"] = ""
                elif line.startswith("totals:"):
                    self.stated = int(line.split()[1])
                elif line.startswith("calls="):
                    is_call = True
                elif re.match(r"[0-9+*-]", line):
                    cost = int(line.split()[1])
                    if is_call:
                        callee = at["cob"] or at["ob"]
                        self.calls[(at["ob"], callee, at["cfn"])] += cost
                        at["cob"] = ""
                        is_call = False
                    else:
                        self.own[(at["ob"], at["fn"])] += cost

    def total(self):
        """All instructions."""
        total = sum(self.own.values())
        if total != self.stated:
            raise ValueError(f"{total} instructions were read where the file states {self.stated}")
        return total


def group_of(function):
    """The group of a function that the library calls."""
    return next(name for name, pattern in GROUPS if pattern.match(function))


def split(profile, library):
    """What the library spends in itself and in each group of what it calls."""
    parts = collections.Counter({"own": 0})
    parts.update({name: 0 for name, _ in GROUPS})
    for (owner, _), cost in profile.own.items():
        if library in owner:
            parts["own"] += cost
    for (caller, callee, function), cost in profile.calls.items():
        if library in caller and library not in callee:
            parts[group_of(function)] += cost
    return parts


def per_run(once, again, runs):
    """What one of the runs takes that the second count has more than the first."""
    return {name: (again[name] - once[name]) / runs for name in again}
