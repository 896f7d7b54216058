"""Runs programs under vorncheck."""

import json
import os
import subprocess

import pytest
from checked import EMULATOR, LIBRARY, MISTAKES, Run, as_variables


@pytest.fixture
def check(tmp_path):
    """A function that runs a program under vorncheck, in an empty folder if none is given."""

    def run(command, *options, environment=None, is_launched=not EMULATOR, **changes):
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
        pipe = subprocess.PIPE
        changes = {"cwd": tmp_path, "stdout": pipe, "stderr": pipe, **changes}
        ended = subprocess.run(command, env=variables, check=False, **changes)
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
