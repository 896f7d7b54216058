"""Rows of CSV files become rows of a table."""

import re
import signal
import subprocess

import pytest
from conftest import FAILED, PROGRAM, WRONG_USE

STRAY_QUOTE = 'a quote is out of place; quoted fields are "…", with "" inside'
OPEN_QUOTE = "a quoted field that begins in this row does not end"


def written(count, line, table="contact"):
    """The end of a message: the rows that are written, and the line to go on from."""
    return f"; rows written to {table}: {count}; go on with --from-line {line}"


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
    contacts.fails(message + written(0, 1), "import", "contact", "-", input=b"")


def fails_with(tool, message, count, line, table="contact"):
    """A way to import that fails with the message about a line of rows.csv."""
    message = f"rows.csv, line {line}: {message}{written(count, line, table)}"
    return lambda *arguments: tool.fails(message, *arguments)


def test_the_first_failure_ends_it_and_tells_its_line(contacts, load):
    contacts.sql("CREATE TABLE strict (uid PRIMARY KEY, age INTEGER CHECK (age < 100))")
    message = "the table does not allow it: CHECK constraint failed: age < 100 (SQLite 19)"
    load(
        "uid,age\na,1\n\nb,2\nc,300\nd,4\n", fails_with(contacts, message, 2, 5, "strict"), "strict"
    )
    assert contacts.sql("SELECT uid FROM strict") == "a\nb\n"


def test_the_line_is_where_the_row_begins(contacts, load):
    message = "it has 3 fields, and the header has 2"
    load('uid,name\na,"one\ntwo"\nb,"one\n\ntwo",more\n', fails_with(contacts, message, 1, 4))


@pytest.mark.parametrize("end", ["\n", "\r\n", "\r"])
def test_lines_may_end_in_any_way(contacts, load, end):
    # The carriage return inside of the quotes ends a line, too.
    message = "it has 3 fields, and the header has 2"
    content = end.join(["uid,name", "", 'a,"x\ry"', "b,z", "c,1,2"])
    load(content, fails_with(contacts, message, 2, 6))
    assert imported(contacts) == "a|x\ry|\nb|z|\n"


@pytest.mark.parametrize("row, problem", [('c,x"', STRAY_QUOTE), ('c,"x', OPEN_QUOTE)])
def test_the_rows_before_a_broken_line_are_counted(contacts, load, row, problem):
    load(f"uid,name\na,1\nb,2\n{row}\n", fails_with(contacts, problem, 2, 4))
    output, errors = contacts.run("--sql", "import", "contact", "rows.csv", status=FAILED)
    assert output.count("\n") == 2
    assert errors == f"vorndb: rows.csv, line 4: {problem}\n"


@pytest.mark.parametrize(
    "content, message",
    [
        ("", "line 1: there is no line that names the columns; "),
        ("\n\n", "line 3: there is no line that names the columns; "),
        ('uid,na"me\n', f"line 1: {STRAY_QUOTE}; "),
        ("uid,na me\n", "line 1: 'na me' is no plain name for a column: "),
        ("uid,\n", "line 1: '' is no plain name for a column: "),
        ("uid,Uid\n", "line 1: the column Uid is given twice; "),
        ("uid;name\n", "line 1: 'uid;name' is no plain name for a column: "),
        (
            "uid,name\n".encode("utf-16"),
            "line 1: the name of a column holds a NUL; is the file UTF-16? It has to be UTF-8; ",
        ),
        (b"\xef\xbb\xbf\0", "line 1: the name of a column holds a NUL; "),
        ("\ufeff\ufeffuid\n", "line 1: '\ufeffuid' is no plain name for a column: "),
        (
            b"uid,name\na,b\0c\n",
            f"line 2: the value of name holds a NUL, where a text ends{written(0, 2)}\n",
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
    message = "cannot read folder.csv" + written(0, 1)
    contacts.fails(message, "import", "contact", "folder.csv")


def test_the_table_has_to_exist(contacts, load):
    message = "the table nosuch does not exist in app.db; its tables: contact (SQLite 1)"
    load("uid\na\n", fails_with(contacts, message, 0, 2, "nosuch"), "nosuch")


# Rows in every format; the second has no age.
FORMS = {
    "rows.tsv": "uid\tname\tage\na\t x,\t1\nb\t\t\n",
    "rows.json": '[{"uid":"a","name":" x,","age":1},\n {"age":null, "uid":"b", "name":""}]',
    "rows.jsonl": '{"uid":"a","name":" x,","age":1}\n{"uid":"b","name":""}\n',
    "rows": 'uid;name;age\na;" x,";1\nb;;\n',
}


@pytest.mark.parametrize("name", FORMS)
@pytest.mark.parametrize("piped", [False, True])
def test_formats(contacts, name, piped):
    content = FORMS[name].replace("\t x,\t", '\t" x,"\t').encode()
    (contacts.folder / name).write_bytes(content)
    options = ["--separator", ";"] if name == "rows" else []
    if piped:
        form = name[5:] or "csv"
        contacts.done("import", "contact", "-", "--format", form, *options, input=content)
    else:
        contacts.done("import", "contact", name, *options)
    null = "" if "json" not in name else "NULL"
    age = contacts.sql("SELECT CASE WHEN age IS NULL THEN 'NULL' ELSE age END FROM contact")
    assert imported(contacts) == "a| x,|1\nb||\n"
    assert age.split("\n")[3] == null


@pytest.mark.parametrize("tab", ["tab", "\\t", "\t"])
def test_a_tab_between_values(contacts, tab):
    contacts.done("import", "contact", "-", "--separator", tab, input=b"uid\tname\na\tx y\n")
    assert imported(contacts) == "a|x y|\n"


@pytest.mark.parametrize(
    "content, line, rows, problem",
    [
        ("[]", 0, 0, ""),
        ("", 0, 0, ""),
        ("[{}]", 1, 0, "the row has no value"),
        ('{"uid":"a"}\n{"uid":null}\n{"uid":"c"}', 2, 1, "the row has no value"),
        ('[{"uid":"a"},\n\n {"uid":"b"}', "3:2", 2, "the array lacks a comma or its end"),
        ('[{"uid":"a"},{"uid":"b"},5\n,{"uid":"c"}]', "1:3", 2, "a row is an object"),
        ("[", 1, 0, "this is not JSON: parse error"),
        ('[{"uid":"a"}\n{"uid":"b"}]', 2, 1, "the array lacks a comma or its end"),
        ('[{"uid":"a"},]', "1:2", 1, "this is not JSON: parse error"),
        ('[{"uid":"a"},\n{"uid":}]', 2, 1, "this is not JSON: parse error"),
        ('[{"uid":"a"}]\n{"uid":"b"}', 2, 1, "there is more after the end of the array"),
        ('[{"uid":"a"}]\0{"uid":"b"}', "1:2", 1, "there is more after the end of the array"),
        ('[{"uid":"a"},\n7]', 2, 1, "a row is an object"),
        ('[{"uid":"a"},\n[\n"b"]]', 2, 1, "a row is an object"),
        ('{"uid":"a"}\n7', 2, 1, "a row is an object"),
        ('{"uid":"a"}\n{"uid":', 2, 1, "this is not JSON: parse error"),
        ('{"uid":"a"}\n{"uid":"\\ud800"}', 2, 1, "this is not JSON: parse error"),
        ('{"uid":"a"}\n{"uid":["b"]}', 2, 1, "the value of uid is no text or number"),
        ('{"uid":"a"}\n{"uid":"\\u0000"}', 2, 1, "the value of uid holds a NUL"),
        ('{"uid":"a"}\n{"u-d":"b"}', 2, 1, "'u-d' is no plain name for a column"),
        ('{"uid":"a"}\n{"uid":"b","Uid":"c"}', 2, 1, "the column Uid is given twice"),
    ],
)
def test_json_that_is_no_list_of_rows(contacts, content, line, rows, problem):
    (contacts.folder / "rows.json").write_text(content)
    output, errors = contacts.run("import", "contact", "rows.json", status=1 if line else 0)
    if line:
        assert errors.startswith(f"vorndb: rows.json, line {line}: {problem}"), errors
        assert errors.endswith(written(rows, line) + "\n"), errors
    else:
        assert output == "0 rows written to contact\n"


# REAL would lose digits of a whole number beside one with a fraction.
VALUES = [
    "1,007,1.5,9223372036854775807,,x,1234567890123456",
    ",7,-2e3,9223372036854775808,,1,0.5",
]


@pytest.mark.parametrize("way", ["file", "pipe", "dry"])
def test_create_guesses_the_types(tool, way):
    content = "\n".join(["i,zeros,r,long,none,t,mixed", *VALUES, ""])
    (tool.folder / "rows.csv").write_text(content)
    if way == "dry":
        tool.sql(tool.done("-n", "import", "made", "rows.csv", "--create"))
    else:
        path, given = ("rows.csv", b"") if way == "file" else ("-", content.encode())
        tool.done("import", "made", path, "--create", input=given)
    assert (
        "(_ID INTEGER PRIMARY KEY, i INTEGER, zeros TEXT, r REAL, long TEXT, none TEXT, t TEXT,"
        " mixed TEXT)" in tool.sql(".schema made")
    )
    assert tool.sql("SELECT i, zeros, r, long, none, t FROM made") == (
        "1|007|1.5|9223372036854775807||x\n|7|-2000.0|9223372036854775808||1\n"
    )


def test_create_takes_keys_and_types(tool):
    (tool.folder / "rows.jsonl").write_text('{"a":1,"b":"2","c":0.5}\n{"a":2,"d":true}\n')
    arguments = ["rows.jsonl", "--create", "--key"]
    tool.done("import", "one", *arguments, "a")
    tool.done("import", "two", *arguments, "a:INT", "--types", "b:REAL", "d:TEXT")
    assert tool.sql("SELECT sql FROM sqlite_master WHERE sql > ''") == (
        "CREATE TABLE one (a INTEGER NOT NULL PRIMARY KEY, b TEXT, c REAL, d INTEGER)\n"
        "CREATE TABLE two (a INT NOT NULL PRIMARY KEY, b REAL, c REAL, d TEXT)\n"
    )
    assert tool.sql("SELECT * FROM two") == "1|2.0|0.5|\n2|||1\n"
    tool.done("-q", "import", "four", *arguments, "a", "--types", "a:TEXT")
    assert "(a TEXT NOT NULL PRIMARY KEY" in tool.sql(".schema four")
    message = "the input has no column x"
    tool.fails(message, "import", "three", *arguments, "x")


@pytest.mark.parametrize(
    "content, columns",
    [
        ("a,b\n", "a TEXT, b TEXT"),
        ('{"a":null,"b":1}\n{"b":2,"c":null}', "a TEXT, b INTEGER, c TEXT"),
    ],
)
def test_create_makes_columns_without_values(tool, content, columns):
    name = "rows.csv" if content[0] == "a" else "rows.jsonl"
    (tool.folder / name).write_text(content)
    tool.done("import", "t", name, "--create")
    assert tool.done("schema", "t") == f"CREATE TABLE t (_ID INTEGER PRIMARY KEY, {columns});\n"


def test_create_needs_columns(tool):
    (tool.folder / "rows.json").write_text("[]")
    tool.fails("the input names no columns", "import", "t", "rows.json", "--create")
    assert tool.files() == ["rows.json"]


def test_create_leaves_a_table_as_it_is(contacts, load):
    before = contacts.sql(".schema")
    _, errors = load("uid,name\na,b\n", lambda *words: contacts.run(*words, "--create"))
    assert errors == "vorndb: the table contact exists in app.db already and is left as it is\n"
    assert contacts.sql(".schema") == before


@pytest.mark.parametrize(
    "message, arguments",
    [
        ("'xml' is no format; the formats are csv,", "--format xml"),
        ("';;' is no separator", "--separator ;;"),
        ("'\\n' is no separator", "--separator=\n"),
        ("';' is no separator", "--format json --separator ;"),
        ("--key and --types need --create", "--key uid"),
        ("'7:' is not LINE or LINE:ROW", "--from-line 7:"),
    ],
)
def test_options_that_are_refused(contacts, message, arguments):
    _, errors = contacts.run("import", "contact", "-", *arguments.split(" "), status=WRONG_USE)
    assert errors.startswith(f"vorndb: {message}"), errors


def test_an_import_goes_on_from_a_row_of_a_line(contacts):
    content = b'[{"uid":"a"}, {"uid":"b"},\n{"uid":"c"}\n,{"uid":"d"},{"uid":["e"]}]'
    arguments = ["import", "contact", "-", "--format", "json", "--from-line"]
    for place, count in (("1:2", 3), ("1:3", 2), ("3", 1), ("3:2", 0)):
        _, errors = contacts.run(*arguments, place, input=content, status=FAILED)
        assert errors.endswith(written(count, "3:2") + "\n"), errors


def test_an_import_goes_on_from_a_line(contacts):
    content = b'uid,name\na,"1\n2"\nb,x\nc,y\n'
    for line, count in (("1", "3 rows"), ("3", "2 rows"), ("4", "2 rows"), ("5", "1 row")):
        output = contacts.done("import", "contact", "-", "--from-line", line, input=content)
        assert output == f"{count} written to contact\n"


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP])
@pytest.mark.parametrize(
    "name, first, form, end",
    [
        ("rows.csv", "a,b\n", "{0},x\n", ""),
        ("rows.jsonl", "", '{{"a":{0},"b":"x"}}\n', ""),
        ("rows.json", '[{"a":0,"b":"x"}', ',{{"a":{0},"b":"x"}}', "]"),
    ],
)
def test_an_interrupted_import_goes_on_where_it_ended(tool, number, name, first, form, end):
    # Without a key, a row that is written twice is two rows.
    tool.sql("CREATE TABLE t (a INTEGER, b TEXT)")
    begin = 1 if end else 0
    rows = [form.format(row) for row in range(begin, 200000)]
    (tool.folder / name).write_text(first + "".join(rows) + end)
    with subprocess.Popen(
        [*PROGRAM, "app.db", "import", "t", name],
        cwd=tool.folder,
        env=tool.environment,
        stderr=subprocess.PIPE,
    ) as process:
        while count_of(tool, "t") < 3:
            assert process.poll() is None
        process.send_signal(number)
        errors = process.communicate()[1].decode()
    assert process.returncode == -number
    count, place = re.fullmatch(INTERRUPTED, errors).groups()
    assert tool.sql("SELECT count(*), max(a) FROM t") == f"{count}|{int(count) - 1}\n"
    total = int(count) + 100
    (tool.folder / name).write_text(first + "".join(rows[: total - begin]) + end)
    tool.done("import", "t", name, "--from-line", place)
    assert tool.sql("SELECT count(*), count(DISTINCT a), min(a), max(a) FROM t") == (
        f"{total}|{total}|0|{total - 1}\n"
    )


def count_of(tool, table):
    """The number of rows, also while they are written."""
    return int(tool.sql(f"SELECT count(*) FROM {table}", "-cmd", ".timeout 60000"))


INTERRUPTED = (
    r"vorndb: interrupted; rows written to [a-z]+: (\d+); go on with --from-line ([\d:]+)\n"
)


def test_an_import_that_waits_for_its_input_is_interrupted_at_once(contacts):
    command = [*PROGRAM, "app.db", "import", "contact", "-"]
    pipe = subprocess.PIPE
    with subprocess.Popen(command, cwd=contacts.folder, stdin=pipe, stderr=pipe) as process:
        process.stdin.write(b"uid\nx\n")
        process.stdin.flush()
        while count_of(contacts, "contact") < 3:
            assert process.poll() is None
        process.send_signal(signal.SIGINT)
        assert process.wait() == -signal.SIGINT
        assert re.fullmatch(INTERRUPTED, process.stderr.read().decode()).groups() == ("1", "3")
