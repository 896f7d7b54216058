"""Questions about the machine's time-zone data, put to the tool and to the sqlite3 shell."""

import collections
import csv
import pathlib
import shlex
import tempfile

import pytest
from conftest import Tool, rows_of

ZONEINFO = pathlib.Path("/usr/share/zoneinfo")


def tab_rows(name):
    """The rows of one of the system's files."""
    lines = (ZONEINFO / name).read_text(encoding="utf-8").splitlines()
    return [line.split("\t") for line in lines if line and not line.startswith("#")]


def zones():
    """The rows of the table zone."""
    ranks = collections.Counter()
    for country, _, name, *comment in tab_rows("zone.tab"):
        ranks[country] += 1
        yield [name, country, ranks[country], ranks[country] / 2, *(comment or [""])]


# One or two tables, and conditions. Three have no rows to show: XX, pt and Bouvet Island; all
# others have.
QUESTIONS = (
    "country",
    "zone",
    "zone zone_country=PT",
    "zone zone_country=US",
    "country country_code=CI",
    "country 'country_name=Åland Islands'",
    'country "country_name=Côte d\'Ivoire"',
    "zone zone_name=Europe/Lisbon",
    "zone zone_rank=1",
    # A rank is a number, whatever its zeros.
    "zone zone_rank=003",
    "zone zone_country=BR zone_rank=2",
    "zone zone_comment=",
    "zone zone_comment=Azores",
    "zone zone_half=1.5",
    "country country_code=XX",
    "country country_code=pt",
    "zone.zone_country country.country_code",
    "country.country_code zone.zone_country",
    "country.country_code zone.zone_country country_name=Portugal",
    "country.country_code zone.zone_country country.country_name=Japan zone.zone_rank=1",
    "country.country_code zone.zone_country country_code=BV",
    "sqlite_master type=table",
)
EMPTY = ("XX", "pt", "BV")


@pytest.fixture(scope="module")
def world():
    """The tool on the tables, which it makes and fills."""
    with tempfile.TemporaryDirectory() as folder:
        tool = Tool(pathlib.Path(folder))
        fill(tool)
        yield tool


def fill(tool):
    """Makes the tables and imports their rows."""
    tool.done("create", "country", "country_name:TEXT", "--key", "country_code:TEXT")
    tool.done(
        *("create", "zone", "zone_country:TEXT", "zone_rank:INTEGER", "zone_half:REAL"),
        *("zone_comment:TEXT", "--key", "zone_name:TEXT"),
    )
    header = ["zone_name", "zone_country", "zone_rank", "zone_half", "zone_comment"]
    for table, columns, rows in (
        ("country", ["country_code", "country_name"], tab_rows("iso3166.tab")),
        ("zone", header, list(zones())),
    ):
        with open(tool.folder / "rows.csv", "w", encoding="utf-8", newline="") as file:
            csv.writer(file).writerows([columns, *rows])
        assert tool.done("import", table, "rows.csv") == f"{len(rows)} rows written to {table}\n"
        assert tool.sql(f"SELECT count(*) FROM {table}") == f"{len(rows)}\n"


def statement(places, conditions):
    """The question in SQL. A number has no quotes there."""
    tables = " JOIN ".join(place.split(".")[0] for place in places)
    terms = [" = ".join(places)] if len(places) == 2 else []
    for column, value in (condition.split("=") for condition in conditions):
        text = "'" + value.replace("'", "''") + "'"
        terms.append(f"{column} = " + (value if value[:1].isdigit() else text))
    return f"SELECT * FROM {tables}" + (" WHERE " if terms else "") + " AND ".join(terms)


@pytest.mark.parametrize("question", QUESTIONS)
def test_tool_and_shell_agree(world, question):
    words = shlex.split(question)
    places = [word for word in words if "=" not in word]
    conditions = words[len(places) :]
    command = ["join" if len(places) == 2 else "select", *places, "--format", "csv"]
    answer = rows_of(world.done(*command, *(conditions and ["--where", *conditions])))
    assert answer == rows_of(world.sql(statement(places, conditions), "-csv", "-header"))
    assert (not answer) == question.endswith(EMPTY)
