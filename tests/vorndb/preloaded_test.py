"""The tool with a library that is loaded before its own."""

import os

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
        ("SQLite refuses it: no more is known (SQLite 1)", "select contact --where x=1"),
        ("the table does not allow it: no more is known (SQLite 19)", "upsert t b=1"),
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
    assert "warning: Lines of the log that cannot be read: 1." in errors
    _, errors = tool.run("export", "v", "x.csv", status=FAILED)
    assert "nothing is exported: Lines of the log that cannot be read: 1." in errors
    assert not (tool.folder / "x.csv").exists()
