"""Manual page and completion have the commands and options of the help, which is made from
their one declaration."""

import re
import shlex
import subprocess

import pytest
from conftest import PROGRAM, SOURCE, Tool

PAGE = (SOURCE / "tools/vorndb/vorndb.1").read_text()
COMPLETION = SOURCE / "tools/vorndb/vorndb.bash-completion"
SHARED = {"--file", "--sql", "--verbose"}


def help_of(*command):
    """The output of --help."""
    ended = Tool(SOURCE).start(*command, "--help")
    assert (ended.returncode, ended.stderr) == (0, b""), command
    return ended.stdout.decode()


def options_of(*command):
    """The long options in its help."""
    return set(re.findall(r"(?m)^  (?:-\w,)?(--[a-z]+)", help_of(*command)))


def page_part(title):
    """A section or subsection of the manual page."""
    return re.search(rf"(?ms)^\.S[hs] {title}\n(.*?)^\.S[hs] ", PAGE).group(1)


COMMANDS = re.findall(r"(?m)^  ([a-z][a-z-]+) {2,}\S", help_of().split("Subcommands:")[1])


def test_every_command_has_an_example_that_works(contacts):
    contacts.sql("CREATE TABLE note (owner TEXT, kind INTEGER); INSERT INTO note VALUES ('7', 2);")
    (contacts.folder / "contacts.csv").write_text("uid,name,age\n9,Ann,44\n")
    (contacts.folder / "captured.log").write_text(
        "E VORN 1 1 Database.cpp: OpenDB(1) > DB file: . app.db\n"
    )
    # The example of drop is the last that needs the table.
    for command in [*(set(COMMANDS) - {"drop"}), "drop"]:
        example = help_of(command).rstrip("\n").split("Example:\n  ")[1]
        words = shlex.split(example)
        assert words[0] == "vorndb"
        assert command in words
        ended = contacts.start(*words[1:])
        assert ended.returncode == 0, f"{example}: {ended.stderr.decode()}"


def test_the_page_has_the_commands_with_their_options():
    synopsis = page_part("SYNOPSIS").split(".Nm\n")[1:]
    assert [re.search(r"\.Cm (\S+)", usage).group(1) for usage in synopsis] == COMMANDS
    for command, usage in zip(COMMANDS, synopsis):
        assert {f"--{name}" for name in re.findall(r"Fl -(\w+)", usage)} | {"--help"} == options_of(
            command
        ), command
    assert re.findall(r"(?m)^\.It Cm (\S+)", page_part("Commands")) == COMMANDS


def test_the_page_explains_the_options():
    explained = " ".join(re.findall(r"(?m)^\.It (Fl .*)", page_part("Options")))
    options = options_of().union(*map(options_of, COMMANDS))
    assert {f"--{name}" for name in re.findall(r"-(\w\w+)", explained)} == options


def test_the_examples_of_the_page_are_right(tool):
    examples = re.findall(r"(?m)^\.Dl (.*)$", PAGE)
    assert examples
    for line in examples:
        words = shlex.split(line.replace("\\(dq", '"'))
        assert tool.start("--sql", *words[1:]).returncode == 0, line


def test_version(tool):
    version = re.search(r"(?m)^  VERSION ([0-9.]+)$", (SOURCE / "CMakeLists.txt").read_text())
    assert tool.start("--version").stdout.decode() == f"vorndb {version.group(1)}\n"


def complete(tool, *words, program=shlex.join(PROGRAM)):
    """The proposals for the last of the words, from the completion as bash calls it."""
    script = f"""
        source {shlex.quote(str(COMPLETION))}
        vorndb() {{ {program} "$@"; }}
        COMP_WORDS=(vorndb {shlex.join(words)}); COMP_CWORD={len(words)}
        _vorndb && printf '%s\\n' "${{COMPREPLY[@]}}"
    """
    ended = subprocess.run(
        ["bash", "--norc", "-c", script], cwd=tool.folder, capture_output=True, check=False
    )
    assert (ended.returncode, ended.stderr) == (0, b""), words
    return ended.stdout.decode().split()


@pytest.mark.parametrize("command", COMMANDS)
def test_completion_of_a_commands_options(tool, command):
    assert set(complete(tool, command, "--")) == options_of(command) | SHARED


def test_completion_of_the_options_before_a_command(tool):
    assert set(complete(tool, "--")) == options_of()
    assert options_of() == SHARED | {"--help", "--version"}


def test_completion_of_formats_are_those_that_there_are(tool):
    formats = complete(tool, "select", "t", "--format", "")
    assert formats[0] == "table"
    assert set(formats) == {"table", "csv", "json", "lines"}
    for name in formats:
        assert tool.start("--sql", "select", "t", "--format", name).returncode == 0
    refusal = tool.start("--sql", "select", "t", "--format", "x").stderr.decode()
    listed = re.search(r"; there are (.*)\n", refusal).group(1)
    assert re.split(r", | and ", listed) == formats


# Bash makes three words of an option with an equals sign.
@pytest.mark.parametrize(
    "words, proposals",
    [
        (" ", " ".join(COMMANDS)),
        ("-f app.db up", "upsert update"),
        ("-f app.db select ", "contact note"),
        ("-f app.db select n", "note"),
        ("-f app.db join contact.uid n", "note"),
        ("-f none.db select ", ""),
        ("--file = app.db select ", "contact note"),
        ("--file = app.db up", "upsert update"),
        ("--file = a", "app.db"),
        ("--file =", "app.db"),
        ("select t --format = j", "json"),
        ("-f a", "app.db"),
        ("-f app.db import contact r", "rows.csv"),
        ("-f app.db export contact r", "rows.csv"),
        ("explain-log ro", "rows.csv"),
    ],
)
def test_completion(contacts, words, proposals):
    contacts.sql("CREATE TABLE note (a, b); CREATE VIEW v AS SELECT * FROM note")
    files = ["app.db", *(["rows.csv"] if proposals == "rows.csv" else [])]
    for name in files:
        (contacts.folder / name).touch()
    assert complete(contacts, *words.lstrip().split(" ")) == proposals.split()
    assert contacts.files() == files


def test_completion_runs_no_name_of_a_table(tool):
    for name in ("$(touch run)", "`touch run`", "two words", "*", "x"):
        tool.sql(f'CREATE TABLE "{name}" (a, b)')
    assert complete(tool, "-f", "app.db", "select", "") == ["x"]
    assert tool.files() == ["app.db"]


def test_completion_opens_no_file_for_the_help(contacts):
    # The database is read for the names of its tables only.
    program = f'[[ "$*" == *--help ]] && ! [[ "$*" == *app.db* ]] && {shlex.join(PROGRAM)}'
    assert complete(contacts, "-f", "app.db", "up", program=program) == ["upsert", "update"]
    assert complete(contacts, "-f", "app.db", "drop", "--s", program=program) == ["--sql"]
