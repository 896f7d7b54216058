"""Tables, columns, statements and counts of a file, and parts of a result."""

import pytest
from conftest import FAILED, environment


@pytest.fixture
def people(tool):
    """The tool on a table whose rows are in no order, a second table and a view."""
    tool.sql(
        "CREATE TABLE person (id INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT, code TEXT, rank);"
        "INSERT INTO person VALUES (1, 'Kim', '10', 9), (2, 'Lee', '9', 10), (3, NULL, '', 'x'),"
        "(4, 'Ann', '1', NULL), (5, 'Ann', '2', -0.5);"
        "CREATE TABLE a_note (a, b); CREATE INDEX by_name ON person (name);"
        "CREATE VIEW v AS SELECT * FROM person"
    )
    return tool


def test_tables(people):
    assert people.done("tables") == "a_note\nperson\n"
    people.sql("DROP TABLE a_note; DROP TABLE person")
    assert people.done("tables") == ""


def test_columns(people):
    assert people.done("columns", "person", "--csv") == (
        "name,type,notnull,dflt_value,pk\n"
        "id,INTEGER,0,,1\nname,TEXT,0,,0\ncode,TEXT,0,,0\nrank,,0,,0\n"
    )
    assert people.done("columns", "v", "--csv").count("\n") == 5


@pytest.mark.parametrize("table", ["", "person", "a_note", "v"])
def test_the_schema_makes_the_tables_again(people, table):
    statements = people.done("schema", *table.split())
    names = people.sql(f"SELECT name FROM sqlite_master WHERE tbl_name LIKE '{table or '%'}'")
    people.database.unlink()
    people.sql(statements)
    made = people.sql("SELECT name FROM sqlite_master WHERE name NOT LIKE 'sqlite_%'")
    assert made.split() == [name for name in names.split() if not name.startswith("sqlite_")]


def test_count(people):
    assert people.done("count", "person") == "5\n"
    assert people.done("count", "person", "--where", "name=Ann") == "2\n"
    assert people.done("count", "person", "--where", "name=") == "0\n"
    assert people.done("count", "a_note") == "0\n"
    people.sql("CREATE TABLE one (a); INSERT INTO one VALUES (1), (2)")
    message = "the rows of one cannot be counted: a cursor counts one row of a single column"
    people.fails(message, "count", "one")


def test_a_change_of_a_single_column_is_not_counted(people):
    people.sql("CREATE TABLE one (a INT); INSERT INTO one VALUES (1), (2)")
    assert people.done("delete", "one", "--where", "a=1") == ""


# A column of numbers is in order by value; empty cells come first.
@pytest.mark.parametrize(
    "order, ids",
    [
        ("id:desc", "54321"),
        ("name", "34512"),
        ("name:desc", "21453"),
        ("code", "34521"),
        ("rank", "45213"),
        ("rank:asc", "45213"),
    ],
)
def test_order(people, order, ids):
    for table in ("person", "v"):
        output = people.done("select", table, "--order", order, "--columns", "id", "--csv")
        assert output.split() == ["id", *ids]


def test_large_numbers_are_in_order(tool):
    tool.sql(
        "CREATE TABLE t (a, b); INSERT INTO t VALUES (9007199254740993, 1), (9007199254740992, 2)"
    )
    assert tool.done("select", "t", "--order", "a", "--columns", "b", "--csv") == "b\n2\n1\n"


@pytest.mark.parametrize(
    "limit, rows", [(0, "id\n"), (2, "id\n5\n4\n"), (9, "id\n5\n4\n3\n2\n1\n")]
)
def test_limit(people, limit, rows):
    chosen = ["--order", "id:desc", "--limit", str(limit), "--columns", "id"]
    assert people.done("select", "person", *chosen, "--csv") == rows
    people.done("export", "person", "x.csv", *chosen)
    assert (people.folder / "x.csv").read_text() == rows


def test_columns_in_another_order(people):
    output = people.done("select", "person", "--where", "id=1", "--columns", "rank,name", "--csv")
    assert output == "rank,name\n9,Kim\n"


def test_no_rows_have_no_columns(people):
    assert people.done("select", "a_note", "--order", "x", "--columns", "y") == "(no rows)\n"


@pytest.mark.parametrize(
    "arguments", ["count t", "tables", "columns t", "schema", "schema t", "select t --order a"]
)
def test_a_missing_file(tool, arguments):
    tool.fails("the file app.db does not exist", *arguments.split())
    assert tool.files() == []


def test_the_file_comes_first_or_from_the_environment(contacts):
    contacts.environment = environment(VORNDB_FILE="other.db")
    for words in (["app.db", "count"], ["-q", "app.db", "count"], ["count", "--file=app.db"]):
        assert contacts.start(*words, "contact").stdout == b"2\n"
    ended = contacts.start("count", "contact")
    assert (ended.returncode, ended.stderr) == (
        FAILED,
        b"vorndb: the file other.db does not exist\n",
    )
    # Commands without a database ignore the variable.
    assert contacts.start("diff", "app.db", "app.db").returncode == 0
    # A file without a dot, and one with the name of a command.
    for name, words in (("data", ["data"]), ("count", ["-f", "count"]), ("select", ["./select"])):
        contacts.database.rename(contacts.folder / name)
        contacts.database = contacts.folder / name
        assert contacts.start(*words, "count", "contact").stdout == b"2\n"
