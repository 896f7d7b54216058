"""explain-log, on captured logs whose explanation was read line by line, and on logs that are
broken. How the logs were captured: logs/make_logs.sh."""

import json
import os
import random
import re
import subprocess

import pytest

from conftest import DONE, FAILED, PROGRAM, SOURCE

LOGS = SOURCE / "tests/vorndb/logs"
KEPT = sorted(path.stem for path in LOGS.glob("*.log"))
NO_LINE = "has no line of the library's log"


def explain(tool, log, *options):
    """The explanation of a log, as bytes."""
    ended = tool.start("explain-log", "-", *options, input=log)
    assert (ended.returncode, ended.stderr) == (DONE, b"")
    return ended.stdout.decode()


def kept(name):
    """A log of the tree."""
    return (LOGS / f"{name}.log").read_bytes()


def operations(text):
    """The operations with their lines, without their numbers."""
    part = text.split("\n\nSummary\n")[0]
    return [re.sub(r"^\d+\. ", "", block) for block in re.split(r"\n(?=\d+\. )", part)[1:]]


@pytest.mark.parametrize("name", KEPT)
def test_a_log_is_explained_as_it_was_read(tool, name):
    ended = tool.start("explain-log", str(LOGS / f"{name}.log"))
    assert (ended.returncode, ended.stderr) == (DONE, b"")
    assert ended.stdout.decode() == (LOGS / f"{name}.txt").read_text()


ENTRY = "{0}.cpp: {1}(5) > {0}.cpp::{1}(5) called"
RECORDS = {
    "enter": ENTRY.format("Database", "Upsert"),
    "open": ENTRY.format("Database", "OpenDB"),
    "file": "Database.cpp: OpenDB(8) > DB file: . app.db",
    "get": ENTRY.format("UpsertRequest", "GetTable"),
    "done": "Database.cpp: Upsert(9) > Upsert SUCCESS[0]",
    "new": ENTRY.format("Database", "Database"),
    "join": ENTRY.format("JoinRequest", "GetLeftJoin"),
    "wait": "Database.cpp: IsRetryLimit(4) > SQLITE BUSY[3]",
    "step": "DatabasePasrser.cpp: IsRetryLimit(4) > SQLITE BUSY[3]",
    "refused": "Database.cpp: Select(9) > SELECT FAILED[1]: no",
    "blob": "DatabasePasrser.cpp: ParseDatabase(9) > UNKNOWN TYPE",
    "unopened": "Database.cpp: Select(9) > OpenDB Error: 14",
    "missed": "Cursor.cpp: GetString(9) > NO MATCHED ERROR!!!",
}
LOST = "\n   its beginning is not in the log"
WAITED = "\n   waited for the busy file: 0.1 s"


def log_of(names, prefix="D VORN 1 1 "):
    """A log of these records."""
    return "".join(f"{prefix}{RECORDS[name]}\n" for name in names.split())


@pytest.mark.parametrize("name", [name for name in KEPT if name.startswith("form_")])
def test_a_log_that_is_cut_within_an_operation(tool, name):
    prefix = kept(name).decode().partition("Database.cpp")[0]
    for names in ("enter open file get done", "open file get done", "file get done"):
        for cut in range(len(prefix) + 3):
            part = log_of(names, prefix)[cut:]
            (operation,) = operations(explain(tool, part.encode()))
            assert re.match(r"Upsert on .*: succeeded(\n|$)", operation), part
            assert operation.count("24460") == prefix.count("24460"), part
            assert ("on ./app.db" in operation) == ("open" in names or cut <= len(prefix)), part
            assert (LOST in operation) == ("enter" not in names or cut > len(prefix)), part


@pytest.mark.parametrize(
    "records, explained",
    [
        ("open file done", "Upsert on ./app.db: succeeded" + LOST),
        ("file done", "Upsert on ./app.db: succeeded"),
        ("open file wait refused", "Select on ./app.db: failed, 1: no" + LOST + WAITED),
        ("open file unopened", "Select on ./app.db: not opened, 14" + LOST),
        ("open file join new", "JoinSelect on ./app.db: prepared" + LOST),
        ("step file done", f"a query on ?: prepared{LOST}{WAITED}; Upsert on ./app.db: succeeded"),
        ("new open file", "OpenDB on ./app.db: opened"),
    ],
)
def test_a_log_without_the_beginning_of_its_first_operations(tool, records, explained):
    pairs = [log_of(name) + log_of(name, "D VORN 1 2 ") for name in records.split()]
    text = explain(tool, "".join(pairs).encode()).replace("a file that is not named", "?")
    for origin in (" [1 1]", " [1 2]"):
        found = [one.replace(origin, "") for one in operations(text) if origin in one]
        assert found == explained.split("; ")


def test_failures_alone_and_the_summary_alone(tool):
    names = "enter open file done new file refused enter file done new missed file blob new file"
    log = log_of(names).encode()
    text = explain(tool, log)
    assert operations(explain(tool, log, "--failures")) == operations(text)[1:4]
    assert len(operations(text)) == 5
    assert explain(tool, log, "--summary") == text[text.index("Summary\n") :]
    summary = explain(tool, kept("captured_busy"), "--summary")
    assert explain(tool, kept("captured_busy"), "--summary", "--follow") == summary


@pytest.mark.parametrize("name", KEPT)
def test_json_has_what_the_report_has(tool, name):
    text = explain(tool, kept(name))
    report = json.loads(explain(tool, kept(name), "--format=json"))
    assert len(report["operations"]) == len(operations(text))
    for operation, shown in zip(report["operations"], operations(text)):
        assert f" on {operation['file'] or 'a file that is not named'}" in shown
        assert f": {operation['outcome']}" in shown
        assert f"file: {operation['waitedSeconds']} s" in shown + "file: 0.0 s"
    assert report["notes"] == re.findall(r"(?m)^  (.*)$", text.partition("\nNotes\n")[2])


@pytest.mark.parametrize(
    "times, since, expected",
    [
        ("11-21 10:00:00.123, 11-21 10:00:01.000", "11-21 10:00", 2),
        ("11-21 10:00:00.123, 11-21 10:00:01.000", "10:00:00.124", 1),
        ("11-21 23:59:59.999, 11-22 00:00:00.000", "23:00", 2),
        ("2026-11-21 10:00:00+0100, 2027-01-01 09:00:00+0100", "2027-01-01", 1),
        ("9.5, 71.5", "10", 1),
        ("9.5, 71.5", "72", "has no line of the library's log since 72"),
        ("11-21 10:00:00.123, 11-21 10:00:01.000", "71.5", "has no times of the form of 71.5"),
        (", ", "10:00", "has no times of the form of 10:00"),
        ("11-21 09:00:00, 11-21 10:00:00", "11-21 9", "has no times of the form of 11-21 9"),
        ("11-21 10:00:00.123, 11-21 10:00:01.000", "10", "has no times of the form of 10"),
    ],
)
def test_records_since_a_time(tool, times, since, expected):
    log = "".join(log_of("file done", f"{time} D VORN 1 1 ") for time in times.split(", "))
    ended = tool.start("explain-log", "-", "--since", since, input=log.encode())
    if isinstance(expected, int):
        assert (ended.returncode, len(operations(ended.stdout.decode()))) == (DONE, expected)
    else:
        assert (ended.returncode, ended.stdout) == (FAILED, b"")
        assert expected in ended.stderr.decode()


def test_a_growing_file_is_followed(tool):
    log = tool.folder / "app.log"
    log.write_text(log_of("file done file"))
    # It ends by itself if the test fails.
    command = ["timeout", "60", *PROGRAM, "explain-log", "--follow", log]
    with subprocess.Popen(command, stdout=subprocess.PIPE, text=True) as running:
        shown = iter(running.stdout.readline, "")
        assert next(shown) == "Operations [process thread time]\n"
        assert next(shown)[:2] == "1."
        with log.open("a") as more:
            more.write(log_of("done file done"))
        assert (next(shown)[:2], next(shown)[:2]) == ("2.", "3.")
        log.write_text(log_of("done"))
        assert next(shown) == "4. Upsert on a file that is not named [1 1]: succeeded\n"
        assert next(shown) == LOST[1:] + "\n"
        log.rename(tool.folder / "old.log")
        log.write_text(log_of("file done"))
        assert next(shown) == "5. Upsert on ./app.db [1 1]: succeeded\n"
        running.terminate()


def test_a_pipe_is_followed_to_its_end():
    command = [*PROGRAM, "explain-log", "--follow", "--format=json", "-"]
    pipe = subprocess.PIPE
    with subprocess.Popen(command, stdin=pipe, stdout=pipe, text=True, bufsize=1) as running:
        for thread in range(2000):
            running.stdin.write(log_of("file done file", f"I VORN 1 {thread} "))
            assert json.loads(running.stdout.readline())["file"] == "./app.db"
        running.stdin.close()
        *rest, end = map(json.loads, running.stdout.read().splitlines())
    assert end["summary"]["operations"]["Upsert"] == {"succeeded": 2000}
    assert len(rest) == 2000


def every_line(tool):
    """A line of each message at each of its call sites, by the reference: its function, its
    message, and the line."""
    reference = tool.start("log-reference").stdout.decode()
    entry = r"### `(.+)`\n\n\*\*\w+ \(\d, (\w)\)\*\* from (.+)\.\n"
    for template, letter, sites in re.findall(entry, reference):
        for file, *functions in (site.split() for site in sites.strip("`").split("; ")):
            for function in functions:
                message = template.replace("%s::%s", f"{file[:-1]}::{function}")
                message = message.replace("%d", "1").replace("%s", "text")
                line = f"{letter} VORN 1 1 {file} {function}(1) > {message}\n"
                yield function, message, line.encode()


def test_every_message_is_known_at_each_call_site(tool):
    lines = [line for _, _, line in every_line(tool)]
    text = explain(tool, b"".join(lines))
    assert f"\n  lines of the library: {len(lines)}\n" in text
    assert "unreadable" not in text and "others" not in text


def test_a_message_alone_tells_an_outcome(tool):
    outcomes = 0
    for function, message, line in every_line(tool):
        text = explain(tool, line)
        origin = f"1. {function} on a file that is not named [1 1]: "
        if "SUCCESS[" in message:
            assert origin + "succeeded\n" in text
        elif "FAILED[" in message:
            assert origin + "failed, 1: text\n" in text
        elif line.startswith(b"E VORN 1 1 Cursor.cpp") and "MUTEX" not in message:
            assert f"reading a cursor: {function}: {message}: 1\n" in text
        elif "MUTEX" in message:
            assert "  locks that could not be named: 1\n" in text
        else:
            continue
        outcomes += 1
    assert outcomes > 0


def test_threads_are_told_apart_however_their_lines_mix(tool):
    lines = kept("captured_crowd").splitlines(keepends=True)
    apart = sorted(lines, key=lambda line: line.split()[2:4])
    assert lines != apart
    mixed = operations(explain(tool, b"".join(lines)))
    assert sorted(mixed) == sorted(operations(explain(tool, b"".join(apart))))


def test_a_code_that_is_too_large_is_damaged(tool):
    log = f"{log_of('file')}E VORN 1 1 Database.cpp: Upsert(9) > Upsert FAILED[99999999999]: no\n"
    (operation,) = json.loads(explain(tool, log.encode(), "--format=json"))["operations"]
    assert (operation["code"], operation["text"]) == (None, "")


def test_a_log_of_the_tool_itself(contacts):
    log = contacts.start("-v", "-f", "app.db", "select", "contact").stderr
    assert "Select on " in explain(contacts, log)


@pytest.mark.parametrize(
    "log",
    [
        b"",
        b"\n",
        b"\0" * 5000,
        b"\xff" * 5000,
        b"I PLAYER 4711 4711 Main.cpp: Run(12) > started\n",
        b"Database.cpp: OpenDB(208",
        b"Database.cpp: OpenDB() > DB file: . app.db\n",
    ],
)
def test_a_log_without_the_librarys_lines_is_refused(tool, log):
    (tool.folder / "captured.log").write_bytes(log)
    ended = tool.start("explain-log", "captured.log")
    assert (ended.returncode, ended.stdout) == (FAILED, b"")
    assert ended.stderr.decode() == f"vorndb: captured.log {NO_LINE}\n"


@pytest.mark.parametrize("path", ["none.log", "."])
def test_a_file_that_cannot_be_read_is_refused(tool, path):
    ended = tool.start("explain-log", path)
    assert (ended.returncode, ended.stdout) == (FAILED, b"")
    assert ended.stderr.decode() == f"vorndb: cannot read {path}\n"


@pytest.mark.parametrize("kind", ["marks", "digits", "record"])
def test_a_line_of_ten_million_bytes(tool, kind):
    line = b"E VORN 1 1 Database.cpp: OpenDB(208) > DB file: . app.db"
    endless = {
        "marks": b") > " * 2500000,
        "digits": b"1" * 10000000,
        "record": line + b"x" * 10**7,
    }
    text = explain(tool, endless[kind] + b"\n" + line + b"\n")
    assert "an operation on ./app.db [1 1]" in text
    assert len(text) < 10**6


def test_mutated_logs(tool):
    seed = int(os.environ.get("VORN_TEST_SEED") or random.SystemRandom().randrange(2**32))
    print(f"VORN_TEST_SEED={seed}")
    chance = random.Random(seed)
    logs = [kept(name) for name in KEPT]
    for _ in range(40):
        log = b"".join(mutated(chance, chance.choice(logs)) for _ in range(100))
        text = explain(tool, log)
        assert [c for c in text if c < " " and c != "\n" or c == "\x7f"] == []


def mutated(chance, log):
    """A part of the log with some of its bytes changed."""
    begin = chance.randrange(len(log))
    part = bytearray(log[begin : begin + chance.randrange(2000)])
    for _ in range(chance.randrange(20)):
        place = chance.randrange(len(part) + 1)
        change = chance.randrange(4)
        if change == 0:
            part[place:place] = chance.choice([b"\n", b"\r\n", b'"', b"> ", b"%s", b"\0", b"\xff"])
        elif change == 1:
            del part[place : place + chance.randrange(60)]
        elif change == 2:
            part[place : place + 1] = bytes([chance.randrange(256)])
        else:
            other = chance.randrange(len(part) + 1)
            part[place:place] = part[other : other + chance.randrange(200)]
    return bytes(part)
