"""Runs vorndb as a program, and asks the sqlite3 shell about the same file.

VORNDB is the program; if VORN_EMULATOR is set, that command runs it.
"""

import csv
import io
import os
import pathlib
import shlex
import subprocess
import tempfile
import unittest

PROGRAM = shlex.split(os.environ.get("VORN_EMULATOR", "")) + [os.environ["VORNDB"]]
SOURCE = pathlib.Path(os.environ["VORN_SOURCE_DIR"])
DONE, FAILED, WRONG_USE = 0, 1, 2


def environment(**changes):
    """The environment of a run. What a failed open leaves open is the library's contract,
    and no leak of the tool's."""
    return {**os.environ, "LC_ALL": "C", "ASAN_OPTIONS": "detect_leaks=0", **changes}


def rows_of(text):
    """The rows of a CSV text, the header first."""
    return list(csv.reader(io.StringIO(text, newline="")))


class Tool(unittest.TestCase):
    """A folder of its own, with a database file that may come to be in it."""

    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.database = self.folder / "app.db"

    def start(self, *arguments, **options):
        """The process, as subprocess.run gives it, in the folder and with texts as bytes."""
        return subprocess.run(
            PROGRAM + list(arguments),
            cwd=self.folder,
            check=False,
            timeout=250,
            **{
                "env": environment(),
                "stdin": subprocess.DEVNULL,
                "capture_output": True,
                **options,
            },
        )

    def run_tool(self, *arguments, status=DONE, **options):
        """Output and errors of a run on app.db, which has to end with the status."""
        ended = self.start("-f", "app.db", *arguments, **options)
        output, errors = ended.stdout.decode(), ended.stderr.decode()
        self.assertEqual(ended.returncode, status, f"{arguments}: {output}{errors}")
        return output, errors

    def done(self, *arguments, **options):
        """The output of a run that succeeds without a word on standard error."""
        output, errors = self.run_tool(*arguments, **options)
        self.assertEqual(errors, "", arguments)
        return output

    def fails(self, message, *arguments, **options):
        """The run fails with this message, and writes nothing else."""
        output, errors = self.run_tool(*arguments, status=FAILED, **options)
        self.assertEqual((output, errors), ("", f"vorndb: {message}\n"), arguments)

    def sql(self, statement, *options):
        """What the sqlite3 shell answers."""
        ended = subprocess.run(
            ["sqlite3", "-batch", "-init", "/dev/null", *options, str(self.database), statement],
            stdin=subprocess.DEVNULL,
            capture_output=True,
            check=False,
            timeout=250,
        )
        self.assertEqual((ended.returncode, ended.stderr), (0, b""), statement)
        return ended.stdout.decode()

    def contacts(self):
        """A table with two rows."""
        self.sql(
            "CREATE TABLE contact (uid TEXT PRIMARY KEY, name TEXT, age INTEGER);"
            "INSERT INTO contact VALUES ('7', 'Kim', 42), ('8', 'Lee', 43);"
        )
