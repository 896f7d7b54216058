"""The forms of a result, and the parts of a result that cannot be shown."""

import csv
import io
import json

import pytest
from conftest import FAILED, rows_of

# Texts that each format has to take care of.
ODD = [
    *("", " a ", "a,b", 'say "x"', "two\nlines", "cr\r", "tab\t", "O'Brien", "Zürich", "日本"),
    *("\\n", "=", "{}"),
]


@pytest.fixture
def odd(tool):
    """The tool on a table of odd texts."""
    texts = [text.replace("'", "''") for text in ODD]
    values = ", ".join(f"({number}, '{text}')" for number, text in enumerate(texts))
    tool.sql(f"CREATE TABLE odd (number INTEGER, text TEXT); INSERT INTO odd VALUES {values}")
    return tool


def test_csv_is_read_back(odd):
    rows = [[str(number), text] for number, text in enumerate(ODD)]
    assert rows_of(odd.done("select", "odd", "--format", "csv")) == [["number", "text"], *rows]


def test_json_is_read_back(odd):
    assert json.loads(odd.done("select", "odd", "--format", "json")) == [
        {"number": str(number), "text": text} for number, text in enumerate(ODD)
    ]


@pytest.mark.parametrize(
    "name, expected",
    [
        ("csv", "uid,name,age\n7,Kim,42\n8,Lee,43\n"),
        (
            "json",
            '[\n  {"uid":"7","name":"Kim","age":"42"},\n  {"uid":"8","name":"Lee","age":"43"}\n]\n',
        ),
    ],
)
def test_neither_quotes_nor_order_change(contacts, name, expected):
    assert contacts.done("select", "contact", "--format", name) == expected


def test_json_lines_are_objects(odd):
    lines = odd.done("select", "odd", "--format", "jsonl").splitlines()
    assert [json.loads(line)["text"] for line in lines] == ODD


def test_tsv_is_read_back(odd):
    text = odd.done("select", "odd", "--format", "tsv")
    rows = list(csv.reader(io.StringIO(text, newline=""), delimiter="\t"))
    assert rows == [["number", "text"]] + [[str(n), text] for n, text in enumerate(ODD)]


def test_markdown_is_a_table(tool):
    tool.sql("CREATE TABLE t (a, b); INSERT INTO t VALUES ('x|y\\z', 1), (char(10), 2.5)")
    assert tool.done("select", "t", "--format", "markdown") == (
        "| a       |   b |\n| ------- | --: |\n| x\\|y\\\\z |   1 |\n| \\\\n     | 2.5 |\n"
    )


def test_typed_json_has_numbers_where_they_are_declared(tool):
    tool.sql(
        "CREATE TABLE t (i INTEGER, r real, d DATE, n, s TEXT, v VARCHAR(9));"
        "INSERT INTO t VALUES (9223372036854775807, 0.5, '2026-11-22', 1, '2', '3'),"
        "(NULL, 1e999, 4, '', 'null', '5')"
    )
    assert json.loads(tool.done("select", "t", "--typed", "--json")) == [
        {"i": 2**63 - 1, "r": 0.5, "d": "2026-11-22", "n": "1", "s": "2", "v": "3"},
        {"i": None, "r": "Inf", "d": 4, "n": "", "s": "null", "v": "5"},
    ]
    two_tables(tool, "a INT, b", "x INT, y")
    joined = tool.done("join", "l.a", "r.x", "--typed", "--format", "jsonl").splitlines()
    assert json.loads(joined[0]) == {"a": 1, "b": "l1", "x": 1, "y": "r1"}


def test_a_column_of_numbers_is_right_aligned(tool):
    tool.sql("CREATE TABLE t (a, b, c); INSERT INTO t VALUES (1, 'x', -1.5), (20, '3', NULL)")
    assert tool.done("select", "t") == " a  b     c\n--  -  ----\n 1  x  -1.5\n20  3\n"


def test_lines_are_one_a_cell(odd):
    output = odd.done("select", "odd", "--format", "lines")
    escaped = [text.replace("\\", "\\\\").replace("\n", "\\n").replace("\r", "\\r") for text in ODD]
    assert output.rstrip("\n").split("\n\n") == [
        f"number={number}\ntext={text}" for number, text in enumerate(escaped)
    ]


def test_names_in_lines_are_on_one_line_too(tool):
    tool.sql('CREATE VIEW v AS SELECT 1 AS "two\nlines", 2 AS b')
    assert tool.done("select", "v", "--format", "lines") == "two\\nlines=1\nb=2\n"


def test_table_is_aligned_by_what_is_seen(tool):
    tool.sql("CREATE TABLE t (a, b); INSERT INTO t VALUES ('日本', 1), ('é', 2), ('e\u0301', 3)")
    assert tool.done("select", "t") == "a     b\n----  -\n日本  1\né     2\ne\u0301     3\n"


def test_table_shows_what_would_act_on_a_terminal(tool):
    tool.sql(
        "CREATE TABLE t (a, b); INSERT INTO t VALUES"
        "(char(27) || '[2J' || char(10) || char(9) || char(13) || char(0x9b), char(0x202e) || 'x')"
    )
    assert tool.done("select", "t").splitlines()[2] == "\\x1B[2J\\n\\t\\r\\x9B  \\u202Ex"


def test_bytes_that_are_no_text_are_replaced(tool):
    tool.sql("CREATE TABLE t (a, b); INSERT INTO t VALUES (CAST(x'41FF42' AS TEXT), 1)")
    assert tool.done("select", "t").splitlines()[2] == "A\ufffdB  1"
    output, errors = tool.run("select", "t", "--format", "json")
    assert json.loads(output) == [{"a": "A\ufffdB", "b": "1"}]
    assert "warning: JSON holds UTF-8 only" in errors
    ended = tool.start("-f", "app.db", "select", "t", "--format", "csv")
    assert ended.stdout == b"a,b\nA\xffB,1\n"


def test_a_replaced_name_is_warned_of_like_a_cell(tool):
    # The surrogate stands for the byte FF.
    tool.sql('CREATE VIEW v AS SELECT 1 AS "A\udcffB", 2 AS b')
    output, errors = tool.run("select", "v", "--format", "json")
    assert json.loads(output) == [{"A\ufffdB": "1", "b": "2"}]
    assert "warning: JSON holds UTF-8 only" in errors


def test_a_column_without_a_text(tool):
    tool.sql('CREATE VIEW v AS SELECT NULL AS "", 2 AS b')
    assert tool.done("select", "v") == "   b\n-  -\n   2\n"


@pytest.mark.parametrize(
    "name, expected",
    [
        *(("table", "(no rows)\n"), ("csv", ""), ("json", "[]\n"), ("lines", "")),
        *(("tsv", ""), ("jsonl", ""), ("markdown", "")),
    ],
)
def test_no_rows(tool, name, expected):
    tool.sql("CREATE TABLE empty (a, b)")
    assert tool.done("select", "empty", "--format", name) == expected


def test_a_table_for_no_terminal_is_not_cut(tool):
    tool.sql(f"CREATE TABLE t (a, b); INSERT INTO t VALUES ('{'x' * 500}', 1)")
    assert tool.done("select", "t").splitlines()[2] == "x" * 500 + "  1"


def warned(tool, *arguments):
    """Output and warnings of a query that succeeds. A cursor's gaps are left out or warned
    of, never filled."""
    output, errors = tool.run(*arguments)
    assert all(line.startswith("vorndb: warning: ") for line in errors.splitlines())
    return output, errors


def two_tables(tool, left, right):
    """l and r with these columns, joined by their first; three rows."""
    tool.sql(
        f"CREATE TABLE l ({left}); CREATE TABLE r ({right});"
        "INSERT INTO l VALUES (1, 'l1'), (2, 'l2'), (3, 'l3');"
        "INSERT INTO r VALUES (1, 'r1'), (2, 'r2'), (3, 'r3');"
    )


@pytest.mark.parametrize(
    "table, arguments, expected, warning",
    [
        ("(a); INSERT INTO t VALUES ('x'), ('y')", "select t", "a\nx\n", "has a single column"),
        (
            "(a); INSERT INTO t VALUES (1), (2)",
            "join t.a u.a",
            "a,a\n",
            "the number of rows is unknown",
        ),
        (
            "(a, b); INSERT INTO t VALUES (x'00', x'01'), (x'02', 'text')",
            "select t",
            "a,b\n,\n,text\n",
            "Cells with binary data (blobs): 3.",
        ),
    ],
)
def test_a_gap_is_warned_of(tool, table, arguments, expected, warning):
    tool.sql(f"CREATE TABLE t {table}; CREATE TABLE u AS SELECT * FROM t")
    output, errors = warned(tool, *arguments.split(), "--format", "csv")
    assert output == expected
    assert warning in errors


# Whether the equal names come first, second or last among all decides on the count.
@pytest.mark.parametrize("equal, others", [("a", "bc"), ("m", "bz"), ("z", "bc")])
def test_equal_names_are_left_out_and_all_else_is_right(tool, equal, others):
    two_tables(tool, f"{equal}, {others[0]}", f"{equal}, {others[1]}")
    join = ["join", f"l.{equal}", f"r.{equal}"]
    output, errors = warned(tool, *join, "--format", "json")
    assert json.loads(output) == [
        {equal: None, others[0]: f"l{n}", others[1]: f"r{n}"} for n in (1, 2, 3)
    ]
    assert f"2 columns named {equal}." in errors
    output, _ = warned(tool, *join, "--format", "csv")
    assert rows_of(output)[2] == ["", "l2", "", "r2"]
    output, _ = warned(tool, *join)
    assert output.splitlines()[3].split() == ["?", "l2", "?", "r2"]
    output, _ = warned(tool, *join, "--format", "lines")
    assert output.split("\n\n")[1] == f"{others[0]}=l2\n{others[1]}=r2"


def test_all_names_equal(tool):
    two_tables(tool, "a, b", "a, b")
    output, errors = warned(tool, "join", "l.a", "r.a", "--format", "csv")
    assert rows_of(output) == [["a", "b", "a", "b"]] + [[""] * 4] * 3
    assert errors.count("\n") == 2


def test_names_that_differ_in_case_are_two(tool):
    two_tables(tool, "a, b", "A, c")
    assert rows_of(tool.done("join", "l.a", "r.A", "--format", "csv"))[1:] == [
        [str(n), f"l{n}", str(n), f"r{n}"] for n in (1, 2, 3)
    ]


def test_null_is_an_empty_text(tool):
    tool.sql("CREATE TABLE t (a, b); INSERT INTO t VALUES (NULL, '')")
    assert tool.done("select", "t", "--format", "csv") == "a,b\n,\n"


@pytest.mark.parametrize(
    "content, reason",
    [
        ("(a); INSERT INTO t VALUES (1)", "has a single column"),
        ("(a, b); INSERT INTO t VALUES (1, x'00')", "binary data"),
        ("(a, b); INSERT INTO t VALUES (1, CAST(x'FF' AS TEXT))", "JSON holds UTF-8 only"),
    ],
)
def test_doubtful_results_are_not_exported(tool, content, reason):
    tool.sql(f"CREATE TABLE t {content}")
    output, errors = tool.run("export", "t", "x.json", status=FAILED)
    assert output == ""
    assert errors.startswith("vorndb: nothing is exported: ")
    assert reason in errors
    assert tool.files() == ["app.db"]
