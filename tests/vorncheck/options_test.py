"""Options, their environment variables, and the launcher."""

import os
import shutil
import signal
import sqlite3
import subprocess

import pytest
from checked import EMULATOR, EXAMPLES, FOUND, LIBRARY, MISTAKES

launched = pytest.mark.skipif(bool(EMULATOR), reason="an emulator does not launch programs")


@pytest.mark.parametrize(
    "options, identifiers",
    [
        ([], ["truncated-result", "busy-wait"]),
        (["--only=busy-wait,hidden-rows"], ["busy-wait"]),
        (["--except=busy-wait"], ["truncated-result"]),
        (["--only=busy-wait", "--except=busy-wait"], []),
    ],
)
def test_findings_are_chosen_by_identifier(make, options, identifiers):
    run = make("BusyStep", *options)
    assert run.identifiers() == identifiers
    assert run.status == (FOUND if identifiers else 0)


@pytest.mark.parametrize("status", [0, 7])
def test_the_status_after_findings_can_be_chosen(make, status):
    assert make("LostDigits", f"--status={status}").status == status


def test_the_first_finding_can_be_fatal(make):
    run = make("BusyStep", "--fatal")
    assert abs(run.status) % 128 == signal.SIGABRT
    assert run.identifiers() == ["truncated-result"]


def test_a_fatal_finding_prevents_the_operation(check, tmp_path):
    run = check([EXAMPLES["unconditional-delete"][1]], "--fatal")
    assert run.identifiers() == ["unconditional-delete"]
    database = sqlite3.connect(tmp_path / "contacts.db")
    assert database.execute("SELECT count(*) FROM contact").fetchone() != (0,)


def test_findings_of_a_call_site_are_limited(make):
    run = make("ManyDigits")
    assert len(run.findings) == run.text.count("lost-digits: the column") == 10
    assert run.summary["summary"] == {"lost-digits": 12}
    assert len(make("ManyDigits", "--quiet-after=1").findings) == 1
    assert len(make("ManyDigits", "--quiet-after=0").findings) == 12


def test_a_failed_read_is_found_once_for_a_call_site(make):
    run = make("UnknownColumn", "--quiet-after=0")
    assert len(run.findings) == 1
    assert run.summary["summary"] == {"unread-failure": 5}


@pytest.mark.parametrize(
    "text, suppressed",
    [
        ("lost-digits *::LostDigits", True),
        ("# a comment\n\nlost-* (anonymous namespace)::LostDigits()", True),
        ("* main", True),
        ("lost-digits LostDigits", False),
        ("busy-wait *", False),
        ("", False),
    ],
)
def test_findings_are_suppressed_by_identifier_and_function(make, tmp_path, text, suppressed):
    (tmp_path / "known").write_text(text)
    run = make("LostDigits", "--suppressions=known")
    assert run.status == (0 if suppressed else FOUND)
    assert len(run.findings) == (0 if suppressed else 1)
    if suppressed:
        assert "suppressed: 1" in run.text


def test_findings_are_appended_to_the_file(check, tmp_path):
    (tmp_path / "findings.json").write_text("{}\n")
    command = [*MISTAKES, "LostDigits", str(tmp_path)]
    environment = {"VORNCHECK_JSON": "kept.json"}
    (tmp_path / "kept.json").write_text("first\n")
    subprocess.run(
        [*EMULATOR, *(["-E", f"LD_PRELOAD={LIBRARY}"] if EMULATOR else []), *command],
        cwd=tmp_path,
        env={**os.environ, **environment, **({} if EMULATOR else {"LD_PRELOAD": LIBRARY})},
        check=False,
    )
    assert len((tmp_path / "kept.json").read_text().splitlines()) == 3
    assert check(command).status == FOUND


@pytest.mark.parametrize(
    "options, text",
    [
        (["--only=none"], "no finding is named none; there are: dangling-name "),
        (["--status=256"], "256"),
        (["--fatal=2"], "2"),
        (["--quiet-after=-1"], "-1"),
        (["--quiet-after=x"], "x"),
        (["--suppressions=nosuch"], "nosuch"),
        (["--suppressions=wrong"], "an identifier and a function: lost-digits"),
    ],
)
@pytest.mark.parametrize("is_launched", [pytest.param(True, marks=launched), False])
def test_wrong_options_are_refused(make, tmp_path, options, text, is_launched):
    (tmp_path / "wrong").write_text("lost-digits\n")
    run = make("None", *options, is_launched=is_launched)
    assert (run.status, run.output) == (2, "")
    assert run.text.startswith("vorncheck: ") and text in run.text


@pytest.mark.parametrize("is_launched", [pytest.param(True, marks=launched), False])
def test_a_file_that_cannot_be_written_is_refused_by_the_launcher(make, is_launched):
    run = make("LostDigits", "--json=/nonexistent/file", is_launched=is_launched)
    assert "vorncheck: " in run.text and "cannot write to /nonexistent/file" in run.text
    assert run.status == (2 if is_launched else FOUND)


@launched
@pytest.mark.parametrize(
    "arguments, status, text",
    [
        ([], 2, "PROGRAM is required"),
        (["--nosuch", "true"], 2, "--nosuch"),
        (["nosuch"], 127, "nosuch: not found"),
        (["/"], 126, "/: Permission denied"),
        (["--", "sh", "-c", "exit 6"], 6, ""),
        (["--help"], 0, ""),
        (["--version"], 0, ""),
        (["--only", "busy-wait", "sh", "-c", "exit 5", "--fatal"], 5, ""),
    ],
)
def test_the_launcher(arguments, status, text):
    ended = subprocess.run(
        [os.environ["VORNCHECK"], *arguments], capture_output=True, text=True, check=False
    )
    assert (ended.returncode, text in ended.stderr) == (status, True), ended
    assert bool(ended.stderr) == bool(text)


@launched
def test_the_launcher_refuses_a_folder_that_cannot_be_preloaded(tmp_path):
    folder = tmp_path / "a folder"
    folder.mkdir()
    for file in (os.environ["VORNCHECK"], LIBRARY):
        shutil.copy(file, folder)
    ended = subprocess.run([folder / "vorncheck", "true"], capture_output=True, check=False)
    assert (ended.returncode, b"cannot be preloaded" in ended.stderr) == (2, True)


@launched
def test_files_are_relative_to_the_first_folder(check, tmp_path):
    (tmp_path / "none").write_text("")
    script = f"cd / && {MISTAKES[0]} LostDigits {tmp_path}"
    check(["sh", "-c", script], "--json=kept.json", "--suppressions=none")
    assert '"lost-digits"' in (tmp_path / "kept.json").read_text()


@launched
def test_a_library_that_was_preloaded_stays(check):
    run = check(["sh", "-c", "echo $LD_PRELOAD"], environment={"LD_PRELOAD": "libdl.so.2"})
    assert run.output == f"{LIBRARY}:libdl.so.2\n"


def test_the_options_are_variables_too(make):
    run = make("BusyStep", "--only=busy-wait", "--status=4", is_launched=False)
    assert (run.status, run.identifiers()) == (4, ["busy-wait"])
