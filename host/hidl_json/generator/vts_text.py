# SPDX-License-Identifier: Apache-2.0
"""Reads the text that `hidl-gen -Lvts` prints: lines `key: value` and blocks `key: { … }`."""


class Block:
    """A block. A key may occur several times."""

    def __init__(self):
        self.entries = []

    def all(self, key):
        """Returns the values of all entries with this key, in their order."""
        return [value for name, value in self.entries if name == key]

    def first(self, key, default=None):
        """Returns the value of the first entry with this key, or `default`."""
        return next(iter(self.all(key)), default)


def parse(text):
    """Returns the Block of a whole file. Strings lose their quotes, other values stay text."""
    stack = [Block()]
    for line in filter(None, map(str.strip, text.splitlines())):
        if line == "}":
            stack.pop()
            continue
        key, _, value = line.partition(": ")
        if value == "{":
            block = Block()
            stack[-1].entries.append((key, block))
            stack.append(block)
        else:
            stack[-1].entries.append((key, value.strip('"')))
    return stack[0]
