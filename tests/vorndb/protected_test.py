"""A platform that protects its log hides SQLite's texts from the tool, too."""

import os

import pytest

from conftest import FAILED, environment


@pytest.fixture(autouse=True)
def protected(contacts):
    """Every record of the library is converted."""
    contacts.environment = environment(LD_PRELOAD=os.environ["PROTECT_LOG"])


def test_the_log_is_protected(contacts):
    _, errors = contacts.run("-v", "exists", "contact")
    assert "Database.cpp: OpenDB(" in errors
    assert "DB file" not in errors


def test_success_needs_no_log(contacts):
    contacts.done("upsert", "contact", "uid=9", "name=O'Brien", "age=1")
    rows = contacts.done("select", "contact", "--where", "uid=9", "--format", "csv")
    assert rows == "uid,name,age\n9,O'Brien,1\n"


@pytest.mark.parametrize(
    "message, arguments",
    [
        ("the table nosuch does not exist in app.db (SQLite 1)", "select nosuch"),
        ("SQLite refuses it: no more is known (SQLite 1)", "select contact --where x=1"),
        ("the table does not allow it: no more is known (SQLite 19)", "upsert t b=1"),
    ],
)
def test_failures_are_told_from_their_codes(contacts, message, arguments):
    contacts.sql("CREATE TABLE t (a TEXT NOT NULL, b)")
    contacts.fails(message, *arguments.split())


def test_a_query_that_breaks_off_may_be_complete_or_not(tool):
    tool.sql("CREATE TABLE t (a, b); INSERT INTO t VALUES (1, 2), (-9223372036854775808, 3)")
    tool.sql("CREATE VIEW v AS SELECT a, abs(a) AS b FROM t")
    output, errors = tool.run("select", "v", "--format", "csv")
    assert output == "a,b\n1,1\n"
    assert "warning: Lines of the log that cannot be read: 1." in errors
    _, errors = tool.run("export", "v", "x.csv", status=FAILED)
    assert "nothing is exported: Lines of the log that cannot be read: 1." in errors
    assert not (tool.folder / "x.csv").exists()
