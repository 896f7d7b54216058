"""The tool on a terminal, which is a real pseudo-terminal."""

import fcntl
import os
import pty
import re
import signal
import struct
import subprocess
import termios
import unicodedata

import pytest
from conftest import PROGRAM


def seen_width(line):
    """The columns that a line takes on a terminal."""
    return sum(
        0 if unicodedata.combining(c) else 2 if unicodedata.east_asian_width(c) in "WF" else 1
        for c in line
    )


def read_all(controller):
    """Until nobody has the other side open."""
    received = b""
    while True:
        try:
            part = os.read(controller, 65536)
        except OSError:
            break
        if not part:
            break
        received += part
    return received.decode().replace("\r\n", "\n")


def on_terminal(tool, *arguments, columns=80, typed="", status=0, kill=None):
    """All that a terminal of that width was sent, with its line ends as \\n: it is input,
    output and errors. As soon as there is something, the process gets the signal `kill`."""
    controller, terminal = pty.openpty()
    try:
        fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
        # Typed text is not shown again.
        attributes = termios.tcgetattr(terminal)
        attributes[3] &= ~termios.ECHO
        termios.tcsetattr(terminal, termios.TCSANOW, attributes)
        with subprocess.Popen(
            PROGRAM + ["-f", "app.db", *arguments],
            cwd=tool.folder,
            env=tool.environment,
            stdin=terminal,
            stdout=terminal,
            stderr=terminal,
            start_new_session=True,
        ) as process:
            os.close(terminal)
            terminal = None
            if typed:
                os.write(controller, typed.encode())
            received = ""
            if kill is not None:
                received = os.read(controller, 65536).decode()
                process.send_signal(kill)
            received += read_all(controller)
            assert process.wait() == status, received
            return received
    finally:
        for descriptor in (controller, terminal):
            if descriptor is not None:
                os.close(descriptor)


@pytest.fixture
def long_cells(tool):
    """The tool on a table that is wider than terminals are."""
    tool.sql(
        "CREATE TABLE t (id, name, note); INSERT INTO t VALUES"
        f"(1, 'Kim', '{'word ' * 40}'), (2, '{'日本' * 30}', 'e\u0301e\u0301'), (3, 'Lee', NULL)"
    )
    return tool


@pytest.mark.parametrize("columns", [200, 80, 40, 20])
def test_a_table_fits_the_terminal(long_cells, columns):
    lines = on_terminal(long_cells, "select", "t", columns=columns).splitlines()
    assert len(lines) == 6
    assert columns - 2 <= max(map(seen_width, lines)) <= columns
    assert lines[2].endswith("…"), lines[2]
    assert "…" in lines[3]
    # Short cells are whole, and columns lie below each other.
    assert lines[2].startswith(" 1  Kim "), lines[2]
    assert lines[0].index("name") == lines[2].index("Kim")


def test_a_table_that_fits_is_not_cut(contacts):
    assert on_terminal(contacts, "select", "contact", columns=14) == (
        "uid  name  age\n---  ----  ---\n  7  Kim    42\n  8  Lee    43\n(2 rows)\n"
    )


def test_wide_cuts_nothing(long_cells):
    lines = on_terminal(long_cells, "select", "t", "--wide", columns=40).splitlines()
    assert lines[2].endswith(("word " * 40).strip())
    assert "…" not in "".join(lines)


@pytest.mark.parametrize("name", ["csv", "json", "lines"])
def test_formats_for_programs_are_never_cut(long_cells, name):
    assert "word " * 40 in on_terminal(long_cells, "select", "t", "--format", name, columns=20)


def test_more_columns_than_fit_are_narrow(tool):
    names = [f"column{number}" for number in range(20)]
    tool.sql(f"CREATE TABLE t ({', '.join(names)}); INSERT INTO t DEFAULT VALUES")
    lines = on_terminal(tool, "select", "t", columns=30).splitlines()
    assert lines[0] == "  ".join(["col…"] * 20)


def test_the_first_of_equally_wide_columns_get_the_rest(tool):
    tool.sql("CREATE TABLE t (a, b, c, d); INSERT INTO t VALUES (" + "'0123456789', " * 3 + "1)")
    lines = on_terminal(tool, "select", "t", columns=24).splitlines()
    assert [len(rule) for rule in lines[1].split()] == [6, 6, 5, 1]


def rows(tool, count):
    """A file to be imported."""
    tool.sql("CREATE TABLE t (a PRIMARY KEY, b)")
    content = "a,b\n" + "".join(f"{number},x\n" for number in range(count))
    (tool.folder / "t.csv").write_text(content)


def test_an_import_shows_its_progress(tool):
    rows(tool, 150)
    output = on_terminal(tool, "import", "t", "t.csv", columns=60)
    frames = output.split("\r")
    assert frames[0] == ""
    form = r"(\d+) %, (\d+) rows?, \d+ rows/s, \d+ s left *"
    content = (tool.folder / "t.csv").read_text()
    counts = []
    for frame in frames[1:-2]:
        percent, count = map(int, re.fullmatch(form, frame).groups())
        done = len("".join(content.splitlines(keepends=True)[: count + 1]))
        assert abs(percent - 100 * done // len(content)) <= 1
        assert len(frame) == 59
        counts.append(count)
    assert counts
    assert counts == sorted(counts)
    # Wiped away in the end.
    assert frames[-2:] == [" " * 59, "150 rows written to t\n"]


@pytest.mark.parametrize("columns", [1, 5, 20])
def test_a_narrow_terminal_has_a_progress_too(tool, columns):
    rows(tool, 20)
    output = on_terminal(tool, "import", "t", "t.csv", columns=columns)
    assert output.endswith("20 rows written to t\n")
    assert max(map(len, output.split("\r")[1:-1])) < max(columns, 2)


def test_a_failed_import_wipes_its_progress_away(tool):
    rows(tool, 20)
    with open(tool.folder / "t.csv", "a", encoding="utf-8") as file:
        file.write("1,2,3\n4,5\n")
    frames = on_terminal(tool, "import", "t", "t.csv", status=1).split("\r")
    assert frames[-2].strip() == ""
    assert frames[-1].startswith("vorndb: t.csv, line 22: it has 3 fields")


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP])
def test_a_killed_import_wipes_its_progress_away(tool, number):
    rows(tool, 20000)
    output = on_terminal(tool, "import", "t", "t.csv", status=-number, kill=number)
    frames = output.split("\r")
    assert frames[1].startswith("0 %, "), frames[1]
    assert frames[-2] == " " * 79
    assert re.fullmatch(r"vorndb: interrupted; rows .*: \d+; go on with .* \d+\n", frames[-1])
    assert tool.sql("PRAGMA integrity_check") == "ok\n"


def test_an_import_survives_a_signal_that_is_ignored(tool):
    rows(tool, 200)
    before = signal.signal(signal.SIGHUP, signal.SIG_IGN)
    try:
        output = on_terminal(tool, "import", "t", "t.csv", kill=signal.SIGHUP)
    finally:
        signal.signal(signal.SIGHUP, before)
    assert output.endswith("\r200 rows written to t\n"), output


def test_no_progress_between_lines_of_the_log(tool):
    rows(tool, 3)
    assert "%, " not in on_terminal(tool, "-v", "import", "t", "t.csv")
    assert on_terminal(tool, "-q", "import", "t", "t.csv") == ""


QUESTION = "Delete every row of contact in app.db? [y/N] "


@pytest.mark.parametrize(
    "answer, shown", [("n\n", ""), ("\n", ""), ("no, yes\n", ""), ("\x04", "\n")]
)
def test_a_delete_without_conditions_asks(contacts, answer, shown):
    assert (
        on_terminal(contacts, "delete", "contact", typed=answer, status=1)
        == f"{QUESTION}{shown}vorndb: nothing is done\n"
    )
    assert contacts.sql("SELECT count(*) FROM contact") == "2\n"


def test_a_delete_that_is_meant(contacts):
    assert (
        on_terminal(contacts, "delete", "contact", typed="y\n")
        == QUESTION + "2 rows in the table\n"
    )
    assert contacts.sql("SELECT count(*) FROM contact") == "0\n"


def test_nobody_is_asked_what_was_said(contacts):
    deleted = on_terminal(contacts, "delete", "contact", "--where", "uid=7")
    assert deleted == "1 row met the conditions\n"
    assert on_terminal(contacts, "-q", "delete", "contact", "--all") == ""
    assert on_terminal(contacts, "drop", "contact", "--yes") == ""


@pytest.mark.parametrize("answer, status", [("n\n", 1), ("y\n", 0)])
def test_a_drop_asks(contacts, answer, status):
    output = on_terminal(contacts, "drop", "contact", typed=answer, status=status)
    assert output.startswith("Drop the table contact of app.db? [y/N] ")
    assert output.endswith("vorndb: nothing is done\n") == bool(status)
    assert contacts.sql(".tables") == ("contact\n" if status else "")


def test_exists_prints_the_word(contacts):
    assert on_terminal(contacts, "exists", "contact") == "yes\n"
    assert on_terminal(contacts, "exists", "x", status=1) == "no\n"
    assert on_terminal(contacts, "exists", "contact", "-q") == ""
