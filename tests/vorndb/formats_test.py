"""The forms of a result, and what of a result cannot be shown."""

import json
import os
import stat
import subprocess

from tool import FAILED, PROGRAM, Tool, environment, rows_of

# Texts that each format has to take care of.
ODD = [
    "",
    " a ",
    "a,b",
    'say "x"',
    "two\nlines",
    "cr\r",
    "tab\t",
    "O'Brien",
    "Zürich",
    "日本",
    "\\n",
    "=",
    "{}",
]


class Formats(Tool):
    """--format"""

    def setUp(self):
        super().setUp()
        self.sql("CREATE TABLE odd (number INTEGER, text TEXT)")
        for number, text in enumerate(ODD):
            quoted = text.replace("'", "''")
            self.sql(f"INSERT INTO odd VALUES ({number}, '{quoted}')")

    def test_csv_is_read_back(self):
        output = self.start("-f", "app.db", "select", "odd", "--format", "csv").stdout.decode()
        rows = [[str(number), text] for number, text in enumerate(ODD)]
        self.assertEqual(rows_of(output), [["number", "text"], *rows])

    def test_csv_has_quotes_only_where_they_are_needed(self):
        self.contacts()
        self.assertEqual(
            self.done("select", "contact", "--format", "csv"), "uid,name,age\n7,Kim,42\n8,Lee,43\n"
        )

    def test_json_is_read_back(self):
        self.assertEqual(
            json.loads(self.done("select", "odd", "--format", "json")),
            [{"number": str(number), "text": text} for number, text in enumerate(ODD)],
        )

    def test_json_keeps_the_order_of_the_columns(self):
        self.contacts()
        self.assertEqual(
            self.done("select", "contact", "--format", "json"),
            '[\n  {"uid":"7","name":"Kim","age":"42"},\n  {"uid":"8","name":"Lee","age":"43"}\n]\n',
        )

    def test_lines_are_one_a_cell(self):
        output = self.done("select", "odd", "--format", "lines")
        escaped = [
            text.replace("\\", "\\\\").replace("\n", "\\n").replace("\r", "\\r") for text in ODD
        ]
        self.assertEqual(
            output.rstrip("\n").split("\n\n"),
            [f"number={number}\ntext={text}" for number, text in enumerate(escaped)],
        )

    def test_names_in_lines_are_on_one_line_too(self):
        self.sql('CREATE VIEW v AS SELECT 1 AS "two\nlines", 2 AS b')
        self.assertEqual(self.done("select", "v", "--format", "lines"), "two\\nlines=1\nb=2\n")

    def test_table_is_aligned_by_what_is_seen(self):
        self.sql("CREATE TABLE t (a, b); INSERT INTO t VALUES ('日本', 1), ('é', 2), ('e\u0301', 3)")
        self.assertEqual(
            self.done("select", "t"),
            "a     b\n----  -\n日本  1\né     2\ne\u0301     3\n",
        )

    def test_table_shows_what_would_act_on_a_terminal(self):
        self.sql(
            "CREATE TABLE t (a, b); INSERT INTO t VALUES"
            "(char(27) || '[2J' || char(10) || char(9) || char(13) || char(0x9b), char(0x202e) || 'x')"
        )
        self.assertEqual(
            self.done("select", "t").splitlines()[2], "\\x1B[2J\\n\\t\\r\\x9B  \\u202Ex"
        )

    def test_bytes_that_are_no_text_are_replaced(self):
        self.sql("CREATE TABLE t (a, b); INSERT INTO t VALUES (CAST(x'41FF42' AS TEXT), 1)")
        self.assertEqual(self.done("select", "t").splitlines()[2], "A\ufffdB  1")
        output, errors = self.run_tool("select", "t", "--format", "json")
        self.assertEqual(json.loads(output), [{"a": "A\ufffdB", "b": "1"}])
        self.assertIn("warning: JSON holds UTF-8 only", errors)
        ended = self.start("-f", "app.db", "select", "t", "--format", "csv")
        self.assertEqual(ended.stdout, b"a,b\nA\xffB,1\n")

    def test_no_rows(self):
        self.sql("CREATE TABLE empty (a, b)")
        for name, expected in (
            ("table", "(no rows)\n"),
            ("csv", ""),
            ("json", "[]\n"),
            ("lines", ""),
        ):
            self.assertEqual(self.done("select", "empty", "--format", name), expected)

    def test_a_table_for_no_terminal_is_not_cut(self):
        self.sql(f"CREATE TABLE t (a, b); INSERT INTO t VALUES ('{'x' * 500}', 1)")
        self.assertEqual(self.done("select", "t").splitlines()[2], "x" * 500 + "  1")


class Doubts(Tool):
    """What a cursor cannot tell is left out or warned of, never made up."""

    def warned(self, *arguments):
        """Output and warnings of a query that succeeds."""
        output, errors = self.run_tool(*arguments)
        self.assertTrue(all(line.startswith("vorndb: warning: ") for line in errors.splitlines()))
        return output, errors

    def test_a_single_column_shows_its_first_row(self):
        self.sql("CREATE TABLE t (a); INSERT INTO t VALUES ('x'), ('y')")
        output, errors = self.warned("select", "t", "--format", "csv")
        self.assertEqual(output, "a\nx\n")
        self.assertIn("has a single column", errors)

    def two_tables(self, left, right):
        """l and r with these columns, joined by their first; three rows."""
        self.sql(
            f"CREATE TABLE l ({left}); CREATE TABLE r ({right});"
            "INSERT INTO l VALUES (1, 'l1'), (2, 'l2'), (3, 'l3');"
            "INSERT INTO r VALUES (1, 'r1'), (2, 'r2'), (3, 'r3');"
        )

    def test_equal_names_are_left_out_and_all_else_is_right(self):
        # Whether the equal names come first, second or last among all decides on the count.
        for equal, others in (("a", "bc"), ("m", "bz"), ("z", "bc")):
            self.sql("DROP TABLE IF EXISTS l; DROP TABLE IF EXISTS r")
            self.two_tables(f"{equal}, {others[0]}", f"{equal}, {others[1]}")
            output, errors = self.warned("join", f"l.{equal}", f"r.{equal}", "--format", "json")
            self.assertEqual(
                json.loads(output),
                [{equal: None, others[0]: f"l{n}", others[1]: f"r{n}"} for n in (1, 2, 3)],
            )
            self.assertIn(f"2 columns named {equal}.", errors)
            output, _ = self.warned("join", f"l.{equal}", f"r.{equal}", "--format", "csv")
            self.assertEqual(rows_of(output)[2], ["", "l2", "", "r2"])
            output, _ = self.warned("join", f"l.{equal}", f"r.{equal}")
            self.assertEqual(output.splitlines()[3].split(), ["?", "l2", "?", "r2"])
            output, _ = self.warned("join", f"l.{equal}", f"r.{equal}", "--format", "lines")
            self.assertEqual(output.split("\n\n")[1], f"{others[0]}=l2\n{others[1]}=r2")

    def test_all_names_equal(self):
        self.two_tables("a, b", "a, b")
        output, errors = self.warned("join", "l.a", "r.a", "--format", "csv")
        self.assertEqual(rows_of(output), [["a", "b", "a", "b"]] + [[""] * 4] * 3)
        self.assertEqual(errors.count("\n"), 2)

    def test_one_name_for_all(self):
        self.sql("CREATE TABLE l (a); CREATE TABLE r (a);")
        self.sql("INSERT INTO l VALUES (1), (2); INSERT INTO r VALUES (1), (2)")
        output, errors = self.warned("join", "l.a", "r.a", "--format", "csv")
        self.assertEqual(output, "a,a\n")
        self.assertIn("how many rows there are cannot be told", errors)

    def test_names_that_differ_in_case_are_two(self):
        self.two_tables("a, b", "A, c")
        self.assertEqual(
            rows_of(self.done("join", "l.a", "r.A", "--format", "csv"))[1:],
            [[str(n), f"l{n}", str(n), f"r{n}"] for n in (1, 2, 3)],
        )

    def test_blobs_are_counted(self):
        self.sql("CREATE TABLE t (a, b); INSERT INTO t VALUES (x'00', x'01'), (x'02', 'text')")
        output, errors = self.warned("select", "t", "--format", "csv")
        self.assertEqual(output, "a,b\n,\n,text\n")
        self.assertIn("Cells with binary data (blobs): 3.", errors)

    def test_null_is_an_empty_text(self):
        self.sql("CREATE TABLE t (a, b); INSERT INTO t VALUES (NULL, '')")
        self.assertEqual(self.done("select", "t", "--format", "csv"), "a,b\n,\n")


class Export(Tool):
    """export"""

    def setUp(self):
        super().setUp()
        self.contacts()

    def files(self):
        """The names of the files beside the database."""
        return sorted(file.name for file in self.folder.iterdir() if file != self.database)

    def test_the_name_tells_the_format(self):
        for name, expected in (
            ("x.csv", "uid,name,age\n7,Kim,42\n8,Lee,43\n"),
            ("x.json", self.done("select", "contact", "--format", "json")),
            ("x.txt", self.done("select", "contact", "--format", "lines")),
        ):
            self.assertEqual(self.done("export", "contact", name), f"2 rows written to {name}\n")
            self.assertEqual((self.folder / name).read_text(), expected)
        self.assertEqual(self.files(), ["x.csv", "x.json", "x.txt"])

    def test_another_format_and_conditions(self):
        self.done("export", "contact", "x", "--format", "csv", "--where", "uid=8")
        self.assertEqual((self.folder / "x").read_text(), "uid,name,age\n8,Lee,43\n")

    def test_what_is_exported_can_be_imported(self):
        self.sql("CREATE TABLE copy (uid TEXT PRIMARY KEY, name TEXT, age INTEGER)")
        self.sql("""INSERT INTO contact VALUES ('9', ' say "a,b" ' || char(10) || 'x', 1)""")
        self.done("export", "contact", "x.csv")
        self.assertEqual(self.done("import", "copy", "x.csv"), "3 rows written to copy\n")
        self.assertEqual(self.sql("SELECT * FROM contact EXCEPT SELECT * FROM copy"), "")

    def test_no_file_is_written_over_unless_that_is_said(self):
        (self.folder / "x.csv").write_text("old")
        self.fails("x.csv exists; to write over it, give --force", "export", "contact", "x.csv")
        self.assertEqual((self.folder / "x.csv").read_text(), "old")
        self.done("export", "contact", "x.csv", "--force")
        self.assertTrue((self.folder / "x.csv").read_text().startswith("uid,"))

    def test_a_failure_leaves_no_file_and_the_old_one_as_it_was(self):
        self.fails(
            "the table nosuch does not exist in app.db (SQLite 1)", "export", "nosuch", "x.csv"
        )
        self.assertEqual(self.files(), [])
        (self.folder / "x.csv").write_text("old")
        self.run_tool("export", "nosuch", "x.csv", "--force", status=FAILED)
        self.assertEqual((self.folder / "x.csv").read_text(), "old")
        self.assertEqual(self.files(), ["x.csv"])

    def test_nothing_is_written_through_what_lies_in_the_way(self):
        victim = self.folder / "victim"
        victim.write_text("old")
        # The name of the unfinished file has the process in it, which stays with exec.
        script = 'ln -s victim "x.csv.$$.part" && exec "$@"'
        ended = subprocess.run(
            ["sh", "-c", script, "sh", *PROGRAM, "-f", "app.db", "export", "contact", "x.csv"],
            cwd=self.folder,
            env=environment(),
            stdin=subprocess.DEVNULL,
            capture_output=True,
            check=False,
            timeout=250,
        )
        self.assertEqual(
            (ended.returncode, ended.stderr), (FAILED, b"vorndb: cannot write x.csv\n")
        )
        self.assertEqual(victim.read_text(), "old")
        self.assertEqual(len(self.files()), 2)

    def test_what_cannot_be_written(self):
        (self.folder / "x.csv").mkdir()
        self.fails("x.csv is a folder", "export", "contact", "x.csv", "--force")
        self.fails("cannot write none/x.csv", "export", "contact", "none/x.csv")

    def test_a_link_stays_and_its_file_is_written(self):
        (self.folder / "data").mkdir()
        (self.folder / "data/real.csv").write_text("old")
        for target, force in (("real.csv", ["--force"]), ("new.csv", [])):
            link = self.folder / f"data/link_{target}"
            link.symlink_to(target)
            (self.folder / "x.csv").symlink_to(f"data/link_{target}")
            self.done("export", "contact", "x.csv", *force)
            self.assertEqual(os.readlink(self.folder / "x.csv"), f"data/link_{target}")
            self.assertEqual(os.readlink(link), target)
            self.assertTrue((self.folder / "data" / target).read_text().startswith("uid,"))
            (self.folder / "x.csv").unlink()
        (self.folder / "loop.csv").symlink_to("loop.csv")
        self.fails("cannot write loop.csv", "export", "contact", "loop.csv")

    def test_a_file_that_is_written_over_keeps_its_mode(self):
        path = self.folder / "x.csv"
        for mode in (0o600, 0o640, 0o664, 0o444):
            path.touch()
            path.chmod(mode)
            self.done("export", "contact", "x.csv", "--force")
            self.assertEqual(stat.S_IMODE(path.stat().st_mode), mode)

    def test_what_is_no_file_is_not_replaced(self):
        os.mkfifo(self.folder / "x.csv")
        self.fails("x.csv is not a plain file", "export", "contact", "x.csv", "--force")
        self.assertEqual(self.files(), ["x.csv"])
        self.assertTrue(stat.S_ISFIFO((self.folder / "x.csv").stat().st_mode))

    def test_the_database_is_not_written_over(self):
        before = self.database.read_bytes()
        (self.folder / "link").symlink_to("app.db")
        for name in ("app.db", "./app.db", "link"):
            self.fails(
                f"{name} is the database itself",
                *("export", "contact", name, "--force", "--format", "csv"),
            )
        self.assertEqual(self.database.read_bytes(), before)

    def test_doubtful_results_are_not_exported(self):
        self.sql("CREATE TABLE one (a); INSERT INTO one VALUES (1)")
        self.sql("CREATE TABLE blob (a, b); INSERT INTO blob VALUES (1, x'00')")
        for table, reason in (("one", "has a single column"), ("blob", "binary data")):
            output, errors = self.run_tool("export", table, "x.csv", status=FAILED)
            self.assertEqual(output, "")
            self.assertIn("nothing is exported: ", errors)
            self.assertIn(reason, errors)
        self.assertEqual(self.files(), [])
