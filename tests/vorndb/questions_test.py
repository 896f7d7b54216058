"""Questions about the machine's time-zone data, put to the tool and to the sqlite3 shell."""

import csv
import pathlib

from tool import Tool, rows_of

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


# Each in the words of a user, of the tool, and of SQL.
QUESTIONS = (
    ("Which countries are there?", ["select", "country"], "SELECT * FROM country"),
    ("Which zones are there?", ["select", "zone"], "SELECT * FROM zone"),
    (
        "Which zones has Portugal?",
        ["select", "zone", "--where", "zone_country=PT"],
        "SELECT * FROM zone WHERE zone_country = 'PT'",
    ),
    (
        "Which zones have the United States?",
        ["select", "zone", "--where", "zone_country=US"],
        "SELECT * FROM zone WHERE zone_country = 'US'",
    ),
    (
        "What is the country CI called?",
        ["select", "country", "--where", "country_code=CI"],
        "SELECT * FROM country WHERE country_code = 'CI'",
    ),
    (
        "Which code has the Åland Islands?",
        ["select", "country", "--where", "country_name=Åland Islands"],
        "SELECT * FROM country WHERE country_name = 'Åland Islands'",
    ),
    (
        "Where is Europe/Lisbon?",
        ["select", "zone", "--where", "zone_name=Europe/Lisbon"],
        "SELECT * FROM zone WHERE zone_name = 'Europe/Lisbon'",
    ),
    (
        "Which zone is the first of each country?",
        ["select", "zone", "--where", "zone_rank=1"],
        "SELECT * FROM zone WHERE zone_rank = 1",
    ),
    (
        "Is a rank a number, whatever its zeros?",
        ["select", "zone", "--where", "zone_rank=003"],
        "SELECT * FROM zone WHERE zone_rank = 3",
    ),
    (
        "Which is the second zone of Brazil?",
        ["select", "zone", "--where", "zone_country=BR", "zone_rank=2"],
        "SELECT * FROM zone WHERE zone_country = 'BR' AND zone_rank = 2",
    ),
    (
        "Which zones have no comment?",
        ["select", "zone", "--where", "zone_comment="],
        "SELECT * FROM zone WHERE zone_comment = ''",
    ),
    (
        "Which zone is commented with Azores?",
        ["select", "zone", "--where", "zone_comment=Azores"],
        "SELECT * FROM zone WHERE zone_comment = 'Azores'",
    ),
    (
        "Which zones lie on 42.5 degrees north?",
        ["select", "zone", "--where", "zone_latitude=42.5"],
        "SELECT * FROM zone WHERE zone_latitude = 42.5",
    ),
    (
        "Is there a country XX?",
        ["select", "country", "--where", "country_code=XX"],
        "SELECT * FROM country WHERE country_code = 'XX'",
    ),
    (
        "Does the case of a code matter?",
        ["select", "country", "--where", "country_code=pt"],
        "SELECT * FROM country WHERE country_code = 'pt'",
    ),
    (
        "Which country has each zone?",
        ["join", "zone.zone_country", "country.country_code"],
        "SELECT * FROM zone JOIN country ON zone_country = country_code",
    ),
    (
        "Which zones has each country?",
        ["join", "country.country_code", "zone.zone_country"],
        "SELECT * FROM country JOIN zone ON zone_country = country_code",
    ),
    (
        "Which zones has the country called Portugal?",
        ["join", "country.country_code", "zone.zone_country", "--where", "country_name=Portugal"],
        "SELECT * FROM country JOIN zone ON zone_country = country_code"
        " WHERE country_name = 'Portugal'",
    ),
    (
        "What is the first zone of Japan, with its country?",
        [
            *("join", "country.country_code", "zone.zone_country"),
            *("--where", "country.country_name=Japan", "zone.zone_rank=1"),
        ],
        "SELECT * FROM country JOIN zone ON zone_country = country_code"
        " WHERE country_name = 'Japan' AND zone_rank = 1",
    ),
    (
        "Which zones has Bouvet Island?",
        ["join", "country.country_code", "zone.zone_country", "--where", "country_code=BV"],
        "SELECT * FROM country JOIN zone ON zone_country = country_code WHERE country_code = 'BV'",
    ),
    (
        "Which tables are there?",
        ["select", "sqlite_master", "--where", "type=table"],
        "SELECT * FROM sqlite_master WHERE type = 'table'",
    ),
)


class Questions(Tool):
    """The tool makes and fills the tables, and answers; the shell answers, too."""

    def setUp(self):
        super().setUp()
        self.done("create", "country", "country_name:TEXT", "--key", "country_code:TEXT")
        self.done(
            *("create", "zone", "zone_country:TEXT", "zone_rank:INTEGER", "zone_latitude:REAL"),
            *("zone_longitude:REAL", "zone_comment:TEXT", "--key", "zone_name:TEXT"),
        )
        self.countries, self.zones = tab_rows("iso3166.tab"), list(zones())
        write_csv(self.folder / "country.csv", ["country_code", "country_name"], self.countries)
        header = "zone_name zone_country zone_rank zone_latitude zone_longitude zone_comment"
        write_csv(self.folder / "zone.csv", header.split(), self.zones)

    def test_questions(self):
        for table, rows in (("country", self.countries), ("zone", self.zones)):
            self.assertEqual(
                self.done("import", table, f"{table}.csv"), f"{len(rows)} rows written to {table}\n"
            )
            self.assertEqual(self.sql(f"SELECT count(*) FROM {table}"), f"{len(rows)}\n")
        self.assertGreaterEqual(len(QUESTIONS), 20)
        empty = 0
        for question, arguments, statement in QUESTIONS:
            with self.subTest(question):
                answer = rows_of(self.done(*arguments, "--format", "csv"))
                self.assertEqual(answer, rows_of(self.sql(statement, "-csv", "-header")))
                empty += not answer
        # XX, pt and Bouvet Island; all other questions have an answer.
        self.assertEqual(empty, 3)

    def test_every_country_is_found_by_its_name(self):
        self.done("import", "country", "country.csv")
        odd = [row for row in self.countries if not row[1].isascii() or "'" in row[1]]
        self.assertGreater(len(odd), 1)
        for code, name in odd:
            answer = self.done(
                "select", "country", "--where", f"country_name={name}", "--format=csv"
            )
            self.assertEqual(rows_of(answer)[1:], [[code, name]])
