"""Runs the application of mistakes under vorncheck.

MISTAKES is the application, VORNCHECK the launcher and VORNCHECK_LIBRARY the library that it
loads. If VORN_EMULATOR is set, that command runs the application, with the library alone.
"""

import json
import os
import pathlib
import shlex
import subprocess

import pytest

SOURCE = pathlib.Path(os.environ["VORN_SOURCE_DIR"])
EMULATOR = shlex.split(os.environ.get("VORN_EMULATOR", ""))
LIBRARY = os.environ["VORNCHECK_LIBRARY"]
MISTAKES = [os.environ["MISTAKES"]]
FOUND = 3


def as_variables(options):
    """The environment variables for options."""
    variables = {}
    for option in options:
        name, _, value = option[2:].partition("=")
        variables[f"VORNCHECK_{name.upper().replace('-', '_')}"] = value or "true"
    return variables


class Run:
    """A program that has ended."""

    def __init__(self, ended, findings):
        self.status = ended.returncode
        self.output = ended.stdout.decode()
        self.text = (ended.stderr or b"").decode(errors="replace")
        self.summary = findings[-1] if findings and "summary" in findings[-1] else None
        self.findings = [entry for entry in findings if "finding" in entry]

    def identifiers(self):
        """The identifiers of all findings."""
        return [finding["finding"] for finding in self.findings]


@pytest.fixture
def check(tmp_path):
    """A function that runs a program under vorncheck in an empty folder."""

    def run(command, *options, environment=None, is_launched=not EMULATOR, **streams):
        report = tmp_path / "findings.json"
        report.unlink(missing_ok=True)
        if not any(option.startswith("--json") for option in options):
            options = [*options, f"--json={report}"]
        variables = {**os.environ, "VORN_DLOG_PRIORITY": "S", **(environment or {})}
        if is_launched:
            command = [os.environ["VORNCHECK"], *options, *command]
        else:
            variables |= as_variables(options)
            loaded = ["-E", f"LD_PRELOAD={LIBRARY}"]
            command = [*EMULATOR, *(loaded if EMULATOR else []), *command]
            if not EMULATOR:
                variables["LD_PRELOAD"] = LIBRARY
        streams = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **streams}
        ended = subprocess.run(command, cwd=tmp_path, env=variables, check=False, **streams)
        lines = report.read_text().splitlines() if report.exists() else []
        return Run(ended, [json.loads(line) for line in lines])

    return run


@pytest.fixture
def make(check, tmp_path):
    """A function that makes a mistake."""

    def run(mistake, *options, program=None, **changes):
        folder = tmp_path / "folder"
        subprocess.run(["rm", "-rf", folder], check=True)
        folder.mkdir()
        return check([*(program or MISTAKES), mistake, str(folder)], *options, **changes)

    return run
