# SPDX-License-Identifier: Apache-2.0
"""Reads Android.bp files: modules with the line of each value."""
import re
from dataclasses import dataclass, field

from .tree import line_of

TOKEN = re.compile(r'\s+|//[^\n]*|/\*.*?\*/|'
                   r'(?P<string>"(?:\\.|[^"\\\n])*")|(?P<word>\w+)|(?P<mark>[{}\[\]:,=+])',
                   re.DOTALL)


@dataclass
class Value:
    """A string, word or list of Values, and where it stands."""

    content: object
    line: int


@dataclass
class Module:
    """A module: its type, where it begins, its properties by name."""

    kind: str
    line: int
    properties: dict = field(default_factory=dict)

    def text(self, name):
        """The property's value, empty where there is none or it is no text."""
        value = self.properties.get(name)
        return value.content if value and isinstance(value.content, str) else ""

    def items(self, name):
        """{text: line} of a list."""
        value = self.properties.get(name)
        listed = value.content if value and isinstance(value.content, list) else []
        return {item.content: item.line for item in listed if isinstance(item.content, str)}

    def line_of(self, name):
        """Where the property stands, else where the module does."""
        return self.properties[name].line if name in self.properties else self.line


class BlueprintError(Exception):
    """The file is no blueprint; `line` tells where."""

    def __init__(self, line, expected):
        super().__init__(expected)
        self.line = line


def load_blueprint(tree, file):
    """The file's modules; none, and a finding, where it can't be understood."""
    try:
        return _Parser(tree.read(file)).modules()
    except BlueprintError as error:
        tree.find(file, error.line, f"can't be understood: {error} expected",
                  "write it as blueprint syntax wants it")
        return []


class _Parser:
    def __init__(self, text):
        self._tokens = list(self._tokenize(text))
        self._position = 0

    @staticmethod
    def _tokenize(text):
        position = 0
        while position < len(text):
            match = TOKEN.match(text, position)
            if not match:
                raise BlueprintError(line_of(text, position), "a value or a mark")
            if match.lastgroup:
                yield match.lastgroup, match[0], line_of(text, position)
            position = match.end()
        yield "end", "", line_of(text, max(position - 1, 0))

    def modules(self):
        found = []
        while self._tokens[self._position][0] != "end":
            _, kind, line = self._take("word")
            found.append(Module(kind, line, self._properties()))
        return found

    def _take(self, group, text=None):
        token = self._tokens[self._position]
        if token[0] != group or (text and token[1] != text):
            raise BlueprintError(token[2], repr(text) if text else f"a {group}")
        self._position += 1
        return token

    def _at(self, mark):
        return self._tokens[self._position][:2] == ("mark", mark)

    def _properties(self):
        properties = {}
        self._take("mark", "{")
        while not self._at("}"):
            _, name, line = self._take("word")
            self._take("mark", ":")
            properties[name] = Value(self._value(), line)
            if not self._at("}"):
                self._take("mark", ",")
        self._take("mark", "}")
        return properties

    def _value(self):
        if self._at("["):
            return self._list()
        if self._at("{"):
            return self._properties()
        group, text, _ = self._take("string" if self._tokens[self._position][0] == "string" else "word")
        return text[1:-1] if group == "string" else text

    def _list(self):
        items = []
        self._take("mark", "[")
        while not self._at("]"):
            line = self._tokens[self._position][2]
            items.append(Value(self._value(), line))
            if not self._at("]"):
                self._take("mark", ",")
        self._take("mark", "]")
        return items
