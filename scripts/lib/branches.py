"""Compares the branches of src/ that no test takes with those that may be left out.

Reads the compiler's own counts, in which every instance of a template has branches
of its own: a branch that one instance takes may be one that another leaves out.
Called by scripts/coverage.sh with the folder of the build:

  branches.py BUILD
"""

import collections
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import typing

import explained
from explained import fail

ROOT = pathlib.Path(__file__).resolve().parents[2]
LEFT_OUT = ROOT / "tests" / "coverage" / "left_out.txt"
KEYS = ("file", "in", "line", "branch")
STRING = "std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >"


class Branch(typing.NamedTuple):
    file: str
    line: int
    function: str  # as the linker knows it
    index: int
    throws: bool


def read_counts(build):
    """How often each branch was taken, and the readable names of the functions."""
    counts, names = collections.Counter(), {}
    data = sorted(pathlib.Path(build).resolve().rglob("*.gcda"))
    if not data:
        fail(f"{build}: the tests have left no counts")
    for path in data:
        for file in read_gcov(path):
            source = pathlib.Path(file["file"])
            if not source.is_relative_to(ROOT / "src"):
                continue
            for function in file["functions"]:
                names[function["name"]] = readable(function["demangled_name"])
            for line in file["lines"]:
                for index, branch in enumerate(line["branches"]):
                    name, throws = line["function_name"], branch["throw"]
                    place = str(source.relative_to(ROOT)), line["line_number"], name
                    counts[Branch(*place, index, throws)] += branch["count"]
    return counts, names


def read_gcov(path):
    command = ["gcov", "--json-format", "--branch-probabilities", "--stdout", path]
    with tempfile.TemporaryDirectory() as directory:
        result = subprocess.run(command, cwd=directory, capture_output=True, text=True, check=False)
    if result.returncode != 0:
        fail(f"gcov failed for {path}: {result.stderr}")
    return json.loads(result.stdout)["files"]


def readable(name):
    """A function's name without its result and parameters."""
    name = name.replace(STRING, "std::string").replace("(anonymous namespace)::", "")
    name = re.sub(r"\s+>", ">", name).replace("operator()", "operator_call")
    depth, begin = 0, 0
    for index, character in enumerate(name):
        depth += {"<": 1, "{": 1, ">": -1, "}": -1}.get(character, 0)
        if depth == 0 and character == " ":
            begin = index + 1
        elif depth == 0 and character == "(":
            return name[begin:index].replace("operator_call", "operator()")
    return name


def by_key(branches, names):
    """The branches by what is written about them, which has no numbers of lines."""
    lines = {}
    alike = collections.defaultdict(list)
    for branch in sorted(branches):
        if branch.file not in lines:
            lines[branch.file] = (ROOT / branch.file).read_text(encoding="utf-8").split("\n")
        text = lines[branch.file][branch.line - 1].strip()
        alike[branch.file, names[branch.function], text].append(branch)
    return {
        (*place, f"{number} of {len(there)}"): branch
        for place, there in alike.items()
        for number, branch in enumerate(there, 1)
    }


def print_what_is_left_out(left_out, missed, throwing):
    for key, why in left_out.items():
        if key in missed:
            print(f"left out: {key[0]}:{missed[key].line}: {' | '.join(key[1:])}\n    {why}")
    print(
        f"Not required: the {len(throwing)} ways out by an exception, of which "
        f"{sum(count > 0 for count in throwing)} were taken.\n"
        "    There is one behind every call that might throw, also where nothing does. The heap's\n"
        "    and the fault tests make each allocation fail in turn instead."
    )


def find_problems(left_out, missed, required):
    for key, branch in missed.items():
        if key not in left_out:
            yield f"not taken: {key[0]}:{branch.line}\n{explained.entry(KEYS, key)}\n"
    for key in left_out:
        if key not in missed:
            state = "taken" if key in required else "gone"
            yield f"{state}, but left out in {LEFT_OUT.name}: {' | '.join(key)}"


def main():
    if len(sys.argv) != 2:
        fail("usage: branches.py BUILD")
    counts, names = read_counts(sys.argv[1])
    left_out = explained.read(LEFT_OUT, KEYS)
    throwing = [count for branch, count in counts.items() if branch.throws]
    required = by_key([branch for branch in counts if not branch.throws], names)
    missed = {key: branch for key, branch in required.items() if counts[branch] == 0}

    print_what_is_left_out(left_out, missed, throwing)
    # Beside each way out by an exception is the normal one, which counts as a branch, too.
    print(
        f"Branches, in each instance of a template: {len(required)} "
        f"({len(required) - len(throwing)} of them decisions), "
        f"taken: {len(required) - len(missed)}, left out: {len(left_out)}"
    )
    problems = list(find_problems(left_out, missed, required))
    sys.stdout.flush()
    for problem in problems:
        print(f"branches: {problem}", file=sys.stderr)
    sys.exit(1 if problems else 0)


if __name__ == "__main__":
    main()
