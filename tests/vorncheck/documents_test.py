"""The documents have every finding and every option."""

import os
import re
import subprocess

import pytest
from conftest import EMULATOR, SOURCE

# The identifier, and the section of the guide.
KINDS = re.findall(
    r'\{"([a-z-]+)",\s*"[^"]*",\s*"([a-z0-9-]+)"\}',
    (SOURCE / "tools/vorncheck/Kinds.h").read_text(),
)
PAGE = (SOURCE / "tools/vorncheck/vorncheck.1").read_text()


def test_the_documents_have_the_findings():
    document = (SOURCE / "docs/vorncheck.md").read_text()
    rows = re.findall(r"(?m)^\| \[([a-z-]+)\]\(guide\.md#([a-z0-9-]+)\) \| (.+) \|$", document)
    assert [row[:2] for row in rows] == KINDS
    items = re.findall(r"(?m)^\.It Cm ([a-z-]+)\n((?:(?!\.It|\.El).*\n)+)", PAGE)
    assert [name for name, _ in items] == [name for name, _ in KINDS]
    texts = [" ".join(text.replace(".Fl -", "--").split()) for _, text in items]
    assert texts == [cause.replace("`", "") for _, _, cause in rows]


def test_the_guide_has_the_sections():
    headings = re.findall("(?m)^#+ (.*)", (SOURCE / "docs/guide.md").read_text())
    anchors = {re.sub("[^a-z0-9 -]", "", text.lower()).replace(" ", "-") for text in headings}
    assert KINDS
    assert {section for _, section in KINDS} <= anchors


@pytest.mark.skipif(bool(EMULATOR), reason="an emulator does not launch programs")
def test_the_page_has_the_options():
    text = subprocess.run(
        [os.environ["VORNCHECK"], "--help"], capture_output=True, text=True, check=True
    ).stdout
    options = set(re.findall(r"(?m)^  (?:-\w,)?--([a-z-]+)", text))
    assert set(re.findall(r"(?m)^\.It Fl (?:\w , )?-([a-z-]+)", PAGE)) == options
