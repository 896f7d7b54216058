"""diff and copy, on two files that the sqlite3 shell has made."""

import shutil
import subprocess

import pytest
from conftest import DONE, FAILED, WRONG_USE

TABLES = (
    "CREATE TABLE contact (uid TEXT NOT NULL PRIMARY KEY, name TEXT, age INTEGER);"
    "CREATE TABLE pair (a INTEGER, b TEXT, c REAL NOT NULL, PRIMARY KEY(a, b));"
    "CREATE TABLE plain (_ID INTEGER PRIMARY KEY, v TEXT);"
    "INSERT INTO contact VALUES ('7', 'O''Brien', 42), ('8', '', 0), ('9', NULL, NULL);"
    "INSERT INTO pair VALUES (1, 'x', 0.5), (1, 'y', 1e300), (2, 'x', -1);"
    "INSERT INTO plain VALUES (3, char(10)), (1, ' '), (7, NULL);"
)


@pytest.fixture
def two(tool):
    """The tool in a folder with app.db and its copy by the system, other.db."""
    tool.sql(TABLES)
    shutil.copy(tool.database, tool.folder / "other.db")
    return tool


def change(tool, statement):
    """Changes other.db."""
    subprocess.run(["sqlite3", tool.folder / "other.db", statement], check=True)


def dump(tool, name):
    """The statements that make the file."""
    return subprocess.run(
        ["sqlite3", tool.folder / name, ".dump"], check=True, capture_output=True
    ).stdout.decode()


def diff(tool, *arguments):
    """Status, output and errors of a comparison."""
    ended = tool.start("diff", *(arguments or ("app.db", "other.db")))
    return ended.returncode, ended.stdout.decode(), ended.stderr.decode()


def test_equal_files_do_not_differ(two):
    assert diff(two) == (DONE, "", "")
    change(two, "VACUUM; REINDEX; CREATE INDEX i ON contact (name)")
    assert diff(two) == (DONE, "", "")


@pytest.mark.parametrize(
    "statement, output",
    [
        (
            "UPDATE contact SET age = 43 WHERE uid = '7'",
            "contact\n- uid='7' name='O''Brien' age='42'\n+ uid='7' name='O''Brien' age='43'\n",
        ),
        (
            "UPDATE contact SET name = '', age = '' WHERE uid = '9'",
            "contact\n- uid='9' name=NULL age=NULL\n+ uid='9' name='' age=''\n",
        ),
        ("DELETE FROM contact WHERE uid = '7'", "contact\n- uid='7' name='O''Brien' age='42'\n"),
        ("INSERT INTO contact VALUES ('x', NULL, 1)", "contact\n+ uid='x' name=NULL age='1'\n"),
        (
            "UPDATE pair SET c = 2 WHERE b = 'y'",
            "pair\n- a='1' b='y' c='1.0e+300'\n+ a='1' b='y' c='2.0'\n",
        ),
        (
            "UPDATE plain SET v = 'x' WHERE v = char(10)",
            "plain\n- _ID='3' v='\\n'\n+ _ID='3' v='x'\n",
        ),
        ("DROP TABLE pair", "pair: only in app.db\n"),
        ("CREATE TABLE more (a, b)", "more: only in other.db\n"),
        (
            "ALTER TABLE contact RENAME COLUMN age TO years; DELETE FROM pair WHERE a = 2",
            "contact\n"
            "- column name='age' type='INTEGER' notnull='0' dflt_value=NULL pk='0'\n"
            "+ column name='years' type='INTEGER' notnull='0' dflt_value=NULL pk='0'\n"
            "pair\n- a='2' b='x' c='-1.0'\n",
        ),
    ],
)
def test_a_difference(two, statement, output):
    change(two, statement)
    assert diff(two) == (FAILED, output, "")


def test_rows_without_a_key_are_compared_as_a_whole(two):
    two.sql("CREATE TABLE n (a, b); INSERT INTO n VALUES (1, ''), (1, NULL), (1, NULL), (2, 'x')")
    change(two, "CREATE TABLE n (b, a); INSERT INTO n VALUES (NULL, 1), ('', 1), ('', 1), ('x', 2)")
    output = "n\n- a='1' b=NULL\n+ a='1' b=''\n"
    assert diff(two, "app.db", "other.db", "n") == (FAILED, output, "")
    assert diff(two, "app.db", "other.db", "contact", "pair") == (DONE, "", "")


@pytest.mark.parametrize(
    "statement, message",
    [
        ("CREATE TABLE blob (a, b); INSERT INTO blob VALUES (1, x'00')", "Cells with binary data"),
        ("CREATE TABLE one (a); INSERT INTO one VALUES (1)", "The result has a single column."),
        ('CREATE TABLE "a b" (a, b)', "'a b' is no plain name for a table"),
    ],
)
def test_a_table_that_cannot_be_compared_is_trouble(two, statement, message):
    two.sql(statement)
    change(two, statement + "; DELETE FROM plain WHERE _ID = 7")
    status, output, errors = diff(two)
    assert (status, output) == (WRONG_USE, "plain\n- _ID='7' v=NULL\n")
    assert message in errors
    assert errors.count("\n") == 1


def test_files_that_cannot_be_compared(two):
    assert diff(two, "app.db", "none.db") == (
        WRONG_USE,
        "",
        "vorndb: the file none.db does not exist\n",
    )
    (two.folder / "x.txt").write_text("no database\n" * 100)
    status, output, errors = diff(two, "app.db", "x.txt")
    assert (status, output) == (WRONG_USE, "")
    assert errors == "vorndb: x.txt is not a database (SQLite 26)\n"


def copy(tool, *arguments, status=DONE):
    """Output and errors of a copy."""
    ended = tool.start("copy", *arguments)
    assert ended.returncode == status, ended.stderr.decode()
    return ended.stdout.decode(), ended.stderr.decode()


COPIED = "3 rows written to contact\n3 rows written to pair\n3 rows written to plain\n"


def test_a_copy_is_equal(two):
    assert copy(two, "app.db", "new.db") == (COPIED, "")
    assert diff(two, "app.db", "new.db") == (DONE, "", "")
    # The statements of the tables and of each row; the file may have rows in another order.
    assert sorted(dump(two, "new.db").split("\n")) == sorted(dump(two, "app.db").split("\n"))


def test_a_copy_goes_on_in_a_file_that_exists(two):
    change(two, "DROP TABLE pair; DELETE FROM contact; INSERT INTO contact VALUES ('7', 'x', 1)")
    assert copy(two, "app.db", "other.db", "pair") == ("3 rows written to pair\n", "")
    assert copy(two, "app.db", "other.db", "contact") == ("3 rows written to contact\n", "")
    assert diff(two) == (DONE, "", "")


def test_a_copy_warns_of_what_the_library_cannot_make(two):
    two.sql("CREATE TABLE t (a INT UNIQUE, b DEFAULT 5); INSERT INTO t VALUES (1, NULL)")
    output, errors = copy(two, "app.db", "new.db", "t")
    assert output == "1 row written to t\n"
    assert "warning: the copy of t keeps only the names, types and keys of its columns" in errors
    two.sql("CREATE TABLE k (a, b, c, d, PRIMARY KEY (a, b, c)); INSERT INTO k VALUES (1, 2, 3, 4)")
    output, errors = copy(two, "app.db", "new.db", "k", status=FAILED)
    assert "the key of k has more than two columns, and the library makes none" in errors


def test_a_failed_copy_counts_its_rows(two):
    change(two, "DROP TABLE contact; CREATE TABLE contact (uid, name, age CHECK (age + 0 > 1))")
    output, errors = copy(two, "app.db", "other.db", "contact", status=FAILED)
    assert output == ""
    assert errors.startswith("vorndb: the table does not allow it: ")
    assert errors.endswith("; rows written to contact: 1\n")


def test_the_statements_of_a_copy_make_it(two):
    statements, _ = copy(two, "-n", "app.db", "new.db")
    assert not (two.folder / "new.db").exists()
    subprocess.run(["sqlite3", two.folder / "new.db", statements], check=True)
    assert diff(two, "app.db", "new.db") == (DONE, "", "")


@pytest.mark.parametrize(
    "message, arguments",
    [
        ("the file none.db does not exist", "none.db new.db"),
        ("./app.db is the same file", "app.db ./app.db"),
        ("the table x does not exist in app.db; its tables: contact,", "app.db new.db x"),
    ],
)
def test_what_cannot_be_copied(two, message, arguments):
    _, errors = copy(two, *arguments.split(), status=FAILED)
    assert errors.startswith(f"vorndb: {message}"), errors
    assert not (two.folder / "new.db").exists()
