"""The tool with a library that is loaded before its own."""

import os
import re
import signal

import pytest

from conftest import FAILED, environment


@pytest.fixture
def busy_step(tool):
    """The file becomes busy between a query's preparation and its rows. The library's result
    is 0 then, and no row is there."""
    tool.environment = environment(LD_PRELOAD=os.environ["BUSY_STEP"])


@pytest.fixture
def protected(tool):
    """Every record of the library is converted: SQLite's texts are hidden from the tool, too."""
    tool.environment = environment(LD_PRELOAD=os.environ["PROTECT_LOG"])


@pytest.mark.usefixtures("busy_step")
@pytest.mark.parametrize(
    "arguments", ["select contact --format csv", "export contact x.csv", "exists contact"]
)
def test_a_query_without_its_rows_fails(contacts, arguments):
    message = "the result from app.db is not complete; the file stayed busy"
    contacts.fails(message, *arguments.split())
    assert contacts.files() == ["app.db"]


@pytest.mark.usefixtures("busy_step")
def test_a_table_that_cannot_be_looked_for_is_not_called_missing(tool):
    assert tool.done("create", "t", "a:TEXT", "b:TEXT") == ""
    assert tool.sql(".tables") == "t\n"


@pytest.mark.usefixtures("protected")
def test_the_log_is_protected(contacts):
    _, errors = contacts.run("-v", "exists", "contact")
    assert "Database.cpp: OpenDB(" in errors
    assert "DB file" not in errors


@pytest.mark.usefixtures("protected")
def test_success_needs_no_log(contacts):
    contacts.done("upsert", "contact", "uid=9", "name=O'Brien", "age=1")
    rows = contacts.done("select", "contact", "--where", "uid=9", "--format", "csv")
    assert rows == "uid,name,age\n9,O'Brien,1\n"


@pytest.mark.usefixtures("protected")
@pytest.mark.parametrize(
    "message, arguments",
    [
        (
            "the table nosuch does not exist in app.db; its tables: contact, t (SQLite 1)",
            "select nosuch",
        ),
        ("SQLite refuses it: SQL logic error (SQLite 1)", "select contact --where x=1"),
        ("the table does not allow it: constraint failed (SQLite 19)", "upsert t b=1"),
    ],
)
def test_failures_are_told_from_their_codes(contacts, message, arguments):
    contacts.sql("CREATE TABLE t (a TEXT NOT NULL, b)")
    contacts.fails(message, *arguments.split())


@pytest.mark.usefixtures("protected")
def test_a_query_that_breaks_off_may_be_complete_or_not(tool):
    tool.sql("CREATE TABLE t (a, b); INSERT INTO t VALUES (1, 2), (-9223372036854775808, 3)")
    tool.sql("CREATE VIEW v AS SELECT a, abs(a) AS b FROM t")
    output, errors = tool.run("select", "v", "--format", "csv")
    assert output == "a,b\n1,1\n"
    assert "warning: Unreadable records of the log: 1." in errors
    _, errors = tool.run("export", "v", "x.csv", status=FAILED)
    assert "nothing is exported: Unreadable records of the log: 1." in errors
    assert not (tool.folder / "x.csv").exists()


def import_with_syncs(tool, *options, status=0, rows="1,x\n2,y\n3,z\n", **variables):
    """The lines of the log of a successful upsert, and of syncs, in their order."""
    tool.sql("CREATE TABLE t (a, b)")
    (tool.folder / "rows.csv").write_text("a,b\n" + rows)
    tool.environment = environment(LD_PRELOAD=os.environ["SHOW_SYNC"], **variables)
    _, errors = tool.run("-v", "import", "t", "rows.csv", *options, status=status)
    wanted = ("sync", "Upsert SUCCESS[0]", "vorndb: ")
    return [line for line in errors.splitlines() if any(part in line for part in wanted)]


def test_without_syncs_only_the_end_has_some(tool):
    lines = import_with_syncs(tool, "--no-sync")
    assert len(lines) > 3
    assert [line == "sync" for line in lines] == [False] * 3 + [True] * (len(lines) - 3)
    assert tool.sql("SELECT count(*) FROM t") == "3\n"


def test_every_row_has_its_syncs(tool):
    lines = import_with_syncs(tool)
    rows = [index for index, line in enumerate(lines) if line != "sync"]
    assert len(rows) == 3
    assert all(lines[row - 1] == "sync" for row in rows)


def test_a_sync_that_fails_at_the_end(tool):
    lines = import_with_syncs(tool, "--no-sync", status=FAILED, FAIL_SYNC="1")
    assert lines[-1] == "vorndb: cannot sync app.db"


def test_a_sync_that_fails_after_another_failure(tool):
    lines = import_with_syncs(tool, "--no-sync", status=FAILED, FAIL_SYNC="1", rows="1,x\n2\n")
    assert lines[-1].startswith("vorndb: rows.csv, line 3: it has 1 fields")
    assert lines[-1].endswith("; go on with --from-line 3; cannot sync app.db")


def test_a_signal_in_the_last_sync_leaves_the_message(tool):
    tool.sql("CREATE TABLE t (a, b)")
    tool.environment = environment(LD_PRELOAD=os.environ["SHOW_SYNC"], INTERRUPT_SYNC="1")
    ended = tool.start("app.db", "import", "t", "-", "--no-sync", input=b"a,b\n1,x\n2\n")
    assert ended.returncode in (-signal.SIGINT, FAILED)
    message = rb"vorndb: .*it has 1 fields.*; rows written to t: 1; go on with --from-line 3\n"
    assert re.search(message, ended.stderr)


def test_a_signal_in_a_write_is_heeded_after_it(tool):
    lines = import_with_syncs(tool, status=-signal.SIGINT, INTERRUPT_SYNC="1", rows="1,x\n" * 99)
    assert len([line for line in lines if "SUCCESS" in line]) == 1
    assert lines[-1].endswith("rows written to t: 1; go on with --from-line 3")
    assert tool.sql("SELECT count(*) FROM t") == "1\n"
