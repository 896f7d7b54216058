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

from tool import PROGRAM, Tool, environment


def seen_width(line):
    """The columns that a line takes on a terminal."""
    return sum(
        0 if unicodedata.combining(c) else 2 if unicodedata.east_asian_width(c) in "WF" else 1
        for c in line
    )


class Terminal(Tool):
    """Output, errors and input are a terminal of a given width."""

    def on_terminal(self, *arguments, columns=80, typed="", status=0, kill=None):
        """All that the terminal was sent, with its line ends as \\n. As soon as there is
        something, the process gets the signal `kill`."""
        controller, terminal = pty.openpty()
        try:
            fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
            # What is typed is not shown again.
            attributes = termios.tcgetattr(terminal)
            attributes[3] &= ~termios.ECHO
            termios.tcsetattr(terminal, termios.TCSANOW, attributes)
            with subprocess.Popen(
                PROGRAM + ["-f", "app.db", *arguments],
                cwd=self.folder,
                env=environment(),
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
                received += self.read_all(controller)
                self.assertEqual(process.wait(), status, received)
                return received
        finally:
            for descriptor in (controller, terminal):
                if descriptor is not None:
                    os.close(descriptor)

    @staticmethod
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

    def long_cells(self):
        """A table that is wider than terminals are."""
        self.sql(
            "CREATE TABLE t (id, name, note); INSERT INTO t VALUES"
            f"(1, 'Kim', '{'word ' * 40}'), (2, '{'日本' * 30}', 'e\u0301e\u0301'), (3, 'Lee', NULL)"
        )

    def test_a_table_fits_the_terminal(self):
        self.long_cells()
        for columns in (200, 80, 40, 20):
            lines = self.on_terminal("select", "t", columns=columns).splitlines()
            self.assertEqual(len(lines), 5)
            self.assertLessEqual(max(map(seen_width, lines)), columns)
            self.assertGreaterEqual(max(map(seen_width, lines)), columns - 2)
            self.assertTrue(lines[2].endswith("…"), lines[2])
            self.assertIn("…", lines[3])
            # What is short is whole, and columns stand below each other.
            self.assertTrue(lines[2].startswith("1   Kim "), lines[2])
            self.assertEqual(lines[0].index("name"), lines[2].index("Kim"))

    def test_a_table_that_fits_is_not_cut(self):
        self.contacts()
        self.assertEqual(
            self.on_terminal("select", "contact", columns=14),
            "uid  name  age\n---  ----  ---\n7    Kim   42\n8    Lee   43\n",
        )

    def test_wide_cuts_nothing(self):
        self.long_cells()
        lines = self.on_terminal("select", "t", "--wide", columns=40).splitlines()
        self.assertTrue(lines[2].endswith(("word " * 40).strip()))
        self.assertNotIn("…", "".join(lines))

    def test_formats_for_programs_are_never_cut(self):
        self.long_cells()
        for name in ("csv", "json", "lines"):
            output = self.on_terminal("select", "t", "--format", name, columns=20)
            self.assertIn("word " * 40, output)

    def test_more_columns_than_fit_are_narrow(self):
        names = [f"column{number}" for number in range(20)]
        self.sql(f"CREATE TABLE t ({', '.join(names)}); INSERT INTO t DEFAULT VALUES")
        lines = self.on_terminal("select", "t", columns=30).splitlines()
        self.assertEqual(lines[0], "  ".join(["col…"] * 20))

    def rows(self, count):
        """A file to be imported."""
        self.sql("CREATE TABLE t (a PRIMARY KEY, b)")
        content = "a,b\n" + "".join(f"{number},x\n" for number in range(count))
        (self.folder / "t.csv").write_text(content)

    def test_an_import_shows_its_progress(self):
        self.rows(150)
        output = self.on_terminal("import", "t", "t.csv", columns=60)
        frames = output.split("\r")
        bars = [frame for frame in frames if frame.startswith("[")]
        self.assertEqual(frames[0], "")
        shown = [int(re.search(r"(\d+) %, \d+ rows$", bar).group(1)) for bar in bars]
        self.assertEqual(shown, sorted(set(shown)))
        self.assertGreater(len(bars), 50)
        self.assertEqual(shown[-1], 100)
        self.assertTrue(all(len(bar) <= 59 for bar in bars), bars)
        half = bars[shown.index(50)]
        length = half.index("]") - 1
        self.assertEqual(half[1 : length + 1], "#" * (length // 2) + " " * (length - length // 2))
        # Wiped away in the end.
        self.assertEqual(frames[-2:], [" " * 59, "150 rows written to t\n"])

    def test_a_narrow_terminal_has_a_progress_too(self):
        self.rows(20)
        for columns in (1, 5, 20):
            output = self.on_terminal("import", "t", "t.csv", columns=columns)
            self.assertTrue(output.endswith("20 rows written to t\n"))
            self.assertLess(max(map(len, output.split("\r")[1:-1])), max(columns, 2))

    def test_a_failed_import_wipes_its_progress_away(self):
        self.rows(20)
        with open(self.folder / "t.csv", "a", encoding="utf-8") as file:
            file.write("1,2,3\n4,5\n")
        output = self.on_terminal("import", "t", "t.csv", status=1)
        frames = output.split("\r")
        self.assertEqual(frames[-2].strip(), "")
        self.assertTrue(frames[-1].startswith("vorndb: t.csv, line 22: it has 3 fields"))

    def test_a_killed_import_wipes_its_progress_away(self):
        self.rows(20000)
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            output = self.on_terminal("import", "t", "t.csv", status=-number, kill=number)
            frames = output.split("\r")
            self.assertTrue(frames[1].startswith("["), frames[1])
            self.assertEqual(frames[-2:], [" " * 79, ""])
        self.assertEqual(self.sql("PRAGMA integrity_check"), "ok\n")
        # What a shell's job shall survive, it survives.
        self.sql("DELETE FROM t")
        (self.folder / "t.csv").write_text("a,b\n" + "1,x\n" * 200)
        signal.signal(signal.SIGHUP, signal.SIG_IGN)
        self.addCleanup(signal.signal, signal.SIGHUP, signal.SIG_DFL)
        output = self.on_terminal("import", "t", "t.csv", kill=signal.SIGHUP)
        self.assertTrue(output.endswith("\r200 rows written to t\n"), output)

    def test_no_progress_between_lines_of_the_log(self):
        self.rows(3)
        self.assertNotIn("%, ", self.on_terminal("-v", "import", "t", "t.csv"))

    def test_a_delete_without_conditions_asks(self):
        question = "Delete every row of contact in app.db? [y/N] "
        self.contacts()
        for answer, shown in (("n\n", ""), ("\n", ""), ("no, yes\n", ""), ("\x04", "\n")):
            self.assertEqual(
                self.on_terminal("delete", "contact", typed=answer, status=1),
                f"{question}{shown}vorndb: nothing is deleted\n",
            )
            self.assertEqual(self.sql("SELECT count(*) FROM contact"), "2\n")
        self.assertEqual(self.on_terminal("delete", "contact", typed="y\n"), question)
        self.assertEqual(self.sql("SELECT count(*) FROM contact"), "0\n")

    def test_nobody_is_asked_what_was_said(self):
        self.contacts()
        self.assertEqual(self.on_terminal("delete", "contact", "--where", "uid=7"), "")
        self.assertEqual(self.on_terminal("delete", "contact", "--all"), "")
