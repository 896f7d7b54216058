"""The programs under test, and their results.

MISTAKES is the application, EXAMPLES the folder of examples/mistakes, VORNCHECK the launcher and
VORNCHECK_LIBRARY the library that it loads. If VORN_EMULATOR is set, that command runs the
application, with the library alone.
"""

import os
import pathlib
import shlex


SOURCE = pathlib.Path(os.environ["VORN_SOURCE_DIR"])
EMULATOR = shlex.split(os.environ.get("VORN_EMULATOR", ""))
LIBRARY = os.environ["VORNCHECK_LIBRARY"]
MISTAKES = [os.environ["MISTAKES"]]
# The source and the program for each finding.
EXAMPLES = {
    source.stem.replace("_", "-"): (source, f"{os.environ['EXAMPLES']}/mistake_{source.stem}")
    for source in sorted((SOURCE / "examples/mistakes").glob("*.cpp"))
}
FOUND = 3


def as_variables(options):
    """The environment variables for options."""
    variables = {}
    for option in options:
        name, _, value = option[2:].partition("=")
        variables[f"VORNCHECK_{name.upper().replace('-', '_')}"] = value or "1"
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
