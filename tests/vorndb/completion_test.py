"""Completion: the candidates of the program, and the scripts of the shells that ask for them."""

import shlex
import subprocess

import pytest
from conftest import PROGRAM, SOURCE
from manual_test import COMMANDS, help_of, options_in

SCRIPTS = SOURCE / "tools/vorndb/completion"


@pytest.fixture
def notes(contacts):
    """The tool on two tables and a view; rows.csv lies beside the file."""
    contacts.sql(
        "CREATE TABLE note (owner, text); CREATE VIEW v AS SELECT * FROM note;"
        'CREATE TABLE "$(touch run)" (a, b)'
    )
    (contacts.folder / "rows.csv").touch()
    return contacts


def candidates(tool, *words):
    """The candidates for the last of the words."""
    ended = tool.start("complete", "--", *words)
    assert ended.stderr == b"", words
    return ended.stdout.decode().split("\n")[:-1]


@pytest.mark.parametrize("command", COMMANDS)
def test_the_options_of_a_command(tool, command):
    proposed = {name[2:] for name in candidates(tool, command, "--")}
    assert proposed == options_in(help_of(command))


@pytest.mark.parametrize(
    "words, proposals",
    [
        ("", " ".join(COMMANDS)),
        ("app.db ", " ".join(COMMANDS)),
        ("up", "upsert update"),
        ("app.db up", "upsert update"),
        ("help ex", "exists export explain-log"),
        ("app.db --w", ""),
        ("app.db select --wi", "--wide"),
        ("-f app.db select ", "contact note"),
        ("--file=app.db select n", "note"),
        ("app.db schema ", "contact note"),
        ("none.db select ", ""),
        ("app.db select contact ", ""),
        ("app.db select contact --order ", "uid name age"),
        ("app.db select contact --wide --columns u", "uid"),
        ("app.db select contact --where ", "uid= name= age="),
        ("app.db select contact --where uid=7 a", "age="),
        ("app.db update note ", "owner= text="),
        ("app.db upsert contact uid=", "uid="),
        ("app.db upsert contact uid=7 n", "name="),
        ("app.db upsert contact uid n", "name="),
        ("app.db select contact --limit x --order n", "name"),
        ("app.db select contact --format j", "json jsonl"),
        ("app.db select contact --format=t", "--format=table --format=tsv"),
        ("app.db import contact rows.csv --format ", "csv tsv json jsonl"),
        ("explain-log rows.log --format ", "text json"),
        ("app.db join ", "contact. note."),
        ("app.db join contact.uid note.", "note.owner note.text"),
        ("app.db join contact.uid note.owner --where note.t", "note.text="),
        ("app.db import contact ", ""),
        ("copy app.db other.db ", "contact note"),
        ("frob ", ""),
    ],
)
def test_candidates(notes, words, proposals):
    ended = notes.start("complete", "--", *words.split(" "))
    assert ended.stdout.decode().split() == proposals.split()
    assert notes.files() == ["app.db", "rows.csv"]


SHELLS = {
    "bash": """source {script}; vorndb() {{ {program} "$@"; }}
        COMP_WORDS=(vorndb {words}); COMP_CWORD={count}
        _vorndb; printf '%s\\n' "${{COMPREPLY[@]}}\"""",
    "zsh": """vorndb() {{ {program} "$@" }}; _files() {{ print files }}
        compadd() {{ print -l -- ${{@:#-*}} }}
        words=(vorndb {words}); CURRENT={count}+1; source {script}""",
    "fish": """function vorndb; {program} $argv; end; source {script}; complete -C {line}""",
}


def complete(notes, shell, words):
    """The candidates that a shell gets."""
    script = SHELLS[shell].format(
        script=shlex.quote(str(SCRIPTS / f"vorndb.{shell}")),
        program=shlex.join(PROGRAM),
        words=shlex.join(words),
        count=len(words),
        line=shlex.quote(" ".join(["vorndb", *words])),
    )
    option = {"bash": ["--norc"], "zsh": ["-f"], "fish": ["--no-config"]}[shell]
    ended = subprocess.run(
        [shell, *option, "-c", script], cwd=notes.folder, capture_output=True, check=False
    )
    assert ended.stderr == b""
    return sorted(line.split("\t")[0] for line in ended.stdout.decode().split("\n") if line)


@pytest.mark.parametrize("shell", SHELLS)
@pytest.mark.parametrize(
    "words, proposals",
    [
        (["app.db", "up"], ["update", "upsert"]),
        (["app.db", "select", ""], ["contact", "note"]),
        (["app.db", "join", "n"], ["note."]),
        (["app.db", "import", "note", "row"], ["rows.csv"]),
    ],
)
def test_shells(notes, shell, words, proposals):
    # Files are completed by the shell itself, which bash and zsh do outside of the script.
    files = {"bash": [], "zsh": ["files"]}.get(shell, proposals)
    expected = files if proposals == ["rows.csv"] else proposals
    assert complete(notes, shell, words) == expected


@pytest.mark.parametrize(
    "words, proposals",
    [
        ("--file = app.db select n", ["note"]),
        ("app.db upsert contact uid =", []),
        ("app.db upsert contact uid = 7", []),
        ("app.db upsert contact uid = 7 n", ["name="]),
        ("app.db select contact --where age = 42 n", ["name="]),
        ("app.db select contact --format =", ["csv", "json", "jsonl", "lines", "markdown"]),
        ("app.db select contact --format = t", ["table", "tsv"]),
    ],
)
def test_bash_splits_words_at_an_equals_sign(notes, words, proposals):
    assert complete(notes, "bash", words.split())[: max(1, len(proposals))] == proposals
