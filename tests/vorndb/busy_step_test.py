"""A file that becomes busy between a query's preparation and its rows."""

import os

from tool import FAILED, Tool, environment


class BusyStep(Tool):
    """The library's result is 0 then, and no row is there."""

    message = "vorndb: the result from app.db is not complete; the file stayed busy\n"

    def setUp(self):
        super().setUp()
        self.contacts()

    def start(self, *arguments, **options):
        """With the library that makes steps busy."""
        return super().start(
            *arguments, env=environment(LD_PRELOAD=os.environ["BUSY_STEP"]), **options
        )

    def test_a_select_is_not_taken_for_empty(self):
        output, errors = self.run_tool("select", "contact", "--format", "csv", status=FAILED)
        self.assertEqual((output, errors), ("", self.message))

    def test_an_export_is_not_made(self):
        output, errors = self.run_tool("export", "contact", "x.csv", status=FAILED)
        self.assertEqual((output, errors), ("", self.message))
        self.assertFalse((self.folder / "x.csv").exists())

    def test_a_table_is_not_taken_for_missing(self):
        output, errors = self.run_tool("exists", "contact", status=FAILED)
        self.assertEqual((output, errors), ("", self.message))
