"""An application behaves the same with the checker loaded."""

import os
import re
import subprocess
import sys

import pytest
from checked import EMULATOR, EXAMPLES, FOUND, MISTAKES
from findings_test import MISTAKES as TABLE

SUITES = [suite for suite in os.environ["SUITES"].split(":") if suite]
# Their log depends on memory that was freed, or on the point of cancellation.
VARYING = {"FreedName", "CancelledThread"}
COMMANDS = [[*MISTAKES, row[0], "."] for row in TABLE if row[0] not in VARYING]
COMMANDS += [[program] for _, program in EXAMPLES.values()]


@pytest.mark.parametrize("suite", SUITES, ids=[os.path.basename(suite) for suite in SUITES])
def test_the_librarys_own_tests_pass(check, suite):
    """They compare log records, lock events, allocations and calls of SQLite."""
    run = check([suite], "--status=0")
    assert run.status == 0, run.output
    assert "[  PASSED  ]" in run.output
    assert run.summary["summary"], "nothing was found"


def log_of(text):
    """The log records of the library, without processes, threads and addresses."""
    records = re.findall(r"(?m)^([VDIWE] VORN) +\d+ +\d+ (.*)$", text)
    return [" ".join(record) for record in records]


@pytest.mark.skipif(bool(EMULATOR), reason="the library's own tests compare the log, too")
@pytest.mark.parametrize("command", COMMANDS, ids=lambda words: os.path.basename(words[-2:][0]))
def test_output_and_log_are_the_same(check, tmp_path, command):
    environment = {"VORN_DLOG_PRIORITY": "V"}
    for folder in ("checked", "alone"):
        (tmp_path / folder).mkdir()
    checked = check(command, "--status=0", cwd=tmp_path / "checked", environment=environment)
    assert checked.summary
    alone = subprocess.run(
        command,
        cwd=tmp_path / "alone",
        env={**os.environ, **environment},
        capture_output=True,
        text=True,
        check=False,
    )
    assert (checked.status, checked.output) == (alone.returncode, alone.stdout)
    assert log_of(checked.text) == log_of(alone.stderr)
    assert log_of(alone.stderr)


def test_nobody_need_read_the_findings(make):
    reader, writer = os.pipe()
    os.close(reader)
    run = make("LostDigits", stderr=writer)
    assert (run.status, run.identifiers()) == (FOUND, ["lost-digits"])


def test_the_end_does_not_wait_for_a_thread_that_reads(make):
    reader, writer = os.pipe()
    run = make("ReadingThread", stdin=reader)
    os.close(writer)
    assert run.status == FOUND


def test_a_plug_in_is_checked(make):
    program = [os.environ["PLUGIN_HOST"], os.environ["PLUGIN"]]
    run = make("LostDigits", program=program)
    assert (run.status, run.identifiers()) == (FOUND, ["lost-digits"])
    assert make("None", program=program).output == "2 rows\n"


@pytest.mark.skipif(bool(EMULATOR), reason="the interpreter is this machine's")
def test_a_program_that_loads_sqlite_for_itself_is_left_alone(check):
    script = "import sqlite3; print(sqlite3.connect(':memory:').execute('SELECT 1').fetchall())"
    run = check([sys.executable, "-c", script])
    assert (run.status, run.output, run.findings) == (0, "[(1,)]\n", []), run.text


@pytest.mark.skipif(bool(EMULATOR), reason="the limit would be the emulator's")
def test_a_small_stack_suffices(check, tmp_path):
    command = [*MISTAKES, "LostDigits", str(tmp_path)]
    run = check(["sh", "-c", 'ulimit -s 64 && exec "$@"', "sh", *command])
    assert (run.status, run.identifiers()) == (FOUND, ["lost-digits"]), run.text


def test_a_program_without_the_library_is_left_alone(check):
    run = check(["sh", "-c", "echo done; exit 4"], is_launched=True) if not EMULATOR else None
    assert run is None or (run.status, run.output, run.text) == (4, "done\n", "")
