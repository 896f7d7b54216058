"""Help, manual page and completion tell of the same commands and options."""

import re
import shlex
import subprocess

from tool import PROGRAM, SOURCE, Tool

PAGE = SOURCE / "tools/vorndb/vorndb.1"
COMPLETION = SOURCE / "tools/vorndb/vorndb.bash-completion"
COMMANDS = "create upsert update delete select join exists drop import export explain-log".split()


def plain_page():
    """The text of the manual page's source, without its macros."""
    text = re.sub(r"Fl (\w) , -(\w)", r"-\1, --\2", PAGE.read_text())
    text = re.sub(r"(?m)^\.(?!Fl)\w\w ", "", text)
    return text.replace(" Ns ", "").replace("Ar ", "").replace("Fl -", "--").replace("Fl ", "-")


class Manual(Tool):
    """What is written about the tool."""

    def help_of(self, *command):
        """What --help prints."""
        ended = self.start(*command, "--help")
        self.assertEqual((ended.returncode, ended.stderr), (0, b""), command)
        return ended.stdout.decode()

    def test_help_names_every_command(self):
        listed = re.findall(r"(?m)^  ([a-z][a-z-]+) {2,}\S", self.help_of())
        self.assertEqual(listed, COMMANDS)

    def test_every_command_has_an_example_that_works(self):
        self.sql(
            "CREATE TABLE contact (uid TEXT PRIMARY KEY, name TEXT, age INTEGER);"
            "CREATE TABLE note (owner TEXT, kind INTEGER); INSERT INTO note VALUES ('7', 2);"
        )
        (self.folder / "contacts.csv").write_text("uid,name,age\n9,Ann,44\n")
        (self.folder / "captured.log").write_text(
            "E VORN 1 1 Database.cpp: OpenDB(1) > DB file: . app.db\n"
        )
        # The example of drop is the last that needs the table.
        for command in [*(set(COMMANDS) - {"drop"}), "drop"]:
            example = self.help_of(command).rstrip("\n").split("Example:\n  ")[1]
            words = shlex.split(example)
            self.assertEqual(words[0], "vorndb")
            self.assertIn(command, words)
            ended = self.start(*words[1:])
            self.assertEqual(ended.returncode, 0, f"{example}: {ended.stderr.decode()}")

    def test_the_page_has_every_command_and_option(self):
        page = plain_page()
        for command in COMMANDS:
            self.assertRegex(page, rf"(?m)^Cm {command}$|^{command}$", command)
            for option in re.findall(r"--[a-z]+", self.help_of(command)):
                self.assertIn(option, page, command)
        for option in re.findall(r"(?m)^  (-[-a-z,]+)", self.help_of()):
            for name in option.split(","):
                self.assertIn(name, page)

    def test_the_page_has_no_option_that_there_is_not(self):
        known = " ".join(self.help_of(*command) for command in [(), *((c,) for c in COMMANDS)])
        for option in set(re.findall(r"--[a-z]+", plain_page())):
            self.assertIn(option, known)

    def test_the_examples_of_the_page_are_right(self):
        for line in re.findall(r"(?m)^\.Dl (.*)$", PAGE.read_text()):
            words = shlex.split(line.replace("\\(dq", '"'))
            self.assertEqual(self.start("--sql", *words[1:]).returncode, 0, line)

    def test_version(self):
        version = re.search(
            r"(?m)^  VERSION ([0-9.]+)$", (SOURCE / "CMakeLists.txt").read_text()
        ).group(1)
        self.assertEqual(self.start("--version").stdout.decode(), f"vorndb {version}\n")


class Completion(Tool):
    """The completion, called as bash calls it. It runs the tool for the names of tables."""

    def complete(self, *words):
        """The proposals for the last of the words."""
        script = f"""
            source {shlex.quote(str(COMPLETION))}
            vorndb() {{ {shlex.join(PROGRAM)} "$@"; }}
            COMP_WORDS=(vorndb {shlex.join(words)}); COMP_CWORD={len(words)}
            _vorndb && printf '%s\\n' "${{COMPREPLY[@]}}"
        """
        ended = subprocess.run(
            ["bash", "--norc", "-c", script],
            cwd=self.folder,
            capture_output=True,
            check=False,
            timeout=100,
        )
        self.assertEqual((ended.returncode, ended.stderr), (0, b""), words)
        return ended.stdout.decode().split()

    def test_commands(self):
        self.assertEqual(self.complete(""), COMMANDS)
        self.assertEqual(self.complete("-f", "app.db", "up"), ["upsert", "update"])

    def test_options_are_those_of_the_command(self):
        for command in COMMANDS:
            text = self.start(command, "--help").stdout.decode()
            own = set(re.findall(r"(?m)^  (?:-h,)?(--[a-z]+)", text))
            shared = {"--file", "--sql", "--verbose"}
            self.assertEqual(set(self.complete(command, "--")), own | shared, command)
        top = self.start("--help").stdout.decode()
        known = set(re.findall(r"--[a-z]+", top.split("Subcommands:", maxsplit=1)[0]))
        self.assertEqual(set(self.complete("--")), known)

    def test_tables_are_those_of_the_file(self):
        self.contacts()
        self.sql("CREATE TABLE note (a, b); CREATE VIEW v AS SELECT * FROM note")
        self.assertEqual(self.complete("-f", "app.db", "select", ""), ["contact", "note"])
        self.assertEqual(self.complete("-f", "app.db", "select", "n"), ["note"])
        self.assertEqual(self.complete("-f", "none.db", "select", ""), [])
        self.assertFalse((self.folder / "none.db").exists())

    def test_what_a_table_is_called_is_not_run(self):
        for name in ("$(touch run)", "`touch run`", "two words", "*", "x"):
            self.sql(f'CREATE TABLE "{name}" (a, b)')
        self.assertEqual(self.complete("-f", "app.db", "select", ""), ["x"])
        self.assertEqual([file.name for file in self.folder.iterdir()], ["app.db"])

    def test_options_with_an_equals_sign(self):
        # Bash makes three words of them.
        self.contacts()
        self.assertEqual(self.complete("--file", "=", "app.db", "select", ""), ["contact"])
        self.assertEqual(self.complete("--file", "=", "app.db", "up"), ["upsert", "update"])
        self.assertEqual(self.complete("--file", "=", "a"), ["app.db"])
        self.assertEqual(self.complete("--file", "="), ["app.db"])
        self.assertEqual(self.complete("select", "t", "--format", "=", "j"), ["json"])

    def test_files_and_formats(self):
        self.contacts()
        (self.folder / "rows.csv").touch()
        self.assertEqual(self.complete("-f", "a"), ["app.db"])
        self.assertEqual(self.complete("-f", "app.db", "import", "contact", "r"), ["rows.csv"])
        self.assertEqual(self.complete("explain-log", "ro"), ["rows.csv"])
        self.assertEqual(
            self.complete("select", "t", "--format", ""), ["table", "csv", "json", "lines"]
        )
