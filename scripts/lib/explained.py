"""Files of explained exceptions: paragraphs of "key: value", the last key being "why".
A value may go on in indented lines; lines that begin with "#" are comments."""

import pathlib
import sys
import textwrap


def fail(message):
    sys.exit(f"{pathlib.Path(sys.argv[0]).stem}: {message}")


def read(path, keys):
    """The entries of a file: what stands for `keys`, as a tuple, with the reason."""
    entries = {}
    for paragraph in _paragraphs(path):
        fields = _fields(path, paragraph)
        if list(fields) != [*keys, "why"] or not all(fields.values()):
            fail(f"{path}: an entry needs {', '.join(keys)} and why: {paragraph[0]}")
        values = tuple(fields[key] for key in keys)
        if values in entries:
            fail(f"{path}: twice: {' | '.join(values)}")
        entries[values] = fields["why"]
    return entries


def entry(keys, values):
    """An entry as it would stand in a file, but for the reason."""
    lines = (f"{key}: {value}" for key, value in zip(keys, values))
    return "\n".join(
        textwrap.fill(
            line, 100, subsequent_indent="  ", break_long_words=False, break_on_hyphens=False
        )
        for line in lines
    )


def _paragraphs(path):
    text = pathlib.Path(path).read_text(encoding="utf-8")
    lines = [line for line in text.splitlines() if not line.startswith("#")]
    paragraphs = "\n".join(lines).split("\n\n")
    return [part.strip("\n").split("\n") for part in paragraphs if part.strip()]


def _fields(path, lines):
    fields = {}
    for line in lines:
        key, colon, value = line.partition(": ")
        if line.startswith(" ") and fields:
            fields[next(reversed(fields))] += " " + line.strip()
        elif colon and key not in fields:
            fields[key] = value.strip()
        else:
            fail(f"{path}: not understood: {line}")
    return fields
