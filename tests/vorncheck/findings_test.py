"""Every finding, from the application that makes each mistake."""

import re

import pytest
from checked import EMULATOR, FOUND, SOURCE

LINES = (SOURCE / "tests/vorncheck/Mistakes.cpp").read_text().splitlines()
WRITE, QUERY = "return Database().Upsert(request)", "return Database().Select(request, cursor)"

# The mistake, its findings, a part of the first one's sentence, and the line at which each of
# its stacks begins.
MISTAKES = [
    ("ChangedName", ["dangling-name"], '"id" is "no" now', [WRITE, 'SetData(name, "1")']),
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
        ["CreateTable(", "SetPrimaryKey(", "SetColumnKey("],
    ),
    (
        "IgnoredValue",
        ["ignored-value"],
        'first value, "Kim"; ignored is "Miles"',
        ['"Miles")', '"Kim")'],
    ),
    ("IgnoredCondition", ["ignored-value"], '"1"; ignored is "2.5"', ["2.5)", "1)"]),
    ("QuoteInValue", ["unescaped-quote"], '"Miles O\'Brien"', [WRITE, "O'Brien\")"]),
    (
        "QuoteInName",
        ["unescaped-quote"],
        'table name "con\'tact"',
        ["Select(request, cursor)", "SetTable("],
    ),
    ("QuoteInPath", ["unescaped-quote"], 'path part "kim\'s.db"', ["CheckExistTable(", "SetPath("]),
    ("QuoteInCheckedTable", ["unescaped-quote"], '"con\'tact"', ["CheckExistTable("]),
    ("OddName", ["odd-identifier"], '"my contacts" is no plain identifier', [QUERY, "SetTable("]),
    ("ReservedName", ["odd-identifier"], '"order" is a reserved word', [QUERY, "SetTable("]),
    ("BalancedQuotes", ["odd-identifier"], "pragma_table_info", [QUERY, "SetTable("]),
    ("QuotedCheckedTable", ["odd-identifier"], "compared as a text", ["CheckExistTable("]),
    ("LostDigits", ["lost-digits"], "3.14159 for the double 3.14159265", ["3.14159265"]),
    ("LostCondition", ["lost-digits"], "0.3 for the double 0.30000000000000004", ["0.1 + 0.2"]),
    ("Infinity", ["lost-digits"], "inf for the double inf", ["infinity()"]),
    ("NextDescriptor", ["lost-digits"], "3.14159", ["3.14159265"]),
    ("SmallThread", ["lost-digits"], "3.14159", ["3.14159265"]),
    ("CancelledThread", ["lost-digits"], "3.14159", ["3.14159265"]),
    ("DeleteOfAllRows", ["unconditional-delete"], "deletes all rows", ["Delete(request)"]),
    ("UpdateOfAllRows", ["cut-update"], "so SQLite refuses it", ["Update(request)"]),
    ("CutUpdate", ["cut-update"], 'is cut at the last " AND"', ["Update(request)"]),
    ("RepeatedPath", ["leaked-setter"], 'file name was "one.db"', ["other.db", "one.db"]),
    ("RepeatedTable", ["leaked-setter"], 'table was "one"', ["other", "one"]),
    ("RepeatedKey", ["leaked-setter"], 'primary key was "one"', ["other", "one"]),
    ("RepeatedJoin", ["leaked-setter"], 'left table was "one"', ["other", "one"]),
    ("FailedOpen", ["leaked-handle"], '"/nonexistent/app.db", and 1 of', ["Select("]),
    ("FailedStep", ["truncated-result"], "after 2 rows: SQL logic error", [QUERY]),
    (
        "BusyStep",
        ["truncated-result", "busy-wait"],
        "after 0 rows: database is locked",
        [QUERY],
    ),
    ("HiddenRows", ["hidden-rows"], "only the first of 2 rows", [QUERY]),
    ("SharedColumn", ["shared-column"], 'named "id"', ["JoinSelect("]),
    ("ReadPart", ["narrowed-read"], 'read 42 from the cell "42abc"', ["(cursor.*read)"]),
    ("ReadHalf", ["narrowed-read"], 'read 3 from the cell "3.5"', ["(cursor.*read)"]),
    ("ReadNull", ["narrowed-read"], 'NULL of the column "none"', ["(cursor.*read)"]),
    ("ReadBlob", ["narrowed-read"], 'blob of the column "blob"', ["(cursor.*read)"]),
    ("ReadLargeInt", ["narrowed-read"], "64-bit number 9007199254740993", ["(cursor.*read)"]),
    ("ReadLargeDouble", ["narrowed-read"], "64-bit number 9007199254740993", ["(cursor.*read)"]),
    ("UnknownColumn", ["unread-failure"], 'no column "ID"', ['GetString("ID"']),
    ("ReadOffRow", ["unread-failure"], "on no row, at the position -1", ["GetInt("]),
    ("BusyFile", ["busy-wait"], "locked by process", [WRITE]),
    ("ChangeWhileRun", ["concurrent-change"], "BaseSet::SetData", ["SetData(", WRITE]),
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


def test_every_finding_is_tested(make):
    run = make("None", "--only=none")
    known = re.search("there are:(.*)", run.text)[1].split()
    tested = {identifier for _, identifiers, _, _ in MISTAKES for identifier in identifiers}
    assert sorted(known) == sorted(tested | {"main-thread"})


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
    [("None", 7, "2 rows\n"), ("ExactNumbers", 2, ""), ("ManyObjects", 0, "")],
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


def test_the_lock_holder_is_another_process(make):
    run = make("BusyFile")
    holder = re.search(r"locked by process (\d+) \(", run.findings[0]["sentence"])
    assert int(holder[1]) != run.findings[0]["process"]


def test_an_operation_on_the_main_thread_is_found_on_demand(make):
    run = make("BusyStep", "--main-thread=1000", "--only=main-thread")
    assert run.identifiers() == ["main-thread"]
    assert make("BusyStep", "--main-thread=3600000", "--only=main-thread").findings == []
