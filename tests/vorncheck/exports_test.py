"""The checker is in front of every member of the library that an application calls."""

import os
import re
import subprocess

from checked import LIBRARY

# Type information, members that an application does not call, and those without any effect.
UNCHECKED = re.compile(
    "_ZT[IS]|.*(SqlGenerator|DatabaseParser)|"
    "_ZN8Database([CD][0-9]|6OpenDB|12IsRetryLimit)|_ZN6Cursor11ShowDataLog"
)


def exported(library):
    """The names that a library exports."""
    command = [os.environ["NM"], "-D", "--defined-only", "--format=posix", library]
    output = subprocess.run(command, capture_output=True, text=True, check=True).stdout
    return {line.split()[0] for line in output.splitlines()}


def test_every_member_is_checked():
    library, checker = exported(os.environ["VORNDATABASE"]), exported(LIBRARY)
    assert library & checker
    assert sorted(name for name in library - checker if not UNCHECKED.match(name)) == []
