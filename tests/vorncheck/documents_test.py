"""The documents have every finding and every option."""

import ctypes
import ctypes.util
import os
import re
import sqlite3
import subprocess

import pytest
from checked import EMULATOR, SOURCE

KINDS = re.findall(r'X\(\w+, "([a-z-]+)"', (SOURCE / "tools/vorncheck/Kinds.h").read_text())
PAGE = (SOURCE / "tools/vorncheck/vorncheck.1").read_text()


def test_the_documents_have_the_findings():
    document = (SOURCE / "docs/vorncheck.md").read_text()
    rows = re.findall(r"(?m)^\| \[([a-z-]+)\]\(guide\.md#\1\) \| (.+) \|$", document)
    assert [name for name, _ in rows] == KINDS
    items = re.findall(r"(?m)^\.It Cm ([a-z-]+)\n((?:(?!\.It|\.El).*\n)+)", PAGE)
    assert [name for name, _ in items] == KINDS
    texts = [" ".join(text.replace(".Fl -", "--").split()) for _, text in items]
    assert texts == [cause.replace("`", "") for _, cause in rows]


def test_the_guide_explains_the_findings():
    anchors = re.findall('<a id="([a-z-]+)">', (SOURCE / "docs/guide.md").read_text())
    assert KINDS
    assert sorted(anchors) == sorted(KINDS)


def options_of_help():
    """The long options, without their hyphens."""
    ended = subprocess.run([os.environ["VORNCHECK"], "--help"], capture_output=True, check=True)
    return set(re.findall(r"(?m)^  (?:-\w,)?--([a-z-]+)", ended.stdout.decode()))


@pytest.mark.skipif(bool(EMULATOR), reason="an emulator does not launch programs")
def test_the_page_has_the_options():
    assert set(re.findall(r"(?m)^\.It Fl (?:\w , )?-([a-z-]+)", PAGE)) == options_of_help()


def test_the_reserved_words_are_those_of_sqlite():
    library = ctypes.CDLL(ctypes.util.find_library("sqlite3"))
    database = sqlite3.connect(":memory:")
    refused = []
    for number in range(library.sqlite3_keyword_count()):
        text, length = ctypes.c_char_p(), ctypes.c_int()
        library.sqlite3_keyword_name(number, ctypes.byref(text), ctypes.byref(length))
        word = ctypes.string_at(text, length.value).decode().lower()
        try:
            database.execute(f"SELECT 1 FROM (SELECT 1 AS {word}) WHERE {word}='1'")
        except sqlite3.OperationalError:
            refused.append(word)
    source = (SOURCE / "tools/vorncheck/Sql.h").read_text()
    listed = re.findall('"([a-z]+)"', source[source.index("kReserved[]") :].partition("};")[0])
    assert listed == sorted(refused)
