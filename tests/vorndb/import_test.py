"""Rows of CSV files become rows of a table."""

import pytest
from conftest import FAILED

STRAY_QUOTE = 'a quote is out of place; quoted fields are "…", with "" inside'
OPEN_QUOTE = "a quoted field that begins in this row does not end"


@pytest.fixture
def load(contacts):
    """Imports a file with that content, in the way that is asked for."""

    def run(content, way=contacts.done, table="contact"):
        data = content if isinstance(content, bytes) else content.encode()
        (contacts.folder / "rows.csv").write_bytes(data)
        return way("import", table, "rows.csv")

    return run


def imported(tool):
    """The imported rows."""
    return tool.sql("SELECT * FROM contact WHERE uid NOT IN ('7', '8') ORDER BY uid")


def test_rows_are_written_and_replaced(contacts, load):
    assert load("uid,name,age\n7,New,1\na,Ann,2\nb,Bob,3\n") == "3 rows written to contact\n"
    assert contacts.sql("SELECT * FROM contact") == "8|Lee|43\n7|New|1\na|Ann|2\nb|Bob|3\n"


@pytest.mark.parametrize(
    "content, count, rows",
    [
        ("name,uid\nAnn,a\n", "1 row", "a|Ann|\n"),
        *(
            (content, "1 row", 'a|say "x", O\'Brien|\n')
            for content in (
                'uid,name\na,"say ""x"", O\'Brien"\n',
                'uid,name\r\na,"say ""x"", O\'Brien"\r\n',
                '\ufeffuid,name\na,"say ""x"", O\'Brien"',
                '"uid" , "name"\n\n  \na , "say ""x"", O\'Brien"\n\n',
            )
        ),
        ('uid,name\na,"two\nlines"\nb,x\n', "2 rows", "a|two\nlines|\nb|x|\n"),
        ("uid,name\n", "0 rows", ""),
    ],
)
def test_forms_of_csv(contacts, load, content, count, rows):
    assert load(content) == f"{count} written to contact\n"
    assert imported(contacts) == rows


def test_standard_input(contacts):
    output = contacts.done("import", "contact", "-", input=b"uid\na\n")
    assert output == "1 row written to contact\n"
    assert imported(contacts) == "a||\n"
    message = "standard input, line 1: there is no line that names the columns"
    contacts.fails(message, "import", "contact", "-", input=b"")


def fails_with(tool, message):
    """A way to import that fails with the message about rows.csv."""
    return lambda *arguments: tool.fails(f"rows.csv, {message}", *arguments)


def test_the_first_failure_ends_it_and_tells_its_line(contacts, load):
    contacts.sql("CREATE TABLE strict (uid PRIMARY KEY, age INTEGER CHECK (age < 100))")
    message = (
        "line 5: the table does not allow it: CHECK constraint failed: age < 100"
        " (SQLite 19); rows before it that are written: 2"
    )
    load("uid,age\na,1\n\nb,2\nc,300\nd,4\n", fails_with(contacts, message), "strict")
    assert contacts.sql("SELECT uid FROM strict") == "a\nb\n"


def test_the_line_is_where_the_row_begins(contacts, load):
    message = "line 4: it has 3 fields, and the header has 2; rows before it that are written: 1"
    load('uid,name\na,"one\ntwo"\nb,"one\n\ntwo",more\n', fails_with(contacts, message))


@pytest.mark.parametrize("end", ["\n", "\r\n", "\r"])
def test_lines_may_end_in_any_way(contacts, load, end):
    # The carriage return inside of the quotes ends a line, too.
    message = "line 6: it has 3 fields, and the header has 2; rows before it that are written: 2"
    content = end.join(["uid,name", "", 'a,"x\ry"', "b,z", "c,1,2"])
    load(content, fails_with(contacts, message))
    assert imported(contacts) == "a|x\ry|\nb|z|\n"


@pytest.mark.parametrize("row, problem", [('c,x"', STRAY_QUOTE), ('c,"x', OPEN_QUOTE)])
def test_the_rows_before_a_broken_line_are_counted(contacts, load, row, problem):
    message = f"line 4: {problem}; rows before it that are written: 2"
    load(f"uid,name\na,1\nb,2\n{row}\n", fails_with(contacts, message))
    output, errors = contacts.run("--sql", "import", "contact", "rows.csv", status=FAILED)
    assert output.count("\n") == 2
    assert errors == f"vorndb: rows.csv, line 4: {problem}\n"


@pytest.mark.parametrize(
    "content, message",
    [
        ("", "line 1: there is no line that names the columns\n"),
        ("\n\n", "line 1: there is no line that names the columns\n"),
        ('uid,na"me\n', f"line 1: {STRAY_QUOTE}\n"),
        ("uid,na me\n", "line 1: 'na me' is no plain name for a column: "),
        ("uid,\n", "line 1: '' is no plain name for a column: "),
        ("uid,Uid\n", "line 1: the column Uid is given twice\n"),
        ("uid;name\n", "line 1: 'uid;name' is no plain name for a column: "),
        (
            "uid,name\n".encode("utf-16"),
            "line 1: the name of a column holds a NUL; is the file UTF-16? It has to be UTF-8\n",
        ),
        (
            b"uid,name\na,b\0c\n",
            "line 2: the value of name holds a NUL, where a text ends; "
            "rows before it that are written: 0\n",
        ),
    ],
)
def test_files_that_are_no_csv(contacts, load, content, message):
    output, errors = load(content, lambda *arguments: contacts.run(*arguments, status=FAILED))
    assert output == ""
    assert errors.startswith(f"vorndb: rows.csv, {message}"), errors


def test_files_that_cannot_be_read(contacts):
    contacts.fails("cannot read none.csv", "import", "contact", "none.csv")
    (contacts.folder / "folder.csv").mkdir()
    contacts.fails("cannot read folder.csv", "import", "contact", "folder.csv")


def test_the_table_has_to_exist(contacts, load):
    message = (
        "line 2: the table nosuch does not exist in app.db; its tables: contact (SQLite 1);"
        " rows before it that are written: 0"
    )
    load("uid\na\n", fails_with(contacts, message), "nosuch")
