"""Mutation testing: makes small changes to C++ sources and runs the tests on each.

A worker is a folder with a copy of the sources, "tree", and their build, "build". The tests
are those of another build folder, run with the worker's binaries in place of its own.
"""

import argparse
import collections
import difflib
import hashlib
import json
import multiprocessing
import os
import pathlib
import random
import re
import subprocess
import sys

from clang.cindex import CursorKind as Kind, Index, TypeKind, conf

UNARY = {"!": [""], "-": [""], "++": ["--"], "--": ["++"]}
BINARY = {"==": ["!="], "!=": ["=="], "<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="]}
BINARY |= {">=": [">", "<"], "&&": ["||"], "||": ["&&"], "&": ["|"], "+": ["-"], "-": ["+"]}
BINARY |= {"*": ["/"], "/": ["*"], "%": ["/"], "+=": ["=", "-="], "-=": ["=", "+="]}
LITERALS = {
    Kind.INTEGER_LITERAL: lambda text: [
        f"({text} {sign} 1)" for sign in "+-"[: 1 + text.isdigit()]
    ],
    Kind.STRING_LITERAL: lambda text: ['""', '"~' + text[1:]],
    Kind.CHARACTER_LITERAL: lambda text: ["'~'"],
    Kind.CXX_BOOL_LITERAL_EXPR: lambda text: [f"!{text}"],
}
# "return {}" is the same.
ZERO_RETURNS = ("return", "return nullptr", "return false", "return kOk")
# 20 seconds of processor time and 4 GB for a test program, and two minutes if it waits.
LIMITS = ("timeout", "-k1", "120", "prlimit", "--core=0", "--cpu=20", f"--as={4 << 30}")

# A macro's argument is where it is written, not where the macro is expanded.
conf.lib.clang_getInstantiationLocation = conf.lib.clang_getFileLocation  # pylint: disable=E

Mutant = collections.namedtuple("Mutant", "key file line text")


def span(node):
    return node.extent.start.offset, node.extent.end.offset


def changes(node, text):
    """The changes of one node: begin and end in the file's text, and the new text."""
    kind, here, inner = node.kind, span(node), text[slice(*span(node))]
    children = list(node.get_children())
    if kind.name in ("IF_STMT", "WHILE_STMT", "FOR_STMT", "CONDITIONAL_OPERATOR"):
        typed = [child for child in children if child.type.kind == TypeKind.BOOL] or children
        for at in [span(child) for child in typed if child.kind.is_expression()][:1]:
            yield from ((at, new) for new in ("true", "false", f"!({text[slice(*at)]})"))
    elif kind.name.endswith("_OPERATOR") or node.spelling.startswith("operator"):
        yield from operator_changes(here, map(span, children), text)
    elif kind == Kind.CALL_EXPR:
        arguments = list(node.get_arguments())
        for one, other in zip(arguments, arguments[1:]):
            if one.type.get_canonical() == other.type.get_canonical():
                yield from swap(span(one), span(other), text)
    elif kind == Kind.RETURN_STMT and inner not in ZERO_RETURNS:
        yield span(children[0]), "{}"
    elif kind == Kind.COMPOUND_STMT and inner.startswith("{"):
        yield from statement_changes(children, collections.Counter(re.findall(r"\w+", inner)), text)
    elif kind in LITERALS and re.fullmatch(r"\w+|\".*\"|'.*'", inner, re.DOTALL):
        yield from ((here, new) for new in LITERALS[kind](inner))
    elif kind in (Kind.DECL_REF_EXPR, Kind.MEMBER_REF_EXPR) and node.referenced:
        name = node.referenced.spelling
        if name.isidentifier() and inner.endswith(name):
            yield from (((here[1] - len(name), here[1]), new) for new in alike(node.referenced))


def operator_changes(here, children, text):
    operands = [at for at in children if text[slice(*at)] not in BINARY | UNARY]
    edges = [here[0], *sum(operands, ()), here[1]]
    for begin, end in zip(edges[::2], edges[1::2]):
        known = BINARY if len(operands) == 2 else UNARY
        yield from (((begin, end), f" {new} ") for new in known.get(text[begin:end].strip(), []))


def statement_changes(nodes, words, text):
    """Drops a statement, or swaps it with the one before, where the names allow that."""
    before, known = None, set()
    for node in nodes:
        here = span(node)[0], text.index(";", span(node)[1] - 1) + 1
        names = {child.spelling for child in node.get_children() if node.kind == Kind.DECL_STMT}
        is_free = all(words[name] == 1 for name in names)
        is_empty = text[slice(*here)].endswith(tuple(f"{name};" for name in names))
        is_simple = node.kind.is_expression() or names and not is_empty
        if node.kind == Kind.BREAK_STMT or is_simple and is_free:
            yield here, ";"
        if before and is_simple and (is_free or not known):
            if not known & set(re.findall(r"\w+", text[slice(*here)])):
                yield from swap(before, here, text)
        before, known = here if is_simple else None, names


def swap(one, other, text):
    first, between, second = (text[slice(*at)] for at in (one, (one[1], other[0]), other))
    if one[0] < one[1] <= other[0] < other[1] and first != second:
        yield (one[0], other[1]), second + between + first


def alike(declaration):
    """The most similar name of the same kind and type in the same scope, if any."""
    scope, name = declaration.semantic_parent, declaration.spelling
    names = {
        node.spelling
        for node in (scope.get_children() if scope else [])
        if node.kind == declaration.kind and node.type == declaration.type
    }
    cutoff = 0.6 if str(declaration.location.file).startswith("/usr/") else 0
    return difflib.get_close_matches(name, sorted(names - {name}), 1, cutoff)


def find_mutants(worker, only):
    found, seen, prefix = collections.defaultdict(set), collections.Counter(), f"{worker}/tree/"
    paths = [path for path in worker.glob("tree/**/*") if str(path).startswith(prefix + only)]
    texts = {str(path): path.read_text("latin-1") for path in paths if path.is_file()}
    for entry in json.loads((worker / "build/compile_commands.json").read_text("utf-8")):
        flags = [word for word in entry["command"].split() if word.startswith(("-I", "-D", "-std"))]
        for top in Index.create().parse(entry["file"], args=flags).cursor.get_children():
            if str(top.location.file).startswith(prefix):
                for node in top.walk_preorder():
                    file = str(node.location.file)
                    found[file].update(changes(node, texts[file]) if file in texts else [])
    for file, changed in found.items():
        text, file = texts.get(file), file.removeprefix(prefix)
        for (begin, end), new in sorted(changed):
            line = text.count("\n", 0, begin)
            change = " ".join([*text[begin:end].split(), "->", *new.split()])
            key = f"{file}: {text.splitlines()[line].strip()}\n    {change}"
            seen[key] += 1
            key += f" #{seen[key]}" * (seen[key] > 1)
            yield Mutant(key, file, line + 1, text[:begin] + new + text[end:])


class Worker:
    """Builds mutants, and runs the tests on them."""

    def __init__(self, folder, tests, label):
        self.tree, self.build = folder / "tree", folder / "build"
        files = (path for path in self.build.rglob("*") if "CMakeFiles" not in path.parts)
        self.binaries = [path for path in files if path.is_file() and os.access(path, os.X_OK)]
        command = ["ctest", "--test-dir", tests, "-L", label, "--show-only=json-v1"]
        listed = subprocess.check_output(command, text=True)
        for path in self.binaries:
            listed = listed.replace(f"{tests}/{path.relative_to(self.build)}", str(path))
        self.tests = {}
        for test in json.loads(listed)["tests"]:
            # A test program runs once, with all its tests.
            command = (word for word in test["command"] if not word.startswith("--gtest_"))
            properties = {entry["name"]: entry["value"] for entry in test["properties"]}
            given = dict(pair.split("=", 1) for pair in properties.get("ENVIRONMENT", []))
            given["LD_LIBRARY_PATH"] = ":".join(str(path.parent) for path in self.binaries)
            options = {"cwd": properties["WORKING_DIRECTORY"], "env": os.environ | given}
            self.tests[(*LIMITS, *command)] = options
        if not self.tests or self.is_noticed():
            sys.exit("mutate: there are no tests, or they fail without a mutant")
        self.outcomes = {self.fingerprint(): "equivalent"}

    def fingerprint(self):
        return hashlib.sha256(b"".join(path.read_bytes() for path in self.binaries)).digest()

    def is_noticed(self):
        return any(fails(*command, **options) for command, options in self.tests.items())

    def outcomes_of(self, mutants):
        return [(mutant, self.outcome(mutant)) for mutant in mutants]

    def outcome(self, mutant):
        path = self.tree / mutant.file
        original = path.read_bytes()
        path.write_text(mutant.text, "latin-1")
        is_invalid = fails("cmake", "--build", self.build)
        path.write_bytes(original)
        if is_invalid:
            return "invalid"
        binaries = self.fingerprint()
        if binaries not in self.outcomes:
            self.outcomes[binaries] = "noticed" if self.is_noticed() else "survived"
        return self.outcomes[binaries]


def fails(*command, **options):
    return subprocess.run(command, capture_output=True, check=False, **options).returncode != 0


def main():
    parser = argparse.ArgumentParser(prog="mutate.sh")
    parser.add_argument("--only")
    parser.add_argument("--sample", type=int, default=sys.maxsize)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--label")
    parser.add_argument("paths", nargs="+", type=pathlib.Path)
    options = parser.parse_args()
    equivalent, tests, *folders = (path.resolve() for path in options.paths)
    workers = [Worker(folder, tests, options.label) for folder in folders]
    mutants = list(find_mutants(folders[0], options.only))
    chosen = random.Random(options.seed).sample(mutants, min(len(mutants), options.sample))
    shares = [sorted(chosen)[number :: len(workers)] for number in range(len(workers))]
    with multiprocessing.Pool(len(workers)) as pool:
        results = sorted(sum(pool.starmap(Worker.outcomes_of, zip(workers, shares)), []))

    listed = set(re.findall(f"(?m)^({options.only}.+\n    .+)$", equivalent.read_text("latin-1")))
    problems = [f"listed, but gone: {key}" for key in listed - {mutant.key for mutant in mutants}]
    for mutant, outcome in results:
        if (outcome, mutant.key in listed) in (("survived", False), ("noticed", True)):
            problems.append(f"{outcome}, line {mutant.line}: {mutant.key}")
    counts = collections.Counter(outcome for _, outcome in results)
    print(f"{len(mutants)} mutants, {len(results)} tried: {dict(counts)}")
    print(*problems, sep="\n", file=sys.stderr)
    if not counts.keys() - {"invalid"}:
        sys.exit("mutate.sh: no mutant was tried: none is in the files, or none compiles")
    sys.exit(1 if problems else 0)


if __name__ == "__main__":
    main()
