"""Each operation does what it says, as the sqlite3 shell sees it."""

import socket

from tool import Tool, environment


class Create(Tool):
    """create"""

    def schema(self, table="contact"):
        """The statement that made a table."""
        return self.sql(f"SELECT sql FROM sqlite_master WHERE name = '{table}'").rstrip("\n")

    def test_without_a_key_there_is_a_numbered_column(self):
        self.done("create", "contact", "name:TEXT", "age:INTEGER")
        self.assertEqual(
            self.schema(), "CREATE TABLE contact (_ID INTEGER PRIMARY KEY, name TEXT, age INTEGER)"
        )

    def test_with_a_key(self):
        self.done("create", "contact", "name:TEXT", "--key", "uid:TEXT")
        self.assertEqual(
            self.schema(), "CREATE TABLE contact (uid TEXT NOT NULL PRIMARY KEY, name TEXT)"
        )

    def test_with_a_composite_key(self):
        self.done(
            "create", "contact", "name:TEXT", "--key", "uid:TEXT", "--composite", "device:TEXT"
        )
        self.assertEqual(
            self.schema(),
            "CREATE TABLE contact (uid TEXT, device TEXT, name TEXT, PRIMARY KEY(uid, device))",
        )

    def test_types_of_several_words_and_with_lengths(self):
        self.done(
            "create", "t", "a:VARCHAR(20)", "b:DECIMAL(10,2) NOT NULL", "c:D(1, 2)", "d:REAL UNIQUE"
        )
        self.assertEqual(
            self.schema("t"),
            "CREATE TABLE t (_ID INTEGER PRIMARY KEY, a VARCHAR(20), b DECIMAL(10,2) NOT NULL, "
            "c D(1, 2), d REAL UNIQUE)",
        )

    def test_an_existing_table_is_left_as_it_is_and_that_is_told(self):
        self.contacts()
        before = self.schema()
        output, errors = self.run_tool("create", "contact", "other:TEXT")
        self.assertEqual(output, "")
        self.assertEqual(
            errors, "vorndb: the table contact exists in app.db already and is left as it is\n"
        )
        self.assertEqual(self.schema(), before)

    def test_a_name_that_is_taken_otherwise_is_told(self):
        # SQLite does nothing, and calls that a success.
        self.contacts()
        self.sql("CREATE VIEW v AS SELECT * FROM contact")
        for name in ("CONTACT", "v"):
            output, errors = self.run_tool("create", name, "other:TEXT")
            self.assertEqual(output, "")
            self.assertEqual(
                errors,
                f"vorndb: nothing is created: in app.db there is a view {name}, or a table that"
                " differs in capital letters\n",
            )
        self.assertEqual(self.sql("SELECT count(*) FROM sqlite_master WHERE type = 'table'"), "1\n")

    def test_a_table_of_one_column_is_warned_of(self):
        output, errors = self.run_tool("create", "t", "--key", "uid:TEXT")
        self.assertEqual(output, "")
        self.assertIn("warning: the table t has a single column", errors)
        self.assertEqual(self.schema("t"), "CREATE TABLE t (uid TEXT NOT NULL PRIMARY KEY)")

    def test_the_folder_is_taken_from_the_path(self):
        (self.folder / "data").mkdir()
        for path in ("data/one.db", "./data/two.db", str(self.folder / "data/three.db")):
            self.assertEqual(self.start("-f", path, "create", "t", "a:TEXT").returncode, 0)
        self.assertEqual(
            sorted(file.name for file in (self.folder / "data").iterdir()),
            ["one.db", "three.db", "two.db"],
        )

    def test_no_file_name_has_a_meaning_of_its_own(self):
        for name in (":memory:", "file:x?mode=memory", " ", "a'b"):
            ended = self.start("-f", name, "create", "t", "a:TEXT")
            self.assertEqual((ended.returncode, ended.stderr), (0, b""), name)
            self.assertTrue((self.folder / name).is_file(), name)


class Upsert(Tool):
    """upsert"""

    def setUp(self):
        super().setUp()
        self.contacts()

    def test_a_new_row(self):
        self.assertEqual(self.done("upsert", "contact", "uid=9", "name=Ann", "age=44"), "")
        self.assertEqual(self.sql("SELECT * FROM contact WHERE uid = '9'"), "9|Ann|44\n")

    def test_a_row_in_the_place_of_another(self):
        self.done("upsert", "contact", "uid=7", "age=1")
        self.assertEqual(self.sql("SELECT * FROM contact WHERE uid = '7'"), "7||1\n")

    def test_any_value_arrives_as_it_is(self):
        values = [
            "O'Brien",
            "'); DROP TABLE contact; --",
            "",
            " ",
            "a=b",
            "=",
            "[a,b]",
            "{x}",
            '"quoted"',
            "%s%n%d",
            "two\nlines",
            "Zürich ☂ 日本",
            "x' AND",
            "-1",
            "--all",
            "\\n",
            "$HOME",
        ]
        for value in values:
            self.done("upsert", "contact", "uid=v", f"name={value}")
            found = self.sql("SELECT hex(name) FROM contact WHERE uid = 'v'").strip()
            self.assertEqual(bytes.fromhex(found).decode(), value)

    def test_columns_stand_in_the_order_given(self):
        names = [f"c{number}" for number in (5, 1, 9, 3, 7, 2, 8, 4, 6)]
        pairs = [f"{name}={index}" for index, name in enumerate(names)]
        self.assertEqual(
            self.done("--sql", "upsert", "t", *pairs),
            f"INSERT OR REPLACE INTO t ({', '.join(names)}) VALUES "
            f"({', '.join(repr(str(index)) for index in range(9))})\n",
        )


class Update(Tool):
    """update"""

    def setUp(self):
        super().setUp()
        self.contacts()

    def test_the_rows_that_meet_the_conditions(self):
        self.assertEqual(self.done("update", "contact", "name=O'Kim", "--where", "uid=7"), "")
        self.assertEqual(self.sql("SELECT * FROM contact"), "7|O'Kim|42\n8|Lee|43\n")

    def test_several_columns_and_conditions(self):
        self.done("update", "contact", "name=N", "age=1", "--where", "uid=7", "age=42")
        self.done("update", "contact", "name=N", "age=1", "--where", "uid=8", "--where", "age=9")
        self.assertEqual(self.sql("SELECT * FROM contact"), "7|N|1\n8|Lee|43\n")

    def test_a_value_that_would_complete_the_statement_does_not(self):
        self.done("update", "contact", "name=x' AND", "--where", "uid=7")
        self.assertEqual(self.sql("SELECT * FROM contact"), "7|x' AND|42\n8|Lee|43\n")

    def test_no_row_is_a_success(self):
        self.done("update", "contact", "age=1", "--where", "uid=nobody")


class Delete(Tool):
    """delete"""

    def setUp(self):
        super().setUp()
        self.contacts()

    def test_the_rows_that_meet_the_conditions(self):
        self.assertEqual(self.done("delete", "contact", "--where", "uid=7"), "")
        self.assertEqual(self.sql("SELECT uid FROM contact"), "8\n")

    def test_a_condition_that_is_an_attack_is_a_text(self):
        self.done("delete", "contact", "--where", "uid=' OR '1'='1")
        self.assertEqual(self.sql("SELECT count(*) FROM contact"), "2\n")

    def test_every_row_only_if_that_is_said(self):
        _, errors = self.run_tool("delete", "contact", status=2)
        self.assertIn("takes every row; if that is meant, give --all", errors)
        self.assertEqual(self.sql("SELECT count(*) FROM contact"), "2\n")
        self.assertEqual(self.done("delete", "contact", "--all"), "")
        self.assertEqual(self.sql("SELECT count(*) FROM contact"), "0\n")


class ExistsAndDrop(Tool):
    """exists, drop"""

    def setUp(self):
        super().setUp()
        self.contacts()

    def test_yes_and_no(self):
        self.assertEqual(self.done("exists", "contact"), "yes\n")
        self.assertEqual(self.done("exists", "nosuch"), "no\n")

    def test_a_name_that_is_a_command(self):
        self.sql("CREATE TABLE exists_too (a); CREATE TABLE upsert (a, b)")
        self.assertEqual(self.done("exists", "upsert"), "yes\n")

    def test_a_dropped_table_is_gone(self):
        self.assertEqual(self.done("drop", "contact"), "")
        self.assertEqual(self.sql(".tables"), "")
        self.fails("the table contact does not exist in app.db (SQLite 1)", "drop", "contact")


class Sql(Tool):
    """--sql"""

    def test_every_statement_is_printed_and_none_is_run(self):
        for expected, *arguments in (
            (
                "CREATE TABLE IF NOT EXISTS t (_ID INTEGER PRIMARY KEY, a TEXT)",
                "create",
                "t",
                "a:TEXT",
            ),
            ("INSERT OR REPLACE INTO t (a) VALUES ('O''Brien')", "upsert", "t", "a=O'Brien"),
            ("UPDATE t SET a = '1' WHERE b='2'", "update", "t", "a=1", "--where", "b=2"),
            ("DELETE  FROM t WHERE b='2'", "delete", "t", "--where", "b=2"),
            ("DELETE  FROM t", "delete", "t"),
            ("SELECT * FROM t WHERE a='1' AND b='2'", "select", "t", "--where", "a=1", "b=2"),
            (
                "SELECT  * FROM l INNER JOIN r ON l.a = r.b WHERE r.c='1'",
                *("join", "l.a", "r.b", "--where", "r.c=1"),
            ),
            (
                "SELECT COUNT(*) from sqlite_master WHERE TYPE='table' AND NAME='t'",
                *("exists", "t"),
            ),
            ("DROP TABLE t", "drop", "t"),
            ("SELECT * FROM t WHERE a='1'", "export", "t", "x.csv", "--where", "a=1"),
        ):
            self.assertEqual(self.done("--sql", *arguments), expected + "\n")
            self.assertEqual(self.done(*arguments, "--sql"), expected + "\n")
        self.assertEqual(list(self.folder.iterdir()), [])

    def test_no_file_is_needed(self):
        ended = self.start("--sql", "drop", "t")
        self.assertEqual((ended.returncode, ended.stdout), (0, b"DROP TABLE t\n"))

    def test_an_import_prints_a_statement_for_each_row(self):
        (self.folder / "t.csv").write_text("a,b\n1,O'Brien\n2,\n")
        self.assertEqual(
            self.done("--sql", "import", "t", "t.csv"),
            "INSERT OR REPLACE INTO t (a, b) VALUES ('1', 'O''Brien')\n"
            "INSERT OR REPLACE INTO t (a, b) VALUES ('2', '')\n",
        )


class Verbose(Tool):
    """-v"""

    def test_the_log_is_on_standard_error(self):
        self.contacts()
        output, errors = self.run_tool("-v", "upsert", "contact", "uid=9")
        self.assertEqual(output, "")
        lines = errors.splitlines()
        self.assertRegex(lines[0], r"^D VORN \d+ \d+ UpsertRequest\.cpp: UpsertRequest\(\d+\) > ")
        self.assertRegex(
            errors, r"(?m)^E VORN \d+ \d+ Database\.cpp: OpenDB\(\d+\) > DB file: \. app\.db$"
        )
        self.assertRegex(
            errors, r"(?m)^I VORN \d+ \d+ Database\.cpp: Upsert\(\d+\) > Upsert SUCCESS\[0\]$"
        )
        self.assertEqual([line for line in lines if " > " not in line], [])

    def test_a_failure_shows_its_lines_and_its_words(self):
        self.contacts()
        _, errors = self.run_tool("select", "nosuch", "--verbose", status=1)
        self.assertIn("SELECT FAILED[1]: no such table: nosuch\n", errors)
        self.assertEqual(
            errors.splitlines()[-1], "vorndb: the table nosuch does not exist in app.db (SQLite 1)"
        )

    def test_what_a_message_holds_does_not_act_on_the_terminal(self):
        self.contacts()
        _, errors = self.run_tool("-v", "select", "contact", "--where", "name=\x1b[2J", status=0)
        self.assertNotIn("\x1b", errors)

    def test_variables_of_the_platform_do_not_matter(self):
        self.contacts()
        for priority in "VS":
            options = {"env": environment(VORN_DLOG_PRIORITY=priority)}
            self.fails("the table t does not exist in app.db (SQLite 1)", "drop", "t", **options)
            self.assertEqual(self.done("exists", "contact", **options), "yes\n")
            _, errors = self.run_tool("-v", "upsert", "contact", "uid=9", **options)
            self.assertIn("> Upsert SUCCESS[0]\n", errors)

    def test_a_line_is_written_at_once(self):
        # So that lines of several processes that share a log do not mix.
        self.contacts()
        # What is received from such a socket is what one write has sent.
        receiver, sender = socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)
        with receiver:
            with sender:
                self.start(
                    *("-v", "-f", "app.db", "drop", "t"), stderr=sender, capture_output=False
                )
            parts = list(iter(lambda: receiver.recv(65536).decode(), ""))
        self.assertEqual(parts[-1], "vorndb: the table t does not exist in app.db (SQLite 1)\n")
        self.assertGreater(len(parts), 5)
        self.assertEqual([part for part in parts if part.count("\n") != 1], [])
