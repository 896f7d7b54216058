"""Operations that fail: status 1, in plain words, with SQLite's code."""

import os
import subprocess
import time

import pytest
from conftest import DONE, FAILED, PROGRAM


@pytest.mark.parametrize(
    "arguments",
    [
        *("select t", "join l.a r.b", "exists t", "drop t -y", "upsert t a=1", "delete t --all"),
        *("update t a=1 --where b=2", "export t x.csv", "import t rows.csv"),
    ],
)
def test_a_missing_file_is_not_made(tool, arguments):
    rows = tool.folder / "rows.csv"
    rows.write_text("a\n1\n")
    tool.fails("the file app.db does not exist", *arguments.split())
    assert tool.files() == ["rows.csv"]


@pytest.mark.parametrize(
    "message, arguments",
    [
        *(
            (
                "the table nosuch does not exist in app.db; its tables: contact, t (SQLite 1)",
                arguments,
            )
            for arguments in (
                *("select nosuch", "upsert nosuch a=1", "update nosuch a=1 --where b=2"),
                *("delete nosuch --all", "join contact.uid nosuch.uid", "drop nosuch -y"),
                "join nosuch.uid contact.uid",
            )
        ),
        ("SQLite refuses it: no such column: x (SQLite 1)", "select contact --where x=1"),
        *(
            (f"SQLite refuses it: {problem}; did you mean name? (SQLite 1)", arguments)
            for problem, arguments in (
                ("no such column: nam", "select contact --where nam=1"),
                ("no such column: contact.nam", "join contact.nam t.a"),
                ("table contact has no column named nme", "upsert contact nme=1"),
            )
        ),
        ("the result has no column Age; did you mean age?", "select contact --order Age"),
        ("the result has no column x", "select contact --columns uid,x"),
        *(
            ("the table x does not exist in app.db; its tables: contact, t", arguments)
            for arguments in ("columns x", "schema x")
        ),
        (
            "SQLite refuses it: table contact has no column named x (SQLite 1)",
            "upsert contact x=1",
        ),
        ('SQLite refuses it: near "order": syntax error (SQLite 1)', "select order"),
        (
            "the table does not allow it: NOT NULL constraint failed: t.a (SQLite 19)",
            "upsert t b=1",
        ),
        ("SQLite refuses it: use DROP VIEW to delete view v (SQLite 1)", "drop v -y"),
    ],
)
def test_a_statement_that_is_refused(contacts, message, arguments):
    contacts.sql("CREATE TABLE t (a TEXT NOT NULL, b); CREATE VIEW v AS SELECT * FROM contact")
    contacts.fails(message, *arguments.split())


def test_a_view_is_no_table(contacts):
    contacts.sql("CREATE VIEW v AS SELECT * FROM contact")
    assert contacts.done("select", "v", "--format", "csv").count("\n") == 3
    assert contacts.run("exists", "v", status=FAILED) == ("", "")


def test_a_file_that_is_none(tool):
    tool.database.mkdir()
    tool.fails("app.db is a folder (SQLite 14)", "select", "t")
    ended = tool.start("-f", "none/app.db", "create", "t", "a:TEXT")
    assert ended.returncode == FAILED
    assert ended.stderr == b"vorndb: the folder none/ does not exist (SQLite 14)\n"


def test_a_foreign_file(tool):
    tool.database.write_text("no database\n" * 100)
    before = tool.database.read_bytes()
    tool.fails("app.db is not a database (SQLite 26)", "select", "t")
    tool.fails("app.db is not a database (SQLite 26)", "create", "t", "a:TEXT")
    assert tool.database.read_bytes() == before


def test_a_file_that_may_not_be_written(contacts):
    contacts.database.chmod(0o444)
    contacts.folder.chmod(0o555)
    # Root may write any file, unless it gives up that capability.
    prefix = ["setpriv", "--bounding-set=-dac_override"] if os.geteuid() == 0 else []
    contacts.fails(
        "app.db cannot be written (SQLite 8)", "upsert", "contact", "uid=9", prefix=prefix
    )
    assert contacts.done("exists", "contact", prefix=prefix) == ""
    contacts.folder.chmod(0o755)


def test_a_busy_file(contacts):
    message = (
        "app.db is busy: another program kept it locked for longer than the library waits"
        " (SQLite 5)"
    )
    with subprocess.Popen(
        ["sqlite3", "-batch", "-init", "/dev/null", contacts.database],
        stdin=subprocess.PIPE,
        stdout=subprocess.PIPE,
    ) as holder:
        holder.stdin.write(b"BEGIN EXCLUSIVE; SELECT 'locked';\n")
        holder.stdin.flush()
        assert holder.stdout.readline() == b"locked\n"
        started = time.monotonic()
        contacts.fails(message, "upsert", "contact", "uid=9")
        # 15 waits of 100 ms.
        assert time.monotonic() - started >= 1.5
        contacts.fails(message, "select", "contact")
        holder.communicate(b"ROLLBACK;\n")
    contacts.done("upsert", "contact", "uid=9")


def test_a_query_that_breaks_off_is_told(tool):
    # What stepping meets is not in the library's result.
    tool.sql("CREATE TABLE t (a, b); INSERT INTO t VALUES (1, 2), (-9223372036854775808, 3)")
    tool.sql("CREATE VIEW v AS SELECT a, abs(a) AS b FROM t")
    assert tool.run("select", "v", "--format", "csv", status=FAILED) == (
        "a,b\n1,1\n",
        "vorndb: the result from app.db is not complete; reading stopped with: SQL logic error\n",
    )
    tool.run("export", "v", "x.csv", status=FAILED)
    assert tool.files() == ["app.db"]


def fill(tool, rows):
    """A table of two columns with that many rows."""
    tool.sql(
        "CREATE TABLE t (a, b); WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n"
        f" WHERE i < {rows}) INSERT INTO t SELECT i, hex(randomblob(20)) FROM n"
    )


def test_a_damaged_file(tool):
    fill(tool, 2000)
    content = bytearray(tool.database.read_bytes())
    content[8192:] = b"\xff" * (len(content) - 8192)
    tool.database.write_bytes(content)
    _, errors = tool.run("select", "t", status=FAILED)
    assert "the result from app.db is not complete; reading stopped with:" in errors
    tool.fails(
        "app.db is damaged: database disk image is malformed (SQLite 11)", "delete", "t", "--all"
    )


@pytest.mark.parametrize("arguments", ["select contact", "-n select contact", "-v exists none"])
def test_output_that_cannot_be_written(contacts, arguments):
    with open("/dev/full", "w", encoding="utf-8") as full:
        _, errors = contacts.run(*arguments.split(), status=FAILED, stdout=full)
    assert errors.endswith("vorndb: cannot write to standard output\n")


def test_a_reader_that_leaves(tool):
    fill(tool, 20000)
    with subprocess.Popen(
        PROGRAM + ["-f", "app.db", "select", "t"],
        cwd=tool.folder,
        env=tool.environment,
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
    ) as process:
        process.stdout.readline()
        process.stdout.close()
        assert process.stderr.read() == b""
        assert process.wait() != DONE
