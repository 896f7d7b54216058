"""explain-log, on captured logs whose explanation was read line by line, and on what is no
good log. How the logs were captured: logs/make_logs.sh."""

import os
import random
import re

from tool import DONE, FAILED, SOURCE, Tool

LOGS = SOURCE / "tests/vorndb/logs"
NO_LINE = "has no line of the library's log"


def explain(test, log):
    """What a log, as bytes, is explained with."""
    ended = test.start("explain-log", "-", input=log, stdin=None)
    test.assertEqual((ended.returncode, ended.stderr), (DONE, b""))
    return ended.stdout.decode()


def kept(name):
    """A log of the tree."""
    return (LOGS / f"{name}.log").read_bytes()


def operations(text):
    """The operations with their lines, without their numbers."""
    part = text.split("\n\nSummary\n")[0]
    return [re.sub(r"^\d+\. ", "", block) for block in re.split(r"\n(?=\d+\. )", part)[1:]]


def counted(text, outcome):
    """How many operations the summary has of an outcome."""
    summary = text.split("\n\nSummary\n")[1].split("\n\nNotes\n")[0]
    return sum(map(int, re.findall(rf"[:,] (\d+) {outcome}(?=,|\n|$)", summary)))


class ExplainKept(Tool):
    """The logs of the tree, and what stands beside them."""

    def test_each_log_is_explained_as_it_was_read(self):
        logs = sorted(LOGS.glob("*.log"))
        self.assertGreater(len(logs), 10)
        for log in logs:
            with self.subTest(log.name):
                ended = self.start("explain-log", str(log))
                self.assertEqual((ended.returncode, ended.stderr), (DONE, b""))
                self.assertEqual(ended.stdout.decode(), log.with_suffix(".txt").read_text())

    def test_the_summary_counts_what_is_in_the_log(self):
        for path in LOGS.glob("captured_*.log"):
            log = path.read_bytes()
            if b"<protected " in log:
                continue
            with self.subTest(path.name):
                text = explain(self, log)
                self.assertEqual(counted(text, "succeeded"), log.count(b" SUCCESS["))
                self.assertEqual(counted(text, "failed"), log.count(b" FAILED["))
                self.assertEqual(counted(text, "not opened"), log.count(b"DB open failed"))
                named = [block for block in operations(text) if "not named" not in block]
                self.assertEqual(len(named), log.count(b"DB file: "))

    def test_waits_are_a_tenth_of_a_second_for_each_busy_line(self):
        for name in ("captured_busy", "captured_crowd", "captured_killed"):
            log = kept(name)
            waited = re.findall(r"  waited for \S+: (\d+)\.(\d) s", explain(self, log))
            tenths = sum(10 * int(seconds) + int(tenth) for seconds, tenth in waited)
            self.assertEqual(tenths, log.count(b"SQLITE BUSY["), name)
            self.assertGreater(tenths, 0)

    def test_every_line_of_the_library_is_known(self):
        log = kept("every_line")
        text = explain(self, log)
        self.assertIn(f"\n  {len(log.splitlines())} lines of the library, 0 of others\n", text)
        self.assertNotIn("unreadable", text)

    def test_threads_are_told_apart_however_their_lines_mix(self):
        lines = kept("captured_crowd").splitlines(keepends=True)
        apart = sorted(lines, key=lambda line: line.split()[2:4])
        self.assertNotEqual(lines, apart)
        mixed = operations(explain(self, b"".join(lines)))
        self.assertEqual(sorted(mixed), sorted(operations(explain(self, b"".join(apart)))))

    def test_prefixes_of_log_readers_change_nothing_else(self):
        def without_origin(text):
            return [re.sub(r" \[[^]]*\](?=: )", "", block) for block in operations(text)]

        expected = without_origin(explain(self, kept("captured_failures_info")))
        for log in LOGS.glob("form_*.log"):
            if "protected" not in log.name:
                text = explain(self, log.read_bytes())
                self.assertEqual(without_origin(text), expected, log.name)

    def test_a_log_of_the_tool_itself(self):
        self.contacts()
        log = self.start("-v", "-f", "app.db", "select", "contact").stderr
        self.assertIn("Select on ", explain(self, log))


class ExplainBroken(Tool):
    """What is no log, or no longer one."""

    def refused(self, log, message):
        """The log is refused with that message."""
        (self.folder / "captured.log").write_bytes(log)
        ended = self.start("explain-log", "captured.log")
        self.assertEqual(
            (ended.returncode, ended.stdout, ended.stderr.decode()),
            (FAILED, b"", f"vorndb: captured.log {message}\n"),
        )

    def test_a_log_without_the_librarys_lines(self):
        for log in (
            b"",
            b"\n",
            b"\0" * 5000,
            b"\xff" * 5000,
            b"I PLAYER 4711 4711 Main.cpp: Run(12) > started\n",
            b"Database.cpp: OpenDB(208",
            b"Database.cpp: OpenDB() > DB file: . app.db\n",
        ):
            self.refused(log, NO_LINE)

    def test_a_file_that_cannot_be_read(self):
        for path in ("none.log", "."):
            ended = self.start("explain-log", path)
            self.assertEqual(
                (ended.returncode, ended.stdout, ended.stderr.decode()),
                (FAILED, b"", f"vorndb: cannot read {path}\n"),
            )

    def test_a_line_of_ten_million_bytes(self):
        line = b"E VORN 1 1 Database.cpp: OpenDB(208) > DB file: . app.db"
        for long in (b") > " * 2500000, b"1" * 10000000, line + b"x" * 10000000):
            text = explain(self, long + b"\n" + line + b"\n")
            self.assertIn("an operation on ./app.db [1 1]", text)

    def test_mutated_logs(self):
        seed = int(os.environ.get("VORN_TEST_SEED") or random.SystemRandom().randrange(2**32))
        chance = random.Random(seed)
        logs = [path.read_bytes() for path in sorted(LOGS.glob("*.log"))]
        for _ in range(40):
            log = b"".join(mutated(chance, chance.choice(logs)) for _ in range(100))
            with self.subTest(seed=seed):
                text = explain(self, log)
                self.assertEqual([c for c in text if c < " " and c != "\n" or c == "\x7f"], [])


def mutated(chance, log):
    """A part of the log with some of its bytes changed."""
    begin = chance.randrange(len(log))
    part = bytearray(log[begin : begin + chance.randrange(2000)])
    for _ in range(chance.randrange(20)):
        place = chance.randrange(len(part) + 1)
        change = chance.randrange(4)
        if change == 0:
            part[place:place] = chance.choice([b"\n", b"\r\n", b'"', b"> ", b"%s", b"\0", b"\xff"])
        elif change == 1:
            del part[place : place + chance.randrange(60)]
        elif change == 2:
            part[place : place + 1] = bytes([chance.randrange(256)])
        else:
            other = chance.randrange(len(part) + 1)
            part[place:place] = part[other : other + chance.randrange(200)]
    return bytes(part)
