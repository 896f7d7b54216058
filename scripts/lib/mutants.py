"""Which mutants a C++ source has: small changes, each of which a test should notice.

The source is read as tokens, not parsed; that it is formatted by clang-format tells
a comparison (blanks on both sides) from a template's bracket. A change that does not
compile is no mutant, which shows when it is built.
"""

import collections
import re
import typing

TOKEN = re.compile(
    r"""
    (?P<skipped> \s+ | //[^\n]* | /\*.*?\*/ | ^[ \t]*\#(?:\\\n|[^\n])* )
  | (?P<string> "(?:\\.|[^"\\])*" )
  | (?P<character> '(?:\\.|[^'\\])*' )
  | (?P<number> \d+ )
  | (?P<name> [A-Za-z_]\w* )
  | (?P<sign> -> | :: | \+\+ | -- | << | >> | <= | >= | == | != | && | \|\| | \+= | -= | . )
    """,
    re.VERBOSE | re.MULTILINE | re.DOTALL,
)

COMPARISONS = {
    "==": ["!="],
    "!=": ["=="],
    "<": ["<=", ">="],
    "<=": ["<", ">"],
    ">": [">=", "<="],
    ">=": [">", "<"],
}
LOGIC = {"&&": "||", "||": "&&"}
ARITHMETIC = {"+": "-", "-": "+", "++": "--", "--": "++", "+=": "=", "-=": "+="}
PRIORITIES = {"kDebug": "kInfo", "kInfo": "kDebug", "kWarning": "kError", "kError": "kWarning"}

# Names that are as good as each other to the compiler.
NAMES = {
    "true": "false",
    "false": "true",
    "kOk": "kFailed",
    "kFailed": "kOk",
    "kInvalidPosition": "kFirstRow",
    "kFirstRow": "kLastRow",
    "kLastRow": "kFirstRow",
    "SQLITE_OK": "SQLITE_ERROR",
    "SQLITE_ERROR": "SQLITE_CORRUPT",
    "SQLITE_BUSY": "SQLITE_LOCKED",
    "SQLITE_ROW": "SQLITE_DONE",
    "SQLITE_DONE": "SQLITE_ROW",
    "SQLITE_INTEGER": "SQLITE_BLOB",
    "SQLITE_FLOAT": "SQLITE_BLOB",
    "SQLITE_TEXT": "SQLITE_BLOB",
    "SQLITE_NULL": "SQLITE_BLOB",
    "find": "rfind",
    "rfind": "find",
    "sqlite3_prepare": "sqlite3_prepare_v2",
    "sqlite3_close": "sqlite3_close_v2",
    "m_data": "m_where",
    "m_where": "m_data",
    "m_directory": "m_fileName",
    "m_fileName": "m_directory",
    "m_primaryKeyName": "m_compositeKeyName",
    "m_primaryKeyType": "m_compositeKeyType",
    "m_compositeKeyName": "m_primaryKeyName",
    "m_compositeKeyType": "m_primaryKeyType",
    "m_leftTable": "m_rightTable",
    "m_leftColumn": "m_rightColumn",
    "m_rightTable": "m_leftTable",
    "m_rightColumn": "m_leftColumn",
    "GetDataMap": "GetWhereMap",
    "GetWhereMap": "GetDataMap",
    "AppendWhereIfAny": "AppendWhere",
    "MoveToFirst": "MoveToLast",
}

# How a statement begins that declares nothing, its tokens with blanks in between.
EXPRESSION = re.compile(
    r"\+\+ | -- | delete\s | \w+\s< | (\w+\s(::|\.|->)\s)* \w+\s(\(|\[|=|\+=|<<|>>|\+\+|--|;)",
    re.VERBOSE,
)

KEYWORDS = {"if", "for", "while", "switch", "return", "sizeof", "catch", "alignof"}
# What begins an argument whose type none of its neighbours has.
UNLIKE = ("VORN_HERE", "site,", "*this", "vorn::k", "[", "{")
OPENING = {"(": ")", "[": "]", "{": "}"}


class Mutant(typing.NamedTuple):
    """`begin` to `end` of a file's text becomes `text`."""

    file: str
    line: int
    function: str
    line_text: str
    operator: str
    original: str
    replacement: str
    number: int  # among those that agree in all the above but the line
    begin: int
    end: int
    text: str

    @property
    def change(self):
        number = f" #{self.number}" if self.number > 1 else ""
        return f"{self.operator}: {self.original} -> {self.replacement or 'nothing'}{number}"

    @property
    def name(self):
        return f"{self.file}:{self.line}: {self.change}"

    @property
    def key(self):
        """What stays when lines are added elsewhere."""
        return (self.file, self.function, self.line_text, self.change)


class Token(typing.NamedTuple):
    kind: str
    text: str
    begin: int
    end: int


class Statement(typing.NamedTuple):
    """A simple statement, from its first token to its semicolon."""

    first: int
    last: int
    kind: str  # expression, declaration, label or jump
    declared: str  # a declaration's name
    follows: bool  # on another simple statement


class Source:
    """A file's tokens, which of them belong together, and what they are part of."""

    def __init__(self, text):
        self.text = text
        self.tokens = [
            Token(match.lastgroup, match.group(), match.start(), match.end())
            for match in TOKEN.finditer(text)
            if match.lastgroup != "skipped"
        ]
        self.partner = self._find_partners()
        self.function = [""] * len(self.tokens)  # what contains each token
        self.enumerator = [False] * len(self.tokens)
        self.attribute = [False] * len(self.tokens)
        self.blocks = []
        self.lists = []
        self._find_blocks()
        self._find_attributes()

    def word(self, index):
        return self.tokens[index].text if 0 <= index < len(self.tokens) else ""

    def span(self, first, last):
        """From where to where two tokens, and what is between them, reach."""
        return self.tokens[first].begin, self.tokens[last].end

    def between(self, first, last):
        begin, end = self.span(first, last)
        return self.text[begin:end]

    def is_binary(self, index):
        token = self.tokens[index]
        return self.text[token.begin - 1].isspace() and self.text[token.end].isspace()

    def _find_partners(self):
        partner, open_brackets = {}, []
        for index, token in enumerate(self.tokens):
            if token.kind == "sign" and token.text in OPENING:
                open_brackets.append(index)
            elif token.kind == "sign" and token.text in OPENING.values():
                partner[open_brackets.pop()] = index
        return partner

    def _find_blocks(self):
        for opening, closing in sorted(self.partner.items()):
            if self.word(opening) != "{":
                continue
            head = self._head(opening)
            inside = range(opening, closing + 1)
            if "enum" in head:
                for index in inside:
                    self.enumerator[index] = True
            elif self.word(opening - 1) in (")", "]", "const", "else"):
                self.blocks.append((opening, closing))
                if not self.function[opening]:
                    name = self._function_name(opening)
                    for index in inside:
                        self.function[index] = name
            elif not {"namespace", "struct", "class"} & set(head):
                self.lists.append((opening, closing))

    def _find_attributes(self):
        for index, token in enumerate(self.tokens):
            if token.text == "__attribute__":
                for inside in range(index, self.partner[index + 1] + 1):
                    self.attribute[inside] = True

    def _head(self, opening):
        """The words since the last statement or block."""
        words = []
        index = opening - 1
        while index >= 0 and self.word(index) not in (";", "{", "}"):
            words.append(self.word(index))
            index -= 1
        return words[::-1]

    def _function_name(self, opening):
        match = re.search(r"((?:\w+ :: )*(?:~ )?\w+) \(", " ".join(self._head(opening)))
        return match.group(1).replace(" ", "") if match else ""

    def end_of(self, index, ends):
        """The first of these tokens from `index` on, brackets skipped."""
        while self.word(index) not in ends:
            index = self.partner.get(index, index) + 1
        return index

    def elements(self, opening):
        """What is listed between brackets, as pairs of first and last token."""
        closing = self.partner[opening]
        first, found = opening + 1, []
        while first < closing:
            end = min(self.end_of(first, {",", self.word(closing)}), closing)
            found.append((first, end - 1))
            first = end + 1
        return found

    def statements(self):
        for opening, closing in self.blocks:
            yield from self._statements_of(opening, closing)

    def _statements_of(self, opening, closing):
        index, follows = opening + 1, False
        while index < closing:
            word = self.word(index)
            if word in ("if", "for", "while", "switch"):
                index, follows = self.partner[index + 1] + 1, False
            elif word in ("else", "do"):
                index, follows = index + 1, False
            elif word == "{":
                index, follows = self.partner[index] + 1, False
            elif word in ("case", "default"):
                end = self.end_of(index, {":"})
                yield Statement(index, end, "label", "", False)
                index, follows = end + 1, False
            else:
                end = self.end_of(index, {";"})
                yield self._simple_statement(index, end, follows)
                index, follows = end + 1, True

    def _simple_statement(self, first, last, follows):
        words = " ".join(self.word(index) for index in range(first, last + 1))
        if re.match(r"(break|return|continue) ", words):
            return Statement(first, last, "jump", "", follows)
        if EXPRESSION.match(words):
            return Statement(first, last, "expression", "", follows)
        name = re.search(r"(\w+) ([({=;]|\[)", words).group(1)
        return Statement(first, last, "declaration", name, follows)

    def is_used(self, name, first, last):
        return any(self.word(index) == name for index in range(first, last + 1))

    def end_of_block(self, index):
        return min(closing for opening, closing in self.blocks if opening < index < closing)


# The operators: each yields first token, last token and the new text.


def comparison(source):
    for index, token in enumerate(source.tokens):
        if token.kind == "sign" and token.text in COMPARISONS and source.is_binary(index):
            for other in COMPARISONS[token.text]:
                yield index, index, other


def logic(source):
    for index, token in enumerate(source.tokens):
        if token.text in LOGIC and source.is_binary(index):
            yield index, index, LOGIC[token.text]
        elif token.text == "!":
            yield index, index, ""


def arithmetic(source):
    for index, token in enumerate(source.tokens):
        step = token.text in ("++", "--")
        if token.text in ARITHMETIC and (step or source.is_binary(index)):
            yield index, index, ARITHMETIC[token.text]
        elif token.text == "-" and source.tokens[index + 1].kind == "number":
            yield index, index, ""


def number(source):
    for index, token in enumerate(source.tokens):
        if token.kind == "number" and not source.attribute[index]:
            value = int(token.text)
            yield index, index, str(value + 1)
            if value > 0:
                yield index, index, str(value - 1)


def name(source):
    for index, token in enumerate(source.tokens):
        literal_or_used = source.function[index] or token.text in ("true", "false")
        if token.text in NAMES and literal_or_used and not source.enumerator[index]:
            yield index, index, NAMES[token.text]


def priority(source):
    for index, token in enumerate(source.tokens):
        if token.text in PRIORITIES and not source.enumerator[index]:
            yield index, index, PRIORITIES[token.text]


def literal(source):
    for index, token in enumerate(source.tokens):
        if token.kind == "string":
            if token.text != '""':
                yield index, index, '""'
            yield index, index, '"~' + token.text[1:]
        elif token.kind == "character":
            yield index, index, "'~'"


def condition(source):
    """Negated, always true and always false."""
    for index, token in enumerate(source.tokens):
        if token.text in ("if", "while"):
            first, last = index + 2, source.partner[index + 1] - 1
        elif token.text == "for" and source.is_used(";", index, source.partner[index + 1]):
            first = source.end_of(index + 2, {";"}) + 1
            last = source.end_of(first, {";"}) - 1
        else:
            continue
        if first > last:
            continue
        words = [source.word(inner) for inner in range(first, last + 1)]
        operators = [word for word in words if word in {*COMPARISONS, *LOGIC, "!"}]
        if operators not in (["=="], ["!="], ["!"]):  # those are negated already
            yield first, last, f"!({source.between(first, last)})"
        yield first, last, "true"
        yield first, last, "false"


def choice(source):
    """The two sides of a conditional expression, swapped."""
    for index, token in enumerate(source.tokens):
        if token.text == "?":
            colon = source.end_of(index, {":"})
            end = source.end_of(colon, {";", ",", ")", "}"}) - 1
            left, right = source.between(index + 1, colon - 1), source.between(colon + 1, end)
            yield index + 1, end, f"{right} : {left}"


def result(source):
    """Nothing, or zero, returned."""
    for statement in source.statements():
        first, last = statement.first + 1, statement.last - 1
        if source.word(statement.first) != "return" or first > last:
            continue
        if source.between(first, last) not in ("kOk", "true", "false", "nullptr"):
            yield first, last, "{}"


def _is_raii(source, statement):
    """A declaration for the sake of what its destructor does."""
    end = source.end_of_block(statement.last)
    return statement.kind == "declaration" and not source.is_used(
        statement.declared, statement.last, end
    )


def dropped(source):
    for statement in source.statements():
        words = source.between(statement.first, statement.last)
        if (
            statement.kind in ("expression", "label")
            or words in ("break;", "return;")
            or _is_raii(source, statement)
        ):
            if words != "default:":
                new = "" if statement.kind == "label" else ";"
                yield statement.first, statement.last, new


def order(source):
    """Two statements, swapped."""
    previous = None
    for statement in source.statements():
        if statement.follows and previous and _can_swap(source, previous, statement):
            first = source.between(previous.first, previous.last)
            second = source.between(statement.first, statement.last)
            if first != second:
                yield previous.first, statement.last, f"{second} {first}"
        previous = statement


def _can_swap(source, one, other):
    for statement in (one, other):
        if statement.kind not in ("expression", "declaration"):
            return False
        is_empty = source.word(statement.last - 1) == statement.declared
        if source.word(statement.first) == "constexpr" or is_empty:
            return False  # which does nothing, wherever it stands
    if one.kind == "declaration" and source.is_used(one.declared, other.first, other.last):
        return False
    declarations = one.kind == other.kind == "declaration"
    return not declarations or (_is_raii(source, one) and _is_raii(source, other))


def arguments(source):
    """Two neighbours in a call or a list, swapped."""
    calls = [
        index
        for index in source.partner
        if source.word(index) == "("
        and source.function[index]
        and source.tokens[index - 1].kind == "name"
        and source.word(index - 1) not in KEYWORDS
    ]
    lists = [opening for opening, _ in source.lists if source.function[opening]]
    for opening in sorted(calls + lists):
        elements = source.elements(opening)
        for one, other in zip(elements, elements[1:]):
            first, second = source.between(*one), source.between(*other)
            unlike = any(f"{text},".startswith(UNLIKE) for text in (first, second))
            if first != second and not unlike:
                yield one[0], other[1], f"{second}, {first}"


OPERATORS = (
    comparison,
    logic,
    arithmetic,
    number,
    name,
    priority,
    literal,
    condition,
    choice,
    result,
    dropped,
    order,
    arguments,
)


def _one_line(text):
    return " ".join(text.split())


def of(file, text):
    """The mutants of a file, in an order that stays."""
    source = Source(text)
    lines = text.split("\n")
    seen = collections.Counter()
    found = []
    for operator in OPERATORS:
        for first, last, new in operator(source):
            begin, end = source.span(first, last)
            line = text.count("\n", 0, begin) + 1
            function = source.function[first] or "no function"
            mutant = Mutant(
                file, line, function, lines[line - 1].strip(), operator.__name__,
                _one_line(text[begin:end]), _one_line(new), 0, begin, end, new,
            )  # fmt: skip
            seen[mutant.key] += 1
            found.append(mutant._replace(number=seen[mutant.key]))
    return sorted(found, key=lambda mutant: (mutant.begin, mutant.operator))
