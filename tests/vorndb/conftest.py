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

import pytest

PROGRAM = shlex.split(os.environ.get("VORN_EMULATOR", "")) + [os.environ["VORNDB"]]
SOURCE = pathlib.Path(os.environ["VORN_SOURCE_DIR"])
DONE, FAILED, WRONG_USE = 0, 1, 2


def environment(**changes):
    """The environment of a run. A connection that a failed open leaks is the library's
    contract, and no leak of the tool's."""
    return {**os.environ, "LC_ALL": "C", "ASAN_OPTIONS": "detect_leaks=0", **changes}


def rows_of(text):
    """The rows of a CSV text, the header first."""
    return list(csv.reader(io.StringIO(text, newline="")))


class Tool:
    """A folder with a database file, app.db, that need not exist yet."""

    def __init__(self, folder):
        self.folder = folder
        self.database = folder / "app.db"
        self.environment = environment()

    def files(self):
        """The names of the files in the folder."""
        return sorted(file.name for file in self.folder.iterdir())

    def start(self, *arguments, prefix=(), **options):
        """The process, as subprocess.run gives it, in the folder and with texts as bytes.
        Another program that is to start it may come first."""
        pipe = subprocess.PIPE
        options = {"env": self.environment, "stdout": pipe, "stderr": pipe, **options}
        if "input" not in options:
            options["stdin"] = subprocess.DEVNULL
        command = [*prefix, *PROGRAM, *arguments]
        return subprocess.run(command, cwd=self.folder, check=False, **options)

    def run(self, *arguments, status=DONE, **options):
        """Output and errors of a run on app.db, which has to end with the status."""
        ended = self.start("-f", "app.db", *arguments, **options)
        output, errors = (ended.stdout or b"").decode(), (ended.stderr or b"").decode()
        assert ended.returncode == status, f"{arguments}: {output}{errors}"
        return output, errors

    def done(self, *arguments, **options):
        """The output of a run that succeeds without a word on standard error."""
        output, errors = self.run(*arguments, **options)
        assert errors == "", arguments
        return output

    def fails(self, message, *arguments, **options):
        """The run fails with this message, and writes nothing else."""
        result = self.run(*arguments, status=FAILED, **options)
        assert result == ("", f"vorndb: {message}\n"), arguments

    def sql(self, statement, *options):
        """The answer of the sqlite3 shell."""
        command = ["sqlite3", "-batch", "-init", "/dev/null", *options, self.database, statement]
        ended = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, check=False)
        assert (ended.returncode, ended.stderr) == (0, b""), statement
        return ended.stdout.decode()


@pytest.fixture
def tool():
    """The tool in an empty folder. Unlike pytest's own, it does not stay."""
    with tempfile.TemporaryDirectory() as folder:
        yield Tool(pathlib.Path(folder))


@pytest.fixture
def contacts(tool):
    """The tool on a table with two rows."""
    tool.sql(
        "CREATE TABLE contact (uid TEXT PRIMARY KEY, name TEXT, age INTEGER);"
        "INSERT INTO contact VALUES ('7', 'Kim', 42), ('8', 'Lee', 43);"
    )
    return tool
