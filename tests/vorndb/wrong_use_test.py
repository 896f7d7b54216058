"""Wrong use: status 2, one line that says what is wrong, and nothing done."""

import re

import pytest
from conftest import WRONG_USE


@pytest.fixture
def refused(contacts):
    """The whole command line is refused with a message that begins so. Nothing is written to
    standard output, and no file comes to be or changes."""
    before = contacts.database.read_bytes()

    def check(message, *arguments):
        ended = contacts.start(*arguments)
        errors = ended.stderr.decode()
        assert (ended.returncode, ended.stdout) == (WRONG_USE, b""), arguments
        assert errors.startswith(f"vorndb: {message}"), f"{arguments}: {errors}"
        assert re.search(r"\nFor help: vorndb help( [a-z-]+)?\n$", errors), errors
        assert errors.count("\n") == 2, errors
        assert contacts.database.read_bytes() == before
        assert contacts.files() == ["app.db"]

    return check


@pytest.mark.parametrize(
    "message, arguments",
    [
        ("COMMAND is missing", ""),
        ("COMMAND is missing", "-f app.db"),
        ("COMMAND is missing", "app.db"),
        ("'frob' is no command\nFor help: vorndb help\n", "frob"),
        ("'frob' is no command", "app.db frob"),
        ("'slect' is no command; did you mean select?", "-f app.db slect contact"),
        ("'selct' is no command; did you mean select?", "help selct"),
        ("'more' is too much\nFor help: vorndb help exists\n", "-f app.db exists contact more"),
        ("COMMAND is missing", "help -- --help"),
        ("COMMAND is missing", "-n -- -x"),
        ("COMMAND is missing", "-f app.db -5"),
        ("--key needs COLUMN:TYPE", "app.db create t a:TEXT --key uid"),
        ("'more' is too much", "app.db drop -- contact more"),
        ("--verison is no option of vorndb; did you mean --version?", "--verison"),
        ("--wher is no option of select; did you mean --where?", "app.db select --wher=1"),
        ("--yes takes no value", "app.db delete contact --yes=false"),
        ("--yes takes no value", "app.db drop contact --yes=0"),
        ("'-1' is no number of rows", "app.db select contact --limit=-1"),
        ("'noon' is no time of a log", "explain-log x.log --since noon --follow"),
        ("--nosuch is no option of drop\n", "-f app.db drop contact --nosuch"),
        ("-x is no option of drop", "-f app.db drop contact -x"),
        ("--wide is no option of exists", "-f app.db exists contact --wide"),
        ("--wher is no option of select; did you mean --where?", "app.db select t --wher=1"),
        ("--where is no option of upsert", "-f app.db upsert contact a=1 b=1 --where a=2"),
        ("--where is no option of upsert", "-f app.db upsert contact name --where a=2"),
        ("the database file is missing: vorndb FILE", "exists contact"),
        ("the database file is missing: vorndb FILE", "import contact none.csv"),
        ("--file needs a value", "exists contact -f"),
        ("--file is given twice", "-f app.db other.db exists contact"),
        ("'./' names no file", "-f ./ exists contact"),
        ("'/' names no file", "-f / exists contact"),
        ("'data/' names no file", "-f data/ exists contact"),
        ("TABLE is missing", "-f app.db select"),
        ("VALUES is missing", "-f app.db upsert contact"),
        ("RIGHT is missing", "-f app.db join l.a"),
        ("IN is missing", "-f app.db import contact"),
        ("OUT is missing", "-f app.db export contact"),
        ("LOG is missing", "explain-log"),
        ("--where needs a value", "-f app.db select contact --where"),
        ("'name' is not COLUMN=VALUE", "-f app.db upsert contact name"),
        ("'name' is not COLUMN:TYPE", "-f app.db create t name"),
        ("'l' is not TABLE.COLUMN", "-f app.db join l r.b"),
        ("'b.c' is no plain name", "-f app.db join l.a r.b.c"),
        ("'x' is not COLUMN=VALUE", "-f app.db join l.a r.b --where x"),
        ("'a.b' is not COLUMN=VALUE", "-f app.db join l.a r.b --where a.b"),
        ("'' is no plain name", "-f app.db join l.a r.b --where .x=1"),
        ("the column A is given twice", "-f app.db upsert contact a=1 A=2"),
        ("the column A is given twice", "-f app.db select contact --where a=1 A=2"),
        ("the column A is given twice", "-f app.db select contact --where a=1 --where A=2"),
        ("the column A is given twice", "-f app.db create t a:TEXT A:TEXT"),
        ("the column a is given twice", "-f app.db create t a:TEXT --key A:TEXT"),
        ("the column _id is given twice", "-f app.db create t _id:TEXT"),
        ("--composite needs --key", "-f app.db create t a:TEXT --composite b:TEXT"),
        ("update needs --where", "-f app.db update contact name=x"),
        ("Delete every row of contact in app.db? If so, give --yes", "-f app.db delete contact"),
        ("Drop the table contact of app.db? If so, give --yes", "-f app.db drop contact"),
        ("--all and --where contradict", "-f app.db delete contact --all --where uid=7"),
        ("-f is no option of explain-log", "-f app.db explain-log x.log"),
        ("--sql is no option of explain-log", "explain-log x.log --sql"),
        ("'csv' is no format; the formats are text, json", "explain-log x.log --format csv"),
        ("log-reference takes no file before it", "app.db log-reference"),
        ("--sql is no option of log-reference", "log-reference --sql"),
        ("-n is no option of diff", "-n diff app.db app.db"),
        ("'a.b' is no plain name for a table", "copy app.db x.db a.b"),
        ("'./' names no file", "copy app.db ./"),
        ("export writes a file", "-f app.db export contact -"),
        ("--format, --csv and --json exclude each other", "app.db select t --csv --format json"),
        ("'x' is no number of rows", "app.db select t --limit x"),
        ("'a:up' is not COLUMN, COLUMN:asc", "app.db select t --order a:up"),
        (
            "'xml' is no format; the formats are table, csv,",
            "-f app.db select contact --format xml",
        ),
        ("'x' has no ending of a format", "-f app.db export contact x"),
        ("'x.db' has no ending of a format", "-f app.db export contact x.db"),
        ("'x.table' has no ending", "-f app.db export contact x.table"),
    ],
)
def test_refused(refused, message, arguments):
    refused(message, *arguments.split())


def test_an_empty_text_is_no_assignment(refused):
    refused("'' is not COLUMN=VALUE", "-f", "app.db", "upsert", "contact", "")


@pytest.mark.parametrize(
    "name", ["a b", "1a", "", "a'b", 'a"b', "a;b", "Zürich", "a.b", "a-b", "[a]", "a\n", "a("]
)
def test_names_that_are_not_plain(refused, name):
    shown = name.replace("\n", "\\n")
    reason = f"'{shown}' is no plain name for a "
    refused(reason + "table", "-f", "app.db", "select", name)
    refused(reason + "column", "-f", "app.db", "upsert", "contact", f"{name}=1")
    refused(reason + "column", "-f", "app.db", "select", "contact", "--where", f"{name}=1")
    refused(reason + "column", "-f", "app.db", "create", "t", f"{name}:TEXT")
    refused(reason + "column", "-f", "app.db", "create", "t", "--key", f"{name}:TEXT")


def test_a_name_as_long_as_can_be(refused):
    refused(f"'{'x' * 100000}-' is no plain name", "-f", "app.db", "select", "x" * 100000 + "-")


@pytest.mark.parametrize(
    "kind",
    [
        *("", " TEXT", "TEXT)", "TEXT, x TEXT", "TEXT DEFAULT 'x'", "TEXT;", "(20)", "T(x)"),
        *("T(1)(2)", "T(", "T()", "T(1,)", "T(1,2,3)", "T(1)N", "TEXT ", "A  B"),
    ],
)
def test_types_that_are_not_plain(refused, kind):
    refused(f"'{kind}' is no plain type", "-f", "app.db", "create", "t", f"a:{kind}")
