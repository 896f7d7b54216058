"""Runs the benchmarks in rounds, and compares the contenders within each round.

    bench.py --program vorn_bench --tmpfs DIR --disk DIR [--rounds N] [--filter REGEX]
             [--save FILE]

A round runs every case for every contender once, one contender after the other, so that
what disturbs the machine disturbs all of them. Every round begins with another one.
Each of them has a process of its own, since how the heap deals with large blocks depends
on what it has seen before. For single operations one is shared: they differ by less than
two processes do.
"""

import argparse
import collections
import json
import os
import re
import statistics
import subprocess
import sys

BASE = "raw"
ENVIRONMENT = {
    "PATH": os.environ["PATH"],
    "HOME": os.environ.get("HOME", "/"),
    "VORN_DLOG_PRIORITY": "S",
}

# Else it depends on where the heap's last block happens to lie whether a call ends with
# memory going back to the system, which the next one has to fetch again: a drop of a table
# takes 143 µs or 180, whoever does it. So single operations are measured with memory kept;
# queries both as an application finds it and with memory kept.
KEEP_MEMORY = {
    "GLIBC_TUNABLES": "glibc.malloc.trim_threshold=67108864:glibc.malloc.mmap_threshold=33554432"
}
KEPT = "/memory:kept"
OPERATIONS = "operation/"
QUERIES = r"select/rows:\d+/columns:5/tables:1"


class Results:
    """Times in nanoseconds by case and contender, one of each round; the machine."""

    def __init__(self):
        self.times = collections.defaultdict(lambda: collections.defaultdict(list))
        self.context = {}

    def add(self, case, report):
        """Takes over what a run of the program has reported; a failure ends the script."""
        self.context = report["context"]
        for run in report["benchmarks"]:
            if run.get("error_occurred"):
                sys.exit(f"bench.py: {run['name']}: {run['error_message']}")
            contender = run["name"].split("/", 1)[0]
            scale = {"ns": 1, "us": 1e3, "ms": 1e6}[run["time_unit"]]
            self.times[case][contender].append(run["real_time"] * scale)

    def ratios(self, case, contender, base=BASE):
        """The contender's times by the base's of the same round, sorted."""
        contenders = self.times[case]
        return sorted(ours / other for ours, other in zip(contenders[contender], contenders[base]))

    def median(self, case, contender):
        """The median of the contender's times."""
        return statistics.median(self.times[case][contender])

    def to_json(self):
        """All of it, for another program."""
        return json.dumps({"context": self.context, "times": self.times})

    @classmethod
    def from_json(cls, text):
        """What to_json has made."""
        results = cls()
        loaded = json.loads(text)
        results.context = loaded["context"]
        results.times.update(loaded["times"])
        return results


def plain(case):
    """A case's name without what says how it is timed."""
    return re.sub(r"/(real_time|manual_time|iterations:\d+)", "", case)


def quartiles(values):
    """First quartile, median and third quartile of sorted values."""
    if len(values) == 1:
        return values * 3
    return statistics.quantiles(values, n=4, method="inclusive")


def run_program(options, *arguments, **environment):
    """Runs the program once; answers what it prints."""
    done = subprocess.run(
        [options.program, options.tmpfs, options.disk, *arguments],
        check=False,
        env={**ENVIRONMENT, **environment},
        stdout=subprocess.PIPE,
        text=True,
    )
    if done.returncode != 0:
        sys.exit(f"bench.py: failed ({done.returncode}): {' '.join(done.args)}")
    return done.stdout


def list_benchmarks(options):
    """The full names of those that are asked for, by case."""
    cases = collections.defaultdict(list)
    for name in run_program(options, "--benchmark_list_tests").split():
        case = plain(name.split("/", 1)[1])
        cases[case].append(name)
        if re.fullmatch(QUERIES, case):
            cases[case + KEPT].append(name)
    cases = {case: names for case, names in cases.items() if re.search(options.filter, case)}
    if not cases:
        sys.exit(f"bench.py: no case's name fits '{options.filter}'")
    return cases


def run_benchmarks(options, case, names):
    """Runs benchmarks of a case in one process."""
    is_kept = case.startswith(OPERATIONS) or case.endswith(KEPT)
    report = run_program(
        options,
        "--benchmark_format=json",
        f"--benchmark_min_time={options.min_time}",
        f"--benchmark_filter=^({'|'.join(names)})$",
        **(KEEP_MEMORY if is_kept else {}),
    )
    return json.loads(report)


def run_rounds(options):
    """Runs all rounds."""
    results = Results()
    cases = list_benchmarks(options)
    for number in range(options.rounds):
        print(f"== round {number + 1} of {options.rounds}: {len(cases)} cases", flush=True)
        for case, names in cases.items():
            if case.startswith(OPERATIONS):
                results.add(case, run_benchmarks(options, case, names))
                continue
            first = number % len(names)
            for name in names[first:] + names[:first]:
                results.add(case, run_benchmarks(options, case, [name]))
    if results.context["left_out"]:
        print(f"Left out, since not installed: {results.context['left_out']}")
    return results


def print_table(results):
    """One line for each case and contender."""
    print(f"{'case':<40} {'contender':<10} {'median':>14}  ratio to {BASE} (quartiles)")
    for case, contenders in results.times.items():
        for contender in contenders:
            line = f"{case:<40} {contender:<10} {results.median(case, contender):>11.0f} ns"
            if BASE in contenders:
                low, middle, high = quartiles(results.ratios(case, contender))
                line += f"  {middle:.3f} ({low:.3f} to {high:.3f})"
            print(line)


def main():
    """Does what the command line says."""
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", required=True)
    parser.add_argument("--tmpfs", required=True)
    parser.add_argument("--disk", required=True)
    parser.add_argument("--rounds", type=int, default=9)
    parser.add_argument("--min-time", type=float, default=0.02, help="seconds, of each benchmark")
    parser.add_argument("--filter", default=".", help="a regular expression")
    parser.add_argument("--save", help="a file for the results")
    options = parser.parse_args()
    if options.rounds < 1:
        parser.error("there has to be a round")
    try:
        re.compile(options.filter)
    except re.error as error:
        parser.error(f"'{options.filter}' is no regular expression: {error}")
    results = run_rounds(options)
    print_table(results)
    if options.save:
        with open(options.save, "w", encoding="utf-8") as output:
            output.write(results.to_json())


if __name__ == "__main__":
    main()
