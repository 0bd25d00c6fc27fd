# SPDX-License-Identifier: Apache-2.0
"""Checks that the conformance suite has a test for each method of each interface."""
import re

from .tree import line_of

FOLDER = "vts"


def check_tests(tree):
    """Checks that a test in vts/ begins with the name of each method, and that it names no other method."""
    tests = {}
    for file in tree.glob(f"{FOLDER}/*.cpp"):
        code = tree.code(file)
        for match in re.finditer(r"^TEST(?:_P)?\(\w+, ([a-z]\w*)_\w+\)", code, re.MULTILINE):
            tests.setdefault(match[1], (file, line_of(code, match.start())))
    methods = {}
    for file in tree.glob("interfaces/*/I*.hal"):
        code = tree.code(file)
        for match in re.finditer(r"^    (\w+)\([^;]*;", code, re.MULTILINE):
            methods.setdefault(match[1], (file, line_of(code, match.start())))
    for name, (file, line) in methods.items():
        if name not in tests:
            tree.find(FOLDER, 1, f"has no test of {name} ({file}:{line})",
                      f"add a test with a name such as {name}_ReturnsZero")
    for name, (file, line) in tests.items():
        if name not in methods:
            tree.find(file, line, f"names {name}, which is no method", "begin with the name of a method")
