"""Counts the instructions of the actions in a file of figures, and compares the two.

    instructions.py check|update FIGURES BUILDS

BUILDS has a folder for each machine, with the program vorn_instructions. A figure is the
difference between two counts.
"""

import concurrent.futures
import os
import pathlib
import re
import subprocess
import sys
import tempfile

LIBRARY = "libvorndatabase.so"
TOLERANCE = 0.03
# The C library's functions for any processor are counted.
TUNABLES = "-AVX512F,-AVX512VL,-AVX2,-AVX,-AVX_Fast_Unaligned_Load,-ERMS,-FSRM,-BMI2"
SILENT = {"PATH": os.environ["PATH"], "VORN_DLOG_PRIORITY": "S"}
NATIVE = SILENT | {"LD_BIND_NOW": "1", "GLIBC_TUNABLES": f"glibc.cpu.hwcaps={TUNABLES}"}
TARGET = "/usr/arm-linux-gnueabihf"
LIBRARIES = f"{TARGET}/lib:{os.getcwd()}/build/sysroot/armhf/usr/lib/arm-linux-gnueabihf"
TRACE = f"qemu-arm -L {TARGET} -singlestep -d exec,nochain -E LD_LIBRARY_PATH={LIBRARIES}"
SUM_COSTS = f"""
    /^ob=/ {{ own = /{LIBRARY}$/ }}
    /^calls=/ {{ getline; next }}
    own && /^[+0-9*-]/ {{ sum += $2 }}
    /^totals:/ {{ total = $2 }}
    END {{ print total, sum + 0 }}"""
COUNT_PAGES = "/^Trace/ { n[substr($2, 1, 5)]++ } END { for (page in n) print page, n[page] }"


def run(*command, **options):
    return subprocess.run(command, check=True, text=True, stdout=subprocess.PIPE, **options).stdout


def count_native(*arguments):
    """The instructions of the process and of the library's own code, by valgrind."""
    with tempfile.NamedTemporaryFile() as profile:
        tool = ["valgrind", "-q", "--tool=callgrind", "--compress-strings=no"]
        run(*tool, f"--callgrind-out-file={profile.name}", *arguments, env=NATIVE)
        return [int(number) for number in run("awk", SUM_COSTS, profile.name).split()]


def count_emulated(*arguments):
    """The same by the emulator's trace: the library's own are those in its pages."""
    pipe, command = subprocess.PIPE, [*TRACE.split(), "-D", "/dev/stdout", *arguments, "maps"]
    with subprocess.Popen(command, env=SILENT, text=True, stdout=pipe, stderr=pipe) as traced:
        counts = run("awk", "-F/", COUNT_PAGES, stdin=traced.stdout).split()
        maps = traced.stderr.read()
    pages = {int(page, 16): int(count) for page, count in zip(counts[::2], counts[1::2])}
    first, last = re.search(rf"(?m)^(\w+)-(\w+) r-xp .*/{LIBRARY}$", maps).groups()
    own = range(int(first, 16) >> 12, int(last, 16) >> 12)
    return [sum(pages.values()), sum(count for page, count in pages.items() if page in own)]


def measure(builds, machine, action):
    """The instructions of one action, and the library's among them."""
    program = f"{builds}/{machine}/bench/instructions/vorn_instructions"
    count = count_emulated if machine == "armhf" else count_native
    # The start of a process varies by some hundred instructions.
    runs = 1 if action.startswith(("upsert", "select")) else 200
    # SQLite looks at every folder on the way to a file.
    with tempfile.TemporaryDirectory(prefix="vorn-", dir="/tmp") as folder:
        run(program.replace(machine, "x86_64"), "make", "1", folder, env=SILENT)
        once, again = (count(program, action, str(n * runs), folder) for n in (1, 2))
    parts = 2 * runs if action == "log" else runs  # one run writes two records
    return tuple(round((more - less) / parts) for less, more in zip(once, again))


def main():
    mode, path, builds = sys.argv[1], pathlib.Path(sys.argv[2]), sys.argv[3]
    lines, good = path.read_text("utf-8").splitlines(), True
    figures = [line.rsplit(maxsplit=2) for line in lines if not line.startswith("#")]
    counted = [line for line in lines if line.startswith("#")]
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        counts = pool.map(lambda figure: measure(builds, *figure[0].split(maxsplit=1)), figures)
        for (name, *figure), count in zip(figures, counts):
            counted.append(f"{name:<27} {count[0]:>10} {count[1]:>9}")
            was = [int(number) for number in figure]
            differs = any(abs(new - old) > TOLERANCE * old for new, old in zip(count, was))
            print(
                f"{counted[-1]}, was {was[0]:>10} {was[1]:>9}" + ", differs" * differs, flush=True
            )
            good = good and not differs
    if mode == "update":
        path.write_text("\n".join([*counted, ""]), "utf-8")
    elif not good:
        sys.exit(f"More than {TOLERANCE:.0%} off: if that is meant, update and give the reason.")


if __name__ == "__main__":
    main()
