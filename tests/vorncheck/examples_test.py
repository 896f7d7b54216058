"""The examples: each mistake is found where its comments are, and nothing in the others."""

import fnmatch
import os
import re
import shutil
import subprocess

import pytest
from checked import EMULATOR, EXAMPLES, FOUND, SOURCE
from documents_test import KINDS

SUPPRESSIONS = SOURCE / "examples/vorncheck.supp"
GUIDE = re.findall("(?m)^<!-- output (.+) -->$", (SOURCE / "docs/guide.md").read_text())
native = pytest.mark.skipif(bool(EMULATOR), reason="the compilers are this machine's")
built = pytest.mark.skipif("GUIDE" not in os.environ, reason="the examples are not built")


def headed(source):
    """The options and the sentence in the comment at the beginning of a source."""
    head = re.search(r"(?m)^// vorncheck( --\S+)?: (.+(?:\n//   .+)*)", source.read_text())
    return (head[1] or "").split(), re.sub(r"\s*\n//\s*", " ", head[2])


def marked(source, finding):
    """The headings of the stacks, and the lines that have them as comments."""
    comments = re.compile(rf"// vorncheck: {finding}, (.+)$")
    lines = enumerate(source.read_text().splitlines(), 1)
    return sorted((mark[1], number) for number, line in lines if (mark := comments.search(line)))


def expect_marked(run, finding):
    """The finding of an example is the only one."""
    source, _ = EXAMPLES[finding]
    assert (run.status, run.identifiers()) == (FOUND, [finding]), run.text
    pattern = headed(source)[1].replace("...", "*")
    assert fnmatch.fnmatchcase(run.findings[0]["sentence"], pattern)
    assert run.findings[0]["guide"] == f"docs/guide.md#{finding}"
    frames = {stack["heading"]: stack["frames"][0] for stack in run.findings[0]["stacks"]}
    lines = sorted((heading, frame["line"]) for heading, frame in frames.items())
    assert lines == marked(source, finding)
    for frame in frames.values():
        assert frame["file"].endswith(f"examples/mistakes/{source.name}")


def test_every_finding_has_an_example():
    assert sorted(EXAMPLES) == sorted(KINDS)


@pytest.mark.parametrize("finding", EXAMPLES)
def test_a_mistake_is_found_where_it_is_marked(check, finding):
    source, program = EXAMPLES[finding]
    expect_marked(check([program], *headed(source)[0]), finding)


@native
@pytest.mark.parametrize("finding", ["dangling-name", "concurrent-change"])
@pytest.mark.parametrize("option", ["-fomit-frame-pointer", "-fno-omit-frame-pointer"])
@pytest.mark.parametrize(
    "compiler",
    [
        os.environ["CXX"],
        pytest.param(
            "clang++",
            marks=pytest.mark.skipif(not shutil.which("clang++"), reason="there is no Clang"),
        ),
    ],
    ids=os.path.basename,
)
def test_a_mistake_is_found_in_every_build(check, tmp_path, compiler, option, finding):
    library, program = os.environ["VORNDATABASE"], tmp_path / "program"
    command = [compiler, "-std=c++11", "-pthread", "-g", "-O2", option, f"-I{SOURCE}/include"]
    command += [EXAMPLES[finding][0], "-o", program]
    command += [library, f"-Wl,-rpath,{os.path.dirname(library)}", "-lsqlite3"]
    subprocess.run(command, check=True)
    run = check([program])
    expect_marked(run, finding)
    (tmp_path / "contacts.db").unlink()
    subprocess.run(["strip", program], check=True)
    stripped = check([program])
    assert stripped.identifiers() == [finding]
    for stack, other in zip(run.findings[0]["stacks"], stripped.findings[0]["stacks"], strict=True):
        frame = other["frames"][0]
        assert (frame["file"], frame["line"]) == ("", 0)
        assert (frame["object"], frame["offset"]) == (str(program), stack["frames"][0]["offset"])


@built
@pytest.mark.parametrize("arguments", GUIDE)
def test_the_programs_of_the_guide_are_correct(check, arguments):
    program, *arguments = arguments.split()
    command = [f"{os.environ['GUIDE']}/guide_{program}", *arguments]
    run = check(command, f"--suppressions={SUPPRESSIONS}")
    assert (run.status, run.findings) == (0, []), run.text


@built
@pytest.mark.parametrize(
    "variable, lines",
    [
        ("CONTACTS", ["add Kim 100", 'add "Miles O\'Brien" 200', "list", "remove Kim"]),
        ("TIMEZONE_PICKER", ["PT ."]),
    ],
)
def test_the_applications_are_correct(check, variable, lines):
    for line in lines:
        command = ["sh", "-c", f"{os.environ[variable]} {line}"]
        run = check(command, f"--suppressions={SUPPRESSIONS}")
        assert (run.status, run.findings) == (0, []), run.text
        assert run.summary["operations"]
