"""Runs the example timezone_picker; its output is compared with a text, its file with SQLite's."""

import contextlib
import os
import pathlib
import resource
import sqlite3
import subprocess

import pytest

PROGRAM = os.environ.get("VORN_EMULATOR", "").split() + [os.environ["TIMEZONE_PICKER"]]
SYSTEM = pathlib.Path("/usr/share/zoneinfo")
TOUR = pathlib.Path(__file__).with_name("timezone_picker.txt")
COUNTRIES = "#code\tname\nBV\tBouvet Island\nCI\tCôte d'Ivoire\nCW\tCuraçao\n"
ZONES = """#code\tcoordinates\tname
CI\t-054912-0040159\tÉté/Île
CW\t+121159-0685959\tCuraçao
CI\t+9000+18000\tAbidjan
CI\t+000000-0000001\tZürich\tl'eau, "là"
CI\t-0959+00958\tLong_Name/Of_A_Zone
"""
COORDINATES = "'{}' are not coordinates such as +3843-00908 or +404251-0740023"


@pytest.fixture(name="small", autouse=True)
def fixture_small(tmp_path, monkeypatch):
    """The working directory, with small source files in ./small and an empty ./data."""
    monkeypatch.chdir(tmp_path)
    (tmp_path / "small").mkdir()
    (tmp_path / "data").mkdir()
    (tmp_path / "small/iso3166.tab").write_text(COUNTRIES, encoding="utf-8")
    (tmp_path / "small/zone.tab").write_text(ZONES, encoding="utf-8")
    return tmp_path / "small"


def run(*arguments, priority="S", leaks="1", **options):
    environment = {**os.environ, "VORN_DLOG_PRIORITY": priority}
    environment["ASAN_OPTIONS"] = f"detect_leaks={leaks}"
    options = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, "env": environment, **options}
    return subprocess.run([*PROGRAM, *arguments], check=False, **options)


def expect_failure(text, *arguments, **options):
    # A failed open leaves SQLite's handle allocated (Database.h).
    done = run(*arguments, leaks="0", **options)
    assert (done.returncode, done.stderr.decode()) == (1, f"timezone_picker: {text}\n")


def query(sql):
    with contextlib.closing(sqlite3.connect("data/timezones.db")) as database:
        return database.execute(sql).fetchall()


def rows_of(file):
    lines = (SYSTEM / file).read_text(encoding="utf-8").splitlines()
    return [line.split("\t") for line in lines if not line.startswith("#")]


@pytest.mark.parametrize("priority", ["S", "V"])
def test_tour(priority):
    """The log does not reach the output, a second run drops what the first has left."""
    assert run("--keep", "CI", "data", "small").returncode == 0
    kept = query("SELECT * FROM zone")
    assert run("--keep", "CI", "data", "small").returncode == 0
    assert query("SELECT * FROM zone") == kept and len(kept) == 5
    done = run("ci", "data", "small", priority=priority)
    assert (done.returncode, done.stderr == b"") == (0, priority == "S")
    assert done.stdout.decode() == TOUR.read_text(encoding="utf-8")
    assert query("SELECT name FROM sqlite_master") == []
    assert query("PRAGMA integrity_check") == [("ok",)]


def test_system_files():
    assert run("--keep", "PT", "data").returncode == 0
    assert query("SELECT country_code, country_name FROM country ORDER BY rowid") == [
        tuple(row) for row in rows_of("iso3166.tab")
    ]
    zones = query(
        "SELECT zone_country, zone_name, zone_comment, typeof(zone_rank), typeof(zone_latitude),"
        " typeof(zone_longitude) FROM zone ORDER BY rowid"
    )
    assert zones == [
        (row[0], row[2], row[3] if len(row) > 3 else None, "integer", "real", "real")
        for row in rows_of("zone.tab")
    ]


@pytest.mark.parametrize("arguments", ["", "--keep", "PT . . .", "--drop PT .", "PRT .", "P' ."])
def test_wrong_use(arguments):
    usage = run("--help").stdout
    done = run(*arguments.split())
    assert (done.returncode, done.stdout) == (2, b"")
    assert done.stderr.startswith(b"timezone_picker: ") and done.stderr.endswith(usage)


@pytest.mark.parametrize(
    "file, line, text",
    [
        ("iso3166.tab", "CI", "the number of fields is 1, not 2"),
        ("iso3166.tab", "ci\tName", "'ci' is not a country code"),
        ("iso3166.tab", "CI\tName\r", "the line has a control character"),
        ("zone.tab", "CI\t+0000+00000\t\tcomment", "the name is empty"),
        ("zone.tab", "CI\t+0060+00000\tName", COORDINATES.format("+0060+00000")),
        ("zone.tab", "CI\t+0000-18001\tName", COORDINATES.format("+0000-18001")),
    ],
)
def test_malformed_line(small, file, line, text):
    lines = (small / file).read_text(encoding="utf-8").split("\n")
    (small / file).write_text("\n".join([*lines[:2], line, *lines[3:]]), "utf-8", newline="\n")
    expect_failure(f"small/{file}:3: {text}", "CI", "data", "small")


def test_unfit_sources(small):
    expect_failure("unknown country PT", "PT", "data", "small")
    expect_failure("cannot read none/iso3166.tab", "CI", "data", "none")
    # Two rows with one key are one row of the table.
    (small / "zone.tab").write_text(ZONES + "CW\t+0000+00000\tAbidjan\n", encoding="utf-8")
    expect_failure("rows of table zone: 6 expected, 5 found", "CI", "data", "small")


OPEN = "cannot look for table country in {}/timezones.db: result {}"


def test_unfit_database_file(tmp_path):
    expect_failure(OPEN.format("none", "14 (the file cannot be opened)"), "CI", "none", "small")
    with contextlib.closing(sqlite3.connect("data/timezones.db")) as database:
        database.execute("BEGIN EXCLUSIVE")
        expect_failure(OPEN.format("data", "5 (the file is busy)"), "CI", "data", "small")
    (tmp_path / "data/timezones.db").write_bytes(b"no database\n" * 100)
    expect_failure(OPEN.format("data", "26 (the file is not a database)"), "CI", "data", "small")


def test_write_failures():
    limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (24 * 1024, 24 * 1024))
    done = run("CI", "data", preexec_fn=limit, restore_signals=False)
    assert done.returncode == 1 and b"in data/timezones.db: result 1" in done.stderr
    with open("/dev/full", "wb") as full:
        expect_failure("cannot write to standard output", "CI", "data", "small", stdout=full)
