"""Help and manual page: commands, options and examples, all from one declaration."""

import os
import re
import shlex
import subprocess

from conftest import PROGRAM, SOURCE, Tool

PAGE = (SOURCE / "tools/vorndb/vorndb.1").read_text()
OPTION = re.compile(r"--([a-z][a-z-]+)")


def help_of(*command):
    """The output of --help."""
    ended = Tool(SOURCE).start(*command, "--help")
    assert (ended.returncode, ended.stderr) == (0, b""), command
    return ended.stdout.decode()


def options_in(text):
    """The long options that a help text has lines for."""
    lines = re.findall(r"(?m)^  -.*?(?:  |$)", text)
    return {name for line in lines for name in OPTION.findall(line)}


def options_of(command):
    """The options of a command beside those of all commands."""
    return options_in(help_of(command)) - options_in(help_of())


def page_part(title):
    """A section or subsection of the manual page."""
    return re.search(rf"(?ms)^\.S[hs] {title}\n(.*?)^\.S[hs] ", PAGE).group(1)


COMMANDS = re.findall(r"(?m)^  ([a-z][a-z-]+) {2,}\S", help_of())


def test_every_command_has_an_example_that_works(contacts):
    contacts.sql("CREATE TABLE note (owner TEXT, kind INTEGER); INSERT INTO note VALUES ('7', 2);")
    (contacts.folder / "persons.csv").write_text("uid,name,age\n9,Ann,44\n")
    (contacts.folder / "captured.log").write_text(
        "E VORN 1 1 Database.cpp: OpenDB(1) > DB file: . app.db\n"
    )
    # diff needs the file that copy makes; drop is the last that needs the table.
    for command in ["copy", *sorted(set(COMMANDS) - {"copy", "drop"}), "drop"]:
        example = help_of(command).rstrip("\n").split("Example:\n  ")[1]
        words = shlex.split(example)
        assert words[0] == "vorndb"
        assert command in words
        ended = contacts.start(*words[1:])
        assert ended.returncode == (1 if command == "diff" else 0), example


def test_help_of_a_command(contacts):
    for command in COMMANDS:
        text = help_of(command)
        assert contacts.start("help", command).stdout.decode() == text
        options = options_in(text)
        takes_file = "Usage: vorndb FILE " in text
        assert {"help", "quiet", "verbose", "version"} <= options
        assert ("file" in options) == takes_file
        assert ("dry-run" in options) == (takes_file or command == "copy")
        assert re.search(rf"(?m)^Usage: vorndb (FILE )?{command}\b.* \[OPTIONS\]$", text)
    assert contacts.start("help").stdout.decode() == help_of()
    assert "One of csv, tsv, json, jsonl\n" in help_of("import")


def test_the_page_has_the_commands_with_their_options():
    synopsis = page_part("SYNOPSIS").split(".Nm\n")[1:]
    assert [re.search(r"\.Cm (\S+)", usage).group(1) for usage in synopsis] == COMMANDS
    for command, usage in zip(COMMANDS, synopsis):
        assert set(re.findall(r"Fl -([\w-]+)", usage)) == options_of(command), command
    assert re.findall(r"(?m)^\.It Cm (\S+)", page_part("Commands")) == COMMANDS


def test_the_page_explains_the_options():
    explained = " ".join(re.findall(r"(?m)^\.It (Fl .*)", page_part("Options")))
    options = options_in(help_of()).union(*map(options_of, COMMANDS))
    assert set(re.findall(r" -(\w[\w-]+)", explained)) == options


def test_the_examples_of_the_page_can_be_pasted(tool):
    blocks = re.findall(r"(?ms)^\.Bd -literal -offset indent\n(.*?)\.Ed$", PAGE)
    script = "".join(blocks).replace(r"\-", "-").replace(r"\(aq", "'")
    # A longer line is broken on a terminal of 80 columns, where it is indented by 11.
    assert max(map(len, script.splitlines())) <= 68
    function = f'vorndb() {{ {shlex.join(PROGRAM)} "$@"; }}\nset -e\n'
    ended = subprocess.run(
        ["bash", "-c", function + script],
        cwd=tool.folder,
        check=False,
        capture_output=True,
        env={**os.environ, **tool.environment},
    )
    assert (ended.returncode, ended.stderr) == (0, b"")
    assert ended.stdout.decode().endswith(
        "contact\n- uid='7' name='Miles O''Brien' age='42'\nthey differ\n"
    )


def test_version(tool):
    version = re.search(r"(?m)^  VERSION ([0-9.]+)$", (SOURCE / "CMakeLists.txt").read_text())
    for option in ("--version", "-V"):
        assert tool.start(option).stdout.decode() == f"vorndb {version.group(1)}\n"
