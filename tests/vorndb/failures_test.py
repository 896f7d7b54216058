"""Operations that fail: status 1, in plain words, with SQLite's code."""

import os
import subprocess
import time

from tool import DONE, FAILED, PROGRAM, Tool, environment


class Failures(Tool):
    """Each failure that a user can meet."""

    def test_a_missing_file_is_not_made(self):
        for arguments in (
            ["select", "t"],
            ["join", "l.a", "r.b"],
            ["exists", "t"],
            ["drop", "t"],
            ["upsert", "t", "a=1"],
            ["update", "t", "a=1", "--where", "b=2"],
            ["delete", "t", "--all"],
            ["export", "t", "x.csv"],
        ):
            self.fails("the file app.db does not exist", *arguments)
        self.assertEqual(list(self.folder.iterdir()), [])

    def test_a_missing_table(self):
        self.contacts()
        reason = "the table nosuch does not exist in app.db (SQLite 1)"
        self.fails(reason, "select", "nosuch")
        self.fails(reason, "upsert", "nosuch", "a=1")
        self.fails(reason, "update", "nosuch", "a=1", "--where", "b=2")
        self.fails(reason, "delete", "nosuch", "--all")
        self.fails(reason, "drop", "nosuch")
        self.fails(reason, "join", "contact.uid", "nosuch.uid")
        self.fails(reason, "join", "nosuch.uid", "contact.uid")

    def test_a_missing_column(self):
        self.contacts()
        self.fails(
            "SQLite refuses it: no such column: nosuch (SQLite 1)",
            *("select", "contact", "--where", "nosuch=1"),
        )
        self.fails(
            "SQLite refuses it: table contact has no column named nosuch (SQLite 1)",
            *("upsert", "contact", "nosuch=1"),
        )

    def test_a_reserved_word(self):
        self.contacts()
        self.fails('SQLite refuses it: near "order": syntax error (SQLite 1)', "select", "order")

    def test_a_rule_of_the_table(self):
        self.sql("CREATE TABLE t (a TEXT NOT NULL, b)")
        self.fails(
            "the table does not allow it: NOT NULL constraint failed: t.a (SQLite 19)",
            *("upsert", "t", "b=1"),
        )

    def test_a_view_is_no_table(self):
        self.contacts()
        self.sql("CREATE VIEW v AS SELECT * FROM contact")
        self.assertEqual(self.done("select", "v", "--format", "csv").count("\n"), 3)
        self.assertEqual(self.done("exists", "v"), "no\n")
        self.fails("SQLite refuses it: use DROP VIEW to delete view v (SQLite 1)", "drop", "v")

    def test_a_file_that_is_none(self):
        self.database.mkdir()
        self.fails("app.db is a folder (SQLite 14)", "select", "t")
        ended = self.start("-f", "none/app.db", "create", "t", "a:TEXT")
        self.assertEqual(ended.returncode, FAILED)
        self.assertEqual(ended.stderr, b"vorndb: the folder none/ does not exist (SQLite 14)\n")

    def test_a_foreign_file(self):
        self.database.write_text("no database\n" * 100)
        before = self.database.read_bytes()
        self.fails("app.db is not a database (SQLite 26)", "select", "t")
        self.fails("app.db is not a database (SQLite 26)", "create", "t", "a:TEXT")
        self.assertEqual(self.database.read_bytes(), before)

    def test_a_file_that_may_not_be_written(self):
        self.contacts()
        self.database.chmod(0o444)
        self.folder.chmod(0o555)
        self.addCleanup(self.folder.chmod, 0o755)
        options = {"user": 65534, "group": 65534, "extra_groups": []} if os.geteuid() == 0 else {}
        try:
            if self.start("--version", **options).returncode != DONE:
                self.skipTest("no other user can run the program")
        except PermissionError:
            self.skipTest("no other user can run the program")
        self.fails("app.db cannot be written (SQLite 8)", "upsert", "contact", "uid=9", **options)
        self.assertEqual(self.done("exists", "contact", **options), "yes\n")

    def test_a_busy_file(self):
        self.contacts()
        with subprocess.Popen(
            ["sqlite3", "-batch", "-init", "/dev/null", str(self.database)],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
        ) as holder:
            holder.stdin.write(b"BEGIN EXCLUSIVE; SELECT 'locked';\n")
            holder.stdin.flush()
            self.assertEqual(holder.stdout.readline(), b"locked\n")
            started = time.monotonic()
            self.fails(
                "app.db is busy: another program kept it locked for longer than the library waits"
                " (SQLite 5)",
                *("upsert", "contact", "uid=9"),
            )
            # 15 waits of 100 ms.
            self.assertGreaterEqual(time.monotonic() - started, 1.5)
            self.fails(
                "app.db is busy: another program kept it locked for longer than the library waits"
                " (SQLite 5)",
                *("select", "contact"),
            )
            holder.communicate(b"ROLLBACK;\n")
        self.done("upsert", "contact", "uid=9")

    def test_a_query_that_breaks_off_is_told(self):
        # What stepping meets is not in the library's result.
        self.sql("CREATE TABLE t (a, b); INSERT INTO t VALUES (1, 2), (-9223372036854775808, 3)")
        self.sql("CREATE VIEW v AS SELECT a, abs(a) AS b FROM t")
        output, errors = self.run_tool("select", "v", "--format", "csv", status=FAILED)
        self.assertEqual(output, "a,b\n1,1\n")
        self.assertEqual(
            errors,
            "vorndb: the result from app.db is not complete; reading stopped with: SQL logic error\n",
        )
        self.run_tool("export", "v", "x.csv", status=FAILED)
        self.assertFalse((self.folder / "x.csv").exists())

    def test_a_damaged_file(self):
        self.sql(
            "CREATE TABLE t (a, b); WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n"
            " WHERE i < 2000) INSERT INTO t SELECT i, hex(randomblob(20)) FROM n"
        )
        content = bytearray(self.database.read_bytes())
        content[8192:] = b"\xff" * (len(content) - 8192)
        self.database.write_bytes(content)
        _, errors = self.run_tool("select", "t", status=FAILED)
        self.assertIn("the result from app.db is not complete; reading stopped with:", errors)
        self.fails(
            "app.db is damaged: database disk image is malformed (SQLite 11)",
            "delete",
            "t",
            "--all",
        )

    def test_output_that_cannot_be_written(self):
        self.contacts()
        with open("/dev/full", "w", encoding="utf-8") as full:
            ended = self.start(
                *("-f", "app.db", "select", "contact"),
                stdout=full,
                stderr=subprocess.PIPE,
                capture_output=False,
            )
        self.assertEqual(
            (ended.returncode, ended.stderr), (FAILED, b"vorndb: cannot write to standard output\n")
        )

    def test_a_reader_that_leaves(self):
        self.sql(
            "CREATE TABLE t (a, b); WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n"
            " WHERE i < 20000) INSERT INTO t SELECT i, i FROM n"
        )
        with subprocess.Popen(
            PROGRAM + ["-f", "app.db", "select", "t"],
            cwd=self.folder,
            env=environment(),
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
        ) as process:
            process.stdout.readline()
            process.stdout.close()
            self.assertEqual(process.stderr.read(), b"")
            self.assertNotEqual(process.wait(), DONE)
