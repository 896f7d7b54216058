"""Questions about the machine's time-zone data, put to the tool and to the sqlite3 shell."""

import csv
import pathlib
import tempfile

import pytest
from conftest import Tool, rows_of

ZONEINFO = pathlib.Path("/usr/share/zoneinfo")


def tab_rows(name):
    """The rows of one of the system's files."""
    lines = (ZONEINFO / name).read_text(encoding="utf-8").splitlines()
    return [line.split("\t") for line in lines if line and not line.startswith("#")]


def degrees(text):
    """±DDMM, ±DDMMSS, ±DDDMM or ±DDDMMSS."""
    sign, digits = text[0], text[1:]
    whole = 2 if len(digits) in (4, 6) else 3
    minutes, seconds = digits[whole : whole + 2], digits[whole + 2 :] or "0"
    value = int(digits[:whole]) + int(minutes) / 60 + int(seconds) / 3600
    return -value if sign == "-" else value


def zones():
    """The rows of the table zone."""
    ranks = {}
    for country, place, name, *comment in tab_rows("zone.tab"):
        split = max(place.rfind("+"), place.rfind("-"))
        ranks[country] = ranks.get(country, 0) + 1
        latitude, longitude = degrees(place[:split]), degrees(place[split:])
        yield [name, country, ranks[country], latitude, longitude, *(comment or [""])]


def write_csv(path, header, rows):
    """A file to be imported."""
    with open(path, "w", encoding="utf-8", newline="") as file:
        csv.writer(file).writerows([header, *rows])


# Each in the words of the tool and of SQL. Three have no rows to show: XX, pt and Bouvet
# Island; all others have.
QUESTIONS = (
    ("select country", "SELECT * FROM country"),
    ("select zone", "SELECT * FROM zone"),
    ("select zone --where zone_country=PT", "SELECT * FROM zone WHERE zone_country = 'PT'"),
    ("select zone --where zone_country=US", "SELECT * FROM zone WHERE zone_country = 'US'"),
    ("select country --where country_code=CI", "SELECT * FROM country WHERE country_code = 'CI'"),
    (
        ["select", "country", "--where", "country_name=Åland Islands"],
        "SELECT * FROM country WHERE country_name = 'Åland Islands'",
    ),
    (
        "select zone --where zone_name=Europe/Lisbon",
        "SELECT * FROM zone WHERE zone_name = 'Europe/Lisbon'",
    ),
    ("select zone --where zone_rank=1", "SELECT * FROM zone WHERE zone_rank = 1"),
    # A rank is a number, whatever its zeros.
    ("select zone --where zone_rank=003", "SELECT * FROM zone WHERE zone_rank = 3"),
    (
        "select zone --where zone_country=BR zone_rank=2",
        "SELECT * FROM zone WHERE zone_country = 'BR' AND zone_rank = 2",
    ),
    ("select zone --where zone_comment=", "SELECT * FROM zone WHERE zone_comment = ''"),
    ("select zone --where zone_comment=Azores", "SELECT * FROM zone WHERE zone_comment = 'Azores'"),
    ("select zone --where zone_latitude=42.5", "SELECT * FROM zone WHERE zone_latitude = 42.5"),
    ("select country --where country_code=XX", "SELECT * FROM country WHERE country_code = 'XX'"),
    ("select country --where country_code=pt", "SELECT * FROM country WHERE country_code = 'pt'"),
    (
        "join zone.zone_country country.country_code",
        "SELECT * FROM zone JOIN country ON zone_country = country_code",
    ),
    (
        "join country.country_code zone.zone_country",
        "SELECT * FROM country JOIN zone ON zone_country = country_code",
    ),
    (
        "join country.country_code zone.zone_country --where country_name=Portugal",
        "SELECT * FROM country JOIN zone ON zone_country = country_code"
        " WHERE country_name = 'Portugal'",
    ),
    (
        "join country.country_code zone.zone_country"
        " --where country.country_name=Japan zone.zone_rank=1",
        "SELECT * FROM country JOIN zone ON zone_country = country_code"
        " WHERE country_name = 'Japan' AND zone_rank = 1",
    ),
    (
        "join country.country_code zone.zone_country --where country_code=BV",
        "SELECT * FROM country JOIN zone ON zone_country = country_code WHERE country_code = 'BV'",
    ),
    (
        "select sqlite_master --where type=table",
        "SELECT * FROM sqlite_master WHERE type = 'table'",
    ),
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
        *("create", "zone", "zone_country:TEXT", "zone_rank:INTEGER", "zone_latitude:REAL"),
        *("zone_longitude:REAL", "zone_comment:TEXT", "--key", "zone_name:TEXT"),
    )
    header = "zone_name zone_country zone_rank zone_latitude zone_longitude zone_comment"
    for table, columns, rows in (
        ("country", ["country_code", "country_name"], tab_rows("iso3166.tab")),
        ("zone", header.split(), list(zones())),
    ):
        write_csv(tool.folder / f"{table}.csv", columns, rows)
        assert (
            tool.done("import", table, f"{table}.csv") == f"{len(rows)} rows written to {table}\n"
        )
        assert tool.sql(f"SELECT count(*) FROM {table}") == f"{len(rows)}\n"


@pytest.mark.parametrize("question, statement", QUESTIONS)
def test_tool_and_shell_agree(world, question, statement):
    arguments = question.split() if isinstance(question, str) else question
    answer = rows_of(world.done(*arguments, "--format", "csv"))
    assert answer == rows_of(world.sql(statement, "-csv", "-header"))
    assert (not answer) == arguments[-1].endswith(EMPTY)


def test_every_country_is_found_by_its_name(world):
    odd = [row for row in tab_rows("iso3166.tab") if not row[1].isascii() or "'" in row[1]]
    assert len(odd) > 1
    for code, name in odd:
        answer = world.done("select", "country", "--where", f"country_name={name}", "--format=csv")
        assert rows_of(answer)[1:] == [[code, name]]
