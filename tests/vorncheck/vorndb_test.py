"""vorndb makes no mistake in its own tests, apart from those of vorndb.supp."""

import json
import os
import subprocess
import sys

import pytest
from checked import EMULATOR, LIBRARY, SOURCE

# They run every command on a file. Those on a terminal and with other libraries are left out.
SUITES = ["export", "failures", "formats", "import", "look", "operations", "questions", "transfer"]
# The tests compare standard error, from which this program leaves out the checker's summaries.
PROGRAM = """#!/usr/bin/env bash
LD_PRELOAD=$VORNCHECK_LIBRARY exec "$@" 2> >(grep -v '^vorncheck\\[[0-9]*\\]: operations' >&2)
"""


@pytest.mark.skipif("VORNDB" not in os.environ or bool(EMULATOR), reason="vorndb is not built")
def test_vorndb_makes_no_mistake(tmp_path):
    program, findings = tmp_path / "checked", tmp_path / "findings.json"
    program.write_text(PROGRAM)
    program.chmod(0o755)
    suites = [f"{suite}_test.py" for suite in SUITES]
    # This program is between vorndb and the end of a socket.
    options = ["-p", "no:cacheprovider", "-q", "-k", "not a_line_is_written_at_once"]
    ended = subprocess.run(
        [sys.executable, "-m", "pytest", *options, *suites],
        cwd=SOURCE / "tests/vorndb",
        env={
            **os.environ,
            "VORN_EMULATOR": str(program),
            "VORNCHECK_LIBRARY": LIBRARY,
            "VORNCHECK_JSON": str(findings),
            "VORNCHECK_SUPPRESSIONS": str(SOURCE / "tests/vorncheck/vorndb.supp"),
        },
        capture_output=True,
        text=True,
        check=False,
    )
    lines = [json.loads(line) for line in findings.read_text().splitlines()]
    assert [line for line in lines if "finding" in line] == []
    assert ended.returncode == 0, ended.stdout
    assert sum(line["operations"] for line in lines) > 100
