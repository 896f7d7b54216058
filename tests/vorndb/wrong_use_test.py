"""Wrong use: status 2, one line that tells what is wrong, and nothing done."""

from tool import WRONG_USE, Tool


class WrongUse(Tool):
    """Nothing is written to standard output, and no file comes to be or changes."""

    def setUp(self):
        super().setUp()
        self.contacts()
        self.before = self.database.read_bytes()

    def refused(self, message, *arguments):
        """The whole command line is refused with a message that begins so."""
        ended = self.start(*arguments)
        errors = ended.stderr.decode()
        self.assertEqual((ended.returncode, ended.stdout), (WRONG_USE, b""), arguments)
        self.assertTrue(errors.startswith(f"vorndb: {message}"), f"{arguments}: {errors}")
        self.assertTrue(errors.endswith("\nFor help: vorndb --help\n"), errors)
        self.assertEqual(errors.count("\n"), 2, errors)
        self.assertEqual(self.database.read_bytes(), self.before)
        self.assertEqual(list(self.folder.iterdir()), [self.database])

    def test_commands(self):
        self.refused("A subcommand is required")
        self.refused("A subcommand is required", "-f", "app.db")
        self.refused("'frob' is no command", "frob")
        self.refused("The following argument", "-f", "app.db", "exists", "contact", "more")
        self.refused("The following argument", "-f", "app.db", "drop", "contact", "--nosuch")
        self.refused("The following argument", "-f", "app.db", "exists", "contact", "--wide")
        self.refused(
            "The following argument", "-f", "app.db", "upsert", "contact", "a=1", "--where", "b=2"
        )

    def test_the_file(self):
        self.refused("the database file is missing: vorndb -f FILE", "exists", "contact")
        self.refused("--file: 1 required FILE missing", "exists", "contact", "-f")
        for path in ("./", "/", "data/"):
            self.refused(f"'{path}' names no file", "-f", path, "exists", "contact")

    def test_missing_arguments(self):
        self.refused("TABLE is required", "-f", "app.db", "select")
        self.refused("VALUES is required", "-f", "app.db", "upsert", "contact")
        self.refused("RIGHT is required", "-f", "app.db", "join", "l.a")
        self.refused("CSV is required", "-f", "app.db", "import", "contact")
        self.refused("OUT is required", "-f", "app.db", "export", "contact")
        self.refused("LOG is required", "explain-log")
        self.refused("--where: 1 required", "-f", "app.db", "select", "contact", "--where")

    def test_names(self):
        for name in (
            "a b",
            "1a",
            "",
            "a'b",
            'a"b',
            "a;b",
            "Zürich",
            "a.b",
            "a-b",
            "[a]",
            "a\n",
            "a(",
        ):
            shown = name.replace("\n", "\\n")
            reason = f"'{shown}' is no plain name for a "
            self.refused(reason + "table", "-f", "app.db", "select", name)
            self.refused(reason + "column", "-f", "app.db", "upsert", "contact", f"{name}=1")
            self.refused(
                reason + "column", "-f", "app.db", "select", "contact", "--where", f"{name}=1"
            )
            self.refused(reason + "column", "-f", "app.db", "create", "t", f"{name}:TEXT")
            self.refused(reason + "column", "-f", "app.db", "create", "t", "--key", f"{name}:TEXT")

    def test_forms(self):
        self.refused("'name' is not COLUMN=VALUE", "-f", "app.db", "upsert", "contact", "name")
        self.refused("'' is not COLUMN=VALUE", "-f", "app.db", "upsert", "contact", "")
        self.refused("'name' is not COLUMN:TYPE", "-f", "app.db", "create", "t", "name")
        self.refused("'l' is not TABLE.COLUMN", "-f", "app.db", "join", "l", "r.b")
        self.refused("'b.c' is no plain name", "-f", "app.db", "join", "l.a", "r.b.c")
        self.refused(
            "'x' is not COLUMN=VALUE", "-f", "app.db", "join", "l.a", "r.b", "--where", "x"
        )
        self.refused("'' is no plain name", "-f", "app.db", "join", "l.a", "r.b", "--where", ".x=1")

    def test_types(self):
        for kind in (
            "",
            " TEXT",
            "TEXT)",
            "TEXT, x TEXT",
            "TEXT DEFAULT 'x'",
            "TEXT;",
            "(20)",
            "T(x)",
            "T(1)(2)",
            "T(",
            "T()",
            "T(1,)",
            "T(1,2,3)",
            "T(1)N",
            "TEXT ",
            "A  B",
        ):
            self.refused(f"'{kind}' is no plain type", "-f", "app.db", "create", "t", f"a:{kind}")

    def test_columns_that_are_given_twice(self):
        reason = "the column A is given twice"
        self.refused(reason, "-f", "app.db", "upsert", "contact", "a=1", "A=2")
        self.refused(reason, "-f", "app.db", "select", "contact", "--where", "a=1", "A=2")
        self.refused(
            reason, "-f", "app.db", "select", "contact", "--where", "a=1", "--where", "A=2"
        )
        self.refused(reason, "-f", "app.db", "create", "t", "a:TEXT", "A:TEXT")
        self.refused(reason, "-f", "app.db", "create", "t", "A:TEXT", "--key", "a:TEXT")
        self.refused("the column _id is given twice", "-f", "app.db", "create", "t", "_id:TEXT")

    def test_keys(self):
        self.refused(
            "--composite needs --key",
            "-f",
            "app.db",
            "create",
            "t",
            "a:TEXT",
            "--composite",
            "b:TEXT",
        )

    def test_conditions(self):
        self.refused("update needs --where", "-f", "app.db", "update", "contact", "name=x")
        self.refused("delete without --where takes every row", "-f", "app.db", "delete", "contact")
        self.refused(
            "--all and --where contradict",
            "-f",
            "app.db",
            "delete",
            "contact",
            "--all",
            "--where",
            "uid=7",
        )

    def test_what_a_command_does_not_do(self):
        self.refused("explain-log reads a log", "-f", "app.db", "explain-log", "x.log")
        self.refused("explain-log reads a log", "explain-log", "x.log", "--sql")
        self.refused("export writes a file", "-f", "app.db", "export", "contact", "-")

    def test_formats(self):
        self.refused("'xml' is no format", "-f", "app.db", "select", "contact", "--format", "xml")
        self.refused("'x' does not tell a format", "-f", "app.db", "export", "contact", "x")
        self.refused("'x.db' does not tell a format", "-f", "app.db", "export", "contact", "x.db")
        self.refused("'x.table' does not tell", "-f", "app.db", "export", "contact", "x.table")
