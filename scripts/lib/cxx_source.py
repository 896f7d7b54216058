"""Finds the functions in C++ sources, as far as this library's own need it. Whatever is not
understood ends the script."""

import ast
import dataclasses
import pathlib
import re
import sys

_TOKEN = re.compile(
    r"""
    (?P<space>\s+|//[^\n]*|/\*.*?\*/)
  | (?P<directive>^[ \t]*\#(?:\\\n|[^\n])*)
  | (?P<text>"(?:\\.|[^"\\\n])*")
  | (?P<character>'(?:\\.|[^'\\\n])*')
  | (?P<name>[A-Za-z_]\w*)
  | (?P<number>\d[\w.']*)
  | (?P<sign>::|->|.)
    """,
    re.VERBOSE | re.MULTILINE | re.DOTALL,
)
_CLOSING = {"(": ")", "{": "}", "[": "]"}


@dataclasses.dataclass(frozen=True, eq=False)
class Token:
    """A word of a source, with the place where it stands."""

    kind: str
    text: str
    path: pathlib.Path
    line: int

    def fail(self, why):
        """Ends the script."""
        sys.exit(f"{pathlib.Path(sys.argv[0]).stem}: {self.path}:{self.line}: {why}")


@dataclasses.dataclass
class Parameter:
    """What a function declares between its parentheses."""

    type: list
    name: str
    default: list


@dataclasses.dataclass(eq=False)
class Function:
    """A function with a body. The code is the body, behind a constructor's initializers."""

    owner: str
    name: str
    parameters: list
    initializers: list
    code: list
    start: Token


@dataclasses.dataclass
class Source:
    """A file: its functions, the data members of its classes, its preprocessor lines."""

    path: pathlib.Path
    functions: list
    members: dict
    enumerators: dict
    directives: list


def tokens_of(path):
    """The words of a file, without blanks and comments."""
    text = pathlib.Path(path).read_text(encoding="utf-8")
    tokens = []
    for match in _TOKEN.finditer(text):
        if match.lastgroup != "space":
            line = text.count("\n", 0, match.start()) + 1
            tokens.append(Token(match.lastgroup, match.group(), path, line))
    for token, following in zip(tokens, tokens[1:]):
        if token.text.endswith("R") and token.kind == "name" and following.kind == "text":
            token.fail("raw strings are not understood")
    return tokens


def closing(tokens, start):
    """The index of what closes the bracket at `start`."""
    depth = []
    for index in range(start, len(tokens)):
        text = tokens[index].text
        if text in _CLOSING:
            depth.append(_CLOSING[text])
        elif text in _CLOSING.values():
            if text != depth.pop():
                tokens[index].fail(f"unexpected {text}")
            if not depth:
                return index
    return tokens[start].fail("is never closed")


def split(tokens, separator=","):
    """Cuts at the separators that stand in no bracket."""
    parts, part, index = [], [], 0
    while index < len(tokens):
        end = index
        if tokens[index].text in _CLOSING:
            end = closing(tokens, index)
        if tokens[index].text == separator:
            parts.append(part)
            part = []
        else:
            part += tokens[index : end + 1]
        index = end + 1
    return parts + [part] if part or parts else []


def literal(tokens):
    """The text of adjoining string literals, or None."""
    if not tokens or any(token.kind != "text" for token in tokens):
        return None
    return "".join(ast.literal_eval(token.text) for token in tokens)


class _Reader:
    """Walks through a file, from one declaration to the next."""

    def __init__(self, path):
        tokens = tokens_of(path)
        self.tokens = [token for token in tokens if token.kind != "directive"]
        directives = [token for token in tokens if token.kind == "directive"]
        self.source = Source(path, [], {}, {}, directives)

    def read(self):
        """The whole file."""
        self.scope(0, len(self.tokens), "")
        return self.source

    def scope(self, index, end, owner):
        """The declarations of a file, a namespace or a class."""
        while index < end:
            index = self.declaration(index, end, owner)

    def declaration(self, start, end, owner):
        """One declaration; answers where the next begins."""
        words = []
        index = start
        while index < end:
            token = self.tokens[index]
            if token.text == ";":
                self.data_member(owner, words)
                return index + 1
            if token.text == ":" and words and words[-1].text in ("public", "private", "protected"):
                return index + 1
            if token.text == "{":
                return self.braces(index, words, owner)
            if token.text in ("(", "["):
                after = closing(self.tokens, index) + 1
                words += self.tokens[index:after]
                index = after
                if words[0].text != "template" and self.is_constructor_with_initializers(
                    index, words
                ):
                    return self.function(index, words, owner)
                continue
            words.append(token)
            index += 1
        if words:
            words[0].fail("the declaration has no end")
        return end

    def is_constructor_with_initializers(self, index, words):
        """Whether initializers follow, whose braces are no body."""
        return words[-1].text == ")" and self.tokens[index].text == ":"

    def braces(self, index, words, owner):
        """What begins with a brace, by what stands before it."""
        after = closing(self.tokens, index) + 1
        words = self.without_template(words)
        texts = [word.text for word in words]
        if not words:
            self.tokens[index].fail("a brace without a declaration")
        if "namespace" in texts or texts[0] == "extern":
            self.scope(index + 1, after - 1, owner)
            return after
        if texts[0] == "enum":
            self.enumeration(self.tokens[index + 1 : after - 1])
            return self.behind_semicolon(after)
        if texts[0] in ("class", "struct", "union"):
            name = texts[texts.index(":") - 1] if ":" in texts else self.class_name(texts)
            self.source.members.setdefault(name, [])
            self.scope(index + 1, after - 1, name)
            return self.behind_semicolon(after)
        if "(" in texts and "=" not in texts[: texts.index("(")]:
            return self.function(index, words, owner)
        return self.behind_semicolon(after)  # a variable with braces

    @staticmethod
    def class_name(texts):
        """The name, also of a specialization."""
        return texts[1] if "<" in texts else texts[-1]

    def behind_semicolon(self, index):
        """Where the next declaration begins."""
        while self.tokens[index].text != ";":
            index += 1
        return index + 1

    @staticmethod
    def without_template(words):
        """Without "template <...>" in front."""
        while words and words[0].text == "template":
            depth = 0
            for index, word in enumerate(words):
                depth += {"<": 1, ">": -1}.get(word.text, 0)
                if word.text == ">" and depth == 0:
                    words = words[index + 1 :]
                    break
            else:
                words[0].fail("a template without an end")
        return words

    def enumeration(self, words):
        """Enumerators with a number of their own."""
        for part in split(words):
            if len(part) == 3 and part[1].text == "=" and part[2].kind == "number":
                self.source.enumerators[part[0].text] = int(part[2].text)

    def data_member(self, owner, words):
        """Remembers the members of classes in their order."""
        texts = [word.text for word in words]
        if owner and words and "(" not in texts and texts[0] not in ("using", "friend"):
            cut = min([texts.index(sign) for sign in ("=", "[") if sign in texts] or [len(texts)])
            self.source.members[owner].append(texts[cut - 1])

    def function(self, index, words, owner):
        """A function, whose initializers or body begin at `index`."""
        words = self.without_template(words)
        texts = [word.text for word in words]
        opening = texts.index("(")
        if "operator" in texts[:opening]:
            name, opening = "operator", len(texts) - 1 - texts[::-1].index("(")
        else:
            name = texts[opening - 1]
            if words[opening - 1].kind != "name":
                words[opening].fail("a function without a name")
            before = opening - 2
            if before >= 0 and texts[before] == "~":
                name, before = "~" + name, before - 1
            if before >= 1 and texts[before] == "::":
                owner = texts[before - 1]
        parameters = words[opening + 1 : closing(words, opening)]
        body, initializers = index, []
        if self.tokens[index].text == ":":
            body = self.behind_initializers(index)
            initializers = self.tokens[index + 1 : body]
        after = closing(self.tokens, body) + 1
        self.source.functions.append(
            Function(
                owner,
                name,
                [self.parameter(part) for part in split(parameters)],
                initializers,
                initializers + self.tokens[body:after],
                words[0],
            )
        )
        return after

    def behind_initializers(self, index):
        """Where a constructor's body begins."""
        while self.tokens[index].text in (":", ","):
            index += 1
            while self.tokens[index].text not in ("(", "{"):
                index += 1
            index = closing(self.tokens, index) + 1
        if self.tokens[index].text != "{":
            self.tokens[index].fail("initializers that are not understood")
        return index

    @staticmethod
    def parameter(words):
        """One parameter."""
        default = split(words, "=")
        declared = default[0]
        name = declared[-1].text if len(declared) > 1 and declared[-1].kind == "name" else ""
        return Parameter(declared, name, default[1] if len(default) > 1 else [])


def read(path):
    """The functions and classes of a file."""
    return _Reader(path).read()
