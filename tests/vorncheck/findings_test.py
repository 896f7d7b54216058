"""Variants of the findings, from the application that makes each mistake."""

import os
import re
import sqlite3

import pytest
from checked import EMULATOR, EXAMPLES, FOUND, SOURCE

LINES = (SOURCE / "tests/vorncheck/Mistakes.cpp").read_text().splitlines()
WRITE, QUERY = "return Database().Upsert(request)", "return Database().Select(request, cursor)"

# The mistake, its findings, a part of the first one's sentence, and the line at which each of
# its stacks begins.
MISTAKES = [
    ("FreedName", ["dangling-name"], "a_name_that_is_kept", [WRITE, "on_the_heap"]),
    ("ChangedNameOfKey", ["dangling-name"], '"id"', ["CreateTable(", 'SetColumnKey(name, "TEXT")']),
    (
        "DuplicateName",
        ["duplicate-name"],
        " twice",
        [WRITE, "request.SetData(", "request.SetData("],
    ),
    (
        "DuplicateKey",
        ["duplicate-name"],
        '"id" twice',
        ["CreateTable(", "SetColumnKey(", "SetPrimaryKey("],
    ),
    ("IgnoredCondition", ["ignored-value"], '"1"; ignored is "2.5"', ["2.5)", "1)"]),
    (
        "QuoteInName",
        ["unescaped-quote"],
        'table name "con\'tact"',
        ["Select(request, cursor)", "SetTable("],
    ),
    ("QuoteInPath", ["unescaped-quote"], 'file name "kim\'s.db"', ["CheckExistTable(", "SetPath("]),
    ("QuoteInCheckedTable", ["unescaped-quote"], '"con\'tact"', ["CheckExistTable("]),
    ("OddName", ["odd-identifier"], '"my contacts" is no plain identifier', [QUERY, "SetTable("]),
    ("BalancedQuotes", ["odd-identifier"], "pragma_table_info", [QUERY, "SetTable("]),
    ("QuotedCheckedTable", ["odd-identifier"], "compared as a text", ["CheckExistTable("]),
    ("LostCondition", ["lost-digits"], "0.3 for the double 0.30000000000000004", ["0.1 + 0.2"]),
    ("Infinity", ["lost-digits"], "inf for the double inf", ["infinity()"]),
    ("NextDescriptor", ["lost-digits"], "3.14159", ["3.14159265"]),
    ("SmallThread", ["lost-digits"], "3.14159", ["3.14159265"]),
    ("CancelledThread", ["lost-digits"], "3.14159", ["3.14159265"]),
    ("CutUpdate", ["cut-update"], 'is cut at the last " AND"', ["Update(request)"]),
    ("RepeatedPath", ["leaked-setter"], 'file name was "one.db"', ["other.db", "one.db"]),
    ("RepeatedKey", ["leaked-setter"], 'primary key was "one"', ["other", "one"]),
    ("RepeatedJoin", ["leaked-setter"], 'left table name was "one"', ["other", "one"]),
    (
        "BusyStep",
        ["truncated-result", "busy-wait"],
        "after 0 rows: database is locked",
        [QUERY],
    ),
    ("ReadHalf", ["narrowed-read"], 'read 3 from the cell "3.5"', ["(cursor.*read)"]),
    ("ReadNull", ["narrowed-read"], 'NULL of the column "none"', ["(cursor.*read)"]),
    ("ReadBlob", ["narrowed-read"], 'blob of the column "blob"', ["(cursor.*read)"]),
    ("ReadLargeInt", ["narrowed-read"], "64-bit number 9007199254740993", ["(cursor.*read)"]),
    ("ReadLargeDouble", ["narrowed-read"], "64-bit number 9007199254740993", ["(cursor.*read)"]),
    ("ReadOffRow", ["unread-failure"], "on no row, at the position -1", ["GetInt("]),
    (
        "MoveWhileFilled",
        ["concurrent-change"],
        "Cursor::MoveToFirst",
        ["MoveToFirst()", QUERY],
    ),
    (
        "DestroyWhileRun",
        ["concurrent-change"],
        "BasePath::~BasePath",
        ["->~BasePath()", "CheckExistTable("],
    ),
]


def called_at(stack):
    """The line of the source at which a stack begins."""
    frame = stack["frames"][0]
    assert frame["file"].endswith("tests/vorncheck/Mistakes.cpp"), frame
    return LINES[frame["line"] - 1]


@pytest.mark.parametrize("mistake, identifiers, sentence, lines", MISTAKES)
def test_a_mistake_is_found_where_it_was_made(make, mistake, identifiers, sentence, lines):
    run = make(mistake)
    assert run.status == FOUND, run.text
    assert run.identifiers() == identifiers, run.text
    finding = run.findings[0]
    assert sentence in finding["sentence"]
    assert len(finding["stacks"]) == len(lines)
    for stack, line in zip(finding["stacks"], lines):
        assert line in called_at(stack)
        assert stack["frames"][0]["function"]
    for text in (sentence, finding["remedy"], finding["guide"], "Mistakes.cpp:"):
        assert text in run.text


@pytest.mark.parametrize(
    "mistake, begin, rest",
    [
        ("QuoteInValue", "VALUES ('1', 'Miles O", "'Brien')"),
        ("QuoteInName", "SELECT * FROM con", "'tact"),
        ("QuoteInCheckedTable", "NAME='con", "'tact'"),
        ("UpdateOfAllRows", "SET name = 'Kim' WHERE ", ""),
        ("CutUpdate", "UPDATE contact SET name = 'Kim", ""),
    ],
)
def test_the_statement_is_shown_up_to_its_early_end(make, mistake, begin, rest):
    run = make(mistake)
    excerpt, mark = run.findings[0]["excerpt"], run.findings[0]["mark"]
    assert excerpt[:mark].endswith(begin)
    assert excerpt[mark:] == rest
    assert f"\n  {excerpt}\n  {' ' * mark}^\n" in run.text


def test_a_report_fits_into_a_single_write_to_a_pipe(make):
    run = make("DeepStack")
    assert [len(stack["frames"]) for stack in run.findings[0]["stacks"]] == [16, 16]
    report = run.text.partition("operations:")[0]
    assert report.count("    #") < 32
    assert 3500 < len(report) < 4096 + len("vorncheck[1234567]: ")


@pytest.mark.skipif(bool(EMULATOR), reason="the emulator ends with the application")
def test_a_name_whose_memory_has_gone_is_found_before_the_application_ends(make):
    run = make("UnmappedName")
    assert run.status < 0
    assert run.identifiers() == ["dangling-name"]
    assert "is no longer in memory" in run.text


@pytest.mark.parametrize(
    "correct, operations, output",
    [
        ("None", 7, "2 rows\n"),
        ("ExactNumbers", 2, ""),
        ("RefusedKey", 1, ""),
        ("ManyObjects", 0, ""),
    ],
)
def test_a_correct_application_has_no_finding(make, correct, operations, output):
    run = make(correct)
    assert (run.status, run.output, run.findings) == (0, output, []), run.text
    if operations:
        assert run.summary["operations"] == operations
        assert f"operations: {operations}, findings: 0" in run.text


def test_the_time_that_is_waited_is_in_the_summary(make):
    run = make("BusyStep")
    waited = run.summary["waited"]
    assert waited >= 15 * 0.1
    assert f"waited {waited:.3f} s" in run.findings[1]["sentence"]


def test_a_forked_child_has_findings_and_a_summary_of_its_own(make):
    run = make("InChild")
    assert (run.status, run.output) == (0, f"status of the child {FOUND}\n")
    assert run.identifiers() == ["lost-digits"]
    assert run.text.count("operations:") == 1


@pytest.mark.parametrize("journal", ["delete", "wal"])
def test_the_lock_holder_is_the_writer(check, tmp_path, journal):
    database = sqlite3.connect(tmp_path / "contacts.db", isolation_level=None)
    database.execute(f"PRAGMA journal_mode = {journal}")
    if journal == "wal":
        # This process reads meanwhile.
        database.executescript("BEGIN; SELECT * FROM sqlite_master")
    run = check([EXAMPLES["busy-wait"][1]])
    holder = re.search(r"; locked by process (\d+) \([^,]*\)$", run.findings[0]["sentence"])
    assert int(holder[1]) not in (run.findings[0]["process"], os.getpid())


def test_an_operation_on_the_main_thread_is_found_on_demand(check):
    assert check([EXAMPLES["main-thread"][1]], "--main-thread=3600000").findings == []


def test_mistakes_in_combination(make):
    run = make("Several")
    process = run.summary["process"]
    found = [(found["process"] == process, found["finding"]) for found in run.findings]
    assert sorted(found) == [
        (False, "lost-digits"),
        (True, "concurrent-change"),
        (True, "ignored-value"),
        (True, "lost-digits"),
        (True, "lost-digits"),
        (True, "unescaped-quote"),
        (True, "unread-failure"),
    ]
