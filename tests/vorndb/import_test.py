"""Rows of CSV files become rows of a table."""

import subprocess

from tool import FAILED, Tool


class Import(Tool):
    """import"""

    def setUp(self):
        super().setUp()
        self.contacts()

    def write(self, content, name="rows.csv"):
        """A file beside the database."""
        (self.folder / name).write_bytes(
            content if isinstance(content, bytes) else content.encode()
        )

    def rows(self):
        """The imported rows."""
        return self.sql("SELECT * FROM contact WHERE uid NOT IN ('7', '8') ORDER BY uid")

    def test_rows_are_written_and_replaced(self):
        self.write("uid,name,age\n7,New,1\na,Ann,2\nb,Bob,3\n")
        self.assertEqual(self.done("import", "contact", "rows.csv"), "3 rows written to contact\n")
        self.assertEqual(self.sql("SELECT * FROM contact"), "8|Lee|43\n7|New|1\na|Ann|2\nb|Bob|3\n")

    def test_the_header_tells_the_columns(self):
        self.write("name,uid\nAnn,a\n")
        self.done("import", "contact", "rows.csv")
        self.assertEqual(self.rows(), "a|Ann|\n")

    def test_forms_of_csv(self):
        for content in (
            'uid,name\na,"say ""x"", O\'Brien"\n',
            'uid,name\r\na,"say ""x"", O\'Brien"\r\n',
            '\ufeffuid,name\na,"say ""x"", O\'Brien"',
            '"uid" , "name"\n\n  \na , "say ""x"", O\'Brien"\n\n',
        ):
            self.write(content)
            self.assertEqual(
                self.done("import", "contact", "rows.csv"), "1 row written to contact\n", content
            )
            self.assertEqual(self.rows(), 'a|say "x", O\'Brien|\n')
            self.sql("DELETE FROM contact WHERE uid = 'a'")

    def test_a_field_of_several_lines(self):
        self.write('uid,name\na,"two\nlines"\nb,x\n')
        self.done("import", "contact", "rows.csv")
        self.assertEqual(self.rows(), "a|two\nlines|\nb|x|\n")

    def test_only_a_header(self):
        self.write("uid,name\n")
        self.assertEqual(self.done("import", "contact", "rows.csv"), "0 rows written to contact\n")

    def test_standard_input(self):
        ended = self.start("-f", "app.db", "import", "contact", "-", stdin=None, input=b"uid\na\n")
        self.assertEqual((ended.returncode, ended.stderr), (0, b""))
        self.assertEqual(self.rows(), "a||\n")

    def test_the_first_failure_ends_it_and_tells_its_line(self):
        self.sql("CREATE TABLE strict (uid PRIMARY KEY, age INTEGER CHECK (age < 100))")
        self.write("uid,age\na,1\n\nb,2\nc,300\nd,4\n")
        self.fails(
            "rows.csv, line 5: the table does not allow it: CHECK constraint failed: age < 100"
            " (SQLite 19); rows before it that are written: 2",
            *("import", "strict", "rows.csv"),
        )
        self.assertEqual(self.sql("SELECT uid FROM strict"), "a\nb\n")

    def test_the_line_is_where_the_row_begins(self):
        self.write('uid,name\na,"one\ntwo"\nb,"one\n\ntwo",more\n')
        self.fails(
            "rows.csv, line 4: it has 3 fields, and the header has 2;"
            " rows before it that are written: 1",
            *("import", "contact", "rows.csv"),
        )

    def test_lines_may_end_in_any_way(self):
        for end in ("\n", "\r\n", "\r"):
            self.write(end.join(["uid,name", "", 'a,"x\ry"', "b,z", "c,1,2"]))
            self.fails(
                # The carriage return inside of the quotes ends a line, too.
                "rows.csv, line 6: it has 3 fields, and the header has 2;"
                " rows before it that are written: 2",
                *("import", "contact", "rows.csv"),
            )
            self.assertEqual(self.rows(), "a|x\ry|\nb|z|\n")

    def test_what_is_written_is_told_when_the_file_goes_wrong(self):
        for row, problem in (
            ('c,x"', 'a quote stands where none may be; quoted fields are "…", with "" inside'),
            ('c,"x', "a quoted field that begins in this row does not end"),
        ):
            self.write(f"uid,name\na,1\nb,2\n{row}\n")
            self.fails(
                f"rows.csv, line 4: {problem}; rows before it that are written: 2",
                *("import", "contact", "rows.csv"),
            )
            output, errors = self.run_tool("--sql", "import", "contact", "rows.csv", status=FAILED)
            self.assertEqual(output.count("\n"), 2)
            self.assertEqual(errors, f"vorndb: rows.csv, line 4: {problem}\n")

    def test_files_that_are_no_csv(self):
        for content, message in (
            ("", "line 1: there is no line that names the columns"),
            ("\n\n", "line 1: there is no line that names the columns"),
            (
                'uid,na"me\n',
                'line 1: a quote stands where none may be; quoted fields are "…", with "" inside',
            ),
            (
                'uid,name\na,b\nc,"d\n',
                "line 3: a quoted field that begins in this row does not end",
            ),
            ("uid,na me\n", "line 1: 'na me' is no plain name for a column: "),
            ("uid,\n", "line 1: '' is no plain name for a column: "),
            ("uid,Uid\n", "line 1: the column Uid is given twice"),
            ("uid;name\n", "line 1: 'uid;name' is no plain name for a column: "),
            (
                "uid,name\n".encode("utf-16"),
                "line 1: the name of a column holds a NUL; is the file UTF-16? It has to be UTF-8",
            ),
            (
                b"uid,name\na,b\0c\n",
                "line 2: the value of name holds a NUL, where a text ends; "
                "rows before it that are written: 0",
            ),
        ):
            self.write(content)
            output, errors = self.run_tool("import", "contact", "rows.csv", status=FAILED)
            self.assertEqual(output, "")
            self.assertTrue(errors.startswith(f"vorndb: rows.csv, {message}"), errors)

    def test_files_that_cannot_be_read(self):
        self.fails("cannot read none.csv", "import", "contact", "none.csv")
        (self.folder / "folder.csv").mkdir()
        self.fails("cannot read folder.csv", "import", "contact", "folder.csv")

    def test_the_table_has_to_exist(self):
        self.write("uid\na\n")
        self.fails(
            "rows.csv, line 2: the table nosuch does not exist in app.db (SQLite 1);"
            " rows before it that are written: 0",
            *("import", "nosuch", "rows.csv"),
        )

    def test_no_progress_bar_without_a_terminal(self):
        self.write("uid,name\n" + "".join(f"u{number},x\n" for number in range(50)))
        output, errors = self.run_tool(
            "import",
            "contact",
            "rows.csv",
            stderr=subprocess.PIPE,
            stdout=subprocess.PIPE,
            capture_output=False,
        )
        self.assertEqual((output, errors), ("50 rows written to contact\n", ""))
