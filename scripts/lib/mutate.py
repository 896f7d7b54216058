"""Changes the library in small ways and tells whether the tests notice.

Works on copies of the checkout in build/mutate/, one for each worker: there each
mutant of src/ (see mutants.py) is written, built into the shared library, which the
test programs load, and put to the test programs until one fails. Called by
scripts/mutate.sh.
"""

import argparse
import collections
import fcntl
import json
import os
import pathlib
import random
import re
import shutil
import signal
import sys
import threading
import time

import explained
import mutants
import processes
from explained import fail

ROOT = pathlib.Path(__file__).resolve().parents[2]
WORK = ROOT / "build" / "mutate"
EQUIVALENT = ROOT / "tests" / "mutation" / "equivalent.txt"
KEYS = ("file", "in", "line", "mutant")

# Of these labels are the tests that run the library in their own process. The latter
# ones take long, and no mutant should have to wait for them to be noticed.
LABELS = ("unit", "heap", "leaks", "threads")
SLOW_LABELS = ("fault", "stress")
REQUIRED = 95  # per cent of all mutants that can be built

# A program that takes longer than this, or so many times what it takes with the
# library as it is, does not end any more.
PATIENCE = 5  # seconds
PATIENCE_FACTOR = 10
MEMORY = 4 << 30  # bytes of address space

# As in a debugger's build, but with whatever steps out of a container stopped as the
# sanitizers would stop it; a mutant that only causes a warning is a mutant all the same.
OPTIONS = (
    "-DCMAKE_BUILD_TYPE=Debug",
    "-DCMAKE_CXX_FLAGS_DEBUG=-O0 -w -D_GLIBCXX_ASSERTIONS",
    "-DVORN_BUILD_EXAMPLES=OFF",
    "-DVORN_BUILD_TOOLS=OFF",
    "-DVORN_INSTALL=OFF",
    # Test programs are linked and asked for their tests once, not for every mutant.
    "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON",
    "-DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST",
)

INVALID, KILLED, HUNG, SURVIVED = "invalid", "killed", "hung", "survived"


def run(command, **options):
    """Runs a command; its output is shown only when it fails."""
    status, output = processes.run(command, **options)
    if status != 0:
        sys.stderr.write(output)
        fail(f"failed (status {status}): {' '.join(map(str, command))}")
    return output


def sources():
    """The checkout's files, those that are not ignored."""
    command = ["git", "-c", f"safe.directory={ROOT}", "ls-files", "-z", "--cached", "--others"]
    names = run([*command, "--exclude-standard"], cwd=ROOT).split("\0")
    return sorted(name for name in names if (ROOT / name).is_file())


class Program:
    """A test program, and what ctest knows about it."""

    def __init__(self, path, environment):
        self.path = path
        self.environment = environment
        self.patience = PATIENCE
        self.seconds = 0.0

    def measure(self):
        """Runs it on the library as it is, where it has to pass."""
        begin = time.monotonic()
        status, output = self._run(10 * 60)
        if status != 0:
            sys.stderr.write(output)
            fail(f"{self.path.name} does not pass without any mutant")
        self.seconds = time.monotonic() - begin
        self.patience = max(PATIENCE, PATIENCE_FACTOR * self.seconds)

    def outcome(self):
        status, _ = self._run(self.patience)
        return HUNG if status is None else SURVIVED if status == 0 else KILLED

    def _run(self, patience):
        # The limit of processor time is for what would go on if this script was killed.
        limits = [f"--as={MEMORY}", f"--cpu={2 * int(patience)}", "--core=0"]
        return processes.run(
            ["prlimit", *limits, self.path, "--gtest_brief=1"], patience, cwd=self.path.parent,
            env={**os.environ, **self.environment, "GTEST_FAIL_FAST": "1"},
        )  # fmt: skip


class Worker:
    """A copy of the checkout, its build, and its test programs, fastest first."""

    def __init__(self, number, texts, labels):
        self.texts = texts
        self.labels = labels
        self.tree = WORK / str(number) / "tree"
        self.build = WORK / str(number) / "build"
        self.mutated = None
        self._copy()
        run(["cmake", "-G", "Ninja", "-S", self.tree, "-B", self.build, *OPTIONS])
        targets = ["vorndatabase", *(f"vorn_{label}_programs" for label in labels)]
        self.build_command = ["cmake", "--build", self.build, "--target", *targets]
        run([*self.build_command, "-j", str(os.cpu_count())])
        self.programs = self._find_programs()
        self.measure()
        self.programs.sort(key=lambda program: program.seconds)

    def measure(self):
        for program in self.programs:
            program.measure()

    def _copy(self):
        """Only what differs is written, so that only that is built again."""
        names = sources()
        for name in names:
            source, copy = ROOT / name, self.tree / name
            if not copy.exists() or copy.read_bytes() != source.read_bytes():
                copy.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(source, copy)
        for path in [path for path in self.tree.rglob("*") if path.is_file()]:
            if str(path.relative_to(self.tree)) not in names:
                path.unlink()

    def _find_programs(self):
        found = {}
        listed = json.loads(run(["ctest", "--test-dir", self.build, "--show-only=json-v1"]))
        for test in listed["tests"]:
            properties = {entry["name"]: entry["value"] for entry in test["properties"]}
            command = test.get("command", [])
            is_program = any(argument.startswith("--gtest_filter") for argument in command)
            if is_program and set(self.labels) & set(properties["LABELS"]):
                pairs = (pair.split("=", 1) for pair in properties.get("ENVIRONMENT", []))
                found.setdefault(command[0], Program(pathlib.Path(command[0]), dict(pairs)))
        if not found:
            fail("there are no test programs")
        return list(found.values())

    def try_mutant(self, mutant):
        """What becomes of a mutant, and the name of the program that noticed it."""
        self._write(mutant)
        status, _ = processes.run(self.build_command)
        if status != 0:
            return INVALID, ""
        for program in self.programs:
            outcome = program.outcome()
            if outcome != SURVIVED:
                return outcome, program.path.name
        return SURVIVED, ""

    def confirm(self):
        """Shows that it was the mutants that failed, and not a full disk, say."""
        if self.mutated:
            self._write_text(self.mutated, self.texts[self.mutated])
            run(self.build_command)
            self.measure()

    def _write(self, mutant):
        if self.mutated and self.mutated != mutant.file:
            self._write_text(self.mutated, self.texts[self.mutated])
        self.mutated = mutant.file
        text = self.texts[mutant.file]
        self._write_text(mutant.file, text[: mutant.begin] + mutant.text + text[mutant.end :])

    def _write_text(self, file, text):
        (self.tree / file).write_text(text, encoding="utf-8")


class Trial:
    """Tries mutants, with several workers at once."""

    def __init__(self, tried, verbose):
        self.left = collections.deque(tried)
        self.total = len(tried)
        self.outcomes = {}
        self.verbose = verbose
        self.lock = threading.Lock()
        self.failure = None

    def run(self, workers):
        threads = []
        for number, worker in enumerate(workers):
            # From both ends, so that each stays within a file: a change of the file
            # costs a compilation.
            take = self.left.popleft if number % 2 == 0 else self.left.pop
            threads.append(threading.Thread(target=self._work, args=(worker, take)))
        for thread in threads:
            thread.start()
        try:
            for thread in threads:
                thread.join()
        except BaseException:  # when this is interrupted
            processes.end_all()
            raise
        if self.failure:
            raise self.failure

    def _work(self, worker, take):
        try:
            while True:
                try:
                    mutant = take()
                except IndexError:
                    return
                outcome, program = worker.try_mutant(mutant)
                with self.lock:
                    self._note(mutant, outcome, program)
        except BaseException as failure:  # pylint: disable=broad-except
            self.failure = failure
            self.left.clear()

    def _note(self, mutant, outcome, program):
        self.outcomes[mutant] = outcome
        if self.verbose or outcome == SURVIVED:
            by = f" by {program}" if program else ""
            print(f"{len(self.outcomes):5}/{self.total} {outcome}{by}: {mutant.name}", flush=True)


def print_table(outcomes):
    print(f"{'operator':12}{'mutants':>9}{'killed':>9}{'hung':>9}{'survived':>9}{'invalid':>9}")
    for operator in [*(operator.__name__ for operator in mutants.OPERATORS), "all"]:
        counts = collections.Counter(
            outcome for mutant, outcome in outcomes.items() if operator in (mutant.operator, "all")
        )
        columns = (counts.total(), counts[KILLED], counts[HUNG], counts[SURVIVED], counts[INVALID])
        print(f"{operator:12}" + "".join(f"{count:9}" for count in columns))


def judge(outcomes, equivalent, listed):
    """Prints what came out; true when it is good enough."""
    known = {mutant.key for mutant in listed}
    survivors = [mutant for mutant, outcome in outcomes.items() if outcome == SURVIVED]
    survivors.sort(key=lambda mutant: (mutant.file, mutant.begin))
    problems = [f"gone, but explained: {' | '.join(key)}" for key in equivalent if key not in known]
    for mutant, outcome in outcomes.items():
        if mutant.key in equivalent and outcome != SURVIVED:
            problems.append(f"{outcome}, but explained: {mutant.name}")
    for mutant in survivors:
        if mutant.key in equivalent:
            print(f"survived: {mutant.name}\n    {equivalent[mutant.key]}")
        else:
            entry = explained.entry(KEYS, mutant.key)
            problems.append(f"survived: {mutant.name}\n{entry}\n")
    print_table(outcomes)
    counts = collections.Counter(outcomes.values())
    valid = len(outcomes) - counts[INVALID]
    killed = counts[KILLED] + counts[HUNG]
    percent = 100 * killed / valid if valid else 100
    unexplained = sum(mutant.key not in equivalent for mutant in survivors)
    print(
        f"{valid} mutants: {killed} killed ({counts[HUNG]} of them by the time limit), "
        f"{len(survivors)} survived ({unexplained} of them unexplained); "
        f"{counts[INVALID]} more do not compile. Killed: {percent:.1f} %"
    )
    if len(outcomes) == len(listed) and percent < REQUIRED:
        problems.append(f"less than {REQUIRED} % are killed")
    sys.stdout.flush()
    for problem in problems:
        print(f"mutate: {problem}", file=sys.stderr)
    return not problems


def parse_arguments():
    parser = argparse.ArgumentParser(prog="scripts/mutate.sh", description=__doc__.split("\n")[0])
    parser.add_argument("--list", action="store_true", help="print the mutants, try none")
    parser.add_argument(
        "--only", metavar="BEGINNING", action="append", default=[],
        help="those whose name begins so, such as src/Cursor.cpp or src/Cursor.cpp:86",
    )  # fmt: skip
    parser.add_argument("--sample", metavar="COUNT", type=int, help="so many, chosen at random")
    parser.add_argument("--seed", metavar="NUMBER", type=int, default=1, help="other random ones")
    parser.add_argument(
        "--label",
        action="append",
        choices=LABELS + SLOW_LABELS,
        help="only the tests of this label; without any: " + ", ".join(LABELS),
    )
    parser.add_argument("--jobs", metavar="COUNT", type=int, default=2, help="so many at once")
    parser.add_argument("--verbose", action="store_true", help="print each mutant's outcome")
    arguments = parser.parse_args()
    for name in ("sample", "jobs"):
        value = getattr(arguments, name)
        if value is not None and value < 1:
            parser.error(f"argument --{name}: not a number from 1: {value}")
    return arguments


def main():
    arguments = parse_arguments()
    files = [name for name in sources() if re.match(r"src/.*\.(cpp|h)$", name)]
    texts = {file: (ROOT / file).read_text(encoding="utf-8") for file in files}
    listed = [mutant for file, text in texts.items() for mutant in mutants.of(file, text)]
    tried = listed
    if arguments.only:
        tried = [mutant for mutant in listed if mutant.name.startswith(tuple(arguments.only))]
    if not tried:
        fail(f"there is no mutant of {' or '.join(arguments.only)}")
    if arguments.sample and arguments.sample < len(tried):
        chosen = random.Random(arguments.seed).sample(range(len(tried)), arguments.sample)
        tried = [tried[index] for index in sorted(chosen)]
    if arguments.list:
        for mutant in tried:
            print(mutant.name)
        return
    equivalent = explained.read(EQUIVALENT, KEYS)
    for number in (signal.SIGHUP, signal.SIGINT, signal.SIGTERM):
        signal.signal(number, lambda *_: sys.exit("mutate: interrupted"))
    WORK.mkdir(parents=True, exist_ok=True)
    lock = open(WORK / "lock", "w", encoding="utf-8")  # until this ends
    try:
        fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except OSError:
        fail(f"another run is at work in {WORK}")
    jobs = min(arguments.jobs, len(tried))
    print(f"== mutate: build {jobs} copies", flush=True)
    labels = arguments.label or LABELS
    workers = [Worker(number, texts, labels) for number in range(1, jobs + 1)]
    print(f"== mutate: try {len(tried)} of {len(listed)} mutants", flush=True)
    begin = time.monotonic()
    trial = Trial(tried, arguments.verbose)
    trial.run(workers)
    for worker in workers:
        worker.confirm()
    print(f"== mutate: done in {time.monotonic() - begin:.0f} s")
    if not judge(trial.outcomes, equivalent, listed):
        sys.exit(1)


if __name__ == "__main__":
    main()
