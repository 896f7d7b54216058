"""Prints the table of the benchmarks' medians, or replaces it in a page and draws its plot.

    bench.py TIMES [PAGE]
    bench.py --checker FOLDER

TIMES is Google Benchmark's JSON. FOLDER has that of several rounds, without and with the
checker: its ratio is printed.
"""

import collections
import json
import operator
import pathlib
import re
import statistics
import subprocess
import sys

NAMES = {
    "raw": "by hand",
    "get_table": "sqlite3_get_table",
    "Poco": "Poco::Data",
    "Qt": "Qt SQL",
    "contract": "the contract by hand",
    "vorn": "**the library**",
    "vorn-quiet": "… no-op lock and log",
}
SCALE = {"ns": 1, "us": 1e3, "ms": 1e6}
WHOLE = re.compile(r"select/rows:(\d+)/columns:5/tables:1")


def read_medians(report):
    """Nanoseconds by case and contender, in the order of the program."""
    medians = collections.defaultdict(dict)
    place = operator.itemgetter("family_index", "per_family_instance_index")
    for entry in sorted(report["benchmarks"], key=place):
        if entry["aggregate_name"] == "median":
            contender, case = entry["run_name"].split("/", 1)
            case = re.sub("/(real_time|manual_time|iterations:[0-9]+)", "", case)
            medians[case][contender] = entry["real_time"] * SCALE[entry["time_unit"]]
    return medians


def duration(nanoseconds):
    for unit, scale in (("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= scale:
            return f"{nanoseconds / scale:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def table(medians):
    """Times by hand, and the others' ratios to them; times alone where nothing compares."""
    contenders = list(max(medians.values(), key=len))
    rows = [["case", *(NAMES.get(name, name) for name in contenders)]]
    rows.append(["---"] + ["---:"] * len(contenders))
    for case, times in medians.items():
        cells = {name: duration(time) for name, time in times.items()}
        if "raw" in times:
            ratios = {name: f"{time / times['raw']:.2f}" for name, time in times.items()}
            cells = ratios | {"raw": cells["raw"]}
        rows.append([f"`{case}`", *(cells.get(name, "") for name in contenders)])
    return "".join(f"| {' | '.join(row)} |\n" for row in rows)


def draw(medians, data, output):
    """Milliseconds against rows; the library's line stands out."""
    queries = {match[1]: times for case, times in medians.items() if (match := WHOLE.match(case))}
    contenders = list(next(iter(queries.values())))
    names = " ".join(f'"{NAMES.get(name, name)}"'.replace("*", "") for name in contenders)
    lines = [
        " ".join([rows, *(str(times[name] / 1e6) for name in contenders)])
        for rows, times in queries.items()
    ]
    settings = f"count={len(contenders)}; library={contenders.index('vorn') + 1}"
    settings += f"; data='{data}'; output='{output}'"
    data.write_text("\n".join([f"rows {names}", *lines, ""]), "utf-8")
    subprocess.run(["gnuplot", "-e", settings, "bench/rows.gnuplot"], check=True)


def print_checked(folder):
    """The median of the rounds without the checker, and the quartiles of the ratio with it."""
    rounds = collections.defaultdict(list)
    for path in folder.glob("round-?.json"):
        checked = path.with_stem(f"{path.stem}-checked")
        reports = (json.loads(each.read_text("utf-8")) for each in (path, checked))
        for before, after in zip(*(report["benchmarks"] for report in reports)):
            scale = SCALE[before["time_unit"]]
            rounds[before["name"]].append((before["real_time"] * scale, after["real_time"] * scale))
    for case, times in rounds.items():
        quartiles = statistics.quantiles(after / before for before, after in times)
        time = duration(statistics.median(before for before, _ in times))
        print(f"{case}: {time}, with vorncheck", *(f"{ratio:.2f}" for ratio in quartiles))


def main():
    if sys.argv[1] == "--checker":
        print_checked(pathlib.Path(sys.argv[2]))
        return
    times, *pages = map(pathlib.Path, sys.argv[1:])
    report = json.loads(times.read_text("utf-8"))
    medians, context = read_medians(report), report["context"]
    left_out = f"; left out: {context['left_out']}" if context["left_out"] else ""
    text = (
        f"{context['date'][:10]}, {context['num_cpus']} processors{left_out}:\n\n{table(medians)}"
    )
    if not pages:
        print(text, end="")
    for page in pages:
        before, _, after = re.split(
            "(?<=<!-- table -->\n)|(?=<!-- end -->)", page.read_text("utf-8")
        )
        draw(medians, times.with_name("rows.dat"), page.with_name("performance-rows.svg"))
        page.write_text(f"{before}{text}{after}", "utf-8")


if __name__ == "__main__":
    main()
