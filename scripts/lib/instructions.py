"""Counts the instructions of what the library does, and compares them with the figures
in the tree.

    instructions.py check|update FIGURES X86_64_PROGRAM ARMHF_PROGRAM EMULATOR...
"""

import collections
import concurrent.futures
import os
import pathlib
import re
import subprocess
import sys
import tempfile

import callgrind

LIBRARY = "libvorndatabase.so"
TOLERANCE = 0.03

# What is counted, on which machine, and how often in the first of the two counts. The
# emulator writes a line for every instruction, so that it is given less to do.
ACTIONS = {
    "x86_64": {"upsert": 5, "select 1000 x 5": 1, "read": 100, "log": 100, "lock": 100},
    "armhf": {"upsert": 1, "select 100 x 5": 1, "read": 20, "log": 20, "lock": 20},
}
# One run writes two lines.
PARTS = {"log": 2}

# The C library has its functions in several forms. The one for any machine is counted,
# so that the figures do not depend on this one.
ENVIRONMENT = {
    "PATH": os.environ["PATH"],
    "VORN_DLOG_PRIORITY": "S",
    "LD_BIND_NOW": "1",
    "GLIBC_TUNABLES": "glibc.cpu.hwcaps=-AVX512F,-AVX512VL,-AVX2,-AVX,-AVX_Fast_Unaligned_Load,"
    "-ERMS,-FSRM,-BMI2",
}

HEADING = """\
# Instructions that one of these takes, as scripts/instructions.sh has counted them: all,
# and those of the library itself, without what it calls. "read" is a GetInt, "log" a
# trace line that is not written, "lock" making, taking, giving and destroying a VornMutex.
#
# machine  action                total       own
"""

Count = collections.namedtuple("Count", "total own")


def run(command, **options):
    """Runs a command; its failure ends the script."""
    done = subprocess.run(command, check=False, **options)
    if done.returncode != 0:
        sys.exit(f"instructions.py: failed ({done.returncode}): {' '.join(map(str, command))}")
    return done


def count_native(program, action, runs, folder):
    """What valgrind counts in the whole process."""
    with tempfile.NamedTemporaryFile() as output:
        run(
            ["valgrind", "-q", "--tool=callgrind", f"--callgrind-out-file={output.name}"]
            + [program, action, str(runs), folder],
            env=ENVIRONMENT,
        )
        profile = callgrind.Profile(output.name)
    return Count(profile.total(), callgrind.split(profile, LIBRARY)["own"])


def count_emulated(emulator, program, action, runs, folder):
    """What the emulator tells to have executed, by page of memory."""
    trace = [*emulator, "-singlestep", "-d", "exec,nochain", "-D", "/dev/stdout", program, action]
    pages = [
        "awk",
        "-F/",
        "/^Trace/ { count[substr($2, 1, 5)]++ } END { for (page in count) print page, count[page] }",
    ]
    with subprocess.Popen(
        trace + [str(runs), folder, "maps"],
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        env={"PATH": ENVIRONMENT["PATH"]},
        text=True,
    ) as traced:
        counted = run(pages, stdin=traced.stdout, stdout=subprocess.PIPE, text=True).stdout
        maps = traced.stderr.read()
    if traced.returncode != 0:
        sys.exit(f"instructions.py: failed ({traced.returncode}): {program} {action}\n{maps}")
    library = re.search(rf"^(\w+)-(\w+) r-xp .*{re.escape(LIBRARY)}$", maps, re.MULTILINE)
    if not library:
        sys.exit(f"instructions.py: {program} did not tell where {LIBRARY} is")
    first, last = (int(address, 16) >> 12 for address in library.groups())
    by_page = {int(page, 16): int(count) for page, count in map(str.split, counted.splitlines())}
    own = sum(count for page, count in by_page.items() if first <= page < last)
    return Count(sum(by_page.values()), own)


def per_run(count, action, runs):
    """What one time of an action takes: the difference of two counts."""
    once, again = count(runs), count(2 * runs)
    parts = runs * PARTS.get(action, 1)
    return Count(*(round((more - less) / parts) for less, more in zip(once, again)))


def measure(programs, emulator):
    """All counts, by machine and action."""
    results = {}
    # SQLite looks at every folder on the way to a file.
    with tempfile.TemporaryDirectory(prefix="vorn-instructions-", dir="/tmp") as scratch:
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            for machine, program in programs.items():
                prefix = emulator if machine == "armhf" else []
                for action, runs in ACTIONS[machine].items():
                    folder = pathlib.Path(scratch, f"{machine}-{action.replace(' ', '')}")
                    folder.mkdir()
                    run([*prefix, program, "make", "1", str(folder)])
                    if machine == "armhf":
                        count = lambda n, p=program, a=action, f=folder: count_emulated(
                            emulator, p, a, n, str(f)
                        )
                    else:
                        count = lambda n, p=program, a=action, f=folder: count_native(
                            p, a, n, str(f)
                        )
                    results[(machine, action)] = pool.submit(per_run, count, action, runs)
            counts = {key: result.result() for key, result in results.items()}
    for (machine, action), count in counts.items():
        if count.total <= 0 or (count.own <= 0 and action != "lock"):
            sys.exit(f"instructions.py: nothing was counted for {action} on {machine}: {count}")
    return counts


def read_figures(path):
    """The figures in the tree."""
    figures = {}
    for line in path.read_text(encoding="utf-8").splitlines():
        if line and not line.startswith("#"):
            machine, *action, total, own = line.split()
            figures[(machine, " ".join(action))] = Count(int(total), int(own))
    return figures


def write_figures(path, counts):
    """Replaces the figures in the tree."""
    lines = [
        f"{machine:<10} {action:<16} {count.total:>10} {count.own:>9}\n"
        for (machine, action), count in counts.items()
    ]
    path.write_text(HEADING + "".join(lines), encoding="utf-8")


def differs(figure, counted):
    """Whether a count is another one than the tree says."""
    return abs(counted - figure) > TOLERANCE * figure


def check(figures, counts):
    """Prints all counts beside the figures; tells whether they are the same."""
    good = True
    print(f"{'machine':<9} {'action':<16} {'total':>10} {'was':>10} {'own':>9} {'was':>9}")
    for key in sorted(figures.keys() | counts.keys()):
        machine, action = key
        count, figure = counts.get(key, Count(0, 0)), figures.get(key, Count(0, 0))
        wrong = any(map(differs, figure, count))
        print(
            f"{machine:<9} {action:<16} {count.total:>10} {figure.total:>10} "
            f"{count.own:>9} {figure.own:>9}" + ("  differs" if wrong else "")
        )
        good = good and not wrong
    return good


def main():
    """Does what the command line says."""
    mode, figures, native, emulated, *emulator = sys.argv[1:]
    figures = pathlib.Path(figures)
    counts = measure({"x86_64": native, "armhf": emulated}, emulator)
    if mode == "update":
        write_figures(figures, counts)
        print(figures.read_text(encoding="utf-8"), end="")
    elif not check(read_figures(figures), counts):
        sys.exit(
            f"instructions.py: more than {TOLERANCE:.0%} from {figures}. If that is meant, run "
            "scripts/instructions.sh update and say why in the change."
        )


if __name__ == "__main__":
    main()
