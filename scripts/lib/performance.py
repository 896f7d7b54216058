"""Writes docs/performance.md and its plots from what scripts/bench.sh has measured.

    performance.py BUILD_FOLDER FIGURES TEMPLATE DOCS_FOLDER
"""

import collections
import pathlib
import re
import subprocess
import sys
import tempfile

import bench
import callgrind
import instructions

NAMES = {
    "raw": "by hand",
    "get_table": "sqlite3_get_table",
    "SQLiteCpp": "SQLiteCpp",
    "SOCI": "SOCI",
    "Poco": "Poco::Data",
    "Qt": "Qt SQL",
    "contract": "the contract by hand",
    "vorn": "**the library**",
    "vorn-quiet": "… no-op lock and log",
}
OPERATIONS = ("upsert", "update", "delete", "create", "drop", "select", "join", "exists")
MEDIA = {"tmpfs": 1.05, "disk": 1.02}
SELECT = "select/rows:{}/columns:{}/tables:{}"
CELL_PARTS = {
    "sqlite": "SQLite: open, step, text",
    "name and type": "SQLite: cells' names and types",
    "formatting": "formatting the locks' names",
    "lock": "the stand-in's lock",
    "log": "the stand-in's log, silent",
    "streams": "standard streams, for numbers",
    "texts and memory": "copies, search, memory (C and C++ library)",
    "own": "the library's own code",
}

Profiled = collections.namedtuple("Profiled", "title pieces")
PROFILED = {
    "select 1000 x 5": Profiled("a cell of 1,000 × 5", 5000),
    "select 1 x 5": Profiled("a query of 1 × 5", 1),
    "upsert": Profiled("an upsert of 5 values", 1),
}


def table(heading, rows):
    """A table in Markdown; the first column is text, the others are numbers."""
    lines = [heading, ["---"] + ["---:"] * (len(heading) - 1), *rows]
    return "\n".join("| " + " | ".join(map(str, line)) + " |" for line in lines)


def middle(results, case, contender, base=bench.BASE):
    """The median of the ratios."""
    return bench.quartiles(results.ratios(case, contender, base))[1]


def ratio(results, case, contender):
    """The median of the ratios with the quartiles, as a cell of a table."""
    low, median, high = bench.quartiles(results.ratios(case, contender))
    return f"{median:.2f} <sub>{low:.2f}–{high:.2f}</sub>"


def duration(nanoseconds):
    """A time with a unit that suits it."""
    for unit, size in (("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= size:
            return f"{nanoseconds / size:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


class Report:
    """What was measured, as the parts of the document."""

    def __init__(self, results, memory, figures, parts):
        self.results = results
        self.memory = memory
        self.figures = figures
        self.parts = parts
        self.contenders = [
            name for name in NAMES if name in results.times[SELECT.format(10000, 5, 1)]
        ]

    def machine(self):
        """Where it was measured."""
        context = self.results.context
        packages = ["libsqlite3-0", "libc6", "libsqlitecpp-dev", "libsoci-dev"]
        packages += ["libpoco-dev", "libqt5sql5-sqlite"]
        listed = subprocess.run(
            ["dpkg-query", "--show", "--showformat=${Package} ${Version}, ", *packages],
            check=False,
            stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL,
            text=True,
        ).stdout
        model = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text("utf-8"))
        rounds = len(self.results.times[SELECT.format(1, 5, 1)]["raw"])
        left_out = context["left_out"] or "none"
        return (
            f"{context['date'][:10]}, {context['num_cpus']} × "
            f"{model.group(1) if model else 'unknown processor'}, {rounds} rounds; "
            f"{listed.strip(', ')}. Left out: {left_out}."
        )

    def targets(self):
        """What was aimed at, and what was found."""
        rows = []

        def add(name, limit, value, digits=3):
            verdict = "met" if value <= limit else "**missed**"
            rows.append([name, f"{limit:,}", f"{value:,.{digits}f}", verdict])

        for medium, limit in MEDIA.items():
            for operation in OPERATIONS:
                case = f"operation/{operation}/{medium}"
                add(f"{operation}, {medium}", limit, middle(self.results, case, "vorn"))
        whole = SELECT.format(10000, 5, 1)
        add("query of 10,000 × 5", 2.30, middle(self.results, whole, "vorn"))
        add("… no-op lock and log", 1.95, middle(self.results, whole, "vorn-quiet"))
        for kept, label in (("", ""), (bench.KEPT, ", memory kept")):
            costs = self.per_row("vorn", kept).values()
            name = "time per row, 100 to 100,000 rows, highest by lowest" + label
            add(name, 1.10, max(costs) / min(costs))
        add("lock, instructions", 200, self.figures[("x86_64", "lock")].total, 0)
        eight, one = (
            self.results.median(f"lock/different/threads:{threads}", "vorn") for threads in (8, 1)
        )
        add("lock, 8 threads on 8 names by 1 thread, per lock", 1, eight / one)
        ours, raw = (self.memory[(name, 10000)] for name in ("vorn", "raw"))
        add("peak memory of the query of 10,000 × 5", 1.02, ours.peak / raw.peak, 4)
        # For the request, the texts and the statement; none for a cell.
        more = ours.allocations - raw.allocations
        add("its allocations beyond those by hand, for all 50,000 cells", 50, more, 0)
        add("log line, instructions of its own", 60, self.figures[("x86_64", "log")].own, 0)
        few, many = (
            self.results.median(f"fill/text/values:{values}", "vorn") / values
            for values in (10, 1000)
        )
        add("filling, per value, 1,000 values by 10", 1.10, many / few)
        return table(["What", "at most", "measured", ""], rows)

    def per_row(self, contender, kept):
        """Nanoseconds for each row after the first, by number of rows."""
        first = self.results.median(SELECT.format(1, 5, 1) + kept, contender)
        medians = {
            rows: self.results.median(SELECT.format(rows, 5, 1) + kept, contender)
            for rows in (100, 1000, 10000, 100000)
        }
        return {rows: (median - first) / (rows - 1) for rows, median in medians.items()}

    def operations(self, medium):
        """The eight operations."""
        contenders = [name for name in self.contenders if name not in ("get_table", "contract")]
        rows = []
        for operation in OPERATIONS:
            case = f"operation/{operation}/{medium}"
            row = [operation, duration(self.results.median(case, "raw"))]
            row += [ratio(self.results, case, name) for name in contenders if name != "raw"]
            rows.append(row)
        heading = [medium] + [NAMES[name] for name in contenders]
        return table(heading, rows)

    def selects(self, shapes, kept=""):
        """Queries of whole tables."""
        rows = []
        for shape in shapes:
            case = SELECT.format(*shape) + kept
            row = [
                f"{shape[0]:,} × {shape[1]}, {shape[2]}",
                duration(self.results.median(case, "raw")),
            ]
            row += [ratio(self.results, case, name) for name in self.contenders if name != "raw"]
            rows.append(row)
        heading = ["rows × columns, tables"] + [NAMES[name] for name in self.contenders]
        return table(heading, rows)

    def rows(self, kept=""):
        """Queries of five columns, by rows."""
        return self.selects([(rows, 5, 1) for rows in (1, 10, 100, 1000, 10000, 100000)], kept)

    def shapes(self):
        """Queries of other shapes."""
        shapes = [(rows, columns, 1) for columns in (2, 20) for rows in (1, 100, 10000, 100000)]
        shapes += [(rows, 5, tables) for tables in (10, 100) for rows in (1, 10000)]
        return self.selects(shapes)

    def flatness(self):
        """The time of each further row."""
        rows = []
        for kept, label in (("", ""), (bench.KEPT, ", memory kept")):
            for name in ("raw", "contract", "vorn", "vorn-quiet"):
                costs = self.per_row(name, kept).values()
                spread = max(costs) / min(costs)
                rows.append([NAMES[name] + label, *map(duration, costs), f"{spread:.2f}"])
        return table(
            ["per row, of", "100", "1,000", "10,000", "100,000", "highest by lowest"], rows
        )

    def cell(self):
        """Where the instructions of a cell go."""
        rows = []
        for part, name in CELL_PARTS.items():
            rows.append([name])
            for counts in self.parts.values():
                rows[-1] += [
                    f"{round(counts[part]):,}",
                    f"{counts[part] / sum(counts.values()):.0%}",
                ]
        together = ["together"]
        for counts in self.parts.values():
            together += [f"{round(sum(counts.values())):,}", ""]
        heading = ["Part"]
        for action in self.parts:
            heading += [PROFILED[action].title, ""]
        return table(heading, rows + [together])

    def reads(self):
        """Typed reads."""
        rows = []
        for kind in ("text", "int", "double"):
            case = f"read/{kind}"
            rows.append(
                [kind]
                + [duration(self.results.median(case, name) / 1000) for name in ("raw", "vorn")]
                + [ratio(self.results, case, "vorn"), ratio(self.results, case, "vorn-quiet")]
            )
        return table(["a read", "by hand", "the library", "ratio", "… no-op lock and log"], rows)

    def fills(self):
        """Filling requests."""
        counts = (1, 10, 100, 1000)
        rows = [
            [kind]
            + [
                duration(self.results.median(f"fill/{kind}/values:{count}", "vorn") / count)
                for count in counts
            ]
            for kind in ("text", "int", "double")
        ]
        return table(["a value, of"] + [f"{count:,}" for count in counts], rows)

    def log(self):
        """Lines that are not written."""
        rows = [
            ["direct", duration(self.results.median("log/direct", "vorn"))],
            ["… no-op log", duration(self.results.median("log/direct", "vorn-quiet"))],
            ["protected", duration(self.results.median("log/protected", "vorn"))],
        ]
        return table(["a line", "time"], rows)

    def threads(self):
        """Threads at work at the same time."""
        counts = (1, 2, 4, 8)
        rows = []
        for label, task, names in (
            ("query, a file for each", "threads/select/own", ("raw", "vorn")),
            ("query, one file", "threads/select/one", ("raw", "vorn")),
            ("upsert, a file for each", "threads/upsert/own", ("raw", "vorn")),
            ("upsert, one file", "threads/upsert/one", ("vorn",)),
            ("lock, a name for each", "lock/different", ("vorn",)),
            ("lock, one name", "lock/same", ("vorn",)),
        ):
            for name in names:
                medians = [self.results.median(f"{task}/threads:{n}", name) for n in counts]
                rows.append([f"{label}: {NAMES[name]}", *map(duration, medians)])
        return table(
            ["all together, per action", "1 thread", *(f"{n} threads" for n in counts[1:])], rows
        )

    def memory_table(self):
        """What is taken from the heap."""
        raw = self.memory[("raw", 10000)]
        rows = []
        for name in self.contenders:
            use = self.memory[(name, 10000)]
            rows.append(
                [
                    NAMES[name],
                    f"{use.allocations:,}",
                    f"{use.bytes:,}",
                    f"{use.peak:,}",
                    f"{use.peak / raw.peak:.4f}",
                ]
            )
        return table(["10,000 × 5", "allocations", "bytes", "peak", "by hand's peak"], rows)

    def instruction_table(self):
        """The figures in the tree."""
        rows = [
            [machine, action, f"{count.total:,}", f"{count.own:,}"]
            for (machine, action), count in self.figures.items()
        ]
        lines = table(["machine", "action", "instructions", "of the library's own"], rows)
        return lines.replace("| --- | ---: |", "| --- | --- |", 1)


def read_memory(path):
    """What each contender took, by contender and rows."""
    use = collections.namedtuple("Use", "allocations bytes peak")
    memory = {}
    for line in path.read_text(encoding="utf-8").splitlines():
        contender, rows, _, *counts = line.split("\t")
        memory[(contender, int(rows))] = use(*map(int, counts))
    return memory


def profile(program, action):
    """Instructions of an action, by part."""
    profiles = []
    with tempfile.TemporaryDirectory(dir="/tmp") as scratch:
        instructions.run([program, "make", "1", scratch], env=instructions.ENVIRONMENT)
        for runs in (5, 10) if action == "upsert" else (1, 2):
            output = f"{scratch}/profile"
            instructions.run(
                ["valgrind", "-q", "--tool=callgrind", f"--callgrind-out-file={output}"]
                + [program, action, str(runs), scratch],
                env=instructions.ENVIRONMENT,
            )
            profiles.append(callgrind.split(callgrind.Profile(output), instructions.LIBRARY))
    parts = callgrind.per_run(profiles[0], profiles[1], PROFILED[action].pieces * runs // 2)
    return {part: parts[part] for part in CELL_PARTS}


def plot(script, output, data, **settings):
    """Draws data, given as lines of words, with one of the scripts in bench/plots/."""
    with tempfile.NamedTemporaryFile("w", suffix=".dat", encoding="utf-8") as table_file:
        for line in data:
            words = (f'"{word}"' if isinstance(word, str) else str(word) for word in line)
            table_file.write(" ".join(words) + "\n")
        table_file.flush()
        settings = {"data": f"'{table_file.name}'", "output": f"'{output}'", **settings}
        assignments = "; ".join(f"{name}={value}" for name, value in settings.items())
        instructions.run(["gnuplot", "-e", assignments, f"bench/plots/{script}.gnuplot"])


def draw(report, docs):
    """Both plots."""
    names = [re.sub(r"\*", "", NAMES[name]) for name in report.contenders]
    data = [["rows", *names]]
    for rows in (1, 10, 100, 1000, 10000, 100000):
        case = SELECT.format(rows, 5, 1)
        data.append([rows] + [report.results.median(case, n) / 1e6 for n in report.contenders])
    plot(
        "rows",
        docs / "performance-rows.svg",
        data,
        count=len(names),
        library=report.contenders.index("vorn") + 1,
    )
    counts = report.parts["select 1000 x 5"]
    cell = [[CELL_PARTS[part], round(count)] for part, count in counts.items() if round(count)]
    plot(
        "cell",
        docs / "performance-cell.svg",
        cell,
        count=len(cell),
        most=max(count for _, count in cell),
    )


def main():
    """Does what the command line says."""
    build, figures, template, docs = map(pathlib.Path, sys.argv[1:])
    program = str(build / "bench/instructions/vorn_instructions")
    report = Report(
        bench.Results.from_json((build / "times.json").read_text(encoding="utf-8")),
        read_memory(build / "memory.tsv"),
        instructions.read_figures(figures),
        {action: profile(program, action) for action in PROFILED},
    )
    parts = {
        "machine": report.machine(),
        "targets": report.targets(),
        "operations_tmpfs": report.operations("tmpfs"),
        "operations_disk": report.operations("disk"),
        "rows": report.rows(),
        "rows_kept": report.rows(bench.KEPT),
        "shapes": report.shapes(),
        "flatness": report.flatness(),
        "cell": report.cell(),
        "reads": report.reads(),
        "fills": report.fills(),
        "log": report.log(),
        "threads": report.threads(),
        "memory": report.memory_table(),
        "instructions": report.instruction_table(),
    }
    text = template.read_text(encoding="utf-8")
    document = re.sub(r"\{\{(\w+)\}\}", lambda match: parts[match.group(1)], text)
    draw(report, docs)
    (docs / "performance.md").write_text(document, encoding="utf-8")
    print(f"== written: {docs / 'performance.md'}")


if __name__ == "__main__":
    main()
