"""Each operation does what it says, as the sqlite3 shell sees it."""

import re
import shlex
import socket

import pytest
from conftest import FAILED, WRONG_USE, environment


@pytest.mark.parametrize(
    "arguments, schema",
    [
        (["name:TEXT", "age:INTEGER"], "_ID INTEGER PRIMARY KEY, name TEXT, age INTEGER"),
        (["name:TEXT", "--key", "uid:TEXT"], "uid TEXT NOT NULL PRIMARY KEY, name TEXT"),
        (
            ["name:TEXT", "--key", "uid:TEXT", "--composite", "device:TEXT"],
            "uid TEXT, device TEXT, name TEXT, PRIMARY KEY(uid, device)",
        ),
        (
            ["a:VARCHAR(20)", "b:DECIMAL(10,2) NOT NULL", "c:D(1, 2)", "d:REAL UNIQUE"],
            "_ID INTEGER PRIMARY KEY, a VARCHAR(20), b DECIMAL(10,2) NOT NULL, c D(1, 2), "
            "d REAL UNIQUE",
        ),
    ],
)
def test_create(tool, arguments, schema):
    tool.done("create", "t", *arguments)
    assert (
        tool.sql("SELECT sql FROM sqlite_master WHERE name = 't'") == f"CREATE TABLE t ({schema})\n"
    )


# For a name that is taken otherwise SQLite does nothing, and calls that a success.
@pytest.mark.parametrize(
    "name, taken", [("contact", "table contact"), ("CONTACT", "table contact"), ("v", "view v")]
)
def test_create_says_that_a_name_is_taken(contacts, name, taken):
    message = f"the {taken} exists in app.db already and is left as it is"
    contacts.sql("CREATE VIEW v AS SELECT * FROM contact")
    before = contacts.sql(".schema")
    assert contacts.run("create", name, "other:TEXT") == ("", f"vorndb: {message}\n")
    assert contacts.sql(".schema") == before


def test_create_warns_of_a_single_column(tool):
    output, errors = tool.run("create", "t", "--key", "uid:TEXT")
    assert output == ""
    assert "warning: the table t has a single column" in errors
    assert tool.sql(".schema") == "CREATE TABLE t (uid TEXT NOT NULL PRIMARY KEY);\n"


def test_the_folder_is_taken_from_the_path(tool):
    data = tool.folder / "data"
    data.mkdir()
    for path in ("data/one.db", "./data/two.db", str(data / "three.db")):
        assert tool.start("-f", path, "create", "t", "a:TEXT").returncode == 0
    assert sorted(file.name for file in data.iterdir()) == ["one.db", "three.db", "two.db"]


@pytest.mark.parametrize("name", [":memory:", "file:x?mode=memory", " ", "a'b"])
def test_no_file_name_has_a_meaning_of_its_own(tool, name):
    ended = tool.start("-f", name, "create", "t", "a:TEXT")
    assert (ended.returncode, ended.stderr) == (0, b"")
    assert (tool.folder / name).is_file()


@pytest.mark.parametrize(
    "value",
    [
        *("O'Brien", "'); DROP TABLE contact; --", "", " ", "a=b", "=", "[a,b]", "{x}", '"quoted"'),
        *(
            "%s%n%d",
            "two\nlines",
            "Zürich ☂ 日本",
            "x' AND",
            "-1",
            "--all",
            "\\n",
            "$HOME",
            "'",
            "''",
        ),
    ],
)
def test_any_value_arrives_as_it_is(contacts, value):
    contacts.done("upsert", "contact", "uid=v", f"name={value}")
    found = contacts.sql("SELECT hex(name) FROM contact WHERE uid = 'v'").strip()
    assert bytes.fromhex(found).decode() == value


def test_columns_are_in_the_order_given(tool):
    # One name is too long to lie within a string.
    names = [f"c{number}" for number in (5, 1, 9, 3, 7, 2, 8, 4)] + ["c" * 50, "c6"]
    pairs = [f"{name}={index}" for index, name in enumerate(names)]
    values = ", ".join(repr(str(index)) for index in range(len(names)))
    assert tool.done("--sql", "upsert", "t", *pairs) == (
        f"INSERT OR REPLACE INTO t ({', '.join(names)}) VALUES ({values});\n"
    )


@pytest.mark.parametrize(
    "arguments, count, rows",
    [
        ("upsert contact uid=9 name=Ann age=44", "", "7|Kim|42\n8|Lee|43\n9|Ann|44\n"),
        ("upsert contact uid=7 age=1", "", "7||1\n8|Lee|43\n"),
        ('update contact "name=O\'Kim" --where uid=7', "1 row", "7|O'Kim|42\n8|Lee|43\n"),
        ("update contact name=N age=1 --where uid=7 age=42", "1 row", "7|N|1\n8|Lee|43\n"),
        (
            "update contact name=N age=1 --where uid=8 --where age=9",
            "0 rows",
            "7|Kim|42\n8|Lee|43\n",
        ),
        ("update contact age=1 --where uid=nobody", "0 rows", "7|Kim|42\n8|Lee|43\n"),
        # Values that would complete a statement, or change it.
        ('update contact "name=x\' AND" --where uid=7', "1 row", "7|x' AND|42\n8|Lee|43\n"),
        ("delete contact --where uid=7", "1 row", "8|Lee|43\n"),
        ("delete contact --where \"uid=' OR '1'='1\"", "0 rows", "7|Kim|42\n8|Lee|43\n"),
    ],
)
def test_write(contacts, arguments, count, rows):
    message = f"{count} met the conditions\n" if count else ""
    assert contacts.done(*shlex.split(arguments)) == message
    assert contacts.sql("SELECT * FROM contact ORDER BY uid") == rows


def test_delete_takes_every_row_only_if_that_is_said(contacts):
    _, errors = contacts.run("delete", "contact", status=WRONG_USE)
    assert "Delete every row of contact in app.db? If so, give --yes" in errors
    assert contacts.sql("SELECT count(*) FROM contact") == "2\n"
    assert contacts.done("delete", "contact", "--all") == "2 rows in the table\n"
    assert contacts.sql("SELECT count(*) FROM contact") == "0\n"


def test_exists(contacts):
    contacts.sql("CREATE TABLE upsert (a, b)")
    assert contacts.run("exists", "contact") == ("", "")
    assert contacts.run("exists", "nosuch", status=FAILED) == ("", "")
    # A name that is a command.
    assert contacts.run("-v", "exists", "upsert")[0] == "yes\n"
    assert contacts.run("-v", "exists", "nosuch", status=FAILED)[0] == "no\n"


def test_a_dropped_table_is_gone(contacts):
    _, errors = contacts.run("drop", "contact", status=WRONG_USE)
    assert "Drop the table contact of app.db? If so, give --yes" in errors
    assert contacts.done("drop", "contact", "--yes") == ""
    assert contacts.sql(".tables") == ""
    message = "the table contact does not exist in app.db, which has no table (SQLite 1)"
    contacts.fails(message, "drop", "contact", "-y")


@pytest.mark.parametrize(
    "arguments, statement",
    [
        ("create t a:TEXT", "CREATE TABLE IF NOT EXISTS t (_ID INTEGER PRIMARY KEY, a TEXT)"),
        ("upsert t a=O'Brien", "INSERT OR REPLACE INTO t (a) VALUES ('O''Brien')"),
        ("update t a=1 --where b=2", "UPDATE t SET a = '1' WHERE b='2'"),
        ("delete t --where b=2", "DELETE  FROM t WHERE b='2'"),
        ("delete t", "DELETE  FROM t"),
        ("select t --where a=1 b=2", "SELECT * FROM t WHERE a='1' AND b='2'"),
        (
            "join l.a r.b --where r.c=1",
            "SELECT  * FROM l INNER JOIN r ON l.a = r.b WHERE r.c='1'",
        ),
        ("exists t", "SELECT COUNT(*) from sqlite_master WHERE TYPE='table' AND NAME='t'"),
        ("drop t", "DROP TABLE t"),
        ("export t x.csv --where a=1", "SELECT * FROM t WHERE a='1'"),
    ],
)
def test_sql_prints_the_statement_and_runs_nothing(tool, arguments, statement):
    words = arguments.split()
    for line in (["--sql", *words], [*words, "-n"], ["app.db", "--dry-run", *words]):
        ended = tool.start(*line)
        assert (ended.returncode, ended.stdout.decode(), ended.stderr) == (
            0,
            statement + ";\n",
            b"",
        )
    assert tool.files() == []


def test_sql_of_an_import_is_a_statement_for_each_row(tool):
    (tool.folder / "t.csv").write_text("a,b\n1,O'Brien\n2,\n")
    assert tool.done("--sql", "import", "t", "t.csv") == (
        "INSERT OR REPLACE INTO t (a, b) VALUES ('1', 'O''Brien');\n"
        "INSERT OR REPLACE INTO t (a, b) VALUES ('2', '');\n"
    )


def test_verbose_has_the_log_on_standard_error(contacts):
    output, errors = contacts.run("-v", "upsert", "contact", "uid=9")
    assert output == ""
    lines = errors.splitlines()
    assert re.search(r"^D VORN \d+ \d+ UpsertRequest\.cpp: UpsertRequest\(\d+\) > ", lines[0])
    for line in (
        r"E VORN \d+ \d+ Database\.cpp: OpenDB\(\d+\) > DB file: \. app\.db",
        r"I VORN \d+ \d+ Database\.cpp: Upsert\(\d+\) > Upsert SUCCESS\[0\]",
    ):
        assert re.search(rf"(?m)^{line}$", errors)
    assert [line for line in lines if " > " not in line] == []


def test_verbose_shows_the_log_and_the_message_of_a_failure(contacts):
    _, errors = contacts.run("select", "nosuch", "--verbose", status=FAILED)
    assert "SELECT FAILED[1]: no such table: nosuch\n" in errors
    last = errors.splitlines()[-1]
    assert (
        last == "vorndb: the table nosuch does not exist in app.db; its tables: contact (SQLite 1)"
    )


def test_what_a_message_holds_does_not_act_on_the_terminal(contacts):
    _, errors = contacts.run("-v", "select", "contact", "--where", "name=\x1b[2J")
    assert "\x1b" not in errors


@pytest.mark.parametrize("priority", "VS")
def test_variables_of_the_platform_do_not_matter(contacts, priority):
    contacts.environment = environment(VORN_DLOG_PRIORITY=priority)
    message = "the table t does not exist in app.db; its tables: contact (SQLite 1)"
    contacts.fails(message, "drop", "t", "-y")
    assert contacts.done("exists", "contact") == ""
    _, errors = contacts.run("-v", "upsert", "contact", "uid=9")
    assert "> Upsert SUCCESS[0]\n" in errors


def test_a_line_is_written_at_once(contacts):
    # So that lines of several processes that share a log do not mix. What is received from
    # such a socket is what one write has sent.
    receiver, sender = socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)
    with receiver:
        with sender:
            contacts.start("-v", "-f", "app.db", "drop", "t", "-y", stderr=sender)
        parts = list(iter(lambda: receiver.recv(65536).decode(), ""))
    assert (
        parts[-1]
        == "vorndb: the table t does not exist in app.db; its tables: contact (SQLite 1)\n"
    )
    assert len(parts) > 5
    assert [part for part in parts if part.count("\n") != 1] == []
