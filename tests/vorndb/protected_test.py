"""A platform that protects its log takes SQLite's words from the tool, too."""

import os

from tool import FAILED, Tool, environment


class Protected(Tool):
    """Every line that the library writes is converted."""

    def start(self, *arguments, **options):
        """With the library that protects the log."""
        return super().start(
            *arguments, env=environment(LD_PRELOAD=os.environ["PROTECT_LOG"]), **options
        )

    def test_the_log_is_protected(self):
        self.contacts()
        _, errors = self.run_tool("-v", "exists", "contact")
        self.assertIn("Database.cpp: OpenDB(", errors)
        self.assertNotIn("DB file", errors)

    def test_what_succeeds_succeeds(self):
        self.contacts()
        self.done("upsert", "contact", "uid=9", "name=O'Brien", "age=1")
        self.assertEqual(
            self.done("select", "contact", "--where", "uid=9", "--format", "csv"),
            "uid,name,age\n9,O'Brien,1\n",
        )

    def test_failures_are_told_from_their_codes(self):
        self.contacts()
        self.sql("CREATE TABLE t (a TEXT NOT NULL, b)")
        for message, *arguments in (
            ("the table nosuch does not exist in app.db (SQLite 1)", "select", "nosuch"),
            (
                "SQLite refuses it: no more is known (SQLite 1)",
                "select",
                "contact",
                "--where",
                "x=1",
            ),
            ("the table does not allow it: no more is known (SQLite 19)", "upsert", "t", "b=1"),
        ):
            self.fails(message, *arguments)

    def test_a_query_that_breaks_off_may_be_complete_or_not(self):
        self.sql("CREATE TABLE t (a, b); INSERT INTO t VALUES (1, 2), (-9223372036854775808, 3)")
        self.sql("CREATE VIEW v AS SELECT a, abs(a) AS b FROM t")
        output, errors = self.run_tool("select", "v", "--format", "csv")
        self.assertEqual(output, "a,b\n1,1\n")
        self.assertIn("warning: Lines of the log that cannot be read: 1.", errors)
        _, errors = self.run_tool("export", "v", "x.csv", status=FAILED)
        self.assertIn("nothing is exported: Lines of the log that cannot be read: 1.", errors)
        self.assertFalse((self.folder / "x.csv").exists())
