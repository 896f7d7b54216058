"""export: a file is there when it is whole, and nothing else is touched."""

import os
import signal
import stat
import subprocess

import pytest
from conftest import PROGRAM


@pytest.mark.parametrize(
    "name, form",
    [
        *(("x.csv", "csv"), ("x.tsv", "tsv"), ("x.json", "json"), ("x.jsonl", "jsonl")),
        *(("x.md", "markdown"), ("x.txt", "lines")),
    ],
)
def test_the_name_tells_the_format(contacts, name, form):
    assert contacts.done("export", "contact", name) == f"2 rows written to {name}\n"
    shown = contacts.done("select", "contact", "--format", form)
    assert (contacts.folder / name).read_text() == shown
    assert contacts.files() == ["app.db", name]


def test_another_format_and_conditions(contacts):
    contacts.done("export", "contact", "x", "--format", "csv", "--where", "uid=8")
    assert (contacts.folder / "x").read_text() == "uid,name,age\n8,Lee,43\n"


def test_what_is_exported_can_be_imported(contacts):
    contacts.sql("CREATE TABLE copy (uid TEXT PRIMARY KEY, name TEXT, age INTEGER)")
    contacts.sql("""INSERT INTO contact VALUES ('9', ' say "a,b" ' || char(10) || 'x', 1)""")
    contacts.done("export", "contact", "x.csv")
    assert contacts.done("import", "copy", "x.csv") == "3 rows written to copy\n"
    assert contacts.sql("SELECT * FROM contact EXCEPT SELECT * FROM copy") == ""


def test_no_file_is_written_over_unless_that_is_said(contacts):
    path = contacts.folder / "x.csv"
    path.write_text("old")
    contacts.fails("x.csv exists; to write over it, give --force", "export", "contact", "x.csv")
    assert path.read_text() == "old"
    contacts.done("export", "contact", "x.csv", "--force")
    assert path.read_text().startswith("uid,")


def test_a_failure_leaves_no_file_and_the_old_one_as_it_was(contacts):
    message = "the table nosuch does not exist in app.db; its tables: contact (SQLite 1)"
    contacts.fails(message, "export", "nosuch", "x.csv")
    assert contacts.files() == ["app.db"]
    (contacts.folder / "x.csv").write_text("old")
    contacts.fails(message, "export", "nosuch", "x.csv", "--force")
    assert (contacts.folder / "x.csv").read_text() == "old"
    assert contacts.files() == ["app.db", "x.csv"]


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP])
def test_a_signal_leaves_no_file(contacts, number):
    contacts.sql(
        "CREATE VIEW endless AS WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c)"
        " SELECT x AS a, x AS b FROM c WHERE x < 0"
    )
    command = PROGRAM + ["-f", "app.db", "export", "endless", "x.csv"]
    with subprocess.Popen(command, cwd=contacts.folder, env=contacts.environment) as process:
        while contacts.files() == ["app.db"]:
            assert process.poll() is None
        process.send_signal(number)
    assert process.returncode == -number
    assert contacts.files() == ["app.db"]


def test_nothing_is_written_through_what_lies_in_the_way(contacts):
    victim = contacts.folder / "victim"
    victim.write_text("old")
    # The name of the unfinished file has the process in it, which stays with exec.
    script = ["sh", "-c", 'ln -s victim "x.csv.$$.part" && exec "$@"', "sh"]
    contacts.fails("cannot write x.csv", "export", "contact", "x.csv", prefix=script)
    assert victim.read_text() == "old"
    assert len(contacts.files()) == 3


def test_what_cannot_be_written(contacts):
    (contacts.folder / "x.csv").mkdir()
    contacts.fails("x.csv is not a plain file", "export", "contact", "x.csv", "--force")
    contacts.fails("cannot write none/x.csv", "export", "contact", "none/x.csv")
    (contacts.folder / "loop.csv").symlink_to("loop.csv")
    contacts.fails("cannot write loop.csv", "export", "contact", "loop.csv")


@pytest.mark.parametrize("target, force", [("real.csv", ["--force"]), ("new.csv", [])])
def test_a_link_stays_and_its_file_is_written(contacts, target, force):
    (contacts.folder / "data").mkdir()
    (contacts.folder / "data/real.csv").write_text("old")
    link = contacts.folder / "data/link"
    link.symlink_to(target)
    (contacts.folder / "x.csv").symlink_to("data/link")
    contacts.done("export", "contact", "x.csv", *force)
    assert os.readlink(contacts.folder / "x.csv") == "data/link"
    assert os.readlink(link) == target
    assert (contacts.folder / "data" / target).read_text().startswith("uid,")


@pytest.mark.parametrize("mode", [0o600, 0o640, 0o664, 0o444])
def test_a_file_that_is_written_over_keeps_its_mode(contacts, mode):
    path = contacts.folder / "x.csv"
    path.touch()
    path.chmod(mode)
    contacts.done("export", "contact", "x.csv", "--force")
    assert stat.S_IMODE(path.stat().st_mode) == mode


def test_what_is_no_file_is_not_replaced(contacts):
    path = contacts.folder / "x.csv"
    os.mkfifo(path)
    contacts.fails("x.csv is not a plain file", "export", "contact", "x.csv", "--force")
    assert contacts.files() == ["app.db", "x.csv"]
    assert stat.S_ISFIFO(path.stat().st_mode)


@pytest.mark.parametrize("name", ["app.db", "./app.db", "link"])
def test_the_database_is_not_written_over(contacts, name):
    before = contacts.database.read_bytes()
    (contacts.folder / "link").symlink_to("app.db")
    contacts.fails(
        f"{name} is the database itself", "export", "contact", name, "--force", "--format", "csv"
    )
    assert contacts.database.read_bytes() == before
