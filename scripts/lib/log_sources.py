"""The log lines that the library can write, by its sources: follows the place of a call
(VORN_HERE) through the procedures that log in its name. A use of the macros of src/private/Log.h that
is not understood ends the script, so that no line is left out."""

import collections
import pathlib

import cxx_source

# What writes the lines, and so knows no text of its own.
MECHANISM = ("private/Log.h", "Log.cpp")
WRITERS = ("PrintProtected", "CallSystemLog", "__dlog_print", "VORN_LOG_PREFIX")
MACROS = ("VORN_TRACE", "VORN_HERE", "VORN_LOG", "VORN_LOG_AT", "VORN_FORMAT")

# A line: its text as printf takes it, its priority, and where it is written.
Line = collections.namedtuple("Line", "text priority file owner function")

# What is written for a place: a text; or a parameter, perhaps a member of it, with the text.
Message = collections.namedtuple("Message", "text priority slot member", defaults=(None, None))

# A bracket that is being called: what stands before it, its arguments.
Call = collections.namedtuple("Call", "name declared arguments start")


class Sources:
    """All sources of the library."""

    def __init__(self, folder):
        paths = sorted(pathlib.Path(folder).rglob("*.h")) + sorted(
            pathlib.Path(folder).rglob("*.cpp")
        )
        self.files = [cxx_source.read(path) for path in paths]
        self.functions = [function for source in self.files for function in source.functions]
        self.members = {k: v for source in self.files for k, v in source.members.items()}
        self.priorities = next(
            source.enumerators for source in self.files if source.path.name == "private/Log.h"
        )
        self.seen = set()
        self.messages = {}
        self.check_macros_stay()

    def lines(self):
        """Every line, in the order of the sources."""
        found = {}
        for function in self.functions:
            for message in self.messages_from(function, self.is_here):
                if message.slot is not None:
                    function.start.fail(f"{function.name}: the text of a line is not to be seen")
                path = function.start.path
                line = Line(
                    message.text, message.priority, path.name, function.owner, function.name
                )
                found[line] = None
        self.check_all_seen()
        return list(found)

    def check_macros_stay(self):
        """Macros of other files, or other ways into the log, would not be followed."""
        for source in self.files:
            if source.path.name in MECHANISM:
                continue
            for line in source.directives:
                if any(name in line.text for name in MACROS):
                    line.fail("the log's macros are used in a macro")
            for token in cxx_source.tokens_of(source.path):
                if token.text in WRITERS:
                    token.fail(f"{token.text} is used beside the log's macros")

    def check_all_seen(self):
        """Each use of a macro must have led to a line."""
        for function in self.functions:
            for token in function.code:
                if token.text in MACROS and token not in self.seen:
                    token.fail(f"{token.text} leads to no line that can be written")
        for source in self.files:
            known = {token for function in source.functions for token in function.code}
            for token in cxx_source.tokens_of(source.path):
                if token.text in MACROS and not any(
                    token.line == other.line and token.text == other.text for other in known
                ):
                    token.fail(f"{token.text} stands in no function")

    # --- A function's uses of a place ---------------------------------------------------

    def messages_from(self, function, is_site):
        """What is written for the places that `is_site` finds in a function."""
        if function.start.path.name in MECHANISM and function.name in ("PrintLog", *WRITERS):
            return []
        sites = self.local_sites(function, is_site)
        messages = []
        for index, token in enumerate(function.code):
            if token.text in ("VORN_TRACE", "VORN_LOG") and is_site(token):
                self.check_no_lambda(function, index)
                messages += self.from_call(function, call_at(function.code, index + 1, index))
            elif token.text in sites or is_site(token) and token.text not in MACROS:
                messages += self.from_use(function, index)
            elif token.text == "VORN_HERE" and is_site(token):
                self.check_no_lambda(function, index)
                self.seen.add(token)
                messages += self.from_use(function, index)
        return messages

    @staticmethod
    def is_here(token):
        """What stands for the place in which it stands."""
        return token.text in ("VORN_TRACE", "VORN_LOG", "VORN_HERE")

    def local_sites(self, function, is_site):
        """Names of variables that are initialized with a place."""
        code = function.code
        return {
            code[index - 2].text
            for index, token in enumerate(code)
            if is_site(token) and index > 2 and is_local(code, index)
        }

    def from_use(self, function, index):
        """What one use of a place leads to."""
        code = function.code
        following = code[index + 1].text
        if is_local(code, index) or following == "=":
            return []
        opening = opening_before(code, index)
        if opening is None:
            return code[index].fail("a place is used in a way that is not understood")
        if following == "." and code[index + 2].text in ("file", "function", "line"):
            return []  # an argument of a line, which is found by its macro
        if following not in (",", ")") or code[index - 1].text not in (",", "("):
            return code[index].fail("a place is used in a way that is not understood")
        call = call_at(code, opening, opening - 1)
        return self.from_call(function, call, index)

    def from_call(self, function, call, index=None):
        """What a call writes that is given a place."""
        arguments = call.arguments
        if call.name == "VORN_TRACE":
            self.seen.add(call.start)
            return self.of_function(self.named("PrintTrace", "", call.start))
        if call.name == "VORN_LOG":
            self.seen.add(call.start)
            return [self.fixed(call.start, arguments[0], arguments[1])]
        if call.name == "VORN_LOG_AT":
            self.seen.add(call.start)
            return [self.fixed(call.start, arguments[1], arguments[2])]
        if call.name == "PrintLog":
            priority = self.priority(arguments[1])
            return self.resolved(function, Message(None, priority, 0), [arguments[2]])
        if index is not None and is_initializer(function, index, call):
            return self.of_member(function, call)
        callee = self.named(call.name, call.declared, call.start)
        given = arguments + [parameter.default for parameter in callee.parameters[len(arguments) :]]
        messages = []
        for message in self.of_function(callee):
            messages += self.resolved(function, message, given)
        return messages

    # --- Procedures that log from a place they are given ---------------------------------

    def named(self, name, declared, start):
        """The procedure of that name, or the constructor of what is declared."""
        wanted = declared or name
        found = [
            function
            for function in self.functions
            if function.name == wanted
            and site_parameter(function)
            and (not declared or function.owner == declared)
        ]
        if len(found) != 1:
            start.fail(f"a place is given to {wanted}, of which {len(found)} take one")
        return found[0]

    def of_function(self, function):
        """What a procedure writes for its parameter."""
        if function not in self.messages:
            self.messages[function] = None
            name = site_parameter(function).name
            self.messages[function] = self.messages_from(function, lambda t: t.text == name)
        if self.messages[function] is None:
            function.start.fail(f"{function.name} gives its place to itself")
        return self.messages[function]

    def of_member(self, constructor, call):
        """What the members of a class write for the place that its constructor keeps."""
        messages = []
        for function in self.functions:
            if function.owner == constructor.owner:
                messages += self.messages_from(
                    function,
                    lambda t, f=function: t.text == call.name and t not in f.initializers,
                )
        if any(message.slot is not None for message in messages):
            call.start.fail("a text is kept beside the place")
        return messages

    # --- Texts and priorities ------------------------------------------------------------

    def fixed(self, start, priority, words):
        """A line whose text stands with it."""
        text = cxx_source.literal(words)
        if text is None:
            start.fail("the text of a line is no literal")
        return Message(text, self.priority(priority))

    def priority(self, words):
        """The number of a priority."""
        name = words[-1].text
        if name not in self.priorities:
            words[0].fail(f"{name} is no priority")
        return self.priorities[name]

    def resolved(self, function, message, arguments):
        """A message with what the call gives for its slot, or without a line."""
        if message.slot is None:
            return [message]
        words = arguments[message.slot]
        if words[0].text == "{" and message.member is not None:
            words = cxx_source.split(words[1:-1])[message.member]
        texts = [word.text for word in words]
        if texts == ["nullptr"]:
            return []
        if texts[:2] == ["VORN_FORMAT", "("] and cxx_source.closing(words, 1) == len(words) - 1:
            self.seen.add(words[0])
            text = cxx_source.literal(words[2:-1])
            if text is not None:
                return [Message(text, message.priority)]
        names = [parameter.name for parameter in function.parameters]
        if texts[0] in names and len(texts) in (1, 3):
            slot = names.index(texts[0])
            member = message.member
            if len(texts) == 3:
                member = self.member_index(function.parameters[slot], words)
            return [Message(None, message.priority, slot, member)]
        return words[0].fail("a line's text that is not understood")

    def member_index(self, parameter, words):
        """Which member of its class a text is."""
        for word in parameter.type:
            if words[2].text in self.members.get(word.text, []):
                return self.members[word.text].index(words[2].text)
        return words[0].fail("a line's text is a member of an unknown class")

    @staticmethod
    def check_no_lambda(function, index):
        """In a lambda the line would name an operator."""
        for start, token in enumerate(function.code[:index]):
            if token.text == "[" and not is_subscript(function.code, start):
                opening = cxx_source.closing(function.code, start) + 1
                while function.code[opening].text != "{":
                    if function.code[opening].text == "(":
                        opening = cxx_source.closing(function.code, opening)
                    opening += 1
                if opening < index < cxx_source.closing(function.code, opening):
                    function.code[index].fail("in a lambda, whose name is operator()")


def site_parameter(function):
    """The parameter that is a place."""
    sites = [p for p in function.parameters if "LogSite" in [word.text for word in p.type]]
    if len(sites) > 1:
        function.start.fail("two places are taken")
    return sites[0] if sites and sites[0].name else None


def is_local(code, index):
    """Whether a variable is initialized here: LogSite site = VORN_HERE;"""
    return (
        code[index - 1].text == "="
        and code[index - 3].text == "LogSite"
        and code[index + 1].text == ";"
    )


def is_initializer(function, index, call):
    """Whether a constructor keeps the place in a member: m_site(site)."""
    return (
        index < len(function.initializers)
        and len(call.arguments) == 1
        and call.start in [part[0] for part in cxx_source.split(function.initializers)]
    )


def is_subscript(code, index):
    """Whether a bracket is no lambda's."""
    before = code[index - 1]
    return before.kind == "name" and before.text != "return" or before.text in (")", "]")


def opening_before(code, index):
    """The parenthesis or brace around a word, if it is a parenthesis."""
    depth = 0
    for position in range(index - 1, -1, -1):
        text = code[position].text
        depth += {")": 1, "}": 1, "]": 1, "(": -1, "{": -1, "[": -1}.get(text, 0)
        if depth < 0:
            return position if text == "(" else None
    return None


def call_at(code, opening, name):
    """The call whose parenthesis stands at `opening`, and its name at `name`."""
    if code[opening].text != "(" or code[name].kind != "name":
        code[name].fail("a call that is not understood")
    before = code[name - 1] if name > 0 else None
    declared = before.text if before and before.kind == "name" and before.text != "return" else ""
    end = cxx_source.closing(code, opening)
    arguments = cxx_source.split(code[opening + 1 : end])
    return Call(code[name].text, declared, arguments, code[name])
